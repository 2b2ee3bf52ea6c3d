// Device contexts, the ports behind them, and the pixel maps of ports.
#include "platform/mfc/device_context.h"

#include "platform/mfc/window.h"

namespace platform {
namespace {

HDC MakeDeviceContext(const std::shared_ptr<Window>& window) {
  auto made = std::make_shared<DeviceContext>();
  made->port = window ? window->Port() : nullptr;
  const auto handle = static_cast<HDC>(DeviceContexts().Add(made));
  made->object.m_hDC = handle;
  if (window && handle) window->AddDeviceContext(handle);
  return handle;
}

/// The pixel map of a live window, null for any other address.
const PixMap* FindPixMap(PixMapHandle map) {
  for (const std::shared_ptr<Window>& window : Windows().All()) {
    if (window->Pixels() == map) return *map;
  }
  return nullptr;
}

}  // namespace

HandleTable<DeviceContext, HandleKind::kDeviceContext>& DeviceContexts() {
  static auto* const table = new HandleTable<DeviceContext, HandleKind::kDeviceContext>;
  return *table;
}

}  // namespace platform

using namespace platform;

HDC GetDC(HWND window) {
  const std::shared_ptr<Window> found = Windows().Get(window);
  return found ? MakeDeviceContext(found) : nullptr;
}

HDC CreateCompatibleDC(HDC model) {
  if (model && !DeviceContexts().Get(model)) return nullptr;
  return MakeDeviceContext(nullptr);
}

BOOL DeleteDC(HDC dc) {
  const std::shared_ptr<DeviceContext> found = DeviceContexts().Remove(dc);
  if (!found) return 0;
  const std::shared_ptr<Window> window = Ports().Get(found->port);
  if (window) window->ForgetDeviceContext(dc);
  return 1;
}

BOOL ForceDraw(HWND window) {
  // Programs draw without being asked here: there is no repaint to bring forward, except that of a
  // dialog, which its view does; what was drawn has to come to the screen.
  const std::shared_ptr<Window> found = Windows().Get(window);
  if (found) found->Flush();
  return found != nullptr;
}

CDC* CDC::FromHandle(HDC dc) {
  const std::shared_ptr<DeviceContext> found = DeviceContexts().Get(dc);
  return found ? &found->object : nullptr;
}

CGrafPtr CheckoutPort(HDC dc, int) {
  const std::shared_ptr<DeviceContext> found = DeviceContexts().Get(dc);
  return found ? found->port : nullptr;
}

void CheckinPort(HDC, int) {}

HDC WrapPort(CGrafPtr port) {
  const std::shared_ptr<Window> window = Ports().Get(port);
  return window ? MakeDeviceContext(window) : nullptr;
}

void UnwrapPort(HDC dc) {
  DeleteDC(dc);
}

PixMapHandle GetGWorldPixMap(CGrafPtr port) {
  const std::shared_ptr<Window> window = Ports().Get(port);
  if (!window) return nullptr;
  window->Place();  // of now, and the map with it
  return window->IsClosed() ? nullptr : window->Pixels();
}

PixMapHandle GetPortPixMap(CGrafPtr port) {
  return GetGWorldPixMap(port);
}

char* GetPixBaseAddr(PixMapHandle map) {
  const PixMap* found = FindPixMap(map);
  return found ? found->baseAddr : nullptr;
}

unsigned char LockPixels(PixMapHandle map) {
  return FindPixMap(map) != nullptr;
}

void UnlockPixels(PixMapHandle) {}

void DisposeWindow(CGrafPtr port) {
  const std::shared_ptr<Window> window = Ports().Get(port);
  if (window) Window::Close(window->Handle());
}
