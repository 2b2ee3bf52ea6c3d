// Which lights a frame is drawn with.
#pragma once

#include <Imath/ImathBox.h>

#include <cstddef>
#include <deque>

#include "host/Lights.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// Lights that are drawn with: OpenGL's fixed pipeline has eight, and the first of a list are
/// taken.
constexpr std::size_t kMaxLights = 8;

/// Which lights.
enum class LightSet {
  /// The scene's own lights when it has any, with those of three-point as far as they leave dark
  /// what is seen; else three-point.
  kAuto,
  kScene,       ///< The scene's own lights alone.
  kHeadlight,   ///< One white light from the eye.
  kThreePoint,  ///< Key, fill and rim, placed relative to the camera.
};

/// How much fill light a scene's own lights ask for that leave what is seen at a mean brightness
/// (see SeenLight): all below 2 percent, none from 15 on.
float FillFor(float brightness);

/// Host lights in view space with the list that goes to a display list. Head() is null for the
/// headlight, which is what a null list means to the renderer. Stays valid until it is destroyed
/// or built anew; not copied, since the list points into it.
class LightRig {
 public:
  /// No lights: the headlight.
  LightRig() = default;
  LightRig(const LightRig&) = delete;
  LightRig& operator=(const LightRig&) = delete;

  /// `bounds` of the scene in world space gives distances and ranges. View space counts `unit`
  /// for a world unit. `fill` is how much of the three-point lights joins the scene's own.
  void Build(const Scene& scene, LightSet set, const SceneCamera& camera,
             const Imath::Box3f& bounds, float unit = 1, float fill = 0);
  /// The list, for DisplayList::SetupLights; owned by the rig.
  LightListNode* Head() { return m_nodes.empty() ? nullptr : &m_nodes.front(); }

 private:
  std::deque<GALight> m_lights;
  std::deque<LightListNode> m_nodes;
};

}  // namespace hostkit
