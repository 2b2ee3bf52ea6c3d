// Feeds a scene to a display list.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "host/Colors.h"
#include "host/DisplayList.h"
#include "host/GATexture.h"
#include "host/Lights.h"
#include "host/RenderInfo.h"
#include "host/Vertices.h"
#include "host/VornPoly.h"
#include "hostkit/feed/frame_settings.h"
#include "hostkit/feed/mesh_edges.h"
#include "hostkit/feed/mesh_preparation.h"
#include "hostkit/feed/seen_surfaces.h"
#include "hostkit/feed/vector_parts.h"
#include "hostkit/feed/vertex_lighting.h"
#include "hostkit/feed/wide_lines.h"
#include "hostkit/scene/scene.h"
#include "hostkit/services/pause.h"

namespace hostkit {

/// What a scene is fed with.
struct FeedView {
  Imath::M44f worldToView;
  LightListNode* lights = nullptr;          ///< Null is the headlight.
  RenderInfo* info = nullptr;               ///< Buffer, projection and scene record.
  const RenderInfo* picture = nullptr;      ///< The same for a surface that held all the picture.
  const FrameSettings* settings = nullptr;  ///< Must live until the frame is drawn.
  ColorBuf background;                      ///< What the surface was cleared with.
  float pointSize = 1;                      ///< Pixels.
  float controlPointSize = 0;               ///< Half their side in pixels; 0: none.
};

/// Walks a scene's instances once a frame. Arrays keep their capacity from frame to frame. Scene
/// and prepared scene must outlive the feed.
///
/// Bodies by theme: scene_feed.cpp (lit triangles), scene_feed_places.cpp (placing),
/// scene_feed_glow.cpp (light that is added), scene_feed_unlit.cpp (coloured triangles, lines,
/// points), scene_feed_modes.cpp (the other ways to draw), scene_feed_ids.cpp.
class SceneFeed {
 public:
  SceneFeed(const Scene& scene, const PreparedScene& prepared)
      : m_scene(scene), m_prepared(prepared) {}

  /// Hands everything to `list`, from BeginInstructions to ExecuteInstructions. Transparent
  /// surfaces wait in the buffer's queue for its EndScene, with pointers to materials and lights.
  void Draw(DisplayList* list, const FeedView& view);
  /// Asked while Draw goes on; when it says that nobody wants the frame any more, the rest of it is
  /// left out.
  void SetPause(Pause pause) { m_pause = std::move(pause); }

  /// Instead of a picture, draws what is seen where: each triangle, line and point in the colour
  /// that stands for its entry in `*seen`, which is filled; on black. What can be seen through
  /// counts as solid. False when there are more things than colours.
  bool DrawIds(DisplayList* list, const FeedView& view, SeenSurfaces* seen);

 private:
  // Triangles in one call with 16-bit indices.
  static constexpr std::size_t kColoredTriangles = 65535 / 3;

  // The instance at hand; its vertices are in m_vertices.
  struct Placed {
    const SceneMesh* mesh = nullptr;
    const PreparedMesh* prepared = nullptr;
    const std::vector<std::uint32_t>* triangles = nullptr;  // the mesh's, or its cuts'
    bool mirrored = false;  // its triangles turn the other way round
    bool hidesBacks = false;
  };
  // Three vertices of m_vertices, counter-clockwise from outside.
  struct Corners {
    std::uint32_t index[3];
  };
  // A triangle as it is handed in.
  struct LitTriangle {
    std::uint32_t corners[3];
    bool seenFromInside;  // its normals are turned
  };
  // A triangle of the far-to-near pass.
  struct SortedTriangle {
    float key;  // minus the mean z, as the renderer's own queue has it
    GATexture* texture;
    GALitVertexWT corners[3];
  };

  void Prepare(DisplayList* list, const FeedView& view);
  bool IsWanted();
  // Both are false when there is nothing to draw in it. Without a map, texture coordinates have any
  // value.
  bool Place(const SceneInstance& instance, const UvMap* uvs = nullptr);
  bool PlaceWithPictures(const SceneInstance& instance, const UvMap* uvs);
  void PlaceVertices(const Imath::M44f& toView, const UvMap* uvs);
  void PlaceCuts(const UvMap* uvs);
  void MakeNormals();
  Corners CornersOf(std::size_t triangle) const;
  bool FacesAway(const GAVertex& a, const GAVertex& b, const GAVertex& c) const;
  void UseTexture(GATexture* texture);

