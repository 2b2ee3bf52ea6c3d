// Windows that somebody else destroys.
#include "apps/gl3-view/window_end.h"

#include <xcb/xproto.h>

#include <QCoreApplication>
#include <QWidget>
#include <utility>

namespace view {

WindowEnd::WindowEnd(std::vector<QWidget*> widgets, std::function<void()> gone)
    : m_widgets(std::move(widgets)), m_gone(std::move(gone)) {
  QCoreApplication::instance()->installNativeEventFilter(this);
}

WindowEnd::~WindowEnd() {
  QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool WindowEnd::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
  if (type != "xcb_generic_event_t") return false;
  constexpr int kSentByClient = 0x80;
  const auto* const event = static_cast<const xcb_generic_event_t*>(message);
  if ((event->response_type & ~kSentByClient) != XCB_DESTROY_NOTIFY) return false;
  const xcb_window_t window = static_cast<const xcb_destroy_notify_event_t*>(message)->window;
  for (const QWidget* widget : m_widgets) {
    if (widget->internalWinId() == window) m_gone();
  }
  return false;
}

}  // namespace view
