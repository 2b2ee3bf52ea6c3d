// A library with a DllMain that is no renderer.
#include "platform/win32.h"

extern "C" int DllMain(HINSTANCE, DWORD, void*) {
  return 1;
}