  void FeedLit();
  void FeedLitTriangles();
  bool MakeLit(std::size_t triangle, LitTriangle* lit) const;
  void CopyLit(std::uint32_t vertex, bool seenFromInside, GAVertex* to) const;
  void AddLit(const LitTriangle& triangle);
  bool AddPair(const LitTriangle& one, const LitTriangle& other);
  void FeedGlow(bool transparent);
  void FeedGlowTriangles();
  void FeedUnlit();
  bool HasPictures() const;
  bool IsFedUnlit(const SceneInstance& instance) const;
  void FeedUnlitInstance(const SceneInstance& instance);
  void FeedColoredTriangles();
  void AddColored(const SortedTriangle& triangle);
  void FlushColored();
  void FeedSorted();
  void CollectLines();
  void FeedPoints();
  void FeedShapes(float width, bool isRound);

  void FeedFlatTriangles();
  ColorBuf FaceColor(std::size_t triangle, const Corners& corners) const;
  Imath::V3f FaceGlow(std::size_t triangle) const;
  ColorBuf PictureMean(int image, std::size_t triangle, int leastAlpha) const;
  void FeedFill();
  void FeedEdges(int mesh);
  void FeedEdgesOver();
  void FindFacesAway();
  bool IsDrawn(const MeshEdge& edge) const;
  void FeedVertices();
  void FeedControlPoints();

  void FeedTriangleIds(SeenSurfaces* seen);
  void FeedLineIds(SeenSurfaces* seen);
  void FeedPointIds(SeenSurfaces* seen);
  void AddId(const Imath::V3f& a, const Imath::V3f& b, const Imath::V3f& c, std::uint32_t id);

  ColorBuf LitColor(std::uint32_t vertex, bool facesAway);
  ColorBuf ColorOf(std::uint32_t vertex) const;
  GALitVertex FlatVertex(std::uint32_t vertex) const;
  GALitVertex EdgeEnd(std::uint32_t vertex) const;
  void AddPolygon(const GALitVertexWT* corners);
  Imath::V3f PlacedAt(std::uint32_t vertex) const {
    const GAVertex& v = m_vertices[vertex];
    return {v.x, v.y, v.z};
  }

  const Scene& m_scene;
  const PreparedScene& m_prepared;
  DisplayList* m_list = nullptr;
  FeedView m_view;
  Pause m_pause;
  bool m_isWanted = true;          // the frame at hand
  GATexture* m_texture = nullptr;  // what the list has
  VertexLighting m_lighting;

  Placed m_placed;
  std::size_t m_join = 0;  // how the last pair lay
  // View-space vertices of the instance at hand; normals point outwards.
  std::vector<GAVertex> m_vertices;
  std::vector<ColorBuf> m_lit[2];  // its lit colours seen from outside, from inside
  std::vector<unsigned char> m_isLit[2];
  std::vector<GALitVertex> m_colored;            // triangles that wait for a draw call
  std::vector<unsigned short> m_coloredIndices;  // 0, 1, 2, ...
  std::vector<SortedTriangle> m_sorted;
  std::vector<std::uint32_t> m_order;
  WideLines m_lines;
  std::vector<GALitVertex> m_points;
  std::vector<unsigned short> m_shapeIndices;
  std::size_t m_shapeCorners = 0;  // that these are for
  SceneEdges m_edges;
  std::vector<unsigned char> m_facesAway;  // by triangle of the instance at hand
  VornPoly m_polygon;                      // kept for its colour handles
  GAColor m_pointColor;
};

inline SceneFeed::Corners SceneFeed::CornersOf(std::size_t triangle) const {
  const std::uint32_t* from = m_placed.triangles->data() + triangle;
  if (m_placed.mirrored) return {{from[0], from[2], from[1]}};
  return {{from[0], from[1], from[2]}};
}

inline bool SceneFeed::FacesAway(const GAVertex& a, const GAVertex& b, const GAVertex& c) const {
  const Imath::V3f eyeSide = (PositionOf(b) - PositionOf(a)).cross(PositionOf(c) - PositionOf(a));
  return m_view.info->perspective != 0 ? eyeSide.dot(PositionOf(a)) >= 0 : eyeSide.z <= 0;
}

}  // namespace hostkit
