// Module entry: what the host finds when it loads OpenGL3.so.
#include "driver/GL3Driver.h"
#include "platform/mfc.h"
#include "settings/DialogTemplates.h"

#define GL3_EXPORT extern "C" __attribute__((visibility("default")))

static AFX_EXTENSION_MODULE OpenGL3DLL = {.resources = &kDialogResources};

/// Registers the module's resources (dialog templates) with the window-system layer. Always 1.
GL3_EXPORT int DllMain(HINSTANCE instance, DWORD reason, void* /*reserved*/) {
  if (reason != DLL_PROCESS_ATTACH) return 1;
  AfxInitExtensionModule(OpenGL3DLL, instance);
  // Links itself into the layer's resource chain, and stays there as long as the process.
  new CDynLinkLibrary(OpenGL3DLL, 0);
  return 1;
}

GL3_EXPORT GADriver* CreateDriver() {
  return new GL3GADriver();
}
