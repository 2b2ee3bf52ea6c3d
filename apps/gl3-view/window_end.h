// Windows that somebody else destroys.
#pragma once

#include <QAbstractNativeEventFilter>
#include <functional>
#include <vector>

class QWidget;

namespace view {

/// Watches windows of the X server. A window manager asks to close a window; who destroys it
/// outright, as xkill and the end of a session may, leaves the toolkit with a window that nobody
/// sees and nobody can close.
class WindowEnd : public QAbstractNativeEventFilter {
 public:
  /// `gone` is called, from the event loop, when one of `widgets` (not owned, native) has lost its
  /// window though nobody here let go of it.
  WindowEnd(std::vector<QWidget*> widgets, std::function<void()> gone);
  ~WindowEnd() override;
  WindowEnd(const WindowEnd&) = delete;
  WindowEnd& operator=(const WindowEnd&) = delete;

  bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

 private:
  const std::vector<QWidget*> m_widgets;
  const std::function<void()> m_gone;
};

}  // namespace view
