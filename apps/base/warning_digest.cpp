// Many warnings in few lines.
#include "apps/base/warning_digest.h"

#include <fmt/format.h>

#include <algorithm>

#include "apps/base/text.h"

namespace gl3 {
namespace {

constexpr std::size_t kMostKinds = 100;  // that are told apart
constexpr std::size_t kExamples = 3;     // of a kind, the first one included

/// How much of two texts is the same at their beginnings and, of what is left, at their ends, in
/// whole words.
struct Common {
  std::size_t front = 0, back = 0;
};

Common CommonOf(const std::string& a, const std::string& b) {
  const std::size_t shorter = std::min(a.size(), b.size());
  Common common;
  common.front = static_cast<std::size_t>(
      std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(shorter), b.begin()).first -
      a.begin());
  while (common.front > 0 && a[common.front - 1] != ' ') --common.front;
  const std::size_t most = shorter - common.front;
  while (common.back < most && a[a.size() - 1 - common.back] == b[b.size() - 1 - common.back]) {
    ++common.back;
  }
  while (common.back > 0 && a[a.size() - common.back] != ' ') --common.back;
  return common;
}

/// How long a text's remedy is, with the blank before it.
std::size_t RemedySize(const std::string& text) {
  const std::size_t end = text.rfind("; ");
  return end == std::string::npos ? 0 : text.size() - end - 1;
}

std::ptrdiff_t CountBlanks(const std::string& text, std::size_t from, std::size_t count) {
  const auto begin = text.begin() + static_cast<std::ptrdiff_t>(from);
  return std::count(begin, begin + static_cast<std::ptrdiff_t>(count), ' ');
}

bool AreAlike(const std::string& a, const std::string& b, const Common& common) {
  const std::size_t remedy = RemedySize(a);
  if (remedy != RemedySize(b) || common.back < remedy) return false;
  // A word with its blank is one, however long it is: paths are.
  const std::string& longer = a.size() > b.size() ? a : b;
  const std::ptrdiff_t words = CountBlanks(longer, 0, longer.size() - remedy) + 1;
  const std::ptrdiff_t same = CountBlanks(a, 0, common.front) +
                              CountBlanks(a, a.size() - common.back, common.back - remedy);
  return 2 * same >= words;
}

std::string Difference(const std::string& text, const Common& common) {
  std::string middle = text.substr(common.front, text.size() - common.front - common.back);
  middle.resize(middle.find_last_not_of(" :;,") + 1);
  return middle;
}

}  // namespace

void WarningDigest::Add(const std::string& text) {
  for (Kind& kind : m_kinds) {
    const Common common = CommonOf(kind.first, text);
    if (kind.first != text && !AreAlike(kind.first, text, common)) continue;
    ++kind.count;
    if (kind.first != text && kind.others.size() + 1 < kExamples) {
      kind.others.push_back(Difference(text, common));
    }
    return;
  }
  if (m_kinds.size() < kMostKinds) {
    m_kinds.push_back({text, {}, 1, 0});
  } else {
    ++m_beyond;
  }
}

std::vector<std::string> WarningDigest::Take() {
  std::vector<std::string> lines;
  for (Kind& kind : m_kinds) {
    if (kind.told > 0) continue;
    kind.told = kind.count;
    std::string also = JoinNames(kind.others);
    if (!also.empty()) also = ", also " + also;
    lines.push_back(kind.count == 1
                        ? kind.first
                        : fmt::format("{} ({} like this{})", kind.first, kind.count, also));
  }
  return lines;
}

std::vector<std::string> WarningDigest::TakeRest() {
  std::vector<std::string> lines = Take();
  for (Kind& kind : m_kinds) {
    if (kind.told == kind.count) continue;
    lines.push_back(fmt::format("{} more like: {}", kind.count - kind.told, kind.first));
    kind.told = kind.count;
  }
  if (m_beyond > 0) lines.push_back(fmt::format("{} more warnings of other kinds", m_beyond));
  m_beyond = 0;
  return lines;
}

std::vector<std::string> DigestOf(const std::vector<std::string>& warnings) {
  WarningDigest digest;
  for (const std::string& warning : warnings) digest.Add(warning);
  return digest.TakeRest();
}

}  // namespace gl3
