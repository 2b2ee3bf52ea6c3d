// STL files of text.
#include "hostkit/import/stl/stl_text.h"

#include <fmt/format.h>

#include <algorithm>

#include "hostkit/import/number_text.h"

namespace hostkit {
namespace {

class StlParser {
 public:
  StlParser(std::string_view text, StlText& read) : m_whole(text), m_text(text), m_read(read) {}

  bool Read(std::string* fault) {
    for (std::string_view word = TakeWord(&m_text); !word.empty(); word = TakeWord(&m_text)) {
      const bool isGood = ReadStatement(word);
      if (isGood) continue;
      const auto at = static_cast<std::size_t>(word.data() - m_whole.data());
      const auto line =
          1 + std::count(m_whole.begin(), m_whole.begin() + static_cast<std::ptrdiff_t>(at), '\n');
      *fault =
          m_text.empty()
              ? fmt::format(
                    "it is cut off in line {}, where it ends after {} bytes; export "
                    "the model again",
                    line, m_whole.size())
              : fmt::format("line {} is none of STL; repair it, or export the model again", line);
      return false;
    }
    return true;
  }

 private:
  bool ReadStatement(std::string_view word) {
    if (IsSameWord(word, "vertex")) return ReadVertex();
    if (IsSameWord(word, "facet")) return ReadFacet();
    if (IsSameWord(word, "outer")) return BeginLoop();
    if (IsSameWord(word, "solid")) return BeginSolid(word);
    if (IsSameWord(word, "endsolid")) {
      RestOfLine(word);
      return true;
    }
    return IsSameWord(word, "endloop") || IsSameWord(word, "endfacet");
  }

  bool ReadNumbers(double* numbers) {
    for (int i = 0; i < 3; ++i) {
      const std::string_view word = TakeWord(&m_text);
      const char* at = word.data();
      if (!ReadNumber(&at, word.data() + word.size(), &numbers[i])) return false;
    }
    return true;
  }

  StlSolid& Solid() {
    if (m_read.solids.empty()) m_read.solids.emplace_back();
    return m_read.solids.back();
  }

  bool ReadVertex() {
    double n[3];
    if (!m_isInLoop || !ReadNumbers(n)) return false;
    m_read.corners.emplace_back(n[0], n[1], n[2]);
    ++Solid().loops.back().size;
    return true;
  }

  bool ReadFacet() {
    double n[3];
    m_isInLoop = false;
    if (!IsSameWord(TakeWord(&m_text), "normal") || !ReadNumbers(n)) return false;
    m_normal = Imath::V3f(Imath::V3d(n[0], n[1], n[2]));
    return true;
  }

  bool BeginLoop() {
    if (!IsSameWord(TakeWord(&m_text), "loop")) return false;
    Solid().loops.push_back({m_read.corners.size(), 0, m_normal});
    m_isInLoop = true;
    return true;
  }

  bool BeginSolid(std::string_view word) {
    m_isInLoop = false;
    m_read.solids.emplace_back().name = RestOfLine(word);
    return true;
  }

  /// What is behind a word in its line.
  std::string_view RestOfLine(std::string_view word) {
    const auto behind = static_cast<std::size_t>(word.data() + word.size() - m_whole.data());
    const std::size_t end = std::min(m_whole.find_first_of("\r\n", behind), m_whole.size());
    m_text = m_whole.substr(end);
    return Trimmed(m_whole.substr(behind, end - behind));
  }

  std::string_view m_whole, m_text;
  StlText& m_read;
  Imath::V3f m_normal{0, 0, 0};
  bool m_isInLoop = false;
};

}  // namespace

bool ReadStlText(std::string_view text, StlText* read, std::string* fault) {
  return StlParser(text, *read).Read(fault);
}

}  // namespace hostkit
