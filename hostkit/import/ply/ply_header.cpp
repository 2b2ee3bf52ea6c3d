// The header of a PLY file: what follows it, and how that is written.
#include "hostkit/import/ply/ply_header.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "hostkit/import/model_files.h"
#include "hostkit/import/number_text.h"

namespace hostkit {
namespace {

constexpr std::size_t kSizes[] = {1, 1, 2, 2, 4, 4, 4, 8};  // as PlyType

constexpr std::pair<std::string_view, PlyType> kTypeNames[] = {
    {"char", PlyType::kInt8},       {"int8", PlyType::kInt8},       {"uchar", PlyType::kUint8},
    {"uint8", PlyType::kUint8},     {"short", PlyType::kInt16},     {"int16", PlyType::kInt16},
    {"ushort", PlyType::kUint16},   {"uint16", PlyType::kUint16},   {"int", PlyType::kInt32},
    {"int32", PlyType::kInt32},     {"uint", PlyType::kUint32},     {"uint32", PlyType::kUint32},
    {"float", PlyType::kFloat32},   {"float32", PlyType::kFloat32}, {"double", PlyType::kFloat64},
    {"float64", PlyType::kFloat64},
};

constexpr std::pair<std::string_view, PlyFormat> kFormatNames[] = {
    {"ascii", PlyFormat::kAscii},
    {"binary_little_endian", PlyFormat::kLittleEndian},
    {"binary_big_endian", PlyFormat::kBigEndian},
};

/// What `name` stands for in a table; false when it is not in it.
template <class Value, std::size_t kCount>
bool Find(const std::pair<std::string_view, Value> (&table)[kCount], std::string_view name,
          Value* value) {
  const auto* const found =
      std::find_if(std::begin(table), std::end(table),
                   [name](const auto& entry) { return IsSameWord(entry.first, name); });
  if (found == std::end(table)) return false;
  *value = found->second;
  return true;
}

bool ReadFormat(std::string_view words, PlyHeader& header) {
  return Find(kFormatNames, TakeWord(&words), &header.format);
}

bool ReadElement(std::string_view words, PlyHeader& header) {
  PlyElement element;
  element.name = TakeWord(&words);
  std::int64_t count = 0;
  const char* at = words.data();
  if (!ReadInteger(&at, words.data() + words.size(), &count) || count < 0) return false;
  element.count = static_cast<std::uint64_t>(count);
  header.elements.push_back(std::move(element));
  return true;
}

bool ReadProperty(std::string_view words, PlyHeader& header) {
  if (header.elements.empty()) return false;
  PlyProperty property;
  std::string_view type = TakeWord(&words);
  property.isList = IsSameWord(type, "list");
  if (property.isList) {
    if (!Find(kTypeNames, TakeWord(&words), &property.countType)) return false;
    type = TakeWord(&words);
  }
  if (!Find(kTypeNames, type, &property.type)) return false;
  property.name = TakeWord(&words);
  header.elements.back().properties.push_back(std::move(property));
  return !header.elements.back().properties.back().name.empty();
}

bool ReadComment(std::string_view words, PlyHeader& header) {
  if (IsSameWord(TakeWord(&words), "TextureFile")) header.pictures.emplace_back(Trimmed(words));
  return true;
}

/// Other lines, such as "obj_info", say nothing of the values.
constexpr std::pair<std::string_view, bool (*)(std::string_view, PlyHeader&)> kLines[] = {
    {"format", ReadFormat},
    {"element", ReadElement},
    {"property", ReadProperty},
    {"comment", ReadComment},
};

/// Where the line at `at` ends. Lines end as the first one does: a return alone is one there, too.
std::size_t LineEnd(std::string_view bytes, std::size_t at, char end) {
  return std::min(bytes.find(end, at), bytes.size());
}

}  // namespace

std::size_t SizeOf(PlyType type) {
  return kSizes[static_cast<int>(type)];
}

bool ReadPlyHeader(std::string_view bytes, PlyHeader* header, std::string* fault) {
  const std::size_t first = bytes.find_first_of("\r\n");
  if (first == std::string_view::npos || Trimmed(bytes.substr(0, first)) != "ply") {
    *fault = "it does not begin with the line \"ply\"; export the model again as PLY";
    return false;
  }
  const bool endsInReturn = bytes[first] == '\r' && bytes.substr(first + 1, 1) != "\n";
  const char end = endsInReturn ? '\r' : '\n';
  std::size_t at = LineEnd(bytes, 0, end) + 1;
  for (int line = 2; at < bytes.size(); ++line) {
    const std::size_t behind = LineEnd(bytes, at, end);
    std::string_view words = bytes.substr(at, behind - at);
    const std::string_view whole = Trimmed(words), key = TakeWord(&words);
    at = behind + 1;
    if (IsSameWord(key, "end_header")) {
      header->size = std::min(at, bytes.size());
      return true;
    }
    bool (*read)(std::string_view, PlyHeader&) = nullptr;
    if (Find(kLines, key, &read) && !read(words, *header)) {
      *fault = fmt::format(
          "line {} of its header, \"{}\", is none of PLY; repair it, or export the model again",
          line, NameForMessage(std::string(whole.substr(0, 60))));
      return false;
    }
  }
  *fault = fmt::format(
      "its header has no line \"end_header\" up to its end at byte {}; export the "
      "model again",
      bytes.size());
  return false;
}

}  // namespace hostkit
