// The bar that plays a model's animations.
#pragma once

#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>
#include <QToolBar>
#include <functional>
#include <vector>

#include "apps/gl3-view/shown_time.h"
#include "hostkit/scene/node_animation.h"
#include "hostkit/scene/scene.h"

class QComboBox;
class QLabel;
class QSlider;

namespace view {

/// Play, pause, step, scrub, speed, loop, and which animation. Hidden while there is none.
class AnimationBar : public QToolBar {
 public:
  /// `changed` is called when another moment is to be shown.
  AnimationBar(std::function<void(const ShownTime&)> changed, QWidget* parent);

  /// Offers what a model has, and shows the moment that is shown of it. Playing ends, unless the
  /// model `stays`: the same, read anew.
  void SetModel(const hostkit::Scene* model, const ShownTime& time, bool stays);
  bool IsPlaying() const { return m_tick.isActive(); }
  void SetPlaying(bool playing);
  /// One frame on, or back; ends playing.
  void Step(int frames);
  /// Goes on as though so much time had passed since the last tick.
  void Advance(double seconds);

  QAction* PlayAction() { return m_play; }

 private:
  void MakeControls();
  QComboBox* AddCombo(const char* name, const QString& tip);
  void Choose();
  void ShowFrame(int frame);
  void Refresh();
  int FrameCount() const;
  double Speed() const;

  std::function<void(const ShownTime&)> m_changed;
  std::vector<double> m_durations;  // by entry of m_which
  ShownTime m_time;
  double m_seconds = 0;  // while it plays, between frames
  QTimer m_tick;
  QElapsedTimer m_watch;
  QAction *m_play = nullptr, *m_loop = nullptr;
  QComboBox *m_which = nullptr, *m_speed = nullptr, *m_rate = nullptr;
  QSlider* m_slider = nullptr;
  QLabel* m_label = nullptr;
  bool m_setting = false;
};

}  // namespace view
