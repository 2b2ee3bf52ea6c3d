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

/// Where a window's client area begins on the screen.
POINT ScreenOrigin(HWND window) {
  POINT origin{0, 0};
  for (auto at = Windows().Get(window); at; at = Windows().Get(at->Parent())) {
    origin.x += at->Place().x;
    origin.y += at->Place().y;
  }
  return origin;
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

BOOL CWnd::CreateEx(DWORD, const char* className, const char*, DWORD, int x, int y, int width,
                    int height, HWND parent, void*, void*) {
  if (m_hWnd || !IsWindowClass(className) || !Window::IsValidSize(width, height)) return 0;
  if (parent && !Windows().Get(parent)) return 0;
  try {
    const auto window =
        std::make_shared<HiddenWindow>(WindowPlace{x, y, width, height}, parent, this);
    if (!Window::Register(window)) return 0;
    m_hWnd = window->Handle();
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return 1;
}

BOOL CWnd::DestroyWindow() {
  return Window::Close(m_hWnd);
}

void CWnd::GetClientRect(RECT* rect) const {
  if (!rect) return;
  const std::shared_ptr<Window> window = Windows().Get(m_hWnd);
  *rect = window ? RECT{0, 0, window->Place().width, window->Place().height} : RECT{0, 0, 0, 0};
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
  return nullptr;
}

void CWnd::MoveWindow(int x, int y, int width, int height) {
  const std::shared_ptr<Window> window = Windows().Get(m_hWnd);
  if (window) window->Move({x, y, width, height});
}

// Windows that are shown come with a screen.
void AfxShowWindow(CWnd*, int) {}

CWnd* AfxGetParent(const CWnd* window) {
  const std::shared_ptr<Window> found = window ? Windows().Get(window->m_hWnd) : nullptr;
  const std::shared_ptr<Window> parent = found ? Windows().Get(found->Parent()) : nullptr;
  return parent ? parent->Owner() : nullptr;
}
