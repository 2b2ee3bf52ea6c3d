// Graphics ports and pixel maps: what a device context draws into.
#pragma once

#include <cstdint>

#include "platform/win32.h"

extern "C" {

typedef struct OpaqueGrafPort* CGrafPtr;  // a port, checked as a handle

typedef struct Rect {
  std::int16_t top, left, bottom, right;
} Rect;

/// Pixels behind a port. The row stride in bytes is the low 15 bits of `rowBytes`; the top bit only
/// tells a pixel map from a bitmap. Pixels are 32 bits: alpha, red, green, blue from the high byte.
/// Those of a window on a screen are on its server, and their address is null.
typedef struct PixMap {
  char* baseAddr;
  std::uint16_t rowBytes;
  Rect bounds;
} PixMap;
typedef PixMap** PixMapHandle;

/// The port behind a device context, null for a dead one and for one without a window. The port
/// stays the layer's.
CGrafPtr CheckoutPort(HDC dc, int flags);
/// Does nothing: a port belongs to its window.
void CheckinPort(HDC dc, int flags);
/// A device context for a port; UnwrapPort releases it. Null for a dead port.
HDC WrapPort(CGrafPtr port);
void UnwrapPort(HDC dc);

/// The pixel map of a port; null for anything that is no live port.
PixMapHandle GetGWorldPixMap(CGrafPtr port);
PixMapHandle GetPortPixMap(CGrafPtr port);
char* GetPixBaseAddr(PixMapHandle map);
/// Pixel maps do not move here; locking answers whether there is one.
unsigned char LockPixels(PixMapHandle map);
void UnlockPixels(PixMapHandle map);
/// Closes the window behind a port.
void DisposeWindow(CGrafPtr port);
}
