// Makes calls of the platform layer and of the host's heaps fail: the definitions that stand in
// front of the libraries'.
#include "tests/support/faults.h"

#include <array>
#include <cstring>
#include <limits>
#include <map>
#include <mutex>

#include "host/Heaps.h"
#include "hostkit/services/ext_heap.h"
#include "platform/agl.h"
#include "platform/cgl.h"
#include "platform/corefoundation.h"
#include "platform/gl.h"
#include "platform/mfc.h"
#include "platform/win32.h"
#include "tests/support/gl_names.h"
#include "tests/support/next_symbol.h"
#include "tests/support/platform_calls.h"

namespace {

struct Point {
  int calls = 0;
  int failures = 0;
  int firstFailure = std::numeric_limits<int>::max();  // number of the call, from 1
  int lastFailure = 0;
};

struct FaultState {
  std::array<Point, static_cast<std::size_t>(FaultPoint::kCount)> points;
  std::vector<std::string> messages;
  std::vector<GLboolean*> hiddenExtensions;
  MessageBoxView previousView = nullptr;
  bool on = false;
  unsigned char* lastExt = nullptr;
  std::size_t lastExtBytes = 0;
};

FaultState& State() {
  static FaultState state;
  return state;
}

Point& At(FaultPoint point) {
  return State().points.at(static_cast<std::size_t>(point));
}

/// Counts a call and tells whether it is to fail.
bool MustFail(FaultPoint which) {
  Point& point = At(which);
  ++point.calls;
  const bool fails = point.calls >= point.firstFailure && point.calls <= point.lastFailure;
  point.failures += fails ? 1 : 0;
  return fails;
}

/// Where blocks begin and how many bytes they have.
struct Blocks {
  std::mutex mutex;
  std::map<const char*, std::size_t> sizes;
};

Blocks& TheBlocks() {
  static auto* const blocks = new Blocks;  // heaps are used until the process ends
  return *blocks;
}

void NoteBlock(const void* block, std::size_t bytes) {
  if (!block) return;
  const std::lock_guard lock(TheBlocks().mutex);
  TheBlocks().sizes[static_cast<const char*>(block)] = bytes;
}

int KeepMessage(const char* text, unsigned int) {
  State().messages.emplace_back(text);
  return 1;
}

}  // namespace

extern "C" {

AGLPixelFormat aglChoosePixelFormat(const void* devices, GLint deviceCount,
                                    const GLint* attributes) {
  static auto* const next = NextSymbol<decltype(aglChoosePixelFormat)>("aglChoosePixelFormat");
  const char* of = devices || deviceCount != 0 ? " of some devices" : "";
  PlatformCall call("aglChoosePixelFormat", AglList(attributes) + of);
  const bool fails = MustFail(FaultPoint::kAglChoosePixelFormat);
  return call.Returns(fails ? nullptr : next(devices, deviceCount, attributes));
}

GLboolean aglCreatePBuffer(GLint width, GLint height, GLenum target, GLenum internalFormat,
                           long maxLevel, AGLPbuffer* pbuffer) {
  static auto* const next = NextSymbol<decltype(aglCreatePBuffer)>("aglCreatePBuffer");
  PlatformCall call("aglCreatePBuffer", width, height, EnumName(target), EnumName(internalFormat),
                    static_cast<int>(maxLevel));
  const bool fails = MustFail(FaultPoint::kAglCreatePBuffer);
  if (fails) *pbuffer = nullptr;
  const GLboolean made =
      fails ? GL_FALSE : next(width, height, target, internalFormat, maxLevel, pbuffer);
  call.Returns(*pbuffer);
  return made;
}

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attributes, CGLPixelFormatObj* format,
                              int* count) {
  static auto* const next = NextSymbol<decltype(CGLChoosePixelFormat)>("CGLChoosePixelFormat");
  PlatformCall call("CGLChoosePixelFormat", CglList(attributes));
  CGLError error = kCGLBadPixelFormat;
  *format = nullptr;
  *count = 0;
  if (!MustFail(FaultPoint::kCglChoosePixelFormat)) error = next(attributes, format, count);
  call.Returns(*format);
  return error;
}

