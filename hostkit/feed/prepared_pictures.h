// The textures of a scene's pictures.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathVec.h>

#include <cstdint>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "host/GATexture.h"
#include "hostkit/feed/picture_layout.h"
#include "hostkit/feed/picture_making.h"
#include "hostkit/scene/scene.h"

class GADriver;

namespace hostkit {

/// What a texture is made of; see PictureMix. Indices into Scene::images, -1 for none.
struct TextureRecipe {
  int color = -1, glow = -1;
  Imath::V3f base{1}, emission{0};
  int leastAlpha = 0;
};

struct PreparedTexture {
  std::unique_ptr<GATexture> texture;
  UvMap uvs;
  bool hasAlpha = false;  ///< Some of its texels are not opaque.
};

/// Makes each texture once, however many meshes share it.
class PreparedPictures {
 public:
  /// Looks at which part of each picture the scene's meshes show. Driver and scene must live longer
  /// than this.
  void Begin(GADriver* driver, const Scene& scene);

  /// Whether the index is one of a picture with pixels.
  bool IsPicture(int image) const;
  /// How many texels a picture has.
  std::int64_t TexelsOf(int image) const;
  /// Whether some texel of the picture is not opaque.
  bool HasAlpha(int image);
  /// The texture, which lives as long as this; one picture at least must be there. Null when memory
  /// runs out.
  const PreparedTexture* Make(const TextureRecipe& recipe);

 private:
  using Key = std::tuple<int, int, int, float, float, float, float, float, float>;

  std::unique_ptr<PreparedTexture> New(const TextureRecipe& recipe);
  PictureMix MixOf(const TextureRecipe& recipe) const;

  GADriver* m_driver = nullptr;
  const Scene* m_scene = nullptr;
  std::vector<Imath::Box2f> m_shown;  // by image: the texture coordinates that it is shown with
  std::map<int, bool> m_hasAlpha;
  int m_largeSquares = 0;  // textures that Enlarging::kLargeSquares has made large
  std::map<Key, std::unique_ptr<PreparedTexture>> m_textures;
};

}  // namespace hostkit
