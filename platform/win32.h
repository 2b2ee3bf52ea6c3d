// Win32 types and calls: window and device-context handles, bitmap headers.
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

enum : DWORD { DLL_PROCESS_DETACH = 0, DLL_PROCESS_ATTACH = 1 };
enum : DWORD { CS_OWNDC = 0x20 };
enum : DWORD {
  WS_OVERLAPPED = 0,
  WS_VISIBLE = 0x10000000,
  WS_CHILD = 0x40000000,
  WS_POPUP = 0x80000000u
};
enum { SW_HIDE = 0, SW_SHOW = 5 };

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
/// A device context in memory, without a window.
HDC CreateCompatibleDC(HDC model);
/// Returns 0 for a dead handle.
BOOL DeleteDC(HDC dc);
/// Brings to the screen at once what was drawn. Returns 0 for a dead handle.
BOOL ForceDraw(HWND window);
}
