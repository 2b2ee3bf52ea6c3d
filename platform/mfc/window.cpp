// Windows and their handles.
#include "platform/mfc/window.h"

#include <limits>

#include "platform/mfc.h"
#include "platform/mfc/device_context.h"

namespace platform {

Window::Window(const WindowPlace& place, HWND parent, CWnd* owner)
    : m_place(place), m_parent(parent), m_owner(owner) {}

Window::~Window() = default;

CWnd* Window::Object() {
  if (m_owner) return m_owner;
  if (!m_object) {
    m_object = std::make_unique<CWnd>();
    m_object->m_hWnd = m_handle;
  }
  return m_object.get();
}

bool Window::IsValidSize(int width, int height) {
  // A pixel map has 15 bits for the bytes of a row and 16 signed ones for a coordinate.
  return width > 0 && height > 0 && width <= 0x7FFF / 4 &&
         height <= std::numeric_limits<std::int16_t>::max();
}

POINT Window::ScreenOrigin() {
  const std::shared_ptr<Window> parent = Windows().Get(m_parent);
  const POINT outer = parent ? parent->ScreenOrigin() : POINT{0, 0};
  const WindowPlace place = Place();
  return {outer.x + place.x, outer.y + place.y};
}

bool Window::Register(const std::shared_ptr<Window>& window) {
  window->m_handle = static_cast<HWND>(Windows().Add(window));
  window->m_port = static_cast<CGrafPtr>(Ports().Add(window));
  if (window->m_handle && window->m_port) return true;
  Close(window->m_handle);
  return false;
}

bool Window::Close(HWND handle) {
  const std::shared_ptr<Window> window = Windows().Remove(handle);
  if (!window) return false;
  for (const std::shared_ptr<Window>& child : Windows().All()) {
    if (child->m_parent == handle) Close(child->m_handle);
  }
  window->m_closed = true;
  window->Release();
  Ports().Remove(window->m_port);
  for (HDC dc : window->m_deviceContexts) DeviceContexts().Remove(dc);
  if (window->m_owner) window->m_owner->m_hWnd = nullptr;
  if (window->m_object) window->m_object->m_hWnd = nullptr;
  return true;
}

HandleTable<Window, HandleKind::kWindow>& Windows() {
  static auto* const table = new HandleTable<Window, HandleKind::kWindow>;
  return *table;
}

HandleTable<Window, HandleKind::kPort>& Ports() {
  static auto* const table = new HandleTable<Window, HandleKind::kPort>;
  return *table;
}

}  // namespace platform
