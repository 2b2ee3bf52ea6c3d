// Folder lookup and bundles: enough to find an entry point in the system's OpenGL libraries, which
// the "framework" OpenGL.framework stands for.
#pragma once

#include <cstdint>

extern "C" {

/// 0: no error.
typedef std::int16_t OSErr;
/// Errors.
enum {
  noErr = 0,       ///< All went well.
  fnfErr = -43,    ///< There is no such thing.
  paramErr = -50,  ///< A null pointer, or a number that cannot be.
  bdNamErr = -37   ///< A name that cannot be.
};
/// Where FindFolder looks.
enum {
  kSystemDomain = -32766  ///< The system's own folders.
};
/// What FindFolder looks for.
enum : std::uint32_t {
  kFrameworksFolderType = 0x6672616D  ///< The system's libraries ('fram').
};

/// A thing in a folder, by name.
typedef struct FSSpec {
  std::int16_t vRefNum;  ///< As FindFolder gave it.
  std::int32_t parID;    ///< The folder, as FindFolder gave it.
  char name[64];         ///< NUL-terminated.
} FSSpec;
/// A thing, by its place.
typedef struct FSRef {
  char path[256];  ///< NUL-terminated.
} FSRef;

/// Has no meaning here: null.
typedef const struct OpaqueCFAllocator* CFAllocatorRef;
/// Any of the three below.
typedef const void* CFTypeRef;
/// A place, until CFRelease.
typedef const struct OpaqueCFURL* CFURLRef;
/// A text, until CFRelease.
typedef const struct OpaqueCFString* CFStringRef;
/// Libraries with entry points, until CFRelease.
typedef struct OpaqueCFBundle* CFBundleRef;
/// How a text is encoded.
typedef std::uint32_t CFStringEncoding;

/// The system's libraries as a folder; `create` has no meaning. An error for other domains and
/// folders.
OSErr FindFolder(std::int16_t domain, std::uint32_t folderType, unsigned char create,
                 std::int16_t* volume, std::int32_t* folder);
/// Names a thing in a folder of FindFolder. An error for a null or too long name.
OSErr FSMakeFSSpec(std::int16_t volume, std::int32_t folder, const char* name, FSSpec* spec);
/// From name to place. An error for what is not there.
OSErr FSpMakeFSRef(const FSSpec* spec, FSRef* ref);
/// Null when the reference names nothing. What the Create functions return is released with
/// CFRelease.
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* ref);
/// The libraries at a place; null when there are none.
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url);
/// The encoding that names of functions have.
CFStringEncoding CFStringGetSystemEncoding(void);
/// A copy of NUL-terminated text; null for null.
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                      CFStringEncoding encoding);
/// The address of an exported function, null when the libraries have none of that name.
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name);
/// Releases what a Create function returned. Null is harmless.
void CFRelease(CFTypeRef object);
}
