// The sample scene: a round stage with solid, metal, faceted and glass shapes on it.
//
// Fixed-function light knows no shadows: they are painted into the floor's picture, for the
// direction of the key light.
#include "samples/showroom.h"

#include <Imath/ImathMatrix.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "samples/textures.h"

namespace samples {
namespace {

using Imath::M44f;
using Imath::V2f;
using Imath::V3f;

constexpr float kRadian = std::numbers::pi_v<float> / 180;

// The layout. Units are metres, y is up, the hero camera stands at positive z.
constexpr float kStageRadius = 4.7f;
constexpr float kTileSize = 0.8f;
const V3f kKeyDirection(0.6f, -0.9f, -0.75f);

struct Placement {
  V3f at{0.0f};              // the foot of the object
  float turn = 0, tilt = 0;  // degrees around y, then around z
  float footprint = 0;       // radius of its shadow; 0 means none
  float height = 0;          // of what casts it
  float darkness = 0.5f;
};

const Placement kPlinth{{-0.35f, 0, -0.75f}, 0, 0, 0.95f, 0.62f, 0.55f};
const Placement kKnot{{-0.35f, 1.42f, -0.75f}, 20, 0, 0.85f, 2.2f, 0.35f};
const Placement kCoralSphere{{-2.45f, 0, 0.35f}, 0, 0, 0.8f, 0.9f};
const Placement kRing{{-3.05f, 0, -2.1f}, 38, 0, 0.75f, 1.5f, 0.45f};
const Placement kGem{{0.55f, 0, 1.45f}, 24, 0, 0.55f, 0.7f};
const Placement kGlassSphere{{2.3f, 0, 0.75f}, 0, 0, 0.8f, 0.9f, 0.22f};
const Placement kSunSphere{{3.05f, 0, -0.85f}, 0, 0, 0.62f, 0.7f};
const Placement kCone{{1.55f, 0, -2.2f}, 0, 0, 0.75f, 1.0f};
const Placement kBluePane{{1.35f, 0, -1.2f}, -14, 0, 0.25f, 1.2f, 0.18f};
const Placement kRosePane{{2.25f, 0, -1.75f}, 16, 0, 0.25f, 1.2f, 0.18f};
const Placement kAmberPane{{-1.55f, 0, 1.55f}, 24, 0, 0.25f, 0.7f, 0.15f};

constexpr float kPearlRadius = 0.16f, kPearlArc = 4.25f;
constexpr int kPearls = 9;

struct View {
  const char* name;
  V3f eye, target;
  float fovDegrees;
};
const View kViews[] = {{"hero", {0.7f, 3.7f, 11.6f}, {0.05f, 0.45f, 0}, 28},
                       {"top", {0, 14.0f, 0.01f}, {0, 0, 0}, 43}};

struct Lamp {
  const char* name;
  const char* type;
  V3f from, target, color;
  float intensity;  // lux for the key light, candela for the others
};
const Lamp kLamps[] = {
    {"key", "directional", -kKeyDirection, {0, 0, 0}, {1.0f, 0.96f, 0.9f}, 3.0f},
    {"fill", "point", {6.5f, 3.5f, 6.0f}, {0, 0, 0}, {0.75f, 0.85f, 1.0f}, 100.0f},
    {"rim", "spot", {-4.5f, 5.5f, -6.5f}, {0, 0.6f, 0}, {1.0f, 0.9f, 0.8f}, 95.0f}};

enum MaterialIndex : int {
  kFloor,
  kStageSide,
  kSlate,
  kGold,
  kCoral,
  kTeal,
  kEmerald,
  kSun,
  kIvory,
  kPearl,
  kClearGlass,
  kBlueGlass,
  kRoseGlass,
  kAmberGlass
};

std::vector<Material> Materials() {
  const char* const opaque = "OPAQUE";
  const char* const blend = "BLEND";
  // name, colour, metallic, roughness, alpha, alpha mode, image
  return {{"floor", {1, 1, 1}, 0, 0.9f, 1, opaque, 0},
          {"stage side", {0.42f, 0.44f, 0.48f}, 0, 0.6f, 1, opaque},
          {"slate", {0.36f, 0.40f, 0.48f}, 0, 0.45f, 1, opaque},
          {"gold", {0.95f, 0.72f, 0.28f}, 1, 0.36f, 1, opaque},
          {"coral", {0.90f, 0.30f, 0.24f}, 0, 0.36f, 1, opaque},
          {"teal", {0.10f, 0.58f, 0.56f}, 0, 0.4f, 1, opaque},
          {"emerald", {0.16f, 0.66f, 0.36f}, 0, 0.45f, 1, opaque},
          {"sun", {0.97f, 0.66f, 0.14f}, 0, 0.45f, 1, opaque},
          {"ivory", {0.93f, 0.90f, 0.84f}, 0, 0.55f, 1, opaque},
          {"pearl", {0.95f, 0.96f, 0.98f}, 0.2f, 0.35f, 1, opaque},
          {"clear glass", {0.86f, 0.95f, 1.0f}, 0, 0.3f, 0.36f, blend},
          {"blue glass", {0.30f, 0.62f, 1.0f}, 0, 0.4f, 0.48f, blend},
          {"rose glass", {1.0f, 0.42f, 0.66f}, 0, 0.4f, 0.48f, blend},
          {"amber glass", {1.0f, 0.76f, 0.28f}, 0, 0.4f, 0.48f, blend}};
}

V3f KnotCurve(float t) {
  const float angle = 2 * std::numbers::pi_v<float> * t;
  const float out = 0.58f + 0.24f * std::cos(3 * angle);
  return {out * std::cos(2 * angle), 0.30f * std::sin(3 * angle) * 1.25f,
          out * std::sin(2 * angle)};
}

V3f RingCurve(float t) {
  const float angle = 2 * std::numbers::pi_v<float> * t;
  return {0.78f * std::cos(angle), 0.78f * std::sin(angle), 0};
}

M44f MatrixOf(const Placement& placement) {
  M44f matrix;
  matrix.translate(placement.at);
  matrix.rotate(V3f(0, placement.turn * kRadian, placement.tilt * kRadian));
  return matrix;
}

/// Looking down negative z from `eye` at `target`, with y up as far as that goes.
M44f LookAt(const V3f& eye, const V3f& target) {
  const V3f back = (eye - target).normalized();
  const V3f right = V3f(0, 1, 0).cross(back).normalized();
  const V3f up = back.cross(right);
  return {right.x, right.y, right.z, 0, up.x,  up.y,  up.z,  0,
          back.x,  back.y,  back.z,  0, eye.x, eye.y, eye.z, 1};
}

class StageBuilder {
 public:
  Document Build(int floorSide) {
    m_document.materials = Materials();
    AddStage();
    AddObjects();
    AddPearls();
    AddViews();
    m_document.images.push_back(TiledFloorPng(floorSide, kStageRadius, kTileSize, m_shadows));
    return std::move(m_document);
  }

