// What the renderer needs to know of a scene's meshes before the first frame.
#include "hostkit/feed/mesh_preparation.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

#include "host/Animation.h"
#include "host/Colors.h"
#include "host/GADriver.h"
#include "hostkit/scene/deform.h"
#include "hostkit/scene/vertex_places.h"

namespace hostkit {
namespace {

using Imath::V2f;

// Larger transparent meshes count as closed without looking: that takes time, and the renderer's
// queue holds a fraction of them.
constexpr std::size_t kMaxTrianglesToInspect = 500000;

bool HasAlpha(const SceneImage& image) {
  HBitmapBuffer* colors = image.bitmap ? image.bitmap->FindBuffer("Color") : nullptr;
  if (!colors || !colors->Data() || colors->Type() != HBitmapBuffer::kByteChannel ||
      colors->Channels() < 4) {
    return false;
  }
  for (int y = 0; y < colors->Height(); ++y) {
    const auto* alpha = static_cast<const unsigned char*>(colors->Data()) +
                        static_cast<std::ptrdiff_t>(y) * colors->RowStep() + 3;
    for (int x = 0; x < colors->Width(); ++x, alpha += colors->PixelStep()) {
      if (*alpha != 255) return true;
    }
  }
  return false;
}

bool AreIndicesGood(const SceneMesh& mesh) {
  auto good = [&](const std::vector<std::uint32_t>& indices) {
    return std::all_of(indices.begin(), indices.end(),
                       [&](std::uint32_t i) { return i < mesh.positions.size(); });
  };
  return good(mesh.triangles) && good(mesh.lines) && good(mesh.points) &&
         mesh.triangles.size() % 3 == 0 && mesh.lines.size() % 2 == 0;
}

// Closed means that each directed edge is met by as many edges the other way. Vertices at one place
// count as one: seams of normals and texture coordinates are no openings. Of a mesh that joints
// move `positions` are those before anything acts, as it may be posed with all of them at one
// place.
bool IsClosed(const SceneMesh& mesh, const std::vector<Imath::V3f>& positions) {
  if (mesh.triangles.size() / 3 > kMaxTrianglesToInspect) return true;
  std::size_t placeCount = 0;
  const std::vector<std::uint32_t> places = NumberPlaces(positions, &placeCount);
  std::vector<std::uint64_t> edges, opposite;
  edges.reserve(mesh.triangles.size());
  opposite.reserve(mesh.triangles.size());
  for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
    std::size_t next = i % 3 == 2 ? i - 2 : i + 1;
    std::uint64_t a = places[mesh.triangles[i]], b = places[mesh.triangles[next]];
    edges.push_back(a << 32 | b);
    opposite.push_back(b << 32 | a);
  }
  std::sort(edges.begin(), edges.end());
  std::sort(opposite.begin(), opposite.end());
  return edges == opposite;
}

bool AreAllEqual(const std::vector<ColorBuf>& colors) {
  auto same = [&](const ColorBuf& c) {
    const ColorBuf& first = colors.front();
    return c.red == first.red && c.green == first.green && c.blue == first.blue &&
           c.alpha == first.alpha;
  };
  return std::all_of(colors.begin(), colors.end(), same);
}

AttrProperty Folded(const AttrProperty& material, const ColorBuf& color) {
  AttrProperty folded = material;
  folded.base.red = AnimatableValue(material.base.red.Current() * color.red / 255);
  folded.base.green = AnimatableValue(material.base.green.Current() * color.green / 255);
  folded.base.blue = AnimatableValue(material.base.blue.Current() * color.blue / 255);
  float alpha = (1 - material.transparency.Current()) * color.alpha / 255;
  folded.transparency = AnimatableValue(1 - alpha);
  return folded;
}

// Whether all coordinates lie in [0, 1], a hair's breadth of rounding allowed.
bool AreInside(const std::vector<V2f>& uvs) {
  constexpr float kSlack = 1e-3f;
  return std::all_of(uvs.begin(), uvs.end(), [](const V2f& uv) {
    return uv.x >= -kSlack && uv.y >= -kSlack && uv.x <= 1 + kSlack && uv.y <= 1 + kSlack;
  });
}

}  // namespace

