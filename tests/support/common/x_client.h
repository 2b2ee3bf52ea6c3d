// Another program at the X server: what it sees and does.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A program with a connection of its own to the server of DISPLAY. Windows go by their numbers.
class XClient {
 public:
  XClient();
  XClient(const XClient&) = delete;
  XClient& operator=(const XClient&) = delete;
  ~XClient();

  /// A window that shows nothing yet, of the screen's own visual or of one that lets others shine
  /// through.
  unsigned long MakeWindow(int width, int height, bool translucent = false);
  void Resize(unsigned long window, int width, int height);
  void Destroy(unsigned long window);
  /// Asks the window's program to close it, as a click on a frame's button does.
  void AskToClose(unsigned long window);
  bool Exists(unsigned long window);
  bool IsShown(unsigned long window);
  /// As window managers show it.
  std::string Title(unsigned long window);
  /// What the screen shows of a window of that size: 0xRRGGBB, from the top left.
  std::vector<std::uint32_t> Pixels(unsigned long window, int width, int height);

 private:
  struct Connection;
  Connection* m_connection;
};
