// Buffers on windows, and what they show.
#pragma once

#include "platform/mfc.h"
#include "tests/support/common/x_server.h"
#include "tests/support/drawing_fixture.h"

/// A window of a style; its place counts from the parent's, or the screen's, upper left.
class TestWindow : public CWnd {
 public:
  TestWindow(DWORD style, int x, int y, int width, int height, CWnd* parent = nullptr);
};

/// A target of some mode on a view window. View units are pixels with the origin in the middle and
/// y up.
struct WindowTarget : OffscreenTarget {
  WindowTarget(GADriver* driver, CWnd* view, int mode);

  /// Reallocates the buffer at the view's size of now.
  void Fit(bool depth = true);
  /// Clears, then draws with every path of the module that leads into the buffer: rectangles of
  /// five by three pixels in the corners (red, green, blue, white from the upper left), a lit white
  /// square of twenty around the middle.
  void DrawTestFrame();
};

/// A driver, and another program at the X server. Skipped where there is none.
class WindowFixture : public DriverFixture {
 protected:
  void SetUp() override;
  void TearDown() override;

  XClient& Other() { return *m_other; }
  /// What the screen shows of a window, once all that was drawn has arrived.
  std::vector<std::uint32_t> Shown(const CWnd& window);

 private:
  std::unique_ptr<XClient> m_other;
};
