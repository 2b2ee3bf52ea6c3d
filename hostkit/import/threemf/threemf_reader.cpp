// 3MF packages into scenes.
//
// The import library corrupts memory where a package has several objects.
#include "hostkit/import/threemf/threemf_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
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
using Imath::V3d;

constexpr std::size_t kMostInstances = 100'000;
constexpr int kDeepest = 64;  // components of components

class Assembly {
 public:
  Assembly(const ModelSource& source, const ThreeMfModel& model)
      : m_source(source), m_model(model) {}

  void Run() {
    for (const ThreeMfUse& item : m_model.items) Place(item);
    m_leftOut.Tell(m_source);
    Tell(m_missing, "objects that are not there");
    Tell(m_unplaced, "objects that are too many, too deep in others, or placed nowhere");
    Tell(m_model.missingParts, "parts that cannot be read");
    if (m_model.pictures > 0) {
      AddWarning(m_source.scene,
                 fmt::format("{}: pictures on triangles left out: {}; export it as glTF",
                             m_source.files.ModelPath(), m_model.pictures));
    }
  }

 private:
  struct Step {
    ThreeMfId object;
    M44d toWorld;
    int depth;
  };
  struct Mesh {
    int index;
    V3d taken;  ///< From its positions.
  };

  void Tell(std::size_t count, const char* what) const {
    if (count == 0) return;
    AddWarning(m_source.scene,
               fmt::format("{}: {} left out: {}; repair the model where it was made",
                           m_source.files.ModelPath(), what, count));
  }

  /// Places an object with all that it is composed of.
  void Place(const ThreeMfUse& item) {
    std::vector<Step> pending{{item.object, item.place, 0}};
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
      AddInstance(MeshOf(step.object, object), step.toWorld);
      // Before they wait: objects may have many components that are objects with many.
      if (pending.size() + object.components.size() > kMostInstances) {
        m_unplaced += object.components.size();
        continue;
      }
      for (std::size_t i = object.components.size(); i-- > 0;) {
        const auto& use = object.components[i];
        pending.push_back({use.object, use.place * step.toWorld, step.depth + 1});
      }
    }
  }

  void AddInstance(const Mesh& mesh, const M44d& toWorld) {
    if (mesh.index < 0) return;
    const M44d place = M44d().setTranslation(mesh.taken) * toWorld;
    m_source.scene.instances.push_back({mesh.index, M44f(place)});
    m_source.places.instances.push_back(place);
  }

  const Mesh& MeshOf(const ThreeMfId& id, const ThreeMfObject& object) {
    const auto [entry, isNew] = m_meshes.try_emplace(id, Mesh{-1, V3d(0.0)});
    if (isNew) entry->second = MakeMesh(object);
    return entry->second;
  }

  Mesh MakeMesh(const ThreeMfObject& object) {
    Mesh made{-1, V3d(0.0)};
    const PlacedPositions placed = PlacePositions(object.positions, &made.taken);
    CornerNumbers numbers(placed.positions.size());
    SceneMesh mesh;
    mesh.name = object.name;
    bool hasColors = false;
    for (const ThreeMfTriangle& triangle : object.triangles) {
      const auto* const bad =
          std::find_if_not(std::begin(triangle.corners), std::end(triangle.corners),
                           [&placed](std::uint32_t corner) { return placed.IsGood(corner); });
      if (bad != std::end(triangle.corners)) {
        m_leftOut.Count(*bad, placed);
        continue;
      }
      for (int i = 0; i < 3; ++i) {
        hasColors = hasColors || triangle.colors[i].alpha > 0;
        mesh.triangles.push_back(numbers.NumberOf(
            triangle.corners[i], std::bit_cast<std::uint32_t>(triangle.colors[i]), 0));
      }
    }
    const ColorBuf plain{204, 204, 204, 255};
    for (const CornerNumbers::Corner& corner : numbers.Corners()) {
      mesh.positions.push_back(placed.positions[corner.place]);
      const auto color = std::bit_cast<ColorBuf>(static_cast<std::uint32_t>(corner.a));
      if (hasColors) mesh.colors.push_back(color.alpha > 0 ? color : plain);
    }
    mesh.material = MaterialFor(hasColors);
    made.index = AddMeshAlone(m_source.scene, std::move(mesh));
    return made;
  }

  int MaterialFor(bool hasColors) {
    int& index = m_materials[hasColors ? 1 : 0];
    if (index < 0) {
      index = static_cast<int>(m_source.scene.materials.size());
      m_source.scene.materials.push_back(hasColors ? ColorsOnlyMaterial() : StandInMaterial());
    }
    return index;
  }

  const ModelSource& m_source;
  const ThreeMfModel& m_model;
  std::map<ThreeMfId, Mesh> m_meshes;
  int m_materials[2] = {-1, -1};
  LeftOut m_leftOut;
  std::size_t m_steps = 0, m_missing = 0, m_unplaced = 0;
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
  Assembly(source, model).Run();
  return true;
}

}  // namespace hostkit
