// One scene on its way to its pictures.
#pragma once

#include <Imath/ImathBox.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/options/render_options.h"
#include "apps/work/common/stopwatch.h"
#include "apps/work/render/drawn_subject.h"
#include "apps/work/render/render_camera.h"
#include "apps/work/render/render_recipe.h"
#include "apps/work/render/render_report.h"
#include "apps/work/render/render_sequence.h"
#include "apps/work/render/render_session.h"
#include "hostkit/isolated/import_process.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/scene/node_animation.h"
#include "hostkit/scene/scene.h"

namespace gl3 {

/// What an import came to.
struct ImportedModel {
  hostkit::ImportEnd end = hostkit::ImportEnd::kFailed;
  std::string error;
  std::unique_ptr<hostkit::Scene> scene;
  double waited = 0, taken = 0;  ///< Milliseconds of this process, and of the import's.
};

/// All pictures of one scene, drawn in a session. Steps and warnings are told through `line`.
class ModelRender {
 public:
  /// As ParentLine::Progress; called where there are several pictures.
  using Progress =
      std::function<void(std::size_t done, std::size_t total, const std::string& next)>;

  /// What it is given must outlive it, but for `command`, which goes into the pictures' recipes.
  ModelRender(const RenderOptions& options, const std::string& command, RenderSession& session,
              ParentLine& line, Progress progress);

  /// Draws and writes what the options ask for. To be called once.
  Outcome Draw(ImportedModel model);
  /// What there is to tell of it; of the start of the session nothing.
  RenderReport Report() const;

 private:
  Outcome Take(ImportedModel model);
  Outcome Plan();
  Outcome ChooseAnimations();
  Outcome Upload();
  Outcome MakeShots();
  Outcome MakeShot(const Shot& shot);
  Outcome DrawShot(const Shot& shot, hostkit::SceneCamera* camera, hostkit::Picture* picture);
  Outcome WriteDepth(const Shot& shot, const hostkit::Picture& picture,
                     const hostkit::Recipe& recipe);
  Outcome Write(const Shot& shot, const hostkit::SceneCamera& camera,
                const hostkit::Picture& picture);
  void Warn(const std::string& text);
  bool HasSeveralCameras() const {
    return m_options.cameras.size() > 1 || AreAllCameras(m_options.cameras);
  }

  const RenderOptions& m_options;
  RenderSession& m_session;
  ParentLine& m_line;
  const Progress m_progress;
  const Stopwatch m_watch;
  RecipeBase m_recipe;
  RenderReport m_report;
  std::unique_ptr<hostkit::Scene> m_scene;
  std::unique_ptr<hostkit::ScenePoser> m_poser;  // of that scene
  std::vector<int> m_animations;                 // that are played
  std::vector<Shot> m_shots;
  std::unique_ptr<CameraChooser> m_cameras;
  Imath::Box3f m_bounds;  // of the scene as it is posed
  std::unique_ptr<SubjectRenderer> m_subject;
  ShotReport m_shotReport;  // of the picture at hand
};

}  // namespace gl3
