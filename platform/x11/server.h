// The connection to the X server: one a process, which EGL and the windows share.
#pragma once

#include <string>

struct _XDisplay;

namespace platform {

using XConnection = ::_XDisplay;  // Xlib calls it Display

/// Connects to the server that DISPLAY names. Null on failure; `problem` then says why. What the
/// server finds wrong with a request, such as a window that has just gone, never ends the process;
/// the loss of the server does, as Xlib has it.
XConnection* OpenXServer(std::string& problem);
/// Ends the connection, for a server that is of no use.
void CloseXServer();
/// The connection, null when there is none.
XConnection* XServer();
/// The visual that a screen gives windows unasked.
int DefaultVisualId(XConnection* server);

/// Tells whether the server refused any request made while this lives. Used by one thread at a
/// time.
class XRequests {
 public:
  explicit XRequests(XConnection* server);
  /// Waits until the server has handled all requests.
  bool Refused() const;

 private:
  XConnection* m_server;
  unsigned m_before;
};

}  // namespace platform
