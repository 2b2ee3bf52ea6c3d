// The buffers of a glTF file, and views into them.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/import/gltf/gltf_document.h"

namespace hostkit::gltf {

/// The bytes of a "data:" URI, base64 or percent-encoded. Nothing where it is none, or broken.
std::optional<std::vector<unsigned char>> DecodeDataUri(const std::string& uri);
bool IsDataUri(const std::string& uri);

/// A part of a buffer.
struct BufferView {
  Bytes bytes;
  std::size_t stride = 0;  ///< From element to element; 0: they lie close together.
};

class Buffers {
 public:
  /// `document` must outlive it.
  explicit Buffers(const Document& document) : m_document(document) {}

  /// Fetches the buffers that views name. On failure false with one line in `*error`.
  bool Load(std::string* error);

  /// A view's bytes, uncompressed, which belong to this; null where it is broken.
  const BufferView* View(int index);

  /// How many bytes all buffers together have.
  std::size_t Size() const { return m_size; }

 private:
  using Storage = std::shared_ptr<const std::vector<unsigned char>>;

  bool LoadOne(int index, std::string* error);
  bool LoadUri(const std::string& uri, const std::string& shown, Storage* to, std::string* error);
  std::optional<BufferView> MakeView(Json view);
  std::optional<BufferView> MakeMeshoptView(Json compression);
  Bytes Part(Json range) const;

  const Document& m_document;
  std::vector<Bytes> m_buffers;
  std::map<FileId, Storage> m_files;  ///< Of which several buffers may be parts.
  std::vector<Storage> m_kept;
  std::map<int, std::optional<BufferView>> m_views;
  std::size_t m_size = 0;
};

}  // namespace hostkit::gltf
