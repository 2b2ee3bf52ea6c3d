// Pictures of a model: embedded in it, or in files near it.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "hostkit/import/import_context.h"
#include "hostkit/import/model_files.h"
#include "hostkit/services/bitmap_ptr.h"

struct aiTexture;

namespace hostkit {

/// What a material makes of a picture's alpha.
enum class AlphaUse {
  kBlend,   ///< As it is.
  kIgnore,  ///< Opaque.
  kMask,    ///< 255 from the cut-off up, else 0.
};

struct PictureUse {
  AlphaUse alpha = AlphaUse::kBlend;
  float cutoff = 0.5f;  ///< For kMask, 0 to 1.
  bool repeat = true;   ///< False: clamped at its edges.

  // NOLINTNEXTLINE(modernize-use-nullptr): the check trips over what the compiler generates.
  auto operator<=>(const PictureUse&) const = default;
};

/// What the pictures of one model may come to. Each use of a picture counts as one.
constexpr std::uint64_t kMostPictureBytes = std::uint64_t{2} << 30;    ///< Decoded, all together.
constexpr std::size_t kMostPictures = 4096;                            ///< Tried, broken ones too.
constexpr std::uint64_t kLargestPictureFile = std::uint64_t{1} << 30;  ///< Bytes of one file.

/// Loads each picture once for each use of it, under however many names.
class PictureStore {
 public:
  /// Neither is owned, and both must outlive the store.
  PictureStore(const ImportContext& context, const ModelFiles& files,
               std::uint64_t mostBytes = kMostPictureBytes)
      : m_context(context), m_files(files), m_bytesLeft(mostBytes) {}

  /// Index into Scene::images of the picture that a material calls `reference`; -1 with a warning
  /// in the scene when it cannot be had, or would be too much.
  int IndexOf(const std::string& reference, const PictureUse& use);

 private:
  /// A picture in the model, or null and a file; and what is made of it.
  using Key = std::tuple<const aiTexture*, FileId, PictureUse>;

  int Add(const std::string& reference, const PictureUse& use);
  BitmapPtr LoadFile(const OpenedFile& file, const std::string& name, std::string* error) const;
  BitmapPtr LoadEmbedded(const aiTexture& texture, const std::string& name,
                         std::string* error) const;
  std::string NotFoundText(const std::string& reference, FileFault fault) const;

  const ImportContext& m_context;
  const ModelFiles& m_files;
  std::uint64_t m_bytesLeft;
  std::map<std::pair<std::string, PictureUse>, int> m_indices;
  std::map<Key, int> m_loaded;
};

}  // namespace hostkit