 private:
  int AddMesh(const char* name, Shape shape, int material) {
    m_document.meshes.push_back({name, std::move(shape), material});
    return static_cast<int>(m_document.meshes.size()) - 1;
  }

  void AddNode(std::string name, int mesh, const M44f& toWorld) {
    Node node;
    node.name = std::move(name);
    node.mesh = mesh;
    node.toParent = toWorld;
    m_document.nodes.push_back(std::move(node));
  }

  void AddShadow(const Placement& placement) {
    const V3f tip = placement.at - kKeyDirection * (placement.height / kKeyDirection.y);
    m_shadows.push_back({V2f(placement.at.x, placement.at.z), V2f(tip.x, tip.z),
                         placement.footprint, placement.darkness});
  }

  void Place(const char* name, Shape shape, int material, const Placement& placement,
             const V3f& shift = V3f(0.0f)) {
    for (V3f& position : shape.positions) position += shift;
    AddNode(name, AddMesh(name, std::move(shape), material), MatrixOf(placement));
    if (placement.footprint > 0) AddShadow(placement);
  }

  void AddStage() {
    Place("floor", Disc(kStageRadius, 128, 64), kFloor, {});
    const float edge = 0.06f, low = -0.4f, half = std::numbers::sqrt2_v<float> / 2;
    Place("stage side",
          Lathe({{kStageRadius + edge, low, 1, 0},
                 {kStageRadius + edge, -0.2f, 1, 0},
                 {kStageRadius + edge, -edge, 1, 0},
                 {kStageRadius + edge * half, -edge * (1 - half), half, half},
                 {kStageRadius, 0, 0, 1}},
                128),
          kStageSide, {});
  }

