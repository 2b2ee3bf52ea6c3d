// A model with less detail, for frames that would take too long while things move.
#pragma once

#include <QObject>
#include <QThread>
#include <atomic>
#include <memory>
#include <vector>

#include "apps/gl3-view/scene_view.h"
#include "hostkit/scene/node_animation.h"
#include "hostkit/scene/scene.h"

namespace view {

/// Makes it in a thread of its own, once it is known how long a frame of all of it takes. To be
/// used on the thread of the user interface.
class MovingDetail : public QObject {
 public:
  /// Waits for its threads.
  ~MovingDetail() override;

  /// How long a frame may take, in milliseconds. Slower ones make for less detail.
  void SetLimit(double milliseconds) { m_limit = milliseconds; }

  /// A frame of all of `model` took so long. Begins to make less detail of it where that helps;
  /// only the first such call for a model does anything.
  void Took(const std::shared_ptr<const hostkit::Scene>& model, double milliseconds);
  /// Waits until it is made, for tests. False when there is nothing to wait for.
  bool Wait();
  /// The model with less detail; null while there is none.
  SceneView* Ready(GADriver* driver);
  /// Poses it as ScenePoser does.
  void Pose(const std::vector<int>& animations, double seconds);
  /// Lets go of what the driver made of it; it is made anew when it is asked for.
  void ForgetDriver() { m_view.reset(); }
  /// Lets go of it all: there is another model, or the same in another way.
  void Forget();
  /// The same, and waits until no thread reads a model any more.
  void LetGo();

 private:
  struct Making;

  double m_limit = 50;
  bool m_isAsked = false;  // for this model
  std::shared_ptr<Making> m_making;
  std::unique_ptr<QThread> m_thread;                // of m_making
  std::vector<std::unique_ptr<QThread>> m_stopped;  // that end soon
  std::shared_ptr<hostkit::Scene> m_scene;
  std::unique_ptr<hostkit::ScenePoser> m_poser;
  std::vector<int> m_animations;
  double m_seconds = 0;
  bool m_isPosed = true;
  std::unique_ptr<SceneView> m_view;
};

}  // namespace view
