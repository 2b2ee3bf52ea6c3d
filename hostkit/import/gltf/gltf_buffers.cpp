// The buffers of a glTF file, and views into them.
#include "hostkit/import/gltf/gltf_buffers.h"

#include <fmt/format.h>

#include <set>
#include <utility>

#include "hostkit/import/gltf/gltf_meshopt.h"

namespace hostkit::gltf {
namespace {

/// What a view takes its bytes from: itself, or what is compressed in its place.
Json CompressionOf(Json view) {
  return Extension(view, "EXT_meshopt_compression");
}

Json RangeOf(Json view) {
  const Json compression = CompressionOf(view);
  return compression.IsObject() ? compression : view;
}

}  // namespace

bool Buffers::Load(std::string* error) {
  const Json views = Member(m_document.Root(), "bufferViews");
  std::set<int> needed;
  for (std::size_t i = 0; i < Length(views); ++i)
    needed.insert(IndexOf(RangeOf(views[i]), "buffer"));
  m_buffers.resize(Length(Member(m_document.Root(), "buffers")));
  for (const int index : needed) {
    const bool isThere = index >= 0 && static_cast<std::size_t>(index) < m_buffers.size();
    if (isThere && !LoadOne(index, error)) return false;
  }
  return true;
}

bool Buffers::LoadOne(int index, std::string* error) {
  const Json buffer = m_document.Item("buffers", index);
  const std::string uri = TextOf(buffer, "uri");
  std::string shown = fmt::format("{}: its buffer {}", m_document.Path(), index);
  Bytes& bytes = m_buffers[static_cast<std::size_t>(index)];
  if (uri.empty()) {
    bytes = index == 0 ? m_document.Binary() : Bytes();
  } else {
    Storage storage;
    if (!IsDataUri(uri)) shown = fmt::format("{}: {}", m_document.Path(), NameForMessage(uri));
    if (!LoadUri(uri, shown, &storage, error)) return false;
    bytes = *storage;
    m_kept.push_back(std::move(storage));
  }
  const std::uint64_t expected = CountOf(buffer, "byteLength", bytes.size());
  if (bytes.size() < expected) {
    *error = fmt::format("{} {}; copy it again or export the model anew", shown,
                         EndsAfterText(bytes.size(), expected));
    return false;
  }
  m_size += bytes.size();
  return true;
}

bool Buffers::LoadUri(const std::string& uri, const std::string& shown, Storage* to,
                      std::string* error) {
  std::vector<unsigned char> bytes;
  if (IsDataUri(uri)) {
    std::optional<std::vector<unsigned char>> decoded = DecodeDataUri(uri);
    if (!decoded) *error = fmt::format("{} is no base64 text; export the model again", shown);
    if (decoded) *to = std::make_shared<std::vector<unsigned char>>(std::move(*decoded));
    return decoded.has_value();
  }
  const OpenedFile file = m_document.Source().files.Open(uri);
  if (!file.IsOpen()) {
    *error = m_document.Source().files.FaultText(uri, file.fault);
    return false;
  }
  Storage& known = m_files[file.id];
  if (!known) {
    if (!ReadWhole(file, &bytes)) {
      *error = fmt::format("{}: reading stopped half-way; check the disk", shown);
      return false;
    }
    known = std::make_shared<std::vector<unsigned char>>(std::move(bytes));
  }
  *to = known;
  return true;
}

/// The bytes that "buffer", "byteOffset" and "byteLength" name; empty where they lead out of it.
Bytes Buffers::Part(Json range) const {
  const int index = IndexOf(range, "buffer");
  if (index < 0 || static_cast<std::size_t>(index) >= m_buffers.size()) return {};
  const Bytes buffer = m_buffers[static_cast<std::size_t>(index)];
  const std::uint64_t offset = CountOf(range, "byteOffset", 0);
  const std::uint64_t length = CountOf(range, "byteLength", 0);
  if (offset > buffer.size() || length > buffer.size() - offset) return {};
  return buffer.subspan(offset, length);
}

std::optional<BufferView> Buffers::MakeMeshoptView(Json compression) {
  auto storage = std::make_shared<std::vector<unsigned char>>();
  BufferView view;
  view.stride = CountOf(compression, "byteStride", 0);
  if (!DecodeMeshopt(compression, Part(compression), storage.get())) return std::nullopt;
  view.bytes = *storage;
  m_kept.push_back(std::move(storage));
  return view;
}

std::optional<BufferView> Buffers::MakeView(Json json) {
  if (!json.IsObject()) return std::nullopt;
  const Json compression = CompressionOf(json);
  if (compression.IsObject()) return MakeMeshoptView(compression);
  const BufferView view{Part(json), CountOf(json, "byteStride", 0)};
  return view.bytes.empty() ? std::nullopt : std::optional(view);
}

const BufferView* Buffers::View(int index) {
  const auto [entry, isNew] = m_views.try_emplace(index);
  if (isNew) entry->second = MakeView(m_document.Item("bufferViews", index));
  return entry->second ? &*entry->second : nullptr;
}

}  // namespace hostkit::gltf
