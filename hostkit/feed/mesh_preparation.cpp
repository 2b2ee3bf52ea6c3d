// What the renderer needs to know of a scene's meshes before the first frame.
#include "hostkit/feed/mesh_preparation.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "host/Animation.h"
#include "host/Colors.h"
#include "hostkit/feed/surface_looks.h"
#include "hostkit/scene/deform.h"
#include "hostkit/scene/vertex_places.h"

namespace hostkit {
namespace {

using Imath::V3f;

// Larger transparent meshes count as closed without looking: that takes time, and the renderer's
// queue holds a fraction of them.
constexpr std::size_t kMaxTrianglesToInspect = 500000;
// Alphas that are this much below a cut-off are rounded ones of it, in steps of 1/255.
constexpr float kAlphaSlack = 1e-3f;
// By how much the picture's least alpha, of 255, may differ within a band; and how many bands there
// are at most, and texels of their pictures before these are enlarged.
constexpr float kAlphaStep = 8, kMostBands = 16;
constexpr std::int64_t kMostBandTexels = std::int64_t{1} << 23;

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
bool IsClosed(const SceneMesh& mesh, const std::vector<V3f>& positions) {
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

float AlphaOf(const AttrProperty& surface) {
  return 1 - surface.transparency.Current();
}

// Where coordinates are held, those of some vertices lie beyond.
void AddHoldLines(const SceneMesh& mesh, const UvMap& map, std::vector<CutLine>* lines) {
  for (int i = 0; i < 2; ++i) {
    for (const float at : {map.least[i], map.most[i]}) {
      if (std::abs(at) > 1) continue;  // not held
      const auto isBelow = [&](const Imath::V2f& uv) { return uv[i] < at; };
      const auto below = std::count_if(mesh.uvs.begin(), mesh.uvs.end(), isBelow);
      if (below == 0 || static_cast<std::size_t>(below) == mesh.uvs.size()) continue;
      lines->push_back({i == 0 ? CutLine::kU : CutLine::kV, at});
    }
  }
}

}  // namespace

struct PreparedScene::Subject {
  const SceneMesh& mesh;
  const SceneMaterial& material;
  AttrProperty* surface;     // of the material
  int image, emissionImage;  // those that are there and have coordinates, else -1

