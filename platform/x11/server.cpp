// The connection to the X server, and what becomes of its errors.
#include "platform/x11/server.h"

#include <X11/Xlib.h>
#include <X11/Xlibint.h>

#include <atomic>

#include "platform/egl/environment.h"

namespace platform {
namespace {

constexpr int kFirstError = 1;
constexpr int kLastError = 255;

XConnection* g_server = nullptr;
std::atomic<unsigned> g_errors = 0;

/// Stands where Xlib turns an error's bytes into an event, on this connection alone: counted here,
/// the error never reaches the process's one handler, which ends the process or is a toolkit's.
Bool CountError(::Display*, XErrorEvent*, xError*) {
  g_errors++;
  return False;
}

}  // namespace

XConnection* OpenXServer(std::string& problem) {
  const std::string name = Environment("DISPLAY");
  if (name.empty()) {
    problem = "windows need an X server, and DISPLAY is not set";
    return nullptr;
  }
  XInitThreads();  // calls of AGL come from any thread, and EGL shares the connection
  g_server = XOpenDisplay(name.c_str());
  if (!g_server) {
    problem = "windows need an X server, and that of DISPLAY=" + name + " does not answer";
    return nullptr;
  }
  for (int code = kFirstError; code <= kLastError; code++) {
    XESetWireToError(g_server, code, CountError);
  }
  return g_server;
}

void CloseXServer() {
  if (g_server) XCloseDisplay(g_server);
  g_server = nullptr;
}

XConnection* XServer() {
  return g_server;
}

int DefaultVisualId(XConnection* server) {
  return static_cast<int>(XVisualIDFromVisual(DefaultVisual(server, DefaultScreen(server))));
}

XRequests::XRequests(XConnection* server) : m_server(server) {
  XSync(server, False);
  m_before = g_errors;
}

bool XRequests::Refused() const {
  XSync(m_server, False);
  return g_errors != m_before;
}

}  // namespace platform
