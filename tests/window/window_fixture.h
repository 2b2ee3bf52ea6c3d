// Buffers on windows, and what they show.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "buffer/GL3Buffer.h"
#include "displaylist/GL3DisplayL.h"
#include "platform/mfc.h"
#include "tests/support/common/x_server.h"
#include "tests/support/drawing_fixture.h"

/// Rows from the top, 0xRRGGBB.
using Frame = std::vector<std::uint32_t>;

/// A window of a style; its place counts from the parent's, or the screen's, upper left.
class TestWindow : public CWnd {
 public:
  TestWindow(DWORD style, int x, int y, int width, int height, CWnd* parent = nullptr);
};

/// A buffer of some mode on a view window, and a display list for it. View units are pixels with
/// the origin in the middle and y up.
struct WindowTarget {
  WindowTarget(GADriver* driver, CWnd* view, int mode)
      : m_driver(driver), m_view(view), m_mode(mode) {}

  /// (Re)allocates the buffer at the view's size of now.
  void Fit(bool depth = true);
  /// Clears, then draws with every path of the module that leads into the buffer: rectangles of
  /// five by three pixels in the corners (red, green, blue, white from the upper left), a lit white
  /// square of twenty around the middle.
  void DrawTestFrame();
  /// What lies in the back buffer.
  Frame Drawn();

  RenderInfo info;
  SceneRecord scene;
  std::unique_ptr<GL3GABuffer> buffer;
  std::unique_ptr<GL3DisplayList> list;

 private:
  GADriver* m_driver;
  CWnd* m_view;
  int m_mode;
};

/// A driver, and another program at the X server. Skipped where there is none.
class WindowFixture : public DriverFixture {
 protected:
  void SetUp() override;
  void TearDown() override;

  XClient& Other() { return *m_other; }
  /// What the screen shows of a window, once all that was drawn has arrived.
  Frame Shown(const CWnd& window);

 private:
  std::unique_ptr<XClient> m_other;
};
