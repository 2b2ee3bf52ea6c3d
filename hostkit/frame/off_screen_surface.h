// A surface to draw on that nobody sees, and to read back.
#pragma once

#include <memory>
#include <string>

#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/RenderInfo.h"
#include "hostkit/frame/overlay_painter.h"
#include "hostkit/scene/camera_window.h"
#include "hostkit/services/bitmap_ptr.h"
#include "platform/mfc_windows.h"

namespace hostkit {

/// A buffer with depth and a display list on it, kept from frame to frame. It is off screen, but on
/// a window where the environment says GL3_SURFACE=window, so that the two can be compared. The
/// driver must outlive it. Not moved: the buffer points to the record.
class OffScreenSurface {
 public:
  explicit OffScreenSurface(GADriver* driver) : m_driver(driver) {}
  OffScreenSurface(const OffScreenSurface&) = delete;
  OffScreenSurface& operator=(const OffScreenSurface&) = delete;

  /// Makes it of that size, in pixels. False with one line in `*error` when it cannot be made.
  bool Ensure(int width, int height, std::string* error);
  int Width() const { return m_width; }
  int Height() const { return m_height; }
  PaintTarget Target() { return {m_buffer.get(), m_list.get(), &m_info}; }

  /// The `width` x `height` pixels at the lower left, in a "ColorAlpha" buffer of half floats.
  /// Null without memory.
  BitmapPtr Read(int width, int height);
  /// Writes the mean of each block of `samplesPerSide` x `samplesPerSide` pixels of an opaque frame
  /// into a pixel of `window`; see hostkit::ReadMeans.
  bool ReadMeans(int samplesPerSide, const PixelWindow& window, HBitmapBuffer* pixels);

 private:
  bool ChooseKind(int width, int height, GABuffer::Mode* mode, std::string* error);

  GADriver* m_driver;
  CWnd m_window;  // goes after the buffer on it
  RenderInfo m_info;
  std::unique_ptr<GABuffer> m_buffer;
  std::unique_ptr<DisplayList> m_list;  // holds on to the buffer's context
  int m_width = 0, m_height = 0;
};

}  // namespace hostkit
