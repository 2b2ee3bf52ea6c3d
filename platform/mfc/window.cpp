// Windows and their handles.
#include "platform/mfc/window.h"

#include <limits>

#include "platform/mfc.h"
#include "platform/mfc/device_context.h"

namespace platform {
namespace {

constexpr int kBytesPerPixel = 4;
constexpr int kPixMapBit = 0x8000;  // of `rowBytes`; the stride has the bits below
constexpr int kMaxStride = kPixMapBit - 1;

}  // namespace

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
  // Coordinates in a pixel map have 16 signed bits.
  return width > 0 && height > 0 && width <= kMaxStride / kBytesPerPixel &&
         height <= std::numeric_limits<std::int16_t>::max();
}

void Window::SetPixMapSize(int width, int height) {
  m_pixMap.rowBytes = static_cast<std::uint16_t>(kPixMapBit | width * kBytesPerPixel);
  m_pixMap.bounds = {0, 0, static_cast<std::int16_t>(height), static_cast<std::int16_t>(width)};
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
