// Records calls of the platform layer: the definitions that stand in front of the layer's, beside
// those in faults.cpp.
#include "tests/support/platform_calls.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "host/Bitmap.h"
#include "platform/mfc.h"
#include "tests/support/next_symbol.h"

namespace {

struct Name {
  int value;
  const char* text;
  bool hasValue;
};

constexpr Name kAglNames[] = {
    {AGL_BUFFER_SIZE, "AGL_BUFFER_SIZE", true},     {AGL_RGBA, "AGL_RGBA", false},
    {AGL_DOUBLEBUFFER, "AGL_DOUBLEBUFFER", false},  {AGL_DEPTH_SIZE, "AGL_DEPTH_SIZE", true},
    {AGL_PIXEL_SIZE, "AGL_PIXEL_SIZE", true},       {AGL_OFFSCREEN, "AGL_OFFSCREEN", false},
    {AGL_ACCELERATED, "AGL_ACCELERATED", false},    {AGL_BUFFER_RECT, "AGL_BUFFER_RECT", false},
    {AGL_SWAP_INTERVAL, "AGL_SWAP_INTERVAL", false}};

constexpr Name kCglNames[] = {{kCGLPFADisplayMask, "kCGLPFADisplayMask", true},
                              {kCGLPFAColorSize, "kCGLPFAColorSize", true},
                              {kCGLPFAAlphaSize, "kCGLPFAAlphaSize", true},
                              {kCGLPFAAccelerated, "kCGLPFAAccelerated", false},
                              {kCGLPFADoubleBuffer, "kCGLPFADoubleBuffer", false},
                              {kCGLPFAMinimumPolicy, "kCGLPFAMinimumPolicy", false},
                              {kCGLPFASampleBuffers, "kCGLPFASampleBuffers", true},
                              {kCGLPFASamples, "kCGLPFASamples", true}};

template <std::size_t kCount>
const Name* FindName(const Name (&names)[kCount], int value) {
  const auto* found = std::find_if(std::begin(names), std::end(names),
                                   [value](const Name& name) { return name.value == value; });
  return found == std::end(names) ? nullptr : found;
}

std::string AglName(int value) {
  const Name* name = FindName(kAglNames, value);
  return name ? name->text : fmt::format("{}", value);
}

template <std::size_t kCount>
std::string List(const Name (&names)[kCount], const int* at) {
  std::vector<std::string> texts;
  for (; *at; ++at) {
    const Name* name = FindName(names, *at);
    texts.push_back(name ? name->text : fmt::format("{}", *at));
    if (name && name->hasValue) texts.push_back(fmt::format("{}", *++at));
  }
  return fmt::format("{{{}}}", fmt::join(texts, ", "));
}

}  // namespace

std::string AglList(const GLint* attributes) {
  return List(kAglNames, attributes);
}
std::string CglList(const CGLPixelFormatAttribute* attributes) {
  return List(kCglNames, attributes);
}

