// Where pictures are taken from, chosen from the options and the model.
#pragma once

#include <Imath/ImathVec.h>

#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/render_options.h"
#include "hostkit/scene/node_animation.h"
#include "hostkit/scene/scene.h"

namespace gl3 {

/// The scene's cameras that --camera asks for, as indices into Scene::cameras, each once: by name
/// (the first of several alike) or "all". A single -1 when none is asked for. kWrongUsage with a
/// message for what the scene does not have.
Outcome FindCameras(const RenderOptions& options, const hostkit::Scene& scene,
                    std::vector<int>* cameras);

/// Chooses the camera of each picture of a run: one of the scene's own, one at --eye, else one that
/// shows all of the scene, and through a whole turn of the turntable at that.
class CameraChooser {
 public:
  /// `reach` is the space that the scene takes while its animation runs. Of the scene are taken its
  /// origin and what is up.
  CameraChooser(const RenderOptions& options, const hostkit::Scene& scene,
                const hostkit::SceneReach& reach);

  /// `camera` is an index into the scene's cameras or -1; the scene is posed for `frame`.
  hostkit::SceneCamera Choose(const hostkit::Scene& scene, int camera, int frame) const;
  /// How far in front of a camera that was chosen lies what it looks at: the target of --eye, else
  /// the middle of the model. Above 0.
  float TargetDistance(const hostkit::SceneCamera& camera) const;

 private:
  hostkit::SceneCamera Standing(const hostkit::Scene& scene, int camera) const;
  hostkit::SceneCamera AtEye() const;
  Imath::V3f Up() const;
  Imath::V3f Target() const;

  const RenderOptions& m_options;
  hostkit::UpAxis m_upAxis;
  Imath::V3d m_origin;            // of the scene
  Imath::V3f m_middle;            // of the model, in world space
  hostkit::SceneCamera m_fitted;  // when none is asked for
};

/// Three numbers that read back exactly: as short as a float's where they are floats.
std::string FormatTriple(const Imath::V3d& v);

/// The camera in words and numbers that read back exactly: "eye=0,0,5 forward=0,0,-1 up=0,1,0
/// fov=40" (degrees), or height= (world units) in place of fov= for a parallel projection. The eye
/// is in the file's coordinates, `origin` is the scene's.
std::string DescribeCamera(const hostkit::SceneCamera& camera, const Imath::V3d& origin);

}  // namespace gl3
