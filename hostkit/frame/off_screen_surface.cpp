// A surface to draw on without a window, and to read back.
#include "hostkit/frame/off_screen_surface.h"

#include <fmt/format.h>

#include <utility>

namespace hostkit {

bool OffScreenSurface::Ensure(int width, int height, std::string* error) {
  if (m_list && width == m_width && height == m_height) return true;
  // A new buffer for each size: reallocated, an off-screen one gets a new context, but goes on
  // taking the lights and materials of the old one for sent.
  m_list.reset();
  m_buffer.reset();
  m_buffer.reset(m_driver->CreateBuffer(&m_info, GABuffer::kOffScreen, 0));
  if (!m_buffer || !m_buffer->Reallocate(width, height, GABuffer::kWithDepth)) {
    *error = fmt::format(
        "no drawing surface of {}x{} samples can be made: choose a smaller picture "
        "or fewer samples, or see what `gl3 info --check` finds",
        width, height);
    return false;
  }
  m_info.buffer = m_buffer.get();
  m_list.reset(m_driver->CreateDisplayList(&m_info));
  if (!m_list) {
    *error = "memory ran out: choose a smaller picture";
    return false;
  }
  m_width = width;
  m_height = height;
  return true;
}

BitmapPtr OffScreenSurface::Read(int width, int height) {
  BitmapPtr bitmap(new HBitmapNode(width, height));
  m_buffer->FillBitmapNode(bitmap.get(), GABuffer::kTopRowFirst);
  HBitmapBuffer* colors = bitmap->FindBuffer("ColorAlpha");
  return colors && colors->Data() ? std::move(bitmap) : nullptr;
}

}  // namespace hostkit
