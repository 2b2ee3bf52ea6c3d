// Pictures of a model: embedded in it, or in files near it.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "hostkit/import/model_files.h"
#include "hostkit/scene/scene.h"
#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// What a material makes of a picture's alpha.
enum class AlphaUse {
  kBlend,   ///< As it is, but opaque where it is 0 everywhere: such a channel was never filled.
  kIgnore,  ///< Opaque.
  kExact,   ///< As it is.
};

struct PictureUse {
  AlphaUse alpha = AlphaUse::kBlend;
  PictureWrap wrapU = PictureWrap::kRepeat, wrapV = PictureWrap::kRepeat;
  bool isNearest = false;

  // NOLINTNEXTLINE(modernize-use-nullptr): the check trips over what the compiler generates.
  auto operator<=>(const PictureUse&) const = default;
};

/// What the pictures of one model may come to. Each use of a picture counts as one.
constexpr std::uint64_t kMostPictureBytes = std::uint64_t{2} << 30;    ///< Decoded, all together.
constexpr std::size_t kMostPictures = 4096;                            ///< Tried, broken ones too.
constexpr std::uint64_t kLargestPictureFile = std::uint64_t{1} << 30;  ///< Bytes of one file.

/// Adds a warning line to the scene, once however often it is given.
void AddWarning(Scene& scene, std::string line);

/// Makes a picture that lies in a model, of at most `mostBytes` once decoded. On failure returns
/// null with one line in `*error` that begins with `shown`.
using PictureLoader =
    std::function<BitmapPtr(const std::string& shown, std::uint64_t mostBytes, std::string* error)>;

/// A loader of an encoded picture: PNG, JPEG and whatever else is known. The bytes are not owned.
PictureLoader EncodedPicture(const unsigned char* bytes, std::size_t size);

/// Loads each picture once for each use of it, under however many names.
class PictureStore {
 public:
  /// Neither is owned, and both must outlive the store.
  PictureStore(Scene& scene, const ModelFiles& files, std::uint64_t mostBytes = kMostPictureBytes)
      : m_scene(scene), m_files(files), m_bytesLeft(mostBytes) {}

  /// Index into Scene::images of the picture in a file that a material calls `reference`; -1 with a
  /// warning in the scene when it cannot be had, or would be too much.
  int IndexOf(const std::string& reference, const PictureUse& use);

  /// The same for a picture in the model, which `key` tells from others, and `name` in messages.
  int IndexOfEmbedded(const void* key, const std::string& name, const PictureUse& use,
                      const PictureLoader& load);

  /// The picture in a file as it is, of at most `mostBytes` once decoded: for loaders that make one
  /// of several. Null with one line in `*error`.
  BitmapPtr Load(const std::string& reference, std::uint64_t mostBytes, std::string* error) const;

 private:
  /// The key of a picture in the model, or null and a file; and what is made of it.
  using Key = std::tuple<const void*, FileId, PictureUse>;

  int AddFile(const std::string& reference, const PictureUse& use);
  int Add(const Key& key, const std::string& name, const std::string& shown,
          const PictureLoader& load);
  std::string NotFoundText(const std::string& reference, FileFault fault) const;
  std::string ShownName(const std::string& reference) const;

  Scene& m_scene;
  const ModelFiles& m_files;
  std::uint64_t m_bytesLeft;
  std::map<std::pair<std::string, PictureUse>, int> m_indices;
  std::map<Key, int> m_loaded;
};

}  // namespace hostkit
