// Meshes whose triangles are cut where what they show changes its rule.
#pragma once

#include <Imath/ImathVec.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// Triangles are cut where a value that runs over them is `at`.
struct CutLine {
  enum Of { kU, kV, kAlpha };  ///< Texture coordinates; alpha of vertex colours, 0 to 255.
  Of of = kU;
  float at = 0;
  bool dropsBelow = false;  ///< What has less is left out.
};

/// A vertex on the way from `a` to `b`, which are vertices of the mesh or were made before.
struct CutVertex {
  std::uint32_t a = 0, b = 0;
  float share = 0;  ///< 0 at a, 1 at b.
  Imath::V2f uv{0, 0};
  ColorBuf color;
};

/// What of a mesh is drawn instead of its own triangles. Places and normals are not kept, so that
/// the mesh may move: whoever draws it makes those of `made` from `a` and `b`, in their order.
struct MeshCuts {
  std::vector<CutVertex> made;           ///< Numbered on from the mesh's own vertices.
  std::vector<std::uint32_t> triangles;  ///< Three indices each, wound as the mesh's.
  /// By triangle: how many of the lines of alpha that leave nothing out it lies above. Empty
  /// without such lines.
  std::vector<std::uint8_t> bands;
};

/// Cuts a mesh along all lines, those of alpha first, since alphas are rounded on the way. Edges
/// that triangles share are cut at the same places, computed the same way round, so that no crack
/// opens between them; where the two differ in texture coordinates or alpha along their edge, one
/// may be cut there and the other not. Null when there is nothing to cut and to leave out, and
/// there are no bands.
std::unique_ptr<MeshCuts> CutMesh(const SceneMesh& mesh, const std::vector<CutLine>& lines);

}  // namespace hostkit
