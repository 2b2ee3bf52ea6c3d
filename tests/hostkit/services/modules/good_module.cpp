// A module as it should be, with a driver that does nothing.
#include "platform/win32.h"
#include "tests/hostkit/services/fake_driver.h"

namespace {

int attached = 0;

}  // namespace

extern "C" {

int DllMain(HINSTANCE, DWORD reason, void*) {
  attached += reason == DLL_PROCESS_ATTACH ? 1 : -1;
  return 1;
}

GADriver* CreateDriver() {
  return new FakeDriver;
}

/// How often the module was attached more than detached.
int TestAttached() {
  return attached;
}
}
