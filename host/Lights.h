// Lights and the list of them that goes with a drawing call.
#pragma once

#include "host/Vectors.h"

/// The object that owns a light. A light shines only while every owner up the chain is visible.
struct LightOwner {
  bool visible = true;
  const LightOwner* owner = nullptr;
};

/// A host light. `placement` takes light coordinates to view space: 3 x 4, rows of four,
/// translation in the fourth column.
struct GALight {
  enum Type : int { kPoint = 0, kSpot = 1, kDirectional = 2 };
  /// Attenuation of point and spot lights: at distance d (view units) the light is divided by
  /// kConstantAttenuation + kQuadraticAttenuation * (d / range)^2. Without units.
  static constexpr float kConstantAttenuation = 0.8333333f;
  static constexpr float kQuadraticAttenuation = 0.31259f;

  bool on = true;
  bool hidden = false;
  const LightOwner* owner = nullptr;  ///< May be null; not owned.
  int type = kPoint;                  ///< Of another type only place and colour are used.
  Vector position;                    ///< Light coordinates; of a directional light, with target,
  Vector target;                      ///< only the direction from one to the other counts.
  float placement[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
  float red = 1, green = 1, blue = 1;  ///< 0 to 1 nominally.
  float intensity = 1;                 ///< A factor of the colour; negative light takes away.
  bool diffuseOn = true;
  bool specularOn = true;
  float coneAngle = 45;    ///< Degrees from a spot light's axis to its edge, cut to 0 to 90.
  float coneSoftness = 0;  ///< 0 (even) to 10, where a spot light fades most towards its edge.
  float range = 1;         ///< View units; of point and spot lights, see kConstantAttenuation.

  /// Whether the light is switched on and visible together with all that own it.
  bool Shines() const {
    if (!on || hidden) return false;
    for (const LightOwner* o = owner; o; o = o->owner) {
      if (!o->visible) return false;
    }
    return true;
  }
};

/// The list's nodes; `next` and `light` may be null. Owned by the host, until the frame is drawn
/// that the list was set for. The module compares pointers to detect a change of list, so a list
/// that changes gets a new head.
struct LightListNode {
  LightListNode* next = nullptr;
  GALight* light = nullptr;
};
