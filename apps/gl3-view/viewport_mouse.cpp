// What the mouse and the keys do in the viewport.
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <cmath>

#include "apps/gl3-view/viewport.h"

namespace view {
namespace {

// Radians that the camera turns for a drag over the height of the window.
constexpr float kTurnAWindow = 3.14159265f;
// How much nearer one click of the wheel goes, and a drag over the height of the window.
constexpr float kWheelStep = 0.85f, kDragZoom = 6;
constexpr float kWheelClick = 120;  // in eighths of a degree
// What a press of an arrow key turns by, in radians, and moves by, in shares of the height.
constexpr float kKeyTurn = kTurnAWindow / 24, kKeyPan = 0.05f;
// A hand that clicks trembles by so many pixels.
constexpr int kTremble = 4;

}  // namespace

void Viewport::mousePressEvent(QMouseEvent* event) {
  m_pressed = m_last = event->position().toPoint();
  m_dragged = false;
}

void Viewport::mouseMoveEvent(QMouseEvent* event) {
  if (event->buttons() == Qt::NoButton) return;
  const QPoint now = event->position().toPoint();
  if (!m_dragged && (now - m_pressed).manhattanLength() < kTremble) return;
  m_dragged = true;
  const float right = static_cast<float>(now.x() - m_last.x()) / static_cast<float>(height());
  const float up = static_cast<float>(m_last.y() - now.y()) / static_cast<float>(height());
  m_last = now;
  const bool shift = event->modifiers().testFlag(Qt::ShiftModifier);
  // What is under the mouse follows it, so the camera goes the other way.
  if (event->buttons().testFlag(Qt::MiddleButton) ||
      (shift && event->buttons().testFlag(Qt::LeftButton))) {
    m_camera.Pan(-right, -up);
  } else if (event->buttons().testFlag(Qt::RightButton)) {
    m_camera.Zoom(std::pow(kDragZoom, -up));
  } else {
    m_camera.Orbit(-right * kTurnAWindow, -up * kTurnAWindow);
  }
  Changed();
}

void Viewport::mouseReleaseEvent(QMouseEvent* event) {
  if (m_dragged || event->button() != Qt::LeftButton) return;
  const qreal scale = devicePixelRatioF();
  const QPointF at = event->position() * scale;
  Select(static_cast<int>(at.x()), static_cast<int>(at.y()),
         event->modifiers().testFlag(Qt::ControlModifier));
}

void Viewport::wheelEvent(QWheelEvent* event) {
  const float clicks = static_cast<float>(event->angleDelta().y()) / kWheelClick;
  if (clicks == 0) return;
  m_camera.Zoom(std::pow(kWheelStep, clicks));
  Changed();
}

void Viewport::keyPressEvent(QKeyEvent* event) {
  float right = 0, up = 0, zoom = 1;
  switch (event->key()) {
    case Qt::Key_Left:
      right = -1;
      break;
    case Qt::Key_Right:
      right = 1;
      break;
    case Qt::Key_Down:
      up = -1;
      break;
    case Qt::Key_Up:
      up = 1;
      break;
    case Qt::Key_Plus:
    case Qt::Key_Equal:  // the same key without shift
      zoom = kWheelStep;
      break;
    case Qt::Key_Minus:
      zoom = 1 / kWheelStep;
      break;
    default:
      return QWidget::keyPressEvent(event);
  }
  if (event->modifiers().testFlag(Qt::ShiftModifier)) {
    m_camera.Pan(right * kKeyPan, up * kKeyPan);
  } else {
    m_camera.Orbit(right * kKeyTurn, up * kKeyTurn);
  }
  m_camera.Zoom(zoom);
  Changed();
}

}  // namespace view
