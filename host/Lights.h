// Lights and the list of them that goes with a drawing call.
#pragma once

#include "host/Vectors.h"

/// The object that owns a light. A light shines only while every owner up the chain is visible.
struct LightOwner {
  bool visible = true;                ///< Itself; Shines looks at its owners too.
  const LightOwner* owner = nullptr;  ///< Its own owner; may be null. Not owned. No circles.
};

/// A host light. `placement` takes light coordinates to view space: 3 x 4, rows of four,
/// translation in the fourth column.
struct GALight {
  /// How it shines.
  enum Type : int {
    kPoint = 0,       ///< In all directions from `position`.
    kSpot = 1,        ///< From `position` towards `target`, within a cone.
    kDirectional = 2  ///< From afar, in the direction from `position` to `target`; nothing dims it.
  };
  /// Attenuation of point and spot lights: at distance d (view units) the light is divided by
  /// kConstantAttenuation + kQuadraticAttenuation * (d / range)^2. Without units.
  static constexpr float kConstantAttenuation = 0.8333333f;
  /// See kConstantAttenuation.
  static constexpr float kQuadraticAttenuation = 0.31259f;

  bool on = true;                     ///< Switched on.
  bool hidden = false;                ///< Not shining, though on.
  const LightOwner* owner = nullptr;  ///< May be null; not owned.
  int type = kPoint;                  ///< Of another type only place and colour are used.
  Vector position;                    ///< Light coordinates; of a directional light, with target,
  Vector target;                      ///< only the direction from one to the other counts.
  /// Light coordinates to view space.
  float placement[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
  /// Colour, 0 to 1 nominally.
  float red = 1, green = 1, blue = 1;
  float intensity = 1;     ///< A factor of the colour; negative light takes away.
  bool diffuseOn = true;   ///< Whether it lights surfaces.
  bool specularOn = true;  ///< Whether it makes highlights.
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

/// The list's nodes. Owned by the host, until the frame is drawn that the list was set for (the
/// buffer's EndScene). DisplayList::SetupLights reads list and lights whenever it is called: a
/// colour that changed behind the same head takes effect there. What waits for EndScene keeps the
/// head alone, and is lit as the list says then; there heads are compared, so that glass in two
/// states of a light takes two lists. The first lights that shine are taken, as many as the GL has
/// (at least eight: GL_MAX_LIGHTS); what is behind them is left out without a word.
struct LightListNode {
  LightListNode* next = nullptr;  ///< Null ends the list. No circles.
  GALight* light = nullptr;       ///< Null: the node is passed over. Not owned.
};
