// Who answers when the module asks for a file to save to.
#pragma once

#include <functional>

#include "host/String.h"

class CWnd;

namespace hostkit {

/// What the module wants to know; see SaveRequest in host/Services.h.
struct SaveQuestion {
  String title;            ///< Of the question's window.
  String filter;           ///< Of its kinds of files the first is what the file will be.
  String suggestion;       ///< The proposed name.
  String extension;        ///< The handler adds it to a name that has none; without its dot.
  String type;             ///< The kind of file by its short name.
  int option = 0;          ///< The host's own number for the question.
  CWnd* parent = nullptr;  ///< The window that it belongs to; may be null.
};

/// Puts the question to the user. Returns 1 and the chosen path in `*path` (never null), or 0 when
/// the user cancels.
using SaveRequestHandler = std::function<int(const SaveQuestion& question, String* path)>;

/// Sets what SaveRequest calls, and returns what it called before. An empty handler takes it away,
/// and then every request counts as cancelled, as at the start. Call on the thread that draws.
SaveRequestHandler SetSaveRequestHandler(SaveRequestHandler handler);

}  // namespace hostkit