// Forwarding definitions: result type, name, parameters, arguments as they are logged and passed.
#define GL3_CALL(result, name, parameters, arguments)            \
  result name parameters {                                       \
    static auto* const next = NextSymbol<decltype(name)>(#name); \
    const PlatformCall call(#name GL3_UNWRAP arguments);         \
    return next arguments;                                       \
  }
#define GL3_HANDLE_CALL(result, name, parameters, arguments)     \
  result name parameters {                                       \
    static auto* const next = NextSymbol<decltype(name)>(#name); \
    PlatformCall call(#name GL3_UNWRAP arguments);               \
    return call.Returns(next arguments);                         \
  }
#define GL3_UNWRAP(...) __VA_OPT__(, ) __VA_ARGS__

extern "C" {

GL3_CALL(GLenum, aglGetError, (), ())
GL3_CALL(GLboolean, aglDestroyContext, (AGLContext a), (a))
GL3_CALL(GLboolean, aglSetCurrentContext, (AGLContext a), (a))
GL3_CALL(GLboolean, aglSetDrawable, (AGLContext a, AGLDrawable b), (a, b))
GL3_CALL(GLboolean, aglSetPBuffer, (AGLContext a, AGLPbuffer b, GLint c, GLint d, GLint e),
         (a, b, c, d, e))
GL3_CALL(void, aglSwapBuffers, (AGLContext a), (a))
GL3_CALL(GLint, aglGetVirtualScreen, (AGLContext a), (a))
GL3_CALL(GLboolean, aglUpdateContext, (AGLContext a), (a))
GL3_CALL(GLboolean, aglUseFont,
         (AGLContext a, GLint b, GLint c, GLint d, GLint e, GLint f, GLint g),
         (a, b, c, d, e, f, g))

GLboolean aglDescribePixelFormat(AGLPixelFormat format, GLint attribute, GLint* value) {
  static auto* const next = NextSymbol<decltype(aglDescribePixelFormat)>("aglDescribePixelFormat");
  const PlatformCall call("aglDescribePixelFormat", format, AglName(attribute));
  return next(format, attribute, value);
}

GLboolean aglEnable(AGLContext context, GLenum pname) {
  static auto* const next = NextSymbol<decltype(aglEnable)>("aglEnable");
  const PlatformCall call("aglEnable", context, AglName(static_cast<int>(pname)));
  return next(context, pname);
}

GLboolean aglSetInteger(AGLContext context, GLenum pname, const GLint* values) {
  static auto* const next = NextSymbol<decltype(aglSetInteger)>("aglSetInteger");
  const std::vector<GLint> list(values, values + (pname == AGL_BUFFER_RECT ? 4 : 1));
  const PlatformCall call("aglSetInteger", context, AglName(static_cast<int>(pname)),
                          fmt::format("{{{}}}", fmt::join(list, ", ")));
  return next(context, pname, values);
}

GL3_CALL(CGLError, CGLDestroyPixelFormat, (CGLPixelFormatObj a), (a))
GL3_CALL(CGLError, CGLDestroyContext, (CGLContextObj a), (a))
GL3_CALL(CGLError, CGLSetCurrentContext, (CGLContextObj a), (a))
GL3_CALL(CGLError, CGLEnable, (CGLContextObj a, CGLContextEnable b), (a, b))

GL3_HANDLE_CALL(HDC, CreateCompatibleDC, (HDC a), (a))
GL3_CALL(BOOL, DeleteDC, (HDC a), (a))
GL3_HANDLE_CALL(CGrafPtr, CheckoutPort, (HDC a, int b), (a, b))
GL3_CALL(void, CheckinPort, (HDC a, int b), (a, b))
GL3_HANDLE_CALL(HDC, WrapPort, (CGrafPtr a), (a))
GL3_CALL(void, UnwrapPort, (HDC a), (a))
GL3_HANDLE_CALL(PixMapHandle, GetPortPixMap, (CGrafPtr a), (a))
GL3_CALL(unsigned char, LockPixels, (PixMapHandle a), (a))
GL3_CALL(void, UnlockPixels, (PixMapHandle a), (a))
GL3_CALL(void, DisposeWindow, (CGrafPtr a), (a))

PixMapHandle GetGWorldPixMap(CGrafPtr port) {
  static auto* const next = NextSymbol<decltype(GetGWorldPixMap)>("GetGWorldPixMap");
  PlatformCall call("GetGWorldPixMap", port);
  return call.Returns(!g_pixMap ? next(port) : *g_pixMap ? &*g_pixMap : nullptr);
}

char* GetPixBaseAddr(PixMapHandle map) {
  static auto* const next = NextSymbol<decltype(GetPixBaseAddr)>("GetPixBaseAddr");
  return g_pixMap && map == &*g_pixMap ? (*map)->baseAddr : next(map);
}

GL3_CALL(void*, LocalFree, (void* a), (a))
GL3_CALL(void, CFRelease, (CFTypeRef a), (a))

CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                      CFStringEncoding encoding) {
  static auto* const next =
      NextSymbol<decltype(CFStringCreateWithCString)>("CFStringCreateWithCString");
  PlatformCall call("CFStringCreateWithCString", std::string(text));
  return call.Returns(next(allocator, text, encoding));
}

GL3_CALL(void*, CFBundleGetFunctionPointerForName, (CFBundleRef a, CFStringRef b), (a, b))

DWORD FormatMessageA(DWORD flags, const void* source, DWORD code, DWORD language, char* buffer,
                     DWORD size, void* arguments) {
  static auto* const next = NextSymbol<decltype(FormatMessageA)>("FormatMessageA");
  const PlatformCall call("FormatMessageA", fmt::format("{:#x}", flags), static_cast<int>(code),
                          fmt::format("{:#x}", language), static_cast<int>(size));
  return next(flags, source, code, language, buffer, size, arguments);
}
}

// C++ functions are looked up by their mangled names.

int AfxMessageBox(const char* text, unsigned int type, unsigned int helpContext) {
  static auto* const next = NextSymbol<decltype(AfxMessageBox)>("_Z13AfxMessageBoxPKcjj");
  const PlatformCall call("AfxMessageBox", std::string(text), static_cast<int>(type),
                          static_cast<int>(helpContext));
  return next(text, type, helpContext);
}

/// The host kit's.
HByteBlock* HBitmapNode::CreateByteBlock(int wrap, int* flags, int bgr) {
  using Function = HByteBlock*(HBitmapNode*, int, int*, int);
  static auto* const next = NextSymbol<Function>("_ZN11HBitmapNode15CreateByteBlockEiPii");
  const PlatformCall call("CreateByteBlock", wrap, *flags, bgr);
  return next(this, wrap, flags, bgr);
}

BOOL CWnd::DestroyWindow() {
  static auto* const next = NextSymbol<BOOL(CWnd*)>("_ZN4CWnd13DestroyWindowEv");
  const PlatformCall call("DestroyWindow", m_hWnd);
  return next(this);
}

BOOL CWnd::CreateEx(DWORD exStyle, const char* className, const char* title, DWORD style, int x,
                    int y, int width, int height, HWND parent, void* menu, void* parameter) {
  using Function =
      BOOL(CWnd*, DWORD, const char*, const char*, DWORD, int, int, int, int, HWND, void*, void*);
  static auto* const next =
      NextSymbol<Function>("_ZN4CWnd8CreateExEjPKcS1_jiiiiP12OpaqueWindowPvS4_");
  const PlatformCall call("CreateEx", fmt::format("{:#x}", exStyle), std::string(className),
                          std::string(title), fmt::format("{:#x}", style), x, y, width, height,
                          parent);
  return next(this, exStyle, className, title, style, x, y, width, height, parent, menu, parameter);
}
