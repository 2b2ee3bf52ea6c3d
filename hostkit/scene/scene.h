// A model in memory, as the importer makes it and the renderer feeds it to a display list.
//
// World space is right-handed; units, axes and what is up are the file's. Far from its origin the
// scene is moved to its own middle: see Scene::origin. Matrices act on column vectors in the text
// below; Imath stores them for row vectors (point * matrix).
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/AttrProperty.h"
#include "host/Colors.h"
#include "hostkit/scene/scene_motion.h"
#include "hostkit/scene/up_axis.h"
#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// How a picture goes on beyond its edges, along one texture coordinate.
enum class PictureWrap : std::uint8_t {
  kRepeat,  ///< It begins anew.
  kMirror,  ///< Every second copy is mirrored.
  kClamp,   ///< The colour of its edge goes on for ever.
};

/// A picture that materials use. Row 0 of the bitmap is at texture coordinate v = 0.
struct SceneImage {
  std::string name;  ///< Of the file, for messages.
  BitmapPtr bitmap;  ///< With a "Color" buffer; null when it could not be read.
  /// Across and up and down.
  PictureWrap wrapU = PictureWrap::kRepeat, wrapV = PictureWrap::kRepeat;
  bool isNearest = false;  ///< Its texels are shown as squares instead of blending.
};

/// What surfaces look like.
struct SceneMaterial {
  std::string name;      ///< Of the file; may be empty.
  AttrProperty surface;  ///< Colours, highlight and transparency.
  int image = -1;        ///< Index into Scene::images of the base colour, or -1.
  /// Above 0: where the product of the material's, the picture's and the vertex's alpha is below
  /// it, nothing is drawn, and the rest is opaque.
  float alphaCutoff = 0;
  bool isUnlit = false;           ///< Shown in its base colour exactly, whatever the lights.
  bool showsBacks = true;         ///< False: triangles are not seen from behind.
  float emission[3] = {0, 0, 0};  ///< Display-referred light of its own, added to what is lit.
  int emissionImage = -1;  ///< Multiplies `emission`: index into Scene::images, or -1. Same uvs.
};

/// Triangles that share a material. All vertex arrays but `positions` may be empty; those that are
/// not have one entry a position. Front faces are counter-clockwise.
struct SceneMesh {
  std::string name;                   ///< Of the file; may be empty.
  std::vector<Imath::V3f> positions;  ///< In the mesh's own space.
  std::vector<Imath::V3f> normals;  ///< Unit length; the importer makes them where a file has none.
  std::vector<Imath::V2f> uvs;      ///< v = 0 is the image's row 0.
  std::vector<ColorBuf> colors;     ///< Multiplied into the material's base colour.
  bool colorsHaveAlpha = false;     ///< Some vertex colour is not opaque.
  /// Its joints mirror it: front faces are clockwise, and normals point inwards.
  bool isMirrored = false;
  std::vector<std::uint32_t> triangles;  ///< Three indices each.
  std::vector<std::uint32_t> lines;      ///< Two indices each.
  std::vector<std::uint32_t> points;     ///< One index each.
  int material = 0;                      ///< Index into Scene::materials.
};

/// A node of a file, for whoever chooses by name what is drawn.
struct SceneNodeName {
  std::string name;  ///< Of the file; may be empty.
  int above = -1;    ///< The node that it hangs on, which stands before this one; -1: none.
};

/// One placement of a mesh.
struct SceneInstance {
  int mesh = 0;         ///< Index into Scene::meshes.
  Imath::M44f toWorld;  ///< From the mesh's space.
  int node = -1;        ///< Index into Scene::nodeNames; -1: the file names no node of it.
};

/// A camera of a file, or of one's own.
struct SceneCamera {
  std::string name;              ///< Of the file; may be empty.
  Imath::V3f eye{0, 0, 1};       ///< World space.
  Imath::V3f forward{0, 0, -1};  ///< Unit length.
  Imath::V3f up{0, 1, 0};        ///< Not along `forward`.
  float verticalFov = 0.7f;      ///< Radians; used when `parallelHeight` is 0.
  float parallelHeight = 0;      ///< Height of the view in world units; above 0 means parallel.
  /// Width by height of what must be seen: narrower pictures show more above and below. 0: whatever
  /// the picture has.
  float aspect = 0;
  /// What is nearer or farther than these, in world units along the line of sight, is cut away; 0:
  /// nothing is.
  float nearCut = 0, farCut = 0;
};

/// A light of a file.
struct SceneLight {
  std::string name;                ///< Of the file; may be empty.
  int type = 0;                    ///< As GALight::Type.
  Imath::V3f position{0, 0, 0};    ///< World space.
  Imath::V3f direction{0, -1, 0};  ///< Unit length, the way the light travels.
  /// Colour, 0 to 1 nominally.
  float red = 1, green = 1, blue = 1;
  float intensity = 1;     ///< 1 lights a facing surface fully.
  float coneAngle = 45;    ///< Degrees from the axis to the edge, as OpenGL's cut-off.
  float coneSoftness = 0;  ///< 0 to 10.
  float range = 0;         ///< World units; 0 lets the renderer derive it from the scene's size.
};

/// What a file says of itself beside what is drawn.
struct SceneFacts {
  std::string format;               ///< For people: "glTF 2.0", say.
  double metersPerUnit = 0;         ///< Of the scene's coordinates; 0: the file says none.
  std::vector<std::string> scenes;  ///< Names of those that it holds; some may be empty.
  /// Extensions of its format, as they are called in it: those that it makes use of, and
  std::vector<std::string> extensionsUsed;
  std::vector<std::string> extensionsRequired;  ///< those without which it is not to be drawn.
};

/// Everything of a model.
struct Scene {
  SceneFacts facts;                      ///< Of merged scenes those of the first.
  std::vector<SceneImage> images;        ///< Pictures of materials.
  std::vector<SceneMaterial> materials;  ///< At least one when there is a mesh.
  std::vector<SceneMesh> meshes;         ///< Shapes, each of one material.
  std::vector<SceneInstance> instances;  ///< What is placed in the world.
  std::vector<SceneNodeName> nodeNames;  ///< Of the nodes that place it, and of others.
  std::vector<SceneCamera> cameras;      ///< Of the file.
  std::vector<SceneLight> lights;        ///< Of the file.
  SceneMotion motion;                    ///< What moves.
  std::vector<std::string> warnings;  ///< One line each: textures that could not be read, and such.
  /// What to add to coordinates of the scene's world for those of the file. Whole numbers or large
  /// fractions of two, and 0 unless floats would show steps there.
  Imath::V3d origin{0, 0, 0};
  UpAxis upAxis = UpAxis::kPlusY;  ///< What the file's format says is up, y where it says nothing.

  /// Bounds of all instances in world space; empty when nothing is placed.
  Imath::Box3f Bounds() const;
  std::size_t TriangleCount() const;  ///< Counted over instances.
};

}  // namespace hostkit
