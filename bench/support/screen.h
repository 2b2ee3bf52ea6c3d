// What somebody in front of a screen sees and does, by plain Xlib.
#pragma once

#include <cstdint>
#include <vector>

namespace bench {

/// A window as it is now, in pixels.
struct SeenWindow {
  unsigned long number = 0;  ///< 0: none.
  int x = 0, y = 0;          ///< Its corner on the screen.
  int width = 0, height = 0;
};

/// A connection of its own to the X server of DISPLAY.
class Screen {
 public:
  /// Throws std::runtime_error when there is no such server.
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  /// The innermost window at that place of the screen, none where there is the screen alone.
  SeenWindow At(int x, int y);
  /// A part of the window around its middle, as 0xRRGGBB from the top left. Empty when the window
  /// has gone or is smaller.
  std::vector<std::uint32_t> Middle(const SeenWindow& window, int width, int height);

  /// Whether the pointer can be used here: libXtst.so.6 is opened for that.
  bool HasPointer() const;
  /// Moves the pointer to that place of the screen. Like Press, to be called with HasPointer().
  void MoveTo(int x, int y);
  /// Presses the left button, or lets go of it.
  void Press(bool down);

 private:
  struct Connection;
  Connection* m_connection;
};

}  // namespace bench
