// The save-file question, passed on to whatever the program has for it.
#include "hostkit/services/save_request.h"

#include <utility>

#include "host/Services.h"

namespace {

hostkit::SaveRequestHandler& Handler() {
  static hostkit::SaveRequestHandler handler;
  return handler;
}

}  // namespace

void hostkit::SetSaveRequestHandler(SaveRequestHandler handler) {
  Handler() = std::move(handler);
}

int SaveRequest(const String& title, const String& suggestion, const String& filter, String* path) {
  if (!path || !Handler()) return 0;
  String chosen;
  if (!Handler()(title, suggestion, filter, &chosen) || chosen.IsEmpty()) return 0;
  *path = std::move(chosen);
  return 1;
}
