// Graphics ports and pixel maps: what a device context draws into.
#pragma once

#include <cstdint>

#include "platform/win32.h"

extern "C" {

/// A port, checked as a handle; it belongs to its window.
typedef struct OpaqueGrafPort* CGrafPtr;

/// A rectangle by its edges, y downwards.
typedef struct Rect {
  /// Edges in pixels; bottom and right lie outside.
  std::int16_t top, left, bottom, right;
} Rect;

/// Pixels behind a port. The row stride in bytes is the low 15 bits of `rowBytes`; the top bit only
/// tells a pixel map from a bitmap. Pixels are 32 bits: alpha, red, green, blue from the high byte.
/// Those of a window on a screen are on its server, and their address is null.
typedef struct PixMap {
  char* baseAddr;          ///< The top left pixel, or null. The window's.
  std::uint16_t rowBytes;  ///< Row stride, see above.
  Rect bounds;             ///< Its origin is (0, 0).
} PixMap;
/// A handle of a pixel map; lives as long as its port.
typedef PixMap** PixMapHandle;

/// The port behind a device context, null for a dead one and for one without a window. The port
/// stays the layer's.
CGrafPtr CheckoutPort(HDC dc, int flags);
/// Does nothing: a port belongs to its window.
void CheckinPort(HDC dc, int flags);
/// A device context for a port; UnwrapPort releases it. Null for a dead port.
HDC WrapPort(CGrafPtr port);
/// Releases what WrapPort returned.
void UnwrapPort(HDC dc);

/// The pixel map of a port; null for anything that is no live port.
PixMapHandle GetGWorldPixMap(CGrafPtr port);
/// The same.
PixMapHandle GetPortPixMap(CGrafPtr port);
/// The top left pixel; null for null, and for a window on a screen.
char* GetPixBaseAddr(PixMapHandle map);
/// Pixel maps do not move here; locking answers whether there is one.
unsigned char LockPixels(PixMapHandle map);
/// Does nothing.
void UnlockPixels(PixMapHandle map);
/// Closes the window behind a port.
void DisposeWindow(CGrafPtr port);
}
