// Folder lookup and bundles: the way to an entry point of the GL library by name.
#include <dlfcn.h>
#include <link.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/corefoundation.h"
#include "platform/egl/handle_table.h"

namespace {

constexpr std::int16_t kSystemVolume = -100;
constexpr std::int32_t kFrameworksFolder = 1;
constexpr char kGlFramework[] = "OpenGL.framework";
// The second has entry points of extensions that the first lacks.
constexpr const char* kGlLibraries[] = {"libOpenGL.so.0", "libGL.so.1"};

struct LibraryCloser {
  void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, LibraryCloser>;

enum class ObjectKind { kUrl, kString, kBundle };

struct Object {
  ObjectKind kind;
  std::string text;
  std::vector<Library> libraries;
};

using ObjectTable = platform::HandleTable<Object, platform::HandleKind::kCoreFoundation>;

ObjectTable& Objects() {
  static auto* const table = new ObjectTable;
  return *table;
}

void* MakeObject(ObjectKind kind, std::string text, std::vector<Library> libraries = {}) {
  return Objects().Add(
      std::make_shared<Object>(Object{kind, std::move(text), std::move(libraries)}));
}

std::shared_ptr<Object> FindObject(const void* handle, ObjectKind kind) {
  std::shared_ptr<Object> object = Objects().Get(handle);
  return object && object->kind == kind ? object : nullptr;
}

/// A library's own symbol: dlsym also finds those of the libraries that it depends on.
void* OwnSymbol(void* library, const char* name) {
  void* const address = dlsym(library, name);
  Dl_info info{};
  link_map* map = nullptr;
  if (!address || !dladdr(address, &info) || dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) {
    return nullptr;
  }
  return reinterpret_cast<ElfW(Addr)>(info.dli_fbase) == map->l_addr ? address : nullptr;
}

}  // namespace

OSErr FindFolder(std::int16_t domain, std::uint32_t folderType, unsigned char, std::int16_t* volume,
                 std::int32_t* folder) {
  if (!volume || !folder) return paramErr;
  if (domain != kSystemDomain || folderType != kFrameworksFolderType) return fnfErr;
  *volume = kSystemVolume;
  *folder = kFrameworksFolder;
  return noErr;
}

OSErr FSMakeFSSpec(std::int16_t volume, std::int32_t folder, const char* name, FSSpec* spec) {
  if (!name || !spec) return paramErr;
  if (name[0] == '\0' || std::strlen(name) >= sizeof spec->name) return bdNamErr;
  if (volume != kSystemVolume || folder != kFrameworksFolder) return fnfErr;
  if (std::strcmp(name, kGlFramework) != 0) return fnfErr;
  *spec = {volume, folder, {}};
  std::strcpy(spec->name, name);
  return noErr;
}

OSErr FSpMakeFSRef(const FSSpec* spec, FSRef* ref) {
  if (!spec || !ref) return paramErr;
  if (spec->vRefNum != kSystemVolume || spec->parID != kFrameworksFolder) return fnfErr;
  if (std::strncmp(spec->name, kGlFramework, sizeof spec->name) != 0) return fnfErr;
  *ref = {};
  std::strcpy(ref->path, kGlFramework);
  return noErr;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, const FSRef* ref) {
  if (!ref || std::strncmp(ref->path, kGlFramework, sizeof ref->path) != 0) return nullptr;
  return static_cast<CFURLRef>(MakeObject(ObjectKind::kUrl, kGlFramework));
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef url) {
  if (!FindObject(url, ObjectKind::kUrl)) return nullptr;
  std::vector<Library> libraries;
  for (const char* name : kGlLibraries) {
    Library library(dlopen(name, RTLD_LAZY | RTLD_LOCAL));
    if (library) libraries.push_back(std::move(library));
  }
  if (libraries.empty()) return nullptr;
  return static_cast<CFBundleRef>(
      MakeObject(ObjectKind::kBundle, kGlFramework, std::move(libraries)));
}

CFStringEncoding CFStringGetSystemEncoding(void) {
  return 0x08000100;  // UTF-8
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding) {
  return text ? static_cast<CFStringRef>(MakeObject(ObjectKind::kString, text)) : nullptr;
}

void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name) {
  const std::shared_ptr<Object> found = FindObject(bundle, ObjectKind::kBundle);
  const std::shared_ptr<Object> text = FindObject(name, ObjectKind::kString);
  if (!found || !text) return nullptr;
  for (const Library& library : found->libraries) {
    if (void* address = OwnSymbol(library.get(), text->text.c_str())) return address;
  }
  return nullptr;
}

void CFRelease(CFTypeRef object) {
  Objects().Remove(object);
}