/// Null without a picture, and when memory runs out.
GATexture* PreparedScene::TextureOf(GADriver* driver, const SceneImage& image, int index,
                                    bool border) {
  std::unique_ptr<GATexture>& texture = m_textures[{index, border}];
  if (texture || !image.bitmap) return texture.get();
  texture.reset(driver->CreateTexture());
  const int wrap = border ? GATexture::kBorder : GATexture::kRepeat;
  if (texture && !texture->MakeGATexture(image.bitmap.get(), wrap, 0, 0)) texture.reset();
  return texture.get();
}

bool PreparedScene::PrepareMesh(GADriver* driver, const Scene& scene, const SceneMesh& mesh,
                                std::string* error) {
  std::size_t count = mesh.positions.size();
  if (!AreIndicesGood(mesh) || mesh.material < 0 ||
      static_cast<std::size_t>(mesh.material) >= scene.materials.size()) {
    *error = fmt::format(
        "mesh '{}' refers to vertices or a material that it does not have; "
        "export the model again",
        mesh.name);
    return false;
  }
  const SceneMaterial& material = scene.materials[static_cast<std::size_t>(mesh.material)];
  PreparedMesh prepared;
  prepared.material = &m_materials[static_cast<std::size_t>(mesh.material)];
  prepared.hasNormals = mesh.normals.size() == count;
  prepared.hasUvs = mesh.uvs.size() == count;
  if (count > 0 && mesh.colors.size() == count) {
    prepared.perVertexColors = !AreAllEqual(mesh.colors);
    if (!prepared.perVertexColors) {
      m_materials.push_back(Folded(*prepared.material, mesh.colors.front()));
      prepared.material = &m_materials.back();
    }
  }
  prepared.transparent = prepared.material->transparency.Current() != 0 ||
                         (prepared.perVertexColors && mesh.colorsHaveAlpha);
  int index = material.image;
  if (index >= 0 && static_cast<std::size_t>(index) < scene.images.size() && prepared.hasUvs) {
    const SceneImage& image = scene.images[static_cast<std::size_t>(index)];
    // The renderer's clamped textures have a clear red border, which shows at the edges of a
    // picture that ends with its surface. So a clamped picture repeats, with the coordinates held
    // half a pixel off its edges; only where coordinates leave the picture does it get the border.
    const bool isClamped = image.wrapU == PictureWrap::kClamp;
    bool border = isClamped && !AreInside(mesh.uvs);
    prepared.texture = TextureOf(driver, image, index, border);
    if (image.bitmap && !prepared.texture) {
      *error = fmt::format(
          "picture '{}' of the model cannot be uploaded: memory ran out; use a smaller one",
          image.name);
      return false;
    }
    if (isClamped && !border && image.bitmap) {
      prepared.uvMin = V2f(0.5f / static_cast<float>(image.bitmap->GetWidth()),
                           0.5f / static_cast<float>(image.bitmap->GetHeight()));
      prepared.uvMax = V2f(1) - prepared.uvMin;
    }
    bool hasAlpha = m_imageHasAlpha[static_cast<std::size_t>(index)];
    if (prepared.texture && hasAlpha) prepared.transparent = true;
  }
  const SceneDeformation* deformation = m_deformations[m_meshes.size()];
  if (prepared.transparent) {
    prepared.closed = IsClosed(mesh, deformation ? deformation->positions : mesh.positions);
  }
  m_meshes.push_back(prepared);
  return true;
}

bool PreparedScene::Prepare(GADriver* driver, const Scene& scene, std::string* error) {
  for (const SceneMaterial& material : scene.materials) m_materials.push_back(material.surface);
  for (const SceneImage& image : scene.images) m_imageHasAlpha.push_back(HasAlpha(image));
  m_deformations = DeformationsByMesh(scene);
  for (const SceneMesh& mesh : scene.meshes) {
    if (!PrepareMesh(driver, scene, mesh, error)) return false;
  }
  return std::all_of(scene.instances.begin(), scene.instances.end(), [&](const SceneInstance& i) {
    bool good = i.mesh >= 0 && static_cast<std::size_t>(i.mesh) < scene.meshes.size();
    if (!good) *error = "the scene places a mesh that it does not have; export the model again";
    return good;
  });
}

}  // namespace hostkit