CGLError CGLCreateContext(CGLPixelFormatObj format, CGLContextObj share, CGLContextObj* context) {
  static auto* const next = NextSymbol<decltype(CGLCreateContext)>("CGLCreateContext");
  PlatformCall call("CGLCreateContext", format, share);
  CGLError error = kCGLBadAlloc;
  *context = nullptr;
  if (!MustFail(FaultPoint::kCglCreateContext)) error = next(format, share, context);
  call.Returns(*context);
  return error;
}

// What answers a handle, or null when it fails: result type, name, parameters, arguments as they
// are passed, and as they are logged.
#define GL3_FAULTY_HANDLE(result, name, point, parameters, arguments, ...)       \
  result name parameters {                                                       \
    static auto* const next = NextSymbol<decltype(name)>(#name);                 \
    PlatformCall call(#name __VA_OPT__(, ) __VA_ARGS__);                         \
    return call.Returns(MustFail(FaultPoint::point) ? nullptr : next arguments); \
  }
GL3_FAULTY_HANDLE(AGLContext, aglCreateContext, kAglCreateContext, (AGLPixelFormat a, AGLContext b),
                  (a, b), a, b)
GL3_FAULTY_HANDLE(HDC, GetDC, kGetDC, (HWND a), (a), a)
GL3_FAULTY_HANDLE(CFURLRef, CFURLCreateFromFSRef, kCFURLCreateFromFSRef,
                  (CFAllocatorRef a, const FSRef* b), (a, b))
GL3_FAULTY_HANDLE(CFBundleRef, CFBundleCreate, kCFBundleCreate, (CFAllocatorRef a, CFURLRef b),
                  (a, b), b)

OSErr FindFolder(std::int16_t domain, std::uint32_t folderType, unsigned char create,
                 std::int16_t* volume, std::int32_t* folder) {
  static auto* const next = NextSymbol<decltype(FindFolder)>("FindFolder");
  const PlatformCall call("FindFolder", domain, static_cast<int>(folderType), create);
  if (MustFail(FaultPoint::kFindFolder)) return fnfErr;
  return next(domain, folderType, create, volume, folder);
}

OSErr FSMakeFSSpec(std::int16_t volume, std::int32_t folder, const char* name, FSSpec* spec) {
  static auto* const next = NextSymbol<decltype(FSMakeFSSpec)>("FSMakeFSSpec");
  const PlatformCall call("FSMakeFSSpec", std::string(name));
  return MustFail(FaultPoint::kFSMakeFSSpec) ? OSErr{fnfErr} : next(volume, folder, name, spec);
}

OSErr FSpMakeFSRef(const FSSpec* spec, FSRef* ref) {
  static auto* const next = NextSymbol<decltype(FSpMakeFSRef)>("FSpMakeFSRef");
  const PlatformCall call("FSpMakeFSRef");
  return MustFail(FaultPoint::kFSpMakeFSRef) ? OSErr{fnfErr} : next(spec, ref);
}
}

// C++ functions are looked up by their mangled names.

unsigned int InitializeGlew() {
  static auto* const next = NextSymbol<decltype(InitializeGlew)>("_Z14InitializeGlewv");
  const PlatformCall call("InitializeGlew");
  if (MustFail(FaultPoint::kInitializeGlew)) return 1;
  const unsigned int result = next();
  for (GLboolean* flag : State().hiddenExtensions) *flag = GL_FALSE;
  return result;
}

#define GL3_FAULTY_HEAP(name, mangled)                             \
  void* name(std::size_t size) {                                   \
    static auto* const next = NextSymbol<decltype(name)>(mangled); \
    return MustFail(FaultPoint::k##name) ? nullptr : next(size);   \
  }
GL3_FAULTY_HEAP(AllocGAssist, "_Z12AllocGAssistm")
GL3_FAULTY_HEAP(AllocOGL, "_Z8AllocOGLm")
GL3_FAULTY_HEAP(AllocString, "_Z11AllocStringm")

void* AllocExt(std::size_t size) {
  static auto* const next = NextSymbol<decltype(AllocExt)>("_Z8AllocExtm");
  if (MustFail(FaultPoint::kAllocExt)) return nullptr;
  if (!State().on || size > std::numeric_limits<std::size_t>::max() - Faults::kGuardBytes) {
    void* block = next(size);
    NoteBlock(block, size);
    return block;
  }
  State().lastExt = static_cast<unsigned char*>(next(size + Faults::kGuardBytes));
  State().lastExtBytes = size;
  NoteBlock(State().lastExt, size);
  if (State().lastExt) std::memset(State().lastExt, Faults::kGuard, size + Faults::kGuardBytes);
  return State().lastExt;
}

void* hostkit::AllocExtPicture(std::size_t size) {
  static auto* const next = NextSymbol<decltype(AllocExtPicture)>("_ZN7hostkit15AllocExtPictureEm");
  void* block = MustFail(FaultPoint::kAllocBitmap) ? nullptr : next(size);
  NoteBlock(block, size);
  return block;
}

void FreeExt(void* block) {
  static auto* const next = NextSymbol<decltype(FreeExt)>("_Z7FreeExtPv");
  {
    const std::lock_guard lock(TheBlocks().mutex);
    TheBlocks().sizes.erase(static_cast<const char*>(block));
  }
  next(block);
}

std::string PlaceInBlock(const void* address) {
  const auto* place = static_cast<const char*>(address);
  const std::lock_guard lock(TheBlocks().mutex);
  auto block = TheBlocks().sizes.upper_bound(place);
  if (block == TheBlocks().sizes.begin()) return "pointer";
  --block;
  const auto offset = static_cast<std::size_t>(place - block->first);
  return offset < block->second ? fmt::format("+{} of {}", offset, block->second) : "pointer";
}

Faults::Faults() {
  State() = FaultState();
  State().on = true;
  State().previousView = SetMessageBoxView(KeepMessage);
}

Faults::~Faults() {
  SetMessageBoxView(State().previousView);
  State() = FaultState();
}

void Faults::Fail(FaultPoint point, int nth, int count) {
  At(point).firstFailure = At(point).calls + nth;
  At(point).lastFailure = At(point).firstFailure + count - 1;
}

int Faults::Calls(FaultPoint point) const {
  return At(point).calls;
}
int Faults::Failures(FaultPoint point) const {
  return At(point).failures;
}

const unsigned char* Faults::LastExt(std::size_t* bytes) const {
  *bytes = State().lastExtBytes;
  return State().lastExt;
}

void Faults::HideExtension(const std::string& name) {
  static const std::map<std::string, GLboolean*> flags = {
      {"GL_ARB_texture_non_power_of_two", &__GLEW_ARB_texture_non_power_of_two},
      {"GL_ARB_depth_texture", &__GLEW_ARB_depth_texture},
      {"GL_EXT_framebuffer_object", &__GLEW_EXT_framebuffer_object},
      {"GL_EXT_texture_filter_anisotropic", &__GLEW_EXT_texture_filter_anisotropic},
      {"GL_ARB_texture_border_clamp", &__GLEW_ARB_texture_border_clamp}};
  const auto found = flags.find(name);
  if (found == flags.end()) {
    std::fprintf(stderr, "tests: cannot hide the extension %s\n", name.c_str());
    std::abort();
  }
  State().hiddenExtensions.push_back(found->second);
}

const std::vector<std::string>& Faults::Messages() const {
  return State().messages;
}
