// Names of output files with places for the frame, the camera and the name of what is read.
#include "apps/options/output_pattern.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "apps/base/text.h"
#include "hostkit/services/without_controls.h"

namespace gl3 {
namespace {

constexpr std::size_t kMostDigits = 9;
constexpr std::size_t kLongestName = 100;

/// The length of "%d", "%4d" or "%04d" at `at`, 0 when nothing of the kind stands there.
std::size_t PercentFrame(const std::string& text, std::size_t at, int* digits) {
  const std::size_t letter = std::min(text.find_first_not_of("0123456789", at + 1), text.size());
  const std::string number = text.substr(at + 1, letter - at - 1);
  if (letter == text.size() || text[letter] != 'd' || number.size() > 2) return 0;
  *digits = static_cast<int>(std::strtol(number.c_str(), nullptr, 10));
  return *digits <= static_cast<int>(kMostDigits) ? letter + 1 - at : 0;
}

/// One name without what a file's name cannot have. Bytes of UTF-8 stay whole.
std::string FileName(const std::string& name) {
  std::string good = hostkit::WithoutControls(name, '_');
  for (char& c : good) {
    if (c == '/' || c == '\\') c = '_';
  }
  // Neither hidden nor, for who gives all files to a program ("rm *"), an option.
  if (!good.empty() && (good[0] == '.' || good[0] == '-')) good[0] = '_';
  if (good.size() > kLongestName) {
    std::size_t end = kLongestName;
    while (end > 0 && (static_cast<unsigned char>(good[end]) & 0xc0) == 0x80) --end;
    good.resize(end);
  }
  return good.empty() ? "camera" : good;
}

}  // namespace

OutputPattern::OutputPattern(const std::string& text) {
  constexpr std::pair<std::string_view, Kind> kWords[] = {{"{camera}", Kind::kCamera},
                                                          {"%c", Kind::kCamera},
                                                          {"{name}", Kind::kName},
                                                          {"%n", Kind::kName}};
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t hashes = std::min(text.find_first_not_of('#', at), text.size()) - at;
    const auto* const word = std::find_if(
        std::begin(kWords), std::end(kWords),
        [&](const auto& one) { return text.compare(at, one.first.size(), one.first) == 0; });
    int digits = 0;
    if (hashes >= 2) {
      Add(Kind::kFrame, static_cast<int>(std::min(hashes, kMostDigits)));
      at += hashes;
    } else if (word != std::end(kWords)) {
      Add(word->second, 0);
      at += word->first.size();
    } else if (text.compare(at, 2, "%%") == 0) {
      AddText("%");
      at += 2;
    } else if (const std::size_t length = text[at] == '%' ? PercentFrame(text, at, &digits) : 0) {
      Add(Kind::kFrame, digits);
      at += length;
    } else {
      AddText(text.substr(at++, 1));
    }
  }
}

void OutputPattern::Add(Kind kind, int digits) {
  m_pieces.push_back({kind, digits, ""});
  m_hasFrame = m_hasFrame || kind == Kind::kFrame;
  m_hasCamera = m_hasCamera || kind == Kind::kCamera;
  m_hasName = m_hasName || kind == Kind::kName;
}

void OutputPattern::AddText(const std::string& text) {
  if (m_pieces.empty() || m_pieces.back().kind != Kind::kText) m_pieces.emplace_back();
  m_pieces.back().text += text;
}

std::string OutputPattern::Folder() const {
  if (m_pieces.empty() || m_pieces.front().kind != Kind::kText) return "";
  const std::string& text = m_pieces.front().text;
  return text.substr(0, text.rfind('/') + 1);
}

std::string OutputPattern::Expand(int frame, const std::string& camera,
                                  const std::string& name) const {
  std::string path;
  for (const Piece& piece : m_pieces) {
    if (piece.kind == Kind::kText) path += piece.text;
    if (piece.kind == Kind::kFrame) path += fmt::format("{:0{}}", frame, piece.digits);
    if (piece.kind == Kind::kCamera) path += camera;
    if (piece.kind == Kind::kName) path += name;
  }
  return path;
}

std::string NameOfFile(const std::string& path) {
  return std::filesystem::path(path).stem().string();
}

std::vector<std::string> FileNames(const std::vector<std::string>& names) {
  std::vector<std::string> files;
  std::set<std::string> taken;
  std::map<std::string, int> used;  // the last number, so that none is tried twice
  for (const std::string& name : names) {
    const std::string plain = FileName(name);
    std::string file = plain;
    int& number = used.try_emplace(plain, 1).first->second;
    while (!taken.insert(file).second) file = fmt::format("{}-{}", plain, ++number);
    files.push_back(file);
  }
  return files;
}

}  // namespace gl3