  V3f Emission() const {
    const float* const emission = material.emission;
    return {emission[0], emission[1], emission[2]};
  }
};

AttrProperty* PreparedScene::Keep(const AttrProperty& material) {
  m_materials.push_back(material);
  return &m_materials.back();
}

void PreparedScene::ChooseSurface(const Subject& subject, PreparedMesh* prepared) {
  const SceneMesh& mesh = subject.mesh;
  prepared->material = subject.surface;
  if (mesh.positions.empty() || mesh.colors.size() != mesh.positions.size()) return;
  prepared->perVertexColors = !AreAllEqual(mesh.colors);
  if (!prepared->perVertexColors) {
    prepared->material = Keep(TintedSurface(*subject.surface, mesh.colors.front()));
  }
}

/// Turns alphas into seen and not seen. An alpha that all vertices have counts with the material's.
void PreparedScene::CutOff(const Subject& subject, PreparedMesh* prepared) {
  const float cutoff = subject.material.alphaCutoff;
  if (!(cutoff > 0)) return;
  float alpha = std::max(AlphaOf(*prepared->material), 1e-6f);
  if (prepared->perVertexColors && subject.mesh.colorsHaveAlpha) {
    const std::vector<ColorBuf>& colors = subject.mesh.colors;
    const bool differ = std::any_of(colors.begin(), colors.end(), [&](const ColorBuf& color) {
      return color.alpha != colors[0].alpha;
    });
    if (differ) {
      prepared->leastVertexAlpha = 255 * cutoff / alpha - kAlphaSlack;
      ChooseBands(subject, cutoff / alpha, prepared);
    }
    if (!differ) alpha *= static_cast<float>(colors[0].alpha) / 255;
  }
  const float least = std::ceil(255 * cutoff / std::max(alpha, 1e-6f) - kAlphaSlack);
  prepared->isInvisible = !(least <= 255);
  prepared->leastAlpha = prepared->isInvisible ? 255 : std::max(static_cast<int>(least), 1);
  prepared->material = Keep(*prepared->material);
  prepared->material->transparency = AnimatableValue(0.0f);
}

/// Bands in which the picture's least alpha differs little, where both it and the vertices' count:
/// their product is to be `wanted`.
void PreparedScene::ChooseBands(const Subject& subject, float wanted, PreparedMesh* prepared) {
  if (subject.image < 0 || !m_pictures.HasAlpha(subject.image)) return;
  const auto [lowest, highest] =
      std::minmax_element(subject.mesh.colors.begin(), subject.mesh.colors.end(),
                          [](const ColorBuf& a, const ColorBuf& b) { return a.alpha < b.alpha; });
  const float product = 255 * 255 * wanted;
  const float least = product / std::max<float>(highest->alpha, 1);
  const float most = std::min(product / std::max<float>(lowest->alpha, 1), 255.0f);
  const auto affordable = kMostBandTexels / m_pictures.TexelsOf(subject.image);
  const float count = std::min(
      {std::ceil((most - least) / kAlphaStep), static_cast<float>(affordable), kMostBands});
  for (float band = 0; band < count; ++band) {
    const float step = (most - least) / count, upper = most - band * step;
    const float middle = std::ceil(upper - step / 2 - kAlphaSlack);
    prepared->bands.push_back({product / upper, std::max(static_cast<int>(middle), 1)});
  }
}

/// Gives each band its texture. False when memory runs out.
bool PreparedScene::ChooseBandTextures(const TextureRecipe& recipe, GATexture* AlphaBand::*texture,
                                       PreparedMesh* prepared) {
  TextureRecipe own = recipe;
  for (AlphaBand& band : prepared->bands) {
    own.leastAlpha = band.leastAlpha;
    const PreparedTexture* made = m_pictures.Make(own);
    if (!made) return false;
    band.*texture = made->texture.get();
  }
  return true;
}

int PreparedMesh::LeastAlphaAt(int vertexAlpha) const {
  int least = leastAlpha;
  for (const AlphaBand& band : bands) {
    if (&band == &bands.front() || band.from <= static_cast<float>(vertexAlpha)) {
      least = band.leastAlpha;
    }
  }
  return least;
}

/// False when memory runs out.
bool PreparedScene::ChoosePictures(const Subject& subject, PreparedMesh* prepared) {
  prepared->transparent =
      prepared->material->transparency.Current() != 0 ||
      (prepared->perVertexColors && subject.mesh.colorsHaveAlpha && prepared->leastAlpha == 0);
  if (subject.image < 0) return true;
  const bool hasAlpha = m_pictures.HasAlpha(subject.image);
  TextureRecipe recipe;
  recipe.color = subject.image;
  if (hasAlpha) recipe.leastAlpha = prepared->leastAlpha;
  const PreparedTexture* texture = m_pictures.Make(recipe);
  if (!texture) return false;
  prepared->texture = texture->texture.get();
  prepared->uvs = texture->uvs;
  prepared->transparent = prepared->transparent || hasAlpha;
  return ChooseBandTextures(recipe, &AlphaBand::texture, prepared);
}

/// Makes what is seen of a surface beside light. False when memory runs out.
bool PreparedScene::ChooseLook(const Subject& subject, PreparedMesh* prepared) {
  AttrProperty& plain = *prepared->material;
  prepared->surface = prepared->picturedSurface = &plain;
  prepared->isUnlit = subject.material.isUnlit;
  if (prepared->isUnlit) {
    prepared->material = Keep(UnlitSurface(BaseColor(plain), AlphaOf(plain)));
    return true;
  }
  const V3f emission = subject.Emission();
  if (emission == V3f(0)) return true;
  if (subject.emissionImage < 0) prepared->emission = emission;
  if (prepared->texture || subject.emissionImage >= 0) {
    const bool isBlended = prepared->transparent && prepared->leastAlpha == 0;
    return isBlended ? MixEmission(subject, prepared) : AddGlow(subject, prepared);
  }
  prepared->picturedEmission = emission;
  prepared->material = Keep(GlowingSurface(plain, emission));
  return true;
}

/// Emission of what is blended: part of the picture.
bool PreparedScene::MixEmission(const Subject& subject, PreparedMesh* prepared) {
  TextureRecipe recipe;
  recipe.color = subject.image;
  recipe.glow = subject.emissionImage;
  recipe.base = BaseColor(*prepared->surface);
  recipe.emission = subject.Emission();
  const PreparedTexture* texture = m_pictures.Make(recipe);
  if (!texture) return false;
  prepared->texture = texture->texture.get();
  prepared->uvs = texture->uvs;
  AttrProperty white = *prepared->surface;
  white.base = {AnimatableValue(1.0f), AnimatableValue(1.0f), AnimatableValue(1.0f)};
  prepared->material = Keep(white);
  prepared->picturedSurface = prepared->material;
  return true;
}

/// Emission of what is not: a light of its own, which is clear where the surface is cut out.
bool PreparedScene::AddGlow(const Subject& subject, PreparedMesh* prepared) {
  Glow& glow = prepared->glow;
  m_hasGlow[prepared->transparent] = true;
  TextureRecipe recipe;
  recipe.base = V3f(0);
  recipe.emission = V3f(1);
  recipe.glow = subject.emissionImage;
  V3f color = subject.Emission();
  if (recipe.glow >= 0 && std::max({color.x, color.y, color.z}) > 1) {
    std::swap(recipe.emission, color);  // more than white: the picture is brightened instead
  } else if (recipe.glow >= 0 && !prepared->transparent && !m_pictures.HasAlpha(recipe.glow)) {
    recipe = {};
    recipe.color = subject.emissionImage;
  }
  if (prepared->transparent) {
    recipe.color = subject.image;
    recipe.leastAlpha = prepared->leastAlpha;
  }
  glow.material = Keep(UnlitSurface(color, 1));
  if (recipe.color < 0 && recipe.glow < 0) return true;
  const PreparedTexture* texture = m_pictures.Make(recipe);
  if (!texture) return false;
  glow.texture = texture->texture.get();
  glow.uvs = texture->uvs;
  return ChooseBandTextures(recipe, &AlphaBand::glow, prepared);
}

/// Cuts the triangles where that makes a difference.
void PreparedScene::ChooseCuts(const Subject& subject, PreparedMesh* prepared) {
  std::vector<CutLine> lines;
  if (prepared->leastVertexAlpha > 0) {
    lines.push_back({CutLine::kAlpha, prepared->leastVertexAlpha, true});
  }
  for (std::size_t i = 1; i < prepared->bands.size(); ++i) {
    lines.push_back({CutLine::kAlpha, prepared->bands[i].from});
  }
  if (prepared->texture) AddHoldLines(subject.mesh, prepared->uvs, &lines);
  if (prepared->glow.texture) AddHoldLines(subject.mesh, prepared->glow.uvs, &lines);
  if (!lines.empty()) prepared->cuts = CutMesh(subject.mesh, lines);
}

bool PreparedScene::PrepareMesh(const Scene& scene, const SceneMesh& mesh, std::string* error) {
  std::size_t count = mesh.positions.size();
  if (!AreIndicesGood(mesh) || mesh.material < 0 ||
      static_cast<std::size_t>(mesh.material) >= scene.materials.size()) {
    *error = fmt::format(
        "mesh '{}' refers to vertices or a material that it does not have; "
        "export the model again",
        mesh.name);
    return false;
  }
  const auto index = static_cast<std::size_t>(mesh.material);
  const SceneMaterial& material = scene.materials[index];
  PreparedMesh prepared;
  prepared.hasNormals = mesh.normals.size() == count;
  prepared.hasUvs = mesh.uvs.size() == count;
  prepared.showsBacks = material.showsBacks;
  const auto usable = [&](int image) {
    return prepared.hasUvs && m_pictures.IsPicture(image) ? image : -1;
  };
  const Subject subject = {mesh, material, &m_materials[index], usable(material.image),
                           usable(material.emissionImage)};
  prepared.image = subject.image;
  if (!material.isUnlit) prepared.emissionImage = subject.emissionImage;
  ChooseSurface(subject, &prepared);
  CutOff(subject, &prepared);
  if (!ChoosePictures(subject, &prepared) || !ChooseLook(subject, &prepared)) {
    *error = fmt::format(
        "the pictures of material '{}' cannot be uploaded: memory ran out; use smaller ones",
        material.name);
    return false;
  }
  ChooseCuts(subject, &prepared);
  const SceneDeformation* deformation = m_deformations[m_meshes.size()];
  if (prepared.transparent) {
    prepared.closed = IsClosed(mesh, deformation ? deformation->positions : mesh.positions);
  }
  m_meshes.push_back(std::move(prepared));
  return true;
}

bool PreparedScene::Prepare(GADriver* driver, const Scene& scene, std::string* error) {
  for (const SceneMaterial& material : scene.materials) m_materials.push_back(material.surface);
  m_pictures.Begin(driver, scene);
  m_deformations = DeformationsByMesh(scene);
  for (const SceneMesh& mesh : scene.meshes) {
    if (!PrepareMesh(scene, mesh, error)) return false;
  }
  return std::all_of(scene.instances.begin(), scene.instances.end(), [&](const SceneInstance& i) {
    bool good = i.mesh >= 0 && static_cast<std::size_t>(i.mesh) < scene.meshes.size();
    if (!good) *error = "the scene places a mesh that it does not have; export the model again";
    return good;
  });
}

}  // namespace hostkit
