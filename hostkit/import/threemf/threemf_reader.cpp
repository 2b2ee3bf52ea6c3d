// 3MF packages into scenes.
//
// The import library corrupts memory where a package has several objects.
#include "hostkit/import/threemf/threemf_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

#include "hostkit/import/archive.h"
#include "hostkit/import/archive_check.h"
#include "hostkit/import/corner_numbers.h"
#include "hostkit/import/read_meshes.h"
#include "hostkit/import/surface_colors.h"
#include "hostkit/import/threemf/threemf_model.h"
#include "hostkit/scene/directions.h"

namespace hostkit {
namespace {

using Imath::M44d;
using Imath::M44f;
using Imath::V2f;
using Imath::V3d;

constexpr std::size_t kMostInstances = 100'000;
constexpr int kDeepest = 64;               // components of components
constexpr std::size_t kLongestName = 256;  // bytes; each placement has it
constexpr std::uint32_t kWhiteBits = 0xffffffff;
constexpr float kSlack = 1e-4f;  // by which coordinates may miss the edge of a picture

std::uint64_t WordOf(const V2f& uv) {
  return std::bit_cast<std::uint64_t>(std::array<float, 2>{uv.x, uv.y});
}

V2f UvOfWord(std::uint64_t word) {
  const auto uv = std::bit_cast<std::array<float, 2>>(word);
  return {uv[0], uv[1]};
}

class Assembly {
 public:
  Assembly(const ModelSource& source, const Archive& archive, const ThreeMfModel& model)
      : m_source(source),
        m_archive(archive),
        m_model(model),
        m_images(model.pictures.size(), kNew) {}

  void Run() {
    for (const ThreeMfUse& item : m_model.items) Place(item);
    m_leftOut.Tell(m_source);
    Tell(m_missing, "objects that are not there");
    Tell(m_unplaced, "objects that are too many, too deep in others, or placed nowhere");
    Tell(m_model.missingParts, "parts that cannot be read");
    if (m_beyond > 0) {
      AddWarning(m_source.scene,
                 fmt::format("{}: triangles that reach beyond pictures which end there: {}; the "
                             "colours of their edges go on; cut the triangles there",
                             m_source.files.ModelPath(), m_beyond));
    }
  }

 private:
  struct Step {
    ThreeMfId object;
    M44d toWorld;
    int depth;
    int above;  ///< Name of what it is a component of; -1: none.
  };
  /// The meshes of an object: one for each picture on it.
  struct Meshes {
    std::vector<int> indices;
    V3d taken;  ///< From their positions.
  };
  /// Triangles of an object with one picture, as indices.
  using Group = std::span<const std::uint32_t>;

  void Tell(std::size_t count, const char* what) const {
    if (count == 0) return;
    AddWarning(m_source.scene,
               fmt::format("{}: {} left out: {}; repair the model where it was made",
                           m_source.files.ModelPath(), what, count));
  }

  /// Places an object with all that it is composed of.
  void Place(const ThreeMfUse& item) {
    std::vector<Step> pending{{item.object, item.place, 0, -1}};
    while (!pending.empty()) {
      const Step step = std::move(pending.back());
      pending.pop_back();
      const auto found = m_model.objects.find(step.object);
      if (found == m_model.objects.end()) {
        ++m_missing;
        continue;
      }
      const bool isGood =
          step.depth < kDeepest && m_steps++ < kMostInstances && IsFinite(M44f(step.toWorld));
      if (!isGood) {
        ++m_unplaced;
        continue;
      }
      const ThreeMfObject& object = found->second;
      std::vector<SceneNodeName>& names = m_source.scene.nodeNames;
      const int name = static_cast<int>(names.size());
      names.push_back({object.name.substr(0, kLongestName), step.above});
      AddInstances(MeshesOf(step.object, object), step.toWorld, name);
      // Before they wait: objects may have many components that are objects with many.
      if (pending.size() + object.components.size() > kMostInstances) {
        m_unplaced += object.components.size();
        continue;
      }
      for (std::size_t i = object.components.size(); i-- > 0;) {
        const auto& use = object.components[i];
        pending.push_back({use.object, use.place * step.toWorld, step.depth + 1, name});
      }
    }
  }

  void AddInstances(const Meshes& meshes, const M44d& toWorld, int name) {
    const M44d place = M44d().setTranslation(meshes.taken) * toWorld;
    m_steps += meshes.indices.empty() ? 0 : meshes.indices.size() - 1;
    for (const int mesh : meshes.indices) {
      m_source.scene.instances.push_back({mesh, M44f(place), name});
      m_source.places.instances.push_back(place);
    }
  }

  const Meshes& MeshesOf(const ThreeMfId& id, const ThreeMfObject& object) {
    const auto [entry, isNew] = m_meshes.try_emplace(id, Meshes{{}, V3d(0.0)});
    if (isNew) MakeMeshes(object, entry->second);
    return entry->second;
  }

  void MakeMeshes(const ThreeMfObject& object, Meshes& meshes) {
    const PlacedPositions placed = PlacePositions(object.positions, &meshes.taken);
    const auto pictureOf = [&object](std::uint32_t triangle) {
      return object.triangles[triangle].looks[0].picture;
    };
    std::vector<std::uint32_t> order(object.triangles.size());
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(), [&pictureOf](std::uint32_t a, std::uint32_t b) {
      return pictureOf(a) < pictureOf(b);
    });
    CornerNumbers numbers(placed.positions.size());
    for (auto first = order.begin(); first != order.end();) {
      const auto next = std::find_if(first, order.end(), [&](std::uint32_t triangle) {
        return pictureOf(triangle) != pictureOf(*first);
      });
      const int mesh = MakeMesh(object, placed, {first, next}, numbers);
      if (mesh >= 0) meshes.indices.push_back(mesh);
      first = next;
    }
  }

