// The module as a host loads it, with surfaces to draw on.
#include "bench/support/host_module.h"

#include <Imath/half.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace bench {
namespace {

constexpr float kIdentity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

}  // namespace

HostModule::HostModule() {
  // A file that is never there: all settings are the defaults, and none are written.
  setenv("GL3_REGISTRY", fmt::format("/tmp/gl3-bench-{}/registry.ini", getpid()).c_str(), 1);
  std::string error;
  const std::string path = hostkit::FindModule(&error);
  if (!path.empty()) m_module = hostkit::LoadedModule::Load(path, &error);
  if (!m_module) throw std::runtime_error(error);
  if (!Driver()->Initialize()) throw std::runtime_error(path + ": there is no usable OpenGL");
}

PlainWindow::PlainWindow(int width, int height) {
  CreateEx(0, AfxRegisterWndClass(CS_OWNDC, nullptr, nullptr, nullptr), "bench", WS_VISIBLE, 0, 0,
           width, height, nullptr, nullptr, nullptr);
}

HostSurface::HostSurface(GADriver* driver, int width, int height, CWnd* window) {
  const float halfWidth = static_cast<float>(width) / 2;
  const float halfHeight = static_cast<float>(height) / 2;
  m_info.scene = &m_scene;
  m_info.viewWindow = window;
  m_info.objectToView = kIdentity;
  m_info.originX = halfWidth;
  m_info.originY = halfHeight;
  m_info.viewLeft = -halfWidth;
  m_info.viewRight = halfWidth;
  m_info.viewTop = halfHeight;
  m_info.viewBottom = -halfHeight;
  m_info.imageWidth = m_info.pixelRight = width;
  m_info.imageHeight = m_info.pixelBottom = height;
  const int mode = window ? GABuffer::kOnScreen : GABuffer::kOffScreen;
  m_buffer.reset(driver->CreateBuffer(&m_info, mode, 0));
  if (!m_buffer || !m_buffer->Reallocate(width, height, GABuffer::kWithDepth)) {
    throw std::runtime_error("no surface can be made");
  }
  m_info.buffer = m_buffer.get();
  m_buffer->ComputeProjectionMatrices();
  m_list.reset(driver->CreateDisplayList(&m_info));
  if (!m_list) throw std::runtime_error("no display list can be made");
}

void HostSurface::Begin() {
  GAColor black;
  black.Set(0, 0, 0, 255);
  m_buffer->SetBackground(black);
  m_buffer->Clear();
  m_buffer->SetProjection(GABuffer::kSceneProjection);
  m_buffer->BeginScene();
}

BitmapPtr HostSurface::NewBitmap() const {
  return BitmapPtr(new HBitmapNode(m_info.imageWidth, m_info.imageHeight));
}

std::vector<std::uint8_t> HostSurface::Pixels() {
  const BitmapPtr bitmap = NewBitmap();
  m_buffer->FillBitmapNode(bitmap.get(), 0);
  return ToBytes(*bitmap);
}

std::vector<std::uint8_t> ToBytes(const HBitmapNode& bitmap) {
  const HBitmapBuffer* colors = bitmap.FindBuffer("ColorAlpha");
  if (!colors || !colors->Data()) throw std::runtime_error("a frame could not be read");
  const auto pixels = static_cast<std::size_t>(colors->Width()) * colors->Height();
  const auto* from = static_cast<const half*>(colors->Data());
  std::vector<std::uint8_t> bytes;
  bytes.reserve(pixels * 3);
  for (std::size_t i = 0; i < pixels; ++i, from += 4) {
    for (const int channel : {2, 1, 0}) {
      bytes.push_back(static_cast<std::uint8_t>(float{from[channel]} * 255 + 0.5f));
    }
  }
  return bytes;
}

std::vector<std::uint8_t> PackedBytes(const HBitmapNode& bitmap, std::size_t bytesPerPixel) {
  const auto* from = static_cast<const std::uint8_t*>(bitmap.FindBuffer("Color")->Data());
  const std::size_t pixels = static_cast<std::size_t>(bitmap.GetWidth()) * bitmap.GetHeight();
  std::vector<std::uint8_t> bytes;
  bytes.reserve(pixels * bytesPerPixel);
  for (std::size_t i = 0; i < pixels; ++i, from += 4) {
    bytes.insert(bytes.end(), from, from + bytesPerPixel);
  }
  return bytes;
}

std::string Compare(const std::vector<std::uint8_t>& floor, const std::vector<std::uint8_t>& ours) {
  if (floor.size() != ours.size()) return "the pictures have different sizes";
  constexpr int kRounding = 2;
  std::size_t shown = 0, wrong = 0;
  for (std::size_t i = 0; i < ours.size(); ++i) {
    shown += ours[i] != 0;
    wrong += std::abs(floor[i] - ours[i]) > kRounding;
  }
  const auto share = [&](std::size_t count) {
    return static_cast<double>(count) / static_cast<double>(ours.size());
  };
  if (share(shown) < 0.01) return "the picture is all but empty";
  if (share(wrong) < 0.001) return "";
  return fmt::format("floor and candidate differ in {:.2f} % of the picture", share(wrong) * 100);
}

AttrProperty PlainMaterial(float red, float green, float blue, float transparency) {
  AttrProperty material;
  material.base = {red, green, blue};
  material.transparency = transparency;
  return material;
}

}  // namespace bench
