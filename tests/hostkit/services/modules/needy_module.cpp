// A module that needs a host service that no host has.
#include "host/GADriver.h"
#include "host/String.h"
#include "platform/win32.h"

int ServiceThatNoHostHas(const String& name, int value);

extern "C" {

int DllMain(HINSTANCE, DWORD, void*) {
  return ServiceThatNoHostHas(String(), 1);
}

GADriver* CreateDriver() {
  return nullptr;
}
}
