// Win32 types and calls: window and device-context handles, list boxes, bitmap headers, errors.
#pragma once

#include <cstddef>
#include <cstdint>

/// A window, checked as a handle: a dead one makes calls fail, and nothing worse.
typedef struct OpaqueWindow* HWND;
/// A device context, checked likewise.
typedef struct OpaqueDeviceContext* HDC;
/// A module: what its DllMain was given.
typedef struct OpaqueModule* HINSTANCE;
/// The same.
typedef HINSTANCE HMODULE;
/// 32 bits without sign.
typedef std::uint32_t DWORD;
/// 32 bits with sign.
typedef std::int32_t LONG;
/// 16 bits without sign.
typedef std::uint16_t WORD;
/// 0 is false, anything else true.
typedef int BOOL;
/// First argument of a message.
typedef std::uintptr_t WPARAM;
/// Second argument of a message: a number or an address.
typedef std::intptr_t LPARAM;
/// Answer to a message.
typedef std::intptr_t LRESULT;

/// Why a module's DllMain is called.
enum : DWORD {
  DLL_PROCESS_DETACH = 0,  ///< The module is about to be closed.
  DLL_PROCESS_ATTACH = 1   ///< It was loaded.
};
/// Style of a window class.
enum : DWORD {
  CS_OWNDC = 0x20  ///< Accepted, without a meaning.
};
/// Styles of windows.
enum : DWORD {
  WS_OVERLAPPED = 0,        ///< A window of the screen.
  WS_VISIBLE = 0x10000000,  ///< Shown at once.
  WS_CHILD = 0x40000000,    ///< Inside of another.
  WS_POPUP = 0x80000000u    ///< Always a hidden surface, never on the screen.
};
/// Commands of AfxShowWindow.
enum {
  SW_HIDE = 0,  ///< Take it off the screen.
  SW_SHOW = 5   ///< Show it.
};
/// Buttons of dialogs.
enum {
  IDOK = 1,     ///< Confirm.
  IDCANCEL = 2  ///< Cancel.
};
/// Messages of list boxes.
enum : DWORD {
  LB_ADDSTRING = 0x180,   ///< Text in lParam: the new line's number.
  LB_GETTEXT = 0x189,     ///< Line in wParam, room in lParam: the text's length, without its NUL.
  LB_GETTEXTLEN = 0x18A,  ///< Line in wParam: the text's length.
  LB_GETCOUNT = 0x18B     ///< How many lines there are.
};
/// What list boxes answer for a line that there is not.
constexpr int LB_ERR = -1;
/// Flags of FormatMessageA, which takes both together alone.
enum : DWORD {
  FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100,  ///< Make room for the text.
  FORMAT_MESSAGE_FROM_SYSTEM = 0x1000      ///< The system's text.
};
/// Languages.
enum : DWORD {
  LANG_USER_DEFAULT = 0x400  ///< Has no meaning: texts are English.
};

/// A rectangle by its edges, y downwards.
typedef struct tagRECT {
  /// Edges in pixels; right and bottom lie outside.
  LONG left, top, right, bottom;
} RECT;
/// A point, y downwards.
typedef struct tagPOINT {
  /// Pixels.
  LONG x, y;
} POINT;

/// Header of a device-independent bitmap. GABuffer::Blit reads biSizeImage alone.
typedef struct tagBITMAPINFOHEADER {
  DWORD biSize;          ///< Bytes of the header: 40.
  LONG biWidth;          ///< Pixels.
  LONG biHeight;         ///< Pixels; negative for the top row first.
  WORD biPlanes;         ///< 1.
  WORD biBitCount;       ///< Bits a pixel.
  DWORD biCompression;   ///< 0: none.
  DWORD biSizeImage;     ///< Bytes of the pixels that follow.
  LONG biXPelsPerMeter;  ///< Resolution; not read.
  LONG biYPelsPerMeter;  ///< Resolution; not read.
  DWORD biClrUsed;       ///< Colours of a palette; not read.
  DWORD biClrImportant;  ///< Likewise.
} BITMAPINFOHEADER;
static_assert(sizeof(BITMAPINFOHEADER) == 40 && offsetof(BITMAPINFOHEADER, biSizeImage) == 20);

/// A device-independent bitmap: the header, then the pixel data.
struct tagBITMAPINFO {
  BITMAPINFOHEADER bmiHeader;  ///< What the pixels are.
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
/// Sets that number.
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
