// The bar that plays a model's animations.
#include "apps/gl3-view/animation_bar.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QScopedValueRollback>
#include <QSlider>
#include <QStyle>
#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "apps/base/text.h"
#include "apps/gl3-view/texts.h"

namespace view {
namespace {

constexpr int kTickMilliseconds = 15;
constexpr double kSpeeds[] = {0.1, 0.25, 0.5, 1, 2, 4};
constexpr double kRates[] = {24, 25, 30, 60};
constexpr double kUsualSpeed = 1;
// Of a stretch this long in seconds and no longer, every frame can be reached.
constexpr double kLongest = 100000;
// Animations to choose from: a file may have any number.
constexpr qsizetype kMostListed = 500;

/// The last key of the animations that a name stands for.
double DurationOf(const hostkit::Scene& model, const std::string& name) {
  double duration = 0;
  for (const int index : hostkit::FindAnimations(model, name)) {
    duration =
        std::max(duration, model.motion.animations[static_cast<std::size_t>(index)].duration);
  }
  return std::clamp(duration, 0.0, kLongest);
}

}  // namespace

AnimationBar::AnimationBar(std::function<void(const ShownTime&)> changed, QWidget* parent)
    : QToolBar(Tr("Animation"), parent), m_changed(std::move(changed)) {
  setObjectName("animation");
  MakeControls();
  m_tick.setInterval(kTickMilliseconds);
  connect(&m_tick, &QTimer::timeout, this,
          [this] { Advance(static_cast<double>(m_watch.restart()) / 1000); });
  setVisible(false);
}

void AnimationBar::MakeControls() {
  m_which = AddCombo("which animation", Tr("Which animation"));
  connect(m_which, &QComboBox::currentIndexChanged, this, [this] { Choose(); });
  addAction("|◀", this, [this] { Step(-FrameCount()); })->setToolTip(Tr("To the beginning"));
  addAction("◀", this, [this] { Step(-1); })->setToolTip(Tr("One frame back (comma)"));
  m_play = addAction("▶", this, [this] { SetPlaying(!IsPlaying()); });
  m_play->setToolTip(Tr("Play or pause (space)"));
  addAction("▶|", this, [this] { Step(1); })->setToolTip(Tr("One frame on (full stop)"));
  m_slider = new QSlider(Qt::Horizontal, this);
  m_slider->setObjectName("time");
  m_slider->setMinimumWidth(80);
  m_slider->setFocusPolicy(Qt::TabFocus);  // a click leaves the keys to the picture
  addWidget(m_slider);
  connect(m_slider, &QSlider::valueChanged, this, [this](int frame) {
    if (m_setting) return;
    SetPlaying(false);
    ShowFrame(frame);
  });
  m_label = new QLabel(this);
  m_label->setObjectName("time shown");
  addWidget(m_label);
  m_speed = AddCombo("speed", Tr("Speed"));
  for (const double speed : kSpeeds) m_speed->addItem(QString("× %1").arg(speed), speed);
  m_speed->setCurrentIndex(m_speed->findData(kUsualSpeed));
  m_rate = AddCombo("frame rate", Tr("Frames a second"));
  for (const double rate : kRates) m_rate->addItem(Tr("%1 fps").arg(rate), rate);
  m_rate->setCurrentIndex(m_rate->findData(m_time.rate));
  connect(m_rate, &QComboBox::currentIndexChanged, this, [this] {
    if (m_setting) return;
    const double seconds = m_time.Seconds();
    m_time.rate = m_rate->currentData().toDouble();
    ShowFrame(1 + static_cast<int>(std::lround(seconds * m_time.rate)));
  });
  m_loop = addAction(Tr("Loop"));
  m_loop->setCheckable(true);
  m_loop->setChecked(true);
}

QComboBox* AnimationBar::AddCombo(const char* name, const QString& tip) {
  auto* const combo = new QComboBox(this);
  combo->setObjectName(name);
  combo->setToolTip(tip);
  combo->setFocusPolicy(Qt::TabFocus);  // a click leaves the keys to the picture
  addWidget(combo);
  return combo;
}

void AnimationBar::SetModel(const hostkit::Scene* model, const ShownTime& time, bool stays) {
  if (!stays) SetPlaying(false);
  const QScopedValueRollback<bool> setting(m_setting, true);
  m_time = time;
  m_which->clear();
  m_durations = {0};
  m_which->addItem(Tr("At rest"));
  QStringList names;
  if (model) {
    for (const hostkit::SceneAnimation& animation : model->motion.animations) {
      const QString name = QString::fromStdString(animation.name);
      // All of a name count together, and the first is the one that no name asks for.
      if (names.contains(name) || (name.isEmpty() && !names.isEmpty())) continue;
      if (names.size() == kMostListed) break;
      names << name;
      const QString shown = QString::fromStdString(gl3::OneLine(animation.name));
      m_which->addItem(name.isEmpty() ? Tr("Animation") : shown, name);
      m_durations.push_back(DurationOf(*model, animation.name));
    }
  }
  setVisible(!names.isEmpty());
  toggleViewAction()->setVisible(!names.isEmpty());
  const int shown = m_which->findData(QString::fromStdString(time.animation));
  m_which->setCurrentIndex(time.isAnimated ? std::max(shown, 0) : 0);
  if (names.isEmpty()) SetPlaying(false);
  Refresh();
}

/// Shows the beginning of what is chosen.
void AnimationBar::Choose() {
  if (m_setting) return;
  m_time.isAnimated = m_which->currentIndex() > 0;
  m_time.animation = m_which->currentData().toString().toStdString();
  if (!m_time.isAnimated) SetPlaying(false);
  m_seconds = 0;
  ShowFrame(1);
}

int AnimationBar::FrameCount() const {
  const int index = m_which->currentIndex();
  if (index <= 0) return 1;
  const double seconds = m_durations[static_cast<std::size_t>(index)];
  // Rounding is not to add a frame behind the end.
  return 1 + static_cast<int>(std::floor(seconds * m_time.rate + 1e-6));
}

double AnimationBar::Speed() const {
  return m_speed->currentData().toDouble();
}

void AnimationBar::ShowFrame(int frame) {
  m_time.frame = std::clamp(frame, 1, FrameCount());
  Refresh();
  m_changed(m_time);
}

void AnimationBar::Refresh() {
  const QScopedValueRollback<bool> setting(m_setting, true);
  const int count = FrameCount();
  m_slider->setEnabled(m_time.isAnimated);
  m_slider->setRange(1, count);
  m_slider->setValue(m_time.frame);
  m_label->setText(m_time.isAnimated ? Tr("%1 of %2 s, frame %3")
                                           .arg(m_time.Seconds(), 0, 'f', 2)
                                           .arg((count - 1) / m_time.rate, 0, 'f', 2)
                                           .arg(m_time.frame)
                                     : QString());
}

void AnimationBar::SetPlaying(bool playing) {
  m_play->setText(playing ? "❚❚" : "▶");
  if (!playing) return m_tick.stop();
  if (m_which->count() < 2) return;
  if (!m_time.isAnimated) m_which->setCurrentIndex(1);
  if (m_time.frame >= FrameCount()) ShowFrame(1);
  m_seconds = m_time.Seconds();
  m_watch.start();
  m_tick.start();
}

void AnimationBar::Step(int frames) {
  if (m_which->count() < 2) return;
  SetPlaying(false);
  if (!m_time.isAnimated) m_which->setCurrentIndex(1);
  ShowFrame(m_time.frame + frames);
}

void AnimationBar::Advance(double seconds) {
  const int count = FrameCount();
  // A loop lasts until its last frame has been seen for as long as the others.
  const double length = count / m_time.rate;
  m_seconds += seconds * Speed();
  if (m_seconds >= length) {
    if (!m_loop->isChecked()) {
      SetPlaying(false);
      return ShowFrame(count);
    }
    m_seconds = std::fmod(m_seconds, length);
  }
  const int frame = 1 + static_cast<int>(std::floor(m_seconds * m_time.rate + 1e-6));
  if (frame != m_time.frame) ShowFrame(frame);
}

}  // namespace view
