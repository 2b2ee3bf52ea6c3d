// A camera that is moved about a point: orbit, pan, zoom, fit, standard views.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathVec.h>

#include <vector>

#include "apps/options/render_options.h"
#include "hostkit/scene/scene.h"
#include "hostkit/scene/up_axis.h"

namespace view {

/// The scene's world space outside; angles in radians. The camera is handed on as the options
/// --eye,
/// --target, --up, --fov and --parallel, so that whoever is given these sees the very same.
class OrbitCamera {
 public:
  /// Tells what is looked at: its bounds (may be empty), the points to fit (see ExtremePoints), and
  /// the scene's origin.
  void SetSubject(const Imath::Box3f& bounds, const std::vector<Imath::V3f>& points,
                  const Imath::V3d& origin = Imath::V3d(0));
  /// What is up in the world. The subject turns in front of the camera.
  void SetUpAxis(hostkit::UpAxis up);

  /// Shows all of the subject from where the camera looks now, or from `direction` (from the
  /// subject to the eye, as if y were up, need not be unit length). `aspect` is width by height.
  void Fit(float aspect);
  void LookFrom(const Imath::V3f& direction, float aspect);
  /// Takes the place of a camera of the model.
  void Take(const hostkit::SceneCamera& camera);

  /// Moves the eye about the target: to its right about what is up in the world, and towards its
  /// own up as far as straight above or below.
  void Orbit(float right, float up);
  /// Moves eye and target by shares of the height that is seen at the target.
  void Pan(float right, float up);
  /// Brings the target nearer (factors below 1) or farther; in a parallel projection, sees less of
  /// it or more.
  void Zoom(float factor);

  void SetParallel(bool parallel) { m_parallel = parallel; }
  bool IsParallel() const { return m_parallel; }
  Imath::V3f Target() const { return FromYUp(m_upAxis, m_target); }

  /// Writes the camera into `options`, in the file's coordinates.
  void Fill(gl3::RenderOptions* options) const;

 private:
  Imath::V3f Right() const { return m_up.cross(m_back); }
  void KeepInReach();

  hostkit::UpAxis m_upAxis = hostkit::UpAxis::kPlusY;
  Imath::V3d m_origin{0, 0, 0};
  // All of these are in a world that was turned for y to be up.
  Imath::Box3f m_bounds;
  std::vector<Imath::V3f> m_points;
  Imath::V3f m_target{0, 0, 0};
  // Unit vectors at right angles to each other: from the target to the eye, and what is up.
  Imath::V3f m_back{0, 0, 1}, m_up{0, 1, 0};
  // From the eye to the target. The height of what is seen there follows from it and the angle,
  // also in a parallel projection.
  float m_distance = 1;
  float m_fov = 0.6981317f;  // vertical; 40 degrees, as gl3 render has it
  bool m_parallel = false;
};

}  // namespace view
