// Looks up GL entry points by name, for the host and for other modules.
#include "platform/corefoundation.h"

namespace {

/// The system's OpenGL library as a bundle, released by the caller; null when it is not there.
CFBundleRef OpenGLBundle() {
  std::int16_t volume = 0;
  std::int32_t folder = 0;
  if (FindFolder(kSystemDomain, kFrameworksFolderType, 0, &volume, &folder) != noErr)
    return nullptr;
  FSSpec spec;
  if (FSMakeFSSpec(volume, folder, "OpenGL.framework", &spec) != noErr) return nullptr;
  FSRef reference;
  if (FSpMakeFSRef(&spec, &reference) != noErr) return nullptr;
  const CFURLRef url = CFURLCreateFromFSRef(nullptr, &reference);
  if (!url) return nullptr;
  const CFBundleRef bundle = CFBundleCreate(nullptr, url);
  CFRelease(url);
  return bundle;
}

}  // namespace

/// The address of the GL function `name`, or null when the GL library has none of that name.
extern "C" __attribute__((visibility("default"))) void* glGetExtensionPointer(const char* name) {
  if (!name) return nullptr;
  const CFBundleRef bundle = OpenGLBundle();
  if (!bundle) return nullptr;
  const CFStringRef text = CFStringCreateWithCString(nullptr, name, CFStringGetSystemEncoding());
  void* pointer = CFBundleGetFunctionPointerForName(bundle, text);
  CFRelease(text);
  CFRelease(bundle);
  return pointer;
}
