// Feeds a scene to a display list.
#pragma once

#include <Imath/ImathMatrix.h>

#include <cstdint>
#include <vector>

#include "host/Colors.h"
#include "host/DisplayList.h"
#include "host/RenderInfo.h"
#include "host/Vertices.h"
#include "host/VornPoly.h"
#include "hostkit/scene/mesh_preparation.h"
#include "hostkit/scene/scene.h"
#include "hostkit/scene/vertex_lighting.h"

namespace hostkit {

/// What a scene is fed with.
struct FeedView {
  Imath::M44f worldToView;
  LightListNode* lights = nullptr;   ///< Null is the headlight.
  const RenderInfo* info = nullptr;  ///< Projection and scene record.
  int lineWidth = 1;                 ///< Samples that a line or point is wide.
};

/// Walks a scene's instances once a frame. Arrays keep their capacity from frame to frame. Scene
/// and prepared scene must outlive the feed.
class SceneFeed {
 public:
  SceneFeed(const Scene& scene, const PreparedScene& prepared)
      : m_scene(scene), m_prepared(prepared) {}

  /// Hands everything to `list`, from BeginInstructions to ExecuteInstructions. Transparent
  /// surfaces wait in the buffer's queue for its EndScene, with pointers to materials and lights.
  void Draw(DisplayList* list, const FeedView& view);

 private:
  // The instance at hand; its vertices are in m_vertices.
  struct Placed {
    const SceneMesh* mesh = nullptr;
    const PreparedMesh* prepared = nullptr;
    bool mirrored = false;  // its triangles turn the other way round
  };
  // Three vertices of m_vertices, counter-clockwise from outside.
  struct Corners {
    std::uint32_t index[3];
  };
  // A triangle of the far-to-near pass.
  struct SortedTriangle {
    float key;  // minus the mean z, as the renderer's own queue has it
    GATexture* texture;
    GALitVertexWT corners[3];
  };

  bool Place(const SceneInstance& instance);  // false when there is nothing to draw in it
  void PlaceVertices(const Imath::M44f& toView);
  void MakeNormals();
  Corners CornersOf(std::size_t triangle) const;
  bool FacesAway(const GAVertex& a, const GAVertex& b, const GAVertex& c) const;
  void UseTexture(GATexture* texture);

  void FeedLit();
  void FeedLitTriangles();
  void FeedUnlit();
  void FeedColoredTriangles();
  void FlushColored();
  void FeedSorted();
  void CollectLines();
  void AddSegment(const GALitVertex& a, const GALitVertex& b);
  void FeedPoints();

  ColorBuf LitColor(std::uint32_t vertex, bool facesAway);
  GALitVertex FlatVertex(std::uint32_t vertex) const;
  float SampleSizeAt(float z) const;
  void AddPolygon(const GALitVertexWT* corners);

  const Scene& m_scene;
  const PreparedScene& m_prepared;
  DisplayList* m_list = nullptr;
  FeedView m_view;
  GATexture* m_texture = nullptr;  // what the list has
  VertexLighting m_lighting;

  Placed m_placed;
  // View-space vertices of the instance at hand; normals point outwards.
  std::vector<GAVertex> m_vertices;
  std::vector<ColorBuf> m_lit[2];  // its lit colours seen from outside, from inside
  std::vector<unsigned char> m_isLit[2];
  std::vector<GALitVertex> m_colored;            // triangles that wait for a draw call
  std::vector<unsigned short> m_coloredIndices;  // 0, 1, 2, ...
  std::vector<SortedTriangle> m_sorted;
  std::vector<std::uint32_t> m_order;
  std::vector<GALitVertex> m_lineVertices;
  std::vector<unsigned int> m_lineIndices;
  std::vector<GALitVertex> m_points;
  VornPoly m_polygon;  // kept for its colour handles
  GAColor m_pointColor;
};

}  // namespace hostkit
