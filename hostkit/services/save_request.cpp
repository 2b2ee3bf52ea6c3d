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

hostkit::SaveRequestHandler hostkit::SetSaveRequestHandler(SaveRequestHandler handler) {
  return std::exchange(Handler(), std::move(handler));
}

int SaveRequest(const String& title, const String& filter, String* name, const String& extension,
                const String& type, int option, CWnd* parent, int* kind) {
  if (!name || !Handler()) return 0;
  const hostkit::SaveQuestion question = {title, filter, *name, extension, type, option, parent};
  String chosen;
  if (!Handler()(question, &chosen) || chosen.IsEmpty()) return 0;
  *name = std::move(chosen);
  if (kind) *kind = 0;  // handlers offer the first kind alone
  return 1;
}
