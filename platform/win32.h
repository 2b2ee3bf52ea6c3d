// Win32 types and calls: window and device-context handles, list boxes, bitmap headers, errors.
#pragma once

#include <cstddef>
#include <cstdint>

typedef struct OpaqueWindow* HWND;
typedef struct OpaqueDeviceContext* HDC;
typedef struct OpaqueModule* HINSTANCE;
typedef HINSTANCE HMODULE;
typedef std::uint32_t DWORD;
typedef std::int32_t LONG;
typedef std::uint16_t WORD;
typedef int BOOL;
typedef std::uintptr_t WPARAM;
typedef std::intptr_t LPARAM;
typedef std::intptr_t LRESULT;

enum : DWORD { DLL_PROCESS_DETACH = 0, DLL_PROCESS_ATTACH = 1 };
enum : DWORD { CS_OWNDC = 0x20 };
enum : DWORD {
  WS_OVERLAPPED = 0,
  WS_VISIBLE = 0x10000000,
  WS_CHILD = 0x40000000,
  WS_POPUP = 0x80000000u
};
enum { SW_HIDE = 0, SW_SHOW = 5 };
enum { IDOK = 1, IDCANCEL = 2 };
/// Messages of list boxes.
enum : DWORD {
  LB_ADDSTRING = 0x180,   // text in lParam: the new line's number
  LB_GETTEXT = 0x189,     // line in wParam, room in lParam: the text's length, without its NUL
  LB_GETTEXTLEN = 0x18A,  // line in wParam: the text's length
  LB_GETCOUNT = 0x18B
};
constexpr int LB_ERR = -1;
enum : DWORD { FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100, FORMAT_MESSAGE_FROM_SYSTEM = 0x1000 };
enum : DWORD { LANG_USER_DEFAULT = 0x400 };

typedef struct tagRECT {
  LONG left, top, right, bottom;
} RECT;
typedef struct tagPOINT {
  LONG x, y;
} POINT;

typedef struct tagBITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
} BITMAPINFOHEADER;
static_assert(sizeof(BITMAPINFOHEADER) == 40 && offsetof(BITMAPINFOHEADER, biSizeImage) == 20);

/// A device-independent bitmap: the header, then the pixel data.
struct tagBITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
};

extern "C" {

/// A device context for a window, null for a dead one. Each call gives a new one, released with
/// DeleteDC; those left go with their window.
HDC GetDC(HWND window);
/// A device context in memory, without a window. Null when `model`, which may be null, is dead.
HDC CreateCompatibleDC(HDC model);
/// Returns 0 for a dead handle.
BOOL DeleteDC(HDC dc);
/// Brings to the screen at once what was drawn. Returns 0 for a dead handle.
BOOL ForceDraw(HWND window);

/// The running program for null. Null for every other name: modules are not looked up here.
HMODULE GetModuleHandleA(const char* name);
/// Writes the full path of the running program, which both its handle and null stand for, with a
/// NUL. Returns its length; `size` when the path was cut to fit `size` bytes; 0 for another handle
/// and when the system does not tell, the text then being empty.
DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size);

/// Sends one of the messages above to a list box. LB_ERR for a line that there is not; 0 for a dead
/// handle, for other windows and for other messages.
LRESULT SendMessageA(HWND window, DWORD message, WPARAM wParam, LPARAM lParam);

/// The number of the last error of the system on this thread: errno, which system calls set too.
DWORD GetLastError(void);
void SetLastError(DWORD code);
/// The system's text for an error, in English, without a line end. `flags` has to be
/// FORMAT_MESSAGE_ALLOCATE_BUFFER and FORMAT_MESSAGE_FROM_SYSTEM: `buffer` then is the address of a
/// pointer, which receives text for LocalFree. The other arguments have no meaning. Returns the
/// text's length; 0, the pointer being null, when the system has no text for the code.
DWORD FormatMessageA(DWORD flags, const void* source, DWORD code, DWORD language, char* buffer,
                     DWORD size, void* arguments);
/// Releases what the layer allocated. Null is harmless. Returns null.
void* LocalFree(void* block);
}
