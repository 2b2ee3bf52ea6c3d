// A glTF 2.0 file taken apart: its JSON, the bytes beside it in the file, and what is told of it.
#include "hostkit/import/gltf/gltf_document.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "hostkit/import/gltf/gltf_extensions.h"
#include "hostkit/import/gltf/gltf_kinds.h"

namespace hostkit::gltf {
namespace {

constexpr std::uint32_t kMagic = 0x46546C67;        // "glTF"
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;    // "JSON"
constexpr std::uint32_t kBinaryChunk = 0x004E4942;  // "BIN"
constexpr std::size_t kHeaderSize = 12, kChunkHeaderSize = 8;
constexpr std::size_t kMostNames = 3;  // in one warning

std::string WithCommas(std::uint64_t number) {
  std::string text;
  for (; number >= 1000; number /= 1000) text = fmt::format(",{:03}{}", number % 1000, text);
  return fmt::format("{}{}", number, text);
}

std::uint32_t WordAt(Bytes bytes, std::size_t at) {
  std::uint32_t word = 0;
  if (at + sizeof word <= bytes.size()) std::memcpy(&word, bytes.data() + at, sizeof word);
  return word;
}

/// How a text begins that cannot be JSON with an object in it, as a message may show it; else
/// empty.
std::string OtherBeginning(std::string_view text) {
  constexpr std::size_t kMost = 12;
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos || text[first] == '{') return "";
  return NameForMessage(std::string(text.substr(first, kMost)));
}

/// Where a chunk of that kind begins at or shortly behind `at`; the file's size where none does.
/// Chunks end at multiples of four bytes, but some writers' lengths leave the filling out.
std::size_t FindChunk(Bytes file, std::size_t at, std::uint32_t kind) {
  for (const std::size_t begin : {at, (at + 3) / 4 * 4}) {
    if (begin + kChunkHeaderSize <= file.size() && WordAt(file, begin + 4) == kind) return begin;
  }
  return file.size();
}

/// Major and minor number; nothing where it is no version.
std::pair<int, int> VersionFrom(Json value) {
  if (value.IsNumber()) return {static_cast<int>(std::clamp(value.Number(), 0.0, 99.0)), 0};
  if (!value.IsText()) return {-1, 0};
  const std::string& text = value.Text();
  char* end = nullptr;
  const long major = std::strtol(text.c_str(), &end, 10);
  if (end == text.c_str()) return {-1, 0};
  const long minor = *end == '.' ? std::strtol(end + 1, nullptr, 10) : 0;
  return {static_cast<int>(std::clamp(major, 0L, 999L)),
          static_cast<int>(std::clamp(minor, 0L, 999L))};
}

}  // namespace

std::string EndsAfterText(std::uint64_t size, std::uint64_t expected) {
  return fmt::format("ends after {} of {} bytes", WithCommas(size), WithCommas(expected));
}

std::string Document::EndsAfter(std::uint64_t size, std::uint64_t expected) const {
  return fmt::format("{}: {}; copy it again or export the model anew", Path(),
                     EndsAfterText(size, expected));
}

bool Document::Load(std::string* error) {
  if (!ReadModelFile(m_source, &m_file, error)) return false;
  Bytes text;
  if (!TakeApart(&text, error) || !Parse(text, error)) return false;
  if (m_binary.empty()) m_file = {};
  if (!CheckVersion(error) || !CheckExtensions(error)) return false;
  FindOddKinds(Root(), [this](const std::string& name) {
    Note("members of the wrong kind, a text for a number, say, count as missing", name);
  });
  return true;
}

bool Document::TakeApart(Bytes* text, std::string* error) {
  *text = File();
  if (WordAt(*text, 0) == kMagic) return TakeChunks(text, error);
  return true;
}

bool Document::TakeChunks(Bytes* text, std::string* error) {
  const Bytes file = File();
  const std::uint32_t version = WordAt(file, 4), length = WordAt(file, 8);
  constexpr std::size_t kLeast = kHeaderSize + kChunkHeaderSize;
  if (file.size() < kLeast || file.size() < length) {
    *error = EndsAfter(file.size(), std::max<std::uint64_t>(length, kLeast));
    return false;
  }
  if (version == 1) {
    error->clear();
    return false;
  }
  if (version != 2 || WordAt(file, kHeaderSize + 4) != kJsonChunk) {
    *error = fmt::format("{}: {}; export the model again as glTF 2.0", Path(),
                         version != 2 ? fmt::format("is binary glTF of version {}", version)
                                      : std::string("its first chunk is not the JSON one"));
    return false;
  }
  const std::uint64_t end = std::uint64_t{kLeast} + WordAt(file, kHeaderSize);
  if (end > file.size()) {
    *error = EndsAfter(file.size(), end);
    return false;
  }
  *text = file.subspan(kLeast, end - kLeast);
  const std::size_t chunk = FindChunk(file, end, kBinaryChunk);
  if (chunk == file.size()) return true;
  const std::uint64_t binaryEnd = std::uint64_t{chunk} + kChunkHeaderSize + WordAt(file, chunk);
  if (binaryEnd > file.size()) {
    *error = EndsAfter(file.size(), binaryEnd);
    return false;
  }
  m_binary = file.subspan(chunk + kChunkHeaderSize, binaryEnd - chunk - kChunkHeaderSize);
  return true;
}

