// A window of an X server with a bare OpenGL context, and nothing of the platform layer between.
#pragma once

namespace bench {

/// Double-buffered, with depth, shown `left` pixels from the screen's left; on the server of
/// DISPLAY. The constructor throws std::runtime_error when there is no server or no such surface.
/// Its context is current after construction.
class BareWindow {
 public:
  BareWindow(int left, int width, int height);
  BareWindow(const BareWindow&) = delete;
  BareWindow& operator=(const BareWindow&) = delete;
  ~BareWindow();

  void MakeCurrent();
  /// Brings the frame to the screen at the next vertical retrace at the earliest, where the server
  /// has one.
  void Swap();
  /// Waits until the server has handled everything.
  void Sync();

 private:
  struct Handles;
  Handles* m_handles;
};

}  // namespace bench
