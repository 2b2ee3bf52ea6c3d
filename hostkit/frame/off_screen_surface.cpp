// A surface to draw on that nobody sees, and to read back.
#include "hostkit/frame/off_screen_surface.h"

#include <fmt/format.h>

#include <cstdlib>
#include <string_view>
#include <utility>

#include "hostkit/frame/sample_means.h"
#include "platform/mfc.h"
#include "platform/platform.h"

namespace hostkit {

/// Makes the window when one is wished for. False with one line for a wish that cannot be met.
bool OffScreenSurface::ChooseKind(int width, int height, GABuffer::Mode* mode, std::string* error) {
  const char* const wish = std::getenv("GL3_SURFACE");
  const std::string_view kind = wish ? wish : "";
  *mode = GABuffer::kOffScreen;
  if (kind.empty() || kind == "pbuffer") return true;
  if (kind != "window") {
    *error = fmt::format("GL3_SURFACE={} is not pbuffer or window; correct or unset it", kind);
    return false;
  }
  if (platform::DescribeDisplay().platform != "x11") {
    *error = "GL3_SURFACE=window: there are no windows here; set GL3_PLATFORM=x11, or unset both";
    return false;
  }
  m_window.DestroyWindow();
  if (!m_window.CreateEx(0, AfxRegisterWndClass(CS_OWNDC, nullptr, nullptr, nullptr), "gl3",
                         WS_VISIBLE, 0, 0, width, height, nullptr, nullptr, nullptr)) {
    *error =
        fmt::format("GL3_SURFACE=window: no window of {}x{} can be made; unset it", width, height);
    return false;
  }
  m_info.viewWindow = &m_window;
  *mode = GABuffer::kOnScreen;
  return true;
}

bool OffScreenSurface::Ensure(int width, int height, std::string* error) {
  if (m_list && width == m_width && height == m_height) return true;
  // A new buffer for each size: reallocated, an off-screen one gets a new context, but goes on
  // taking the lights and materials of the old one for sent.
  m_list.reset();
  m_buffer.reset();
  GABuffer::Mode mode = GABuffer::kOffScreen;
  if (!ChooseKind(width, height, &mode, error)) return false;
  m_buffer.reset(m_driver->CreateBuffer(&m_info, mode, 0));
  // Buffers on windows do not say when there is no context.
  if (!m_buffer || !m_buffer->Reallocate(width, height, GABuffer::kWithDepth) ||
      (mode == GABuffer::kOnScreen && platform::CurrentRenderer().empty())) {
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

bool OffScreenSurface::ReadMeans(int samplesPerSide, const PixelWindow& window,
                                 HBitmapBuffer* pixels) {
  m_buffer->IsFogEnabled();  // makes its context current
  return hostkit::ReadMeans(m_height, samplesPerSide, window, pixels);
}

}  // namespace hostkit
