// The textures of a scene's pictures.
#include "hostkit/feed/prepared_pictures.h"

#include <algorithm>

#include "host/GADriver.h"
#include "hostkit/feed/picture_texels.h"

namespace hostkit {
namespace {

// Whether a layout depends on what of the picture is shown.
bool IsWindowed(const SceneImage& image) {
  if (!image.bitmap) return false;
  return image.wrapU != PictureWrap::kRepeat || image.wrapV != PictureWrap::kRepeat ||
         image.bitmap->GetWidth() % 4 != 0 || image.bitmap->GetHeight() % 4 != 0;
}

// Sides from which on squares take a texture as large as any, of up to 64 MiB; few get one.
constexpr int kLargeSide = 1024, kMostLargeSquares = 2;

Enlarging EnlargingFor(const PictureMix& mix, int largeSquares) {
  const SceneImage& leader = *mix.Leader();
  if (leader.isNearest) {
    const int side = std::max(leader.bitmap->GetWidth(), leader.bitmap->GetHeight());
    const bool isLarge = side > kLargeSide && largeSquares < kMostLargeSquares;
    return isLarge ? Enlarging::kLargeSquares : Enlarging::kSquares;
  }
  return mix.leastAlpha > 0 ? Enlarging::kSmooth : Enlarging::kNone;
}

bool IsReadable(const SceneImage* image) {
  return !image || PictureTexels(*image).IsReadable();
}

}  // namespace

void PreparedPictures::Begin(GADriver* driver, const Scene& scene) {
  m_driver = driver;
  m_scene = &scene;
  m_shown.assign(scene.images.size(), {});
  for (const SceneMesh& mesh : scene.meshes) {
    if (mesh.material < 0 || static_cast<std::size_t>(mesh.material) >= scene.materials.size()) {
      continue;
    }
    const SceneMaterial& material = scene.materials[static_cast<std::size_t>(mesh.material)];
    for (const int image : {material.image, material.emissionImage}) {
      if (!IsPicture(image) || !IsWindowed(scene.images[static_cast<std::size_t>(image)])) continue;
      Imath::Box2f& shown = m_shown[static_cast<std::size_t>(image)];
      for (const Imath::V2f& uv : mesh.uvs) shown.extendBy(uv);
    }
  }
}

bool PreparedPictures::IsPicture(int image) const {
  return image >= 0 && static_cast<std::size_t>(image) < m_scene->images.size() &&
         m_scene->images[static_cast<std::size_t>(image)].bitmap;
}

std::int64_t PreparedPictures::TexelsOf(int image) const {
  const HBitmapNode& bitmap = *m_scene->images[static_cast<std::size_t>(image)].bitmap;
  return std::int64_t{bitmap.GetWidth()} * bitmap.GetHeight();
}

bool PreparedPictures::HasAlpha(int image) {
  const auto [found, isNew] = m_hasAlpha.try_emplace(image, false);
  if (isNew) {
    const PictureTexels texels(m_scene->images[static_cast<std::size_t>(image)]);
    found->second = texels.IsReadable() && texels.HasAlpha();
  }
  return found->second;
}

PictureMix PreparedPictures::MixOf(const TextureRecipe& recipe) const {
  const auto imageOf = [&](int image) {
    return IsPicture(image) ? &m_scene->images[static_cast<std::size_t>(image)] : nullptr;
  };
  return {imageOf(recipe.color), imageOf(recipe.glow), recipe.base, recipe.emission,
          recipe.leastAlpha};
}

const PreparedTexture* PreparedPictures::Make(const TextureRecipe& recipe) {
  const Imath::V3f &base = recipe.base, &emission = recipe.emission;
  const Key key(recipe.color, recipe.glow, recipe.leastAlpha, base.x, base.y, base.z, emission.x,
                emission.y, emission.z);
  std::unique_ptr<PreparedTexture>& texture = m_textures[key];
  if (!texture) texture = New(recipe);
  return texture.get();
}

std::unique_ptr<PreparedTexture> PreparedPictures::New(const TextureRecipe& recipe) {
  const PictureMix mix = MixOf(recipe);
  const SceneImage& leader = *mix.Leader();
  HBitmapNode* bitmap = leader.bitmap.get();
  auto made = std::make_unique<PreparedTexture>();
  BitmapPtr owned;
  if (IsReadable(mix.color) && IsReadable(mix.glow)) {
    const int width = bitmap->GetWidth(), height = bitmap->GetHeight();
    const Imath::Box2f& shown = m_shown[static_cast<std::size_t>(&leader - m_scene->images.data())];
    const Enlarging enlarging = EnlargingFor(mix, m_largeSquares);
    const PictureLayout layout = LayOutPicture(
        leader, width, height, shown.isEmpty() ? Imath::Box2f({0, 0}, {1, 1}) : shown, enlarging);
    if (enlarging == Enlarging::kLargeSquares && layout.u.factor > 1) ++m_largeSquares;
    made->uvs = MapInto(layout, width, height);
    if (!mix.IsPictureAlone() || mix.leastAlpha > 0 || !IsPlain(layout, width, height)) {
      owned = MakePicture(mix, layout, enlarging);
      if (!owned) return nullptr;
      bitmap = owned.get();
    }
    made->hasAlpha = mix.color && HasAlpha(recipe.color);
  }
  made->texture.reset(m_driver->CreateTexture());
  if (!made->texture || !made->texture->MakeGATexture(bitmap, GATexture::kRepeat, 0, 0))
    return nullptr;
  return made;
}

}  // namespace hostkit
