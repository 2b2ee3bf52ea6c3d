// A window that a toolkit made, as the renderer module sees it.
#pragma once

#include <memory>
#include <string>

#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/RenderInfo.h"
#include "hostkit/frame/overlay_painter.h"
#include "platform/mfc.h"

class GADriver;

namespace view {

/// An adopted window with a buffer that keeps its context from size to size, and a display list.
/// Goes before the driver, and the driver before the window.
class WindowSurface {
 public:
  /// Takes on the X window `number`. On failure returns null and one line in `*error`.
  static std::unique_ptr<WindowSurface> Adopt(unsigned long number, GADriver* driver,
                                              std::string* error);
  ~WindowSurface();
  WindowSurface(const WindowSurface&) = delete;
  WindowSurface& operator=(const WindowSurface&) = delete;

  /// Fits the buffer to the window as large as it is now. False with one line in `*error` when it
  /// cannot be drawn into.
  bool Fit(std::string* error);
  /// Pixels; 0 before Fit.
  int Width() const { return m_width; }
  int Height() const { return m_height; }

  GABuffer* Buffer() { return m_buffer.get(); }
  DisplayList* List() { return m_list.get(); }
  RenderInfo* Info() { return &m_info; }
  hostkit::PaintTarget Target() { return {m_buffer.get(), m_list.get(), &m_info}; }
  /// Fills it with a display-referred colour, red, green and blue from 0 to 1.
  void Clear(const float* color);
  /// Shows what was drawn. The next frame begins with undefined pixels.
  void Present();

 private:
  explicit WindowSurface(GADriver* driver) : m_driver(driver) {}

  GADriver* m_driver;
  CWnd m_window;
  RenderInfo m_info;
  std::unique_ptr<GABuffer> m_buffer;
  std::unique_ptr<DisplayList> m_list;  // holds on to the buffer
  int m_width = 0, m_height = 0;
};

}  // namespace view
