// The module as a host loads it, with surfaces to draw on.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/Bitmap.h"
#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/RenderInfo.h"
#include "hostkit/services/bitmap_ptr.h"
#include "hostkit/services/module_loader.h"
#include "platform/mfc.h"

namespace bench {

using hostkit::BitmapPtr;

/// The module, loaded and initialised, with settings that are the defaults whatever the user has.
/// The constructor throws std::runtime_error when there is no module or no OpenGL.
class HostModule {
 public:
  HostModule();
  GADriver* Driver() const { return m_module->Driver(); }

 private:
  std::unique_ptr<hostkit::LoadedModule> m_module;
};

/// A window at the screen's upper left, hidden where there is no screen.
class PlainWindow : public CWnd {
 public:
  PlainWindow(int width, int height);
};

/// A buffer of the module with a display list. The view is parallel, its units are pixels with the
/// origin in the picture's middle and y up; z from -1 to -1000 is visible.
class HostSurface {
 public:
  /// Off-screen, or on a window of that size, which the caller keeps.
  HostSurface(GADriver* driver, int width, int height, CWnd* window = nullptr);

  GABuffer& Buffer() { return *m_buffer; }
  DisplayList& List() { return *m_list; }
  /// Clears to black and begins a scene.
  void Begin();
  /// A new bitmap of the surface's size, as FillBitmapNode takes it.
  BitmapPtr NewBitmap() const;
  /// The frame as red, green, blue bytes, the top row first.
  std::vector<std::uint8_t> Pixels();

 private:
  SceneRecord m_scene;
  RenderInfo m_info;
  std::unique_ptr<GABuffer> m_buffer;
  std::unique_ptr<DisplayList> m_list;
};

/// A picture of "ColorAlpha" halves as red, green, blue bytes.
std::vector<std::uint8_t> ToBytes(const HBitmapNode& bitmap);

/// A picture of "Color" bytes as an upload wants it: the first three channels of a pixel, or all
/// four.
std::vector<std::uint8_t> PackedBytes(const HBitmapNode& bitmap, std::size_t bytesPerPixel);

/// Empty when two pictures agree but for rounding and show something, else what is wrong.
std::string Compare(const std::vector<std::uint8_t>& floor, const std::vector<std::uint8_t>& ours);

/// A matt material, shown as it is by the headlight.
AttrProperty PlainMaterial(float red, float green, float blue, float transparency);

}  // namespace bench