bool Document::Parse(Bytes text, std::string* error) {
  // Filled up with blanks, or by some writers with zeros.
  while (!text.empty() && (text.back() == 0 || text.back() == ' '))
    text = text.first(text.size() - 1);
  const auto offset = text.empty() ? 0 : static_cast<std::size_t>(text.data() - File().data());
  std::string reason = "holds JSON, but no glTF";
  const std::string_view json(reinterpret_cast<const char*>(text.data()), text.size());
  std::string beginning;
  std::size_t at = 0;
  switch (m_json.Read(json, &at)) {
    case JsonText::Fault::kNone:
      if (Root().IsObject()) return true;
      break;
    case JsonText::Fault::kNotJson:
      if (offset == 0) beginning = OtherBeginning(json);
      reason = at > text.size() ? fmt::format("ends in the middle of its JSON, after {} bytes",
                                              WithCommas(offset + text.size()))
                                : fmt::format("not valid JSON at byte {}", WithCommas(offset + at));
      break;
    case JsonText::Fault::kHugeNumber:
      reason = "its JSON holds a number beyond all numbers";
      break;
  }
  if (!beginning.empty()) {
    reason =
        fmt::format("no glTF file, since it begins with \"{}\", not with glTF or {{", beginning);
  }
  *error = fmt::format("{}: {}; {}export the model again", Path(), reason,
                       beginning.empty() ? "" : "give it the suffix of what it is, or ");
  return false;
}

bool Document::CheckVersion(std::string* error) {
  const Json asset = Member(Root(), "asset");
  const auto [major, minor] = VersionFrom(Member(asset, "version"));
  // Version 1.0 keeps its objects by name, and need not tell its version.
  const Json meshes = Member(Root(), "meshes");
  const bool isOlder = major == 1 || (major < 0 && meshes.IsObject() && meshes.Size() > 0);
  if (isOlder) {
    error->clear();
    return false;
  }
  const auto least = std::max(VersionFrom(Member(asset, "minVersion")), std::pair{2, 0});
  if (major <= 2 && least == std::pair{2, 0}) return true;
  *error = fmt::format(
      "{}: needs glTF {}.{}, and 2.0 is the last that is known here; export it as that", Path(),
      std::max(major, least.first), least.first >= major ? least.second : minor);
  return false;
}

bool Document::CheckExtensions(std::string* error) {
  const Json required = Member(Root(), "extensionsRequired");
  for (std::size_t i = 0; i < Length(required); ++i) {
    const std::string name = required[i].Text();
    if (SupportOf(name) != Support::kNone) continue;
    *error =
        fmt::format("{}: requires the extension {}, which is not known here; export it without",
                    Path(), NameForMessage(name));
    return false;
  }
  const Json used = Member(Root(), "extensionsUsed");
  for (std::size_t i = 0; i < Length(used); ++i) {
    const std::string name = used[i].Text();
    if (SupportOf(name) == Support::kNone) {
      Note("uses extensions that are not known here and may change how it looks", name);
    }
  }
  return true;
}

std::string Document::NameOf(const char* kind, Json item, int index) const {
  std::string name = TextOf(item, "name");
  return name.empty() ? fmt::format("{} {}", kind, index) : name;
}

void Document::Note(const std::string& what, const std::string& name) {
  Notes& notes = m_notes[what];
  if (++notes.count > kMostNames) return;
  notes.names += (notes.count > 1 ? ", " : "") + NameForMessage(name);
}

void Document::TellNotes() {
  for (const auto& [what, notes] : m_notes) {
    const std::string more =
        notes.count > kMostNames ? fmt::format(" and {} more", notes.count - kMostNames) : "";
    AddWarning(m_source.scene, fmt::format("{}: {}: {}{}; export the model again", Path(), what,
                                           notes.names, more));
  }
  m_notes.clear();
}

}  // namespace hostkit::gltf