  void AddObjects() {
    Place("plinth", Plinth(0.95f, 0.62f, 0.07f, 96), kSlate, kPlinth);
    Place("gold knot", Tube(KnotCurve, 0.155f, 420, 36), kGold, kKnot);
    Place("coral sphere", Sphere(0.8f, 96, 64), kCoral, kCoralSphere, {0, 0.8f, 0});
    Place("teal ring", Tube(RingCurve, 0.26f, 144, 48), kTeal, kRing, {0, 1.04f, 0});
    Place("emerald gem", Gem(0.72f), kEmerald, kGem);
    Place("sun sphere", Sphere(0.62f, 80, 48), kSun, kSunSphere, {0, 0.62f, 0});
    Place("ivory cone", Cone(0.75f, 1.9f, 96, 48), kIvory, kCone);
    Place("glass sphere", Sphere(0.8f, 96, 64), kClearGlass, kGlassSphere, {0, 0.8f, 0});
    Place("blue pane", Box({1.25f, 1.7f, 0.05f}, 16), kBlueGlass, kBluePane, {0, 0.85f, 0});
    Place("rose pane", Box({1.25f, 1.7f, 0.05f}, 16), kRoseGlass, kRosePane, {0, 0.85f, 0});
    Place("amber pane", Box({1.0f, 1.0f, 0.05f}, 16), kAmberGlass, kAmberPane, {0, 0.5f, 0});
  }

  /// One mesh, placed many times along the front edge of the stage.
  void AddPearls() {
    const int mesh = AddMesh("pearl", Sphere(kPearlRadius, 48, 32), kPearl);
    for (int i = 0; i < kPearls; ++i) {
      const float angle = (static_cast<float>(i) - (kPearls - 1) / 2.0f) * 12 * kRadian;
      const V3f foot(kPearlArc * std::sin(angle), 0, kPearlArc * std::cos(angle));
      M44f toWorld;
      toWorld.translate(foot + V3f(0, kPearlRadius, 0));
      AddNode("pearl " + std::to_string(i + 1), mesh, toWorld);
      AddShadow({foot, 0, 0, kPearlRadius, kPearlRadius});
    }
  }

  void AddViews() {
    for (const View& view : kViews) {
      Node node;
      node.name = view.name;
      node.toParent = LookAt(view.eye, view.target);
      node.camera = static_cast<int>(m_document.cameras.size());
      m_document.cameras.push_back({view.name, view.fovDegrees * kRadian});
      m_document.nodes.push_back(node);
    }
    for (const Lamp& lamp : kLamps) {
      Node node;
      node.name = lamp.name;
      node.toParent = LookAt(lamp.from, lamp.target);
      node.light = static_cast<int>(m_document.lights.size());
      m_document.lights.push_back(
          {lamp.name, lamp.type, lamp.color, lamp.intensity, 20 * kRadian, 40 * kRadian});
      m_document.nodes.push_back(node);
    }
  }

  Document m_document;
  std::vector<Shadow> m_shadows;
};

}  // namespace

Document Showroom(int floorSide) {
  return StageBuilder().Build(floorSide);
}

}  // namespace samples
