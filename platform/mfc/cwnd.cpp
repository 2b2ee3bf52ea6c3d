// CWnd, CRect and window classes.
#include <cstddef>
#include <cstdio>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <utility>

#include "platform/egl/hidden_window.h"
#include "platform/mfc.h"
#include "platform/mfc/window.h"
#include "platform/x11/x_window.h"

using namespace platform;

namespace {

std::mutex g_classMutex;

/// Names of the registered window classes. Elements of a set stay where they are.
std::set<std::string>& ClassNames() {
  static auto* const names = new std::set<std::string>;
  return *names;
}

bool IsWindowClass(const char* name) {
  const std::lock_guard lock(g_classMutex);
  return name && ClassNames().contains(name);
}

std::string Hexadecimal(const void* value) {
  char text[20];
  std::snprintf(text, sizeof text, "%zx", reinterpret_cast<std::size_t>(value));
  return text;
}

POINT ScreenOrigin(HWND handle) {
  const std::shared_ptr<Window> window = Windows().Get(handle);
  return window ? window->ScreenOrigin() : POINT{0, 0};
}

/// A window of the kind that suits its style and its parent; null when it cannot be made.
std::shared_ptr<Window> MakeWindow(const WindowPlace& place, DWORD style, const char* title,
                                   const std::shared_ptr<Window>& parent, CWnd* owner) {
  const bool hidden =
      (style & WS_POPUP) != 0 || (parent && parent->NativeWindow() == 0) || !XWindow::CanMake();
  if (!hidden) return XWindow::Make(place, {title, (style & WS_VISIBLE) != 0}, parent, owner);
  return std::make_shared<HiddenWindow>(place, parent ? parent->Handle() : nullptr, owner);
}

}  // namespace

void CRect::NormalizeRect() {
  if (left > right) std::swap(left, right);
  if (top > bottom) std::swap(top, bottom);
}

const char* AfxRegisterWndClass(DWORD style, void* cursor, void* brush, void* icon) {
  std::string name = "Afx:" + std::to_string(style);
  for (const void* part : {cursor, brush, icon}) name += ":" + Hexadecimal(part);
  const std::lock_guard lock(g_classMutex);
  return ClassNames().insert(std::move(name)).first->c_str();
}

CWnd::~CWnd() {
  Window::Close(m_hWnd);
}

BOOL CWnd::CreateEx(DWORD, const char* className, const char* title, DWORD style, int x, int y,
                    int width, int height, HWND parent, void*, void*) {
  if (m_hWnd || !IsWindowClass(className) || !Window::IsValidSize(width, height)) return 0;
  const std::shared_ptr<Window> outer = Windows().Get(parent);
  if (parent && !outer) return 0;
  try {
    const std::shared_ptr<Window> window =
        MakeWindow({x, y, width, height}, style, title, outer, this);
    if (!window || !Window::Register(window)) return 0;
    m_hWnd = window->Handle();
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return 1;
}

BOOL CWnd::Attach(HWND handle) {
  const std::shared_ptr<Window> window = Windows().Get(handle);
  if (m_hWnd || !window || window->Owner()) return 0;
  window->SetOwner(this);
  m_hWnd = handle;
  return 1;
}

BOOL CWnd::DestroyWindow() {
  return Window::Close(m_hWnd);
}

void CWnd::GetClientRect(RECT* rect) const {
  if (!rect) return;
  const std::shared_ptr<Window> window = Windows().Get(m_hWnd);
  const WindowPlace place = window ? window->Place() : WindowPlace{};
  *rect = {0, 0, place.width, place.height};
}

void CWnd::ClientToScreen(POINT* point) const {
  if (!point) return;
  const POINT origin = ScreenOrigin(m_hWnd);
  point->x += origin.x;
  point->y += origin.y;
}

void CWnd::ClientToScreen(RECT* rect) const {
  if (!rect) return;
  const POINT origin = ScreenOrigin(m_hWnd);
  *rect = {rect->left + origin.x, rect->top + origin.y, rect->right + origin.x,
           rect->bottom + origin.y};
}

CWnd* CWnd::GetParentFrame() const {
  const std::shared_ptr<Window> window = Windows().Get(m_hWnd);
  std::shared_ptr<Window> frame = window ? Windows().Get(window->Parent()) : nullptr;
  if (!frame) return nullptr;
  while (const auto outer = Windows().Get(frame->Parent())) frame = outer;
  return frame->Owner();
}

void CWnd::MoveWindow(int x, int y, int width, int height) {
  const std::shared_ptr<Window> window = Windows().Get(m_hWnd);
  if (window) window->Move({x, y, width, height});
}

void CWnd::OnClose() {
  DestroyWindow();
}

CWnd* CWnd::FromHandle(HWND handle) {
  const std::shared_ptr<Window> window = Windows().Get(handle);
  return window ? window->Object() : nullptr;
}

BOOL CWnd::EnableWindow(BOOL enable) {
  const std::shared_ptr<Window> window = Windows().Get(m_hWnd);
  return window && window->Enable(enable != 0);
}

void AfxShowWindow(CWnd* window, int command) {
  const std::shared_ptr<Window> found = window ? Windows().Get(window->m_hWnd) : nullptr;
  if (found) found->Show(command != SW_HIDE);
}

HWND AfxGetParent(HWND window) {
  const std::shared_ptr<Window> found = Windows().Get(window);
  return found && Windows().Get(found->Parent()) ? found->Parent() : nullptr;
}

CWnd* AfxGetParent(const CWnd* window) {
  const std::shared_ptr<Window> parent =
      Windows().Get(AfxGetParent(window ? window->m_hWnd : nullptr));
  return parent ? parent->Owner() : nullptr;
}
