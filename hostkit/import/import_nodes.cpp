// Placement: the node tree of a model file into instances, cameras and lights in world space.
#include "hostkit/import/import_nodes.h"

#include <Imath/ImathVec.h>
#include <assimp/camera.h>
#include <assimp/light.h>
#include <assimp/scene.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>

#include "host/Lights.h"
#include "hostkit/import/import_views.h"
#include "hostkit/import/model_files.h"
#include "hostkit/scene/directions.h"
#include "hostkit/scene/scene.h"

namespace hostkit {
namespace {

using Imath::M44d;
using Imath::M44f;
using Imath::V3d;
using Imath::V3f;

constexpr float kDegrees = 180 / std::numbers::pi_v<float>;

V3d ToExact(const aiVector3D& v) {
  return {v.x, v.y, v.z};
}

V3f ToVector(const aiVector3D& v) {
  return {v.x, v.y, v.z};
}

M44d NodeToWorld(const aiNode* node) {
  M44d toWorld;
  for (; node; node = node->mParent) toWorld *= M44d(ToMatrix(node->mTransformation));
  return IsFinite(M44f(toWorld)) ? toWorld : M44d();
}

/// The placement of the node that carries the camera or light of this name.
M44d PlacementOf(const ImportContext& context, const aiString& name) {
  const aiNode* root = context.source->mRootNode;
  return NodeToWorld(root ? root->FindNode(name) : nullptr);
}

/// Full vertical angle in radians, from what the format's importer gives.
float VerticalFov(const ImportContext& context, const aiCamera& camera) {
  constexpr float kUsualAspect = 4.0f / 3;
  constexpr float kNarrowest = 0.01f, kWidest = 3.0f, kUsual = 0.7f;
  const bool hasAspect = std::isfinite(camera.mAspect) && camera.mAspect > 0;
  const float given = camera.mHorizontalFOV;
  // COLLADA cameras without a name or an angle come out of assimp 5.2 with 0.0137: a quarter of pi,
  // its default, taken for degrees.
  if (context.format == SourceFormat::kCollada && given < 0.014f) return kUsual;
  float fov = 0;
  if (context.format == SourceFormat::kIrrlicht) {
    // It gives the vertical angle times the aspect instead of the horizontal angle.
    fov = given / (hasAspect ? camera.mAspect : 1);
  } else {
    // The rest give the full horizontal angle, whatever the import library's manual says.
    const float aspect = hasAspect ? camera.mAspect : kUsualAspect;
    fov = 2 * std::atan(std::tan(std::min(given, kWidest) / 2) / aspect);
  }
  return std::isfinite(fov) && fov > 0 ? std::clamp(fov, kNarrowest, kWidest) : kUsual;
}

SceneCamera ImportCamera(const ImportContext& context, unsigned index) {
  const aiCamera& source = *context.source->mCameras[index];
  SceneCamera camera;
  camera.name = source.mName.C_Str();
  const M44d exact = PlacementOf(context, source.mName);
  const M44f toWorld(exact);
  context.places->cameras.push_back(ToExact(source.mPosition) * exact);
  camera.eye = V3f(context.places->cameras.back());
  camera.forward = TurnedOr(ToVector(source.mLookAt), toWorld, {0, 0, -1});
  camera.up = TurnedOr(ToVector(source.mUp), toWorld, {0, 1, 0});
  if (camera.up.cross(camera.forward).length() < 1e-4f) camera.up = UpFor(camera.forward);
  camera.verticalFov = VerticalFov(context, source);
  if (source.mOrthographicWidth > 0) {
    const float aspect = source.mAspect > 0 ? source.mAspect : 1;
    camera.parallelHeight = 2 * source.mOrthographicWidth / aspect;
  }
  if (context.collada) {
    V3f up;
    toWorld.multDirMatrix(V3f(0, 1, 0), up);
    camera.parallelHeight = up.length() * context.collada->ParallelHeight(
                                              camera.name, index, context.source->mNumCameras);
  }
  return camera;
}

void SetCone(const ImportContext& context, const aiLight& source, SceneLight& light) {
  constexpr float kToHalf = 0.5f;  // angles go from edge to edge
  const bool hasOuter = context.format != SourceFormat::kCollada;
  float outer = (hasOuter ? source.mAngleOuterCone : source.mAngleInnerCone) * kToHalf;
  if (!(outer > 0) || outer > std::numbers::pi_v<float> / 2) outer = std::numbers::pi_v<float> / 4;
  const float inner = std::clamp(source.mAngleInnerCone * kToHalf, 0.0f, outer);
  light.coneAngle = outer * kDegrees;
  light.coneSoftness = ConeSoftness(inner, outer);
}

int LightType(const aiLight& source) {
  switch (source.mType) {
    case aiLightSource_DIRECTIONAL:
      return GALight::kDirectional;
    case aiLightSource_SPOT:
      return GALight::kSpot;
    case aiLightSource_POINT:
    case aiLightSource_AREA:
      return GALight::kPoint;
    default:
      return -1;  // Ambient light is the renderer's setting, not a light.
  }
}

/// A light with `intensity` as the brightness that the file gives it at `middle`, and its place in
/// `*position`; false when it cannot be used.
bool ImportLight(const ImportContext& context, const aiLight& source, const V3d& middle,
                 SceneLight* light, V3d* position) {
  light->type = LightType(source);
  const aiColor3D& color = source.mColorDiffuse;
  const float brightest = std::max({color.r, color.g, color.b});
  if (light->type < 0 || !(brightest > 0) || !std::isfinite(brightest)) return false;
  light->name = source.mName.C_Str();
  light->red = std::max(color.r / brightest, 0.0f);
  light->green = std::max(color.g / brightest, 0.0f);
  light->blue = std::max(color.b / brightest, 0.0f);
  light->intensity = brightest;
  const M44d exact = PlacementOf(context, source.mName);
  const M44f toWorld(exact);
  *position = ToExact(source.mPosition) * exact;
  light->position = V3f(*position);
  light->direction = TurnedOr(ToVector(source.mDirection), toWorld, {0, -1, 0});
  if (light->type == GALight::kSpot) SetCone(context, source, *light);
  if (light->type == GALight::kDirectional) return true;
  const float distance = std::max(static_cast<float>((*position - middle).length()), 1e-18f);
  light->range = RangeFor(distance);
  return light->intensity > 0 && std::isfinite(light->intensity);
}

/// Empty for the nodes that the library puts between those of FBX files.
std::string NameOfNode(const aiNode& node) {
  const std::string name = node.mName.C_Str();
  return name.find("$AssimpFbx$") == std::string::npos ? name : "";
}

}  // namespace

M44f ToMatrix(const aiMatrix4x4& m) {
  // Transposed.
  return {m.a1, m.b1, m.c1, m.d1, m.a2, m.b2, m.c2, m.d2,
          m.a3, m.b3, m.c3, m.d3, m.a4, m.b4, m.c4, m.d4};
}

M44f MatrixOf(const aiNode& node) {
  return ToMatrix(node.mTransformation);
}

std::vector<const aiNode*> ImportInstances(const ImportContext& context,
                                           const std::vector<int>& meshes) {
  std::vector<const aiNode*> nodes;
  if (!context.source->mRootNode) return nodes;
  struct Pending {
    const aiNode* node;
    M44d parentToWorld;
    int above;  // the parent's name
  };
  std::vector<SceneNodeName>& names = context.scene->nodeNames;
  // A stack of our own: files may nest deeper than the program's stack is.
  std::vector<Pending> pending{{context.source->mRootNode, M44d(), -1}};
  while (!pending.empty()) {
    const auto [node, parentToWorld, above] = pending.back();
    pending.pop_back();
    const M44d exact = M44d(ToMatrix(node->mTransformation)) * parentToWorld;
    const M44f toWorld(exact);
    if (!IsFinite(toWorld)) {
      context.Warn(
          fmt::format("{}: node {} left out with all below it, since its placement is not "
                      "finite; repair the model where it was made",
                      context.path, NameForMessage(node->mName.C_Str())));
      continue;
    }
    const int name = static_cast<int>(names.size());
    names.push_back({NameOfNode(*node), above});
    for (unsigned i = 0; i < node->mNumMeshes; ++i) {
      const unsigned mesh = node->mMeshes[i];
      if (mesh < meshes.size() && meshes[mesh] >= 0) {
        context.scene->instances.push_back({meshes[mesh], toWorld, name});
        context.places->instances.push_back(exact);
        nodes.push_back(node);
      }
    }
    // Importers may leave gaps among the children (RAW files with colours do).
    for (unsigned i = node->mNumChildren; i > 0; --i) {
      if (node->mChildren[i - 1]) pending.push_back({node->mChildren[i - 1], exact, name});
    }
  }
  return nodes;
}

void ImportCameras(const ImportContext& context) {
  for (unsigned i = 0; i < context.source->mNumCameras; ++i) {
    context.scene->cameras.push_back(ImportCamera(context, i));
  }
}

std::vector<const aiLight*> ImportLights(const ImportContext& context) {
  std::vector<const aiLight*> sources;
  if (context.source->mNumLights == 0) return sources;
  const V3d middle = ExactBounds(*context.scene, *context.places).center();
  for (unsigned i = 0; i < context.source->mNumLights; ++i) {
    SceneLight light;
    V3d position;
    if (ImportLight(context, *context.source->mLights[i], middle, &light, &position)) {
      context.places->lights.push_back(position);
      context.scene->lights.push_back(std::move(light));
      sources.push_back(context.source->mLights[i]);
    }
  }
  Expose(false, context.scene->lights);
  return sources;
}

}  // namespace hostkit
