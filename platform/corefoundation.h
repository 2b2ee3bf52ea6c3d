// Folder lookup and bundles: enough to find an entry point in the system's OpenGL libraries, which
// the "framework" OpenGL.framework stands for.
#pragma once

#include <cstdint>

extern "C" {

typedef std::int16_t OSErr;  // 0: no error
enum { noErr = 0, fnfErr = -43, paramErr = -50, bdNamErr = -37 };
enum { kSystemDomain = -32766 };
enum : std::uint32_t { kFrameworksFolderType = 0x6672616D };  // 'fram'

typedef struct FSSpec {
  std::int16_t vRefNum;
  std::int32_t parID;
  char name[64];
} FSSpec;
typedef struct FSRef {
  char path[256];
} FSRef;

typedef const struct OpaqueCFAllocator* CFAllocatorRef;
typedef const void* CFTypeRef;
typedef const struct OpaqueCFURL* CFURLRef;
typedef const struct OpaqueCFString* CFStringRef;
typedef struct OpaqueCFBundle* CFBundleRef;
typedef std::uint32_t CFStringEncoding;

OSErr FindFolder(std::int16_t domain, std::uint32_t folderType, unsigned char create,
                 std::int16_t* volume, std::int32_t* folder);
OSErr FSMakeFSSpec(std::int16_t volume, std::int32_t folder, const char* name, FSSpec* spec);
OSErr FSpMakeFSRef(const FSSpec* spec, FSRef* ref);
/// Null when the reference names nothing. What the Create functions return is released with
/// CFRelease.
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* ref);
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url);
CFStringEncoding CFStringGetSystemEncoding(void);
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                      CFStringEncoding encoding);
/// The address of an exported function, null when the libraries have none of that name.
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name);
void CFRelease(CFTypeRef object);
}
