// A window that a toolkit made, as the renderer module sees it.
#include "apps/gl3-view/window_surface.h"

#include "apps/gl3-view/texts.h"
#include "host/GADriver.h"
#include "platform/platform.h"

namespace view {

std::unique_ptr<WindowSurface> WindowSurface::Adopt(unsigned long number, GADriver* driver,
                                                    std::string* error) {
  std::unique_ptr<WindowSurface> surface(new WindowSurface(driver));
  const HWND handle = platform::AdoptWindow(number, error);
  if (!handle) return nullptr;
  if (!surface->m_window.Attach(handle)) {
    *error =
        Tr("the window is drawn into already; close this program and start it again").toStdString();
    return nullptr;
  }
  surface->m_info.viewWindow = &surface->m_window;
  return surface;
}

WindowSurface::~WindowSurface() {
  m_list.reset();
  m_buffer.reset();
}

bool WindowSurface::Fit(std::string* error) {
  platform::PumpWindows();
  RECT client;
  m_window.GetClientRect(&client);
  if (client.right <= 0 || client.bottom <= 0) {
    *error = Tr("the window is gone; start the program again").toStdString();
    return false;
  }
  if (m_list && client.right == m_width && client.bottom == m_height) return true;
  if (!m_buffer) m_buffer.reset(m_driver->CreateBuffer(&m_info, GABuffer::kKeepContext, 0));
  if (!m_buffer || !m_buffer->Reallocate(client.right, client.bottom, GABuffer::kWithDepth)) {
    *error =
        Tr("OpenGL cannot draw into the window; see what `gl3 info --check` finds").toStdString();
    return false;
  }
  m_info.buffer = m_buffer.get();
  if (!m_list) m_list.reset(m_driver->CreateDisplayList(&m_info));
  if (!m_list) {
    *error = Tr("memory ran out; close other programs").toStdString();
    return false;
  }
  m_width = client.right;
  m_height = client.bottom;
  return true;
}

void WindowSurface::Clear(const float* color) {
  unsigned char bytes[3];
  for (int i = 0; i < 3; ++i) bytes[i] = static_cast<unsigned char>(color[i] * 255 + 0.5f);
  GAColor background;
  background.Set(bytes[0], bytes[1], bytes[2], 255);
  m_buffer->SetBackground(background);
  m_buffer->Clear();
}

void WindowSurface::Present() {
  m_buffer->BlitToFront(&m_window, static_cast<unsigned short>(m_width),
                        static_cast<unsigned short>(m_height));
}

}  // namespace view