  /// Its index; -1 where nothing is left of it. `numbers` are clear before and afterwards.
  int MakeMesh(const ThreeMfObject& object, const PlacedPositions& placed, Group group,
               CornerNumbers& numbers) {
    const int picture = object.triangles[group[0]].looks[0].picture;
    const int image = ImageOf(picture);
    SceneMesh mesh;
    mesh.name = object.name;
    bool hasColors = false;
    for (const std::uint32_t index : group) {
      const ThreeMfTriangle& triangle = object.triangles[index];
      const auto* const bad =
          std::find_if_not(std::begin(triangle.corners), std::end(triangle.corners),
                           [&placed](std::uint32_t corner) { return placed.IsGood(corner); });
      if (bad != std::end(triangle.corners)) {
        m_leftOut.Count(*bad, placed);
        continue;
      }
      if (image >= 0 &&
          ReachesBeyond(triangle, m_model.pictures[static_cast<std::size_t>(picture)]))
        ++m_beyond;
      for (int i = 0; i < 3; ++i) {
        const ThreeMfLook& look = triangle.looks[i];
        const auto color = std::bit_cast<std::uint32_t>(look.color);
        hasColors = hasColors || (picture < 0 ? look.color.alpha > 0 : color != kWhiteBits);
        mesh.triangles.push_back(numbers.NumberOf(triangle.corners[i], color, WordOf(look.uv)));
      }
    }
    AddVertices(numbers, placed, hasColors, image >= 0, mesh);
    numbers.Clear();
    mesh.material = MaterialFor(image, hasColors);
    return AddMeshAlone(m_source.scene, std::move(mesh));
  }

  static void AddVertices(const CornerNumbers& numbers, const PlacedPositions& placed,
                          bool hasColors, bool hasUvs, SceneMesh& mesh) {
    const ColorBuf plain{204, 204, 204, 255};
    for (const CornerNumbers::Corner& corner : numbers.Corners()) {
      mesh.positions.push_back(placed.positions[corner.place]);
      const auto color = std::bit_cast<ColorBuf>(static_cast<std::uint32_t>(corner.a));
      if (hasColors) mesh.colors.push_back(color.alpha > 0 ? color : plain);
      if (hasUvs) mesh.uvs.push_back(UvOfWord(corner.b));
    }
  }

  static bool ReachesBeyond(const ThreeMfTriangle& triangle, const ThreeMfPicture& picture) {
    const auto isBeyond = [](float value) { return value < -kSlack || value > 1 + kSlack; };
    return std::any_of(
        std::begin(triangle.looks), std::end(triangle.looks), [&](const ThreeMfLook& look) {
          return (picture.endsU && isBeyond(look.uv.x)) || (picture.endsV && isBeyond(look.uv.y));
        });
  }

  /// Of a picture of the package, in the scene; -1 where it cannot be had.
  int ImageOf(int picture) {
    if (picture < 0) return -1;
    int& image = m_images[static_cast<std::size_t>(picture)];
    if (image != kNew) return image;
    const ThreeMfPicture& from = m_model.pictures[static_cast<std::size_t>(picture)];
    const auto load = [this, &from](const std::string& shown, std::uint64_t mostBytes,
                                    std::string* error) -> BitmapPtr {
      std::string bytes;
      if (ReadThreeMfPart(m_archive, from.part, kLargestPictureFile, &bytes)) {
        const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
        return EncodedPicture(data, bytes.size())(shown, mostBytes, error);
      }
      *error = shown + " cannot be read from the package; export it again";
      return nullptr;
    };
    return image = m_source.pictures.IndexOfEmbedded(&from, from.part, from.use, load);
  }

  /// `image` is of the scene, or -1.
  int MaterialFor(int image, bool hasColors) {
    const auto [entry, isNew] = m_materials.try_emplace({image, hasColors});
    if (!isNew) return entry->second;
    SceneMaterial material = image >= 0 || hasColors ? ColorsOnlyMaterial() : StandInMaterial();
    material.image = image;
    entry->second = static_cast<int>(m_source.scene.materials.size());
    m_source.scene.materials.push_back(std::move(material));
    return entry->second;
  }

  static constexpr int kNew = -2;  ///< A picture that nobody has asked for yet.

  const ModelSource& m_source;
  const Archive& m_archive;
  const ThreeMfModel& m_model;
  std::map<ThreeMfId, Meshes> m_meshes;
  std::vector<int> m_images;  ///< By picture: its index in the scene, -1 or kNew.
  std::map<std::pair<int, bool>, int> m_materials;
  LeftOut m_leftOut;
  std::size_t m_steps = 0, m_missing = 0, m_unplaced = 0, m_beyond = 0;
};

}  // namespace

bool ReadThreeMf(const ModelSource& source, std::string* error) {
  const std::string& path = source.files.ModelPath();
  const OpenedFile file = source.files.OpenModel();
  if (!file.IsOpen()) {
    *error = fmt::format("{}: cannot be opened; check its permissions", path);
    return false;
  }
  std::string fault = ArchiveFault(file.file.Get(), file.size);
  const Archive archive(file.file.Get(), file.size);
  if (fault.empty() && !archive.IsOpen()) {
    fault = "it is no ZIP archive, as 3MF files are; export the model again";
  }
  ThreeMfModel model;
  if (!fault.empty() || !ReadThreeMfModel(archive, &model, &fault)) {
    *error = fmt::format("{}: {}", path, fault);
    return false;
  }
  source.scene.upAxis = UpAxis::kPlusZ;
  source.scene.facts.metersPerUnit = model.metersPerUnit;
  Assembly(source, archive, model).Run();
  return true;
}

}  // namespace hostkit
