// The materials of an OBJ model in its scene.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/import/model_reader.h"
#include "hostkit/import/obj/obj_library.h"
#include "hostkit/import/obj/obj_model.h"

namespace hostkit {

/// Finds the libraries that a model names, and makes the materials that its meshes ask for.
class ObjMaterials {
 public:
  /// Neither is owned, and both must outlive the object. Reads the libraries; a warning in the
  /// scene tells of each that cannot be had, and of materials that are in none.
  ObjMaterials(const ModelSource& source, const ObjModel& model);

  /// Index into Scene::materials for a mesh of the model's material of that number. `hasColors`:
  /// its vertices have colours.
  int IndexOf(std::uint32_t material, bool hasColors);

  /// Where the mesh's texture coordinates lead, v = 0 being the picture's top.
  Imath::V2f PlacedUv(std::uint32_t material, const Imath::V2f& uv) const;

 private:
  void FindLibraries(std::string_view line);
  bool ReadLibrary(const std::string& name, FileFault* fault);
  void TellMissing(const std::string& name, FileFault fault);
  void FindMaterials();
  SceneMaterial Make(const ObjMaterial& from, bool hasColors);
  int PictureOf(const ObjMaterial& from);

  const ModelSource& m_source;
  const ObjModel& m_model;
  std::vector<ObjMaterial> m_known;            ///< Of all libraries.
  std::vector<const ObjMaterial*> m_byNumber;  ///< One a material of the model, or null.
  std::map<std::pair<const ObjMaterial*, bool>, int> m_made;
  std::set<FileId> m_read;
  std::size_t m_tries = 0;
  bool m_lacksLibrary = false;
  std::set<std::pair<std::string, std::string>>
      m_combined;  ///< Pictures with those of their alpha.
};

}  // namespace hostkit
