// Shapes that COLLADA meshes go towards, which the import library drops or crashes on.
//
// Morph controllers are taken out of the file before the library reads it: in their place stands
// the bare mesh. So that shapes find its vertices again, which the library makes new ones of for
// each corner, the mesh gets one more set of texture coordinates: the numbers of its positions.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "hostkit/import/import_shape_keys.h"

struct aiMesh;
struct aiScene;

namespace pugi {
class xml_document;
class xml_node;
}  // namespace pugi

namespace hostkit {

struct ColladaMorph {
  /// By shape, then by position of the mesh: the way there.
  std::vector<std::vector<Imath::V3f>> ways;
  std::vector<float> weights;  ///< Of the shapes, at rest.
  std::vector<ShapeKey> keys;  ///< Of the weights, in seconds.
  bool areSteps = false;       ///< Weights hold until the next key.
};

class ColladaMorphs {
 public:
  /// Takes them out of the document; false when it has none, and stays as it is.
  bool TakeFrom(pugi::xml_document& document);

  /// Takes the numbers out of what the library made of that document.
  void TakeNumbers(aiScene& source);

  /// How many controllers, and shapes of others, nothing follows.
  std::size_t LeftOut() const { return m_leftOut; }

  /// What a mesh of the library's follows, with the position's number of each of its vertices; null
  /// when it follows none.
  const ColladaMorph* Of(const aiMesh& mesh, const std::vector<std::uint32_t>** numbers) const;

 private:
  struct Taken {
    std::size_t morph = 0;
    std::vector<std::uint32_t> numbers;
  };

  std::vector<ColladaMorph> m_morphs;
  std::map<const aiMesh*, Taken> m_taken;
  std::size_t m_leftOut = 0;
};

}  // namespace hostkit
