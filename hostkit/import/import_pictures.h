// Pictures of a model: embedded in it, or in files near it.
#pragma once

#include <compare>
#include <map>
#include <string>
#include <utility>

#include "hostkit/import/import_context.h"
#include "hostkit/services/bitmap_ptr.h"

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

/// The file that a model means by `reference`, or "" when there is none. Tried in turn: the path
/// as it stands, relative to the model's folder, without regard to case, and its last part alone
/// in the model's folder and in "textures" beside the model. Backslashes separate folders too.
std::string FindPictureFile(const std::string& modelPath, const std::string& reference);

/// Loads each picture once for each use of it.
class PictureStore {
 public:
  /// `context` is not owned and must outlive the store.
  explicit PictureStore(const ImportContext& context) : m_context(context) {}

  /// Index into Scene::images of the picture that a material calls `reference`; -1 with a warning
  /// in the scene when it cannot be had.
  int IndexOf(const std::string& reference, const PictureUse& use);

 private:
  BitmapPtr Load(const std::string& reference, std::string* error) const;

  const ImportContext& m_context;
  std::map<std::pair<std::string, PictureUse>, int> m_indices;
};

}  // namespace hostkit
