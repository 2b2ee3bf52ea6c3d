// A small known picture, drawn through the module and read back.
#include "apps/work/info/test_frame.h"

#include <Imath/half.h>
#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <utility>

#include "host/Bitmap.h"
#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "hostkit/effects/byte_image.h"
#include "hostkit/effects/effect_runner.h"
#include "hostkit/effects/effect_twins.h"
#include "hostkit/services/bitmap_ptr.h"

namespace gl3 {
namespace {

constexpr int kSize = 64, kHalf = kSize / 2;
constexpr float kIdentity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
/// Of a channel, in 1/255: blending and conversion may round either way.
constexpr int kTolerance = 1;

struct Rgb {
  unsigned char red, green, blue;
};
constexpr Rgb kBackground = {16, 32, 64}, kFar = {0, 160, 0}, kNear = {200, 24, 0},
              kOver = {255, 240, 255};

/// A square of the view, from one corner to the other in x and y alike.
struct Square {
  int from, to;
  float z;
  Rgb color;

  bool Has(int x, int y) const { return x >= from && x < to && y >= from && y < to; }
};
/// The near one is drawn first, so that only the depth buffer keeps it in front. It is off the
/// middle: a picture upside down or mirrored is a wrong one.
constexpr Square kSquares[] = {{-8, 24, -100, kNear}, {-24, 20, -500, kFar}};

/// Drawn over all, in pixels from the top left.
constexpr int kOverLeft = 4, kOverTop = 6, kOverWidth = 20, kOverHeight = 10;

GAColor ToColor(const Rgb& rgb) {
  GAColor color;
  color.Set(rgb.red, rgb.green, rgb.blue, 255);
  return color;
}

Rgb Expected(int column, int row) {
  if (column >= kOverLeft && column < kOverLeft + kOverWidth && row >= kOverTop &&
      row < kOverTop + kOverHeight) {
    return kOver;
  }
  const int x = column - kHalf, y = kHalf - 1 - row;  // the pixel's lower left corner, y up
  for (const Square& square : kSquares) {
    if (square.Has(x, y)) return square.color;
  }
  return kBackground;
}

void AddSquare(DisplayList& list, const Square& square) {
  const auto from = static_cast<float>(square.from), to = static_cast<float>(square.to);
  const Vector corners[] = {
      {from, from, square.z}, {to, from, square.z}, {to, to, square.z}, {from, to, square.z}};
  VornPoly polygon;
  polygon.c0 = polygon.c1 = polygon.c2 = ToColor(square.color);
  polygon.p0 = corners[0];
  for (int i = 1; i < 3; ++i) {
    polygon.p1 = corners[i];
    polygon.p2 = corners[i + 1];
    list.AddTransformedPolygon(polygon, DisplayList::kDrawAsOpaque);
  }
}

/// What is wrong with a picture; empty when it is the expected one.
std::string Compare(const HBitmapBuffer& colors) {
  const auto* halves = static_cast<const half*>(colors.Data());
  int wrong = 0;
  std::string first;
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      const half* pixel = halves + y * colors.RowStep() + x * colors.PixelStep();
      const auto channel = [&](int i) { return static_cast<int>(std::lround(pixel[i] * 255.0f)); };
      const int red = channel(2), green = channel(1), blue = channel(0);
      const Rgb wanted = Expected(x, y);
      if (std::abs(red - wanted.red) <= kTolerance &&
          std::abs(green - wanted.green) <= kTolerance &&
          std::abs(blue - wanted.blue) <= kTolerance) {
        continue;
      }
      if (wrong++ == 0) {
        first = fmt::format("{},{} is {},{},{} instead of {},{},{}", x, y, red, green, blue,
                            wanted.red, wanted.green, wanted.blue);
      }
    }
  }
  if (wrong == 0) return "";
  return fmt::format("{} of {} pixels are wrong, the first at {}", wrong, kSize * kSize, first);
}

}  // namespace

TestSurface::TestSurface() {
  m_info.scene = &m_scene;
  m_info.objectToView = kIdentity;
  m_info.originX = m_info.originY = kHalf;
  m_info.viewRight = m_info.viewTop = kHalf;
  m_info.viewLeft = m_info.viewBottom = -kHalf;
  m_info.imageWidth = m_info.imageHeight = m_info.pixelRight = m_info.pixelBottom = kSize;
}

TestSurface::~TestSurface() = default;

std::unique_ptr<TestSurface> TestSurface::Create(GADriver* driver) {
  std::unique_ptr<TestSurface> surface(new TestSurface);
  surface->m_buffer.reset(driver->CreateBuffer(&surface->m_info, GABuffer::kOffScreen, 0));
  if (!surface->m_buffer || !surface->m_buffer->Reallocate(kSize, kSize, GABuffer::kWithDepth)) {
    return nullptr;
  }
  surface->m_info.buffer = surface->m_buffer.get();
  surface->m_list.reset(driver->CreateDisplayList(&surface->m_info));
  return surface->m_list ? std::move(surface) : nullptr;
}

void TestSurface::Draw() {
  m_buffer->ComputeProjectionMatrices();
  m_buffer->SetBackground(ToColor(kBackground));
  m_buffer->Clear();
  m_buffer->SetProjection(GABuffer::kSceneProjection);
  m_buffer->BeginScene();
  m_list->BeginInstructions();
  m_list->PrepForPolygonArray();
  m_list->SetTexture(nullptr);
  for (const Square& square : kSquares) {
    AddSquare(*m_list, square);
    m_list->FlushArrays();  // a batch is sorted by depth, and would hide a broken depth buffer
  }
  m_list->EndInstructions();
  m_list->ExecuteInstructions();
  m_buffer->EndScene();
  GAColor over = ToColor(kOver);
  m_buffer->AfxFillRect(kOverLeft, kOverTop, kOverWidth, kOverHeight, -2, over);
}

std::string TestSurface::DrawAndCompare() {
  Draw();
  const hostkit::BitmapPtr bitmap(new HBitmapNode(kSize, kSize));
  m_buffer->FillBitmapNode(bitmap.get(), 0);
  const HBitmapBuffer* colors = bitmap->FindBuffer("ColorAlpha");
  if (!colors || !colors->Data()) return "nothing was read back";
  return Compare(*colors);
}

std::string RunTestEffect(GADriver* driver) {
  hostkit::EffectCall call;
  call.kind = hostkit::FindEffect("sobel");
  hostkit::BitmapPtr picture = hostkit::NewByteBitmap(kSize, kSize);
  if (!picture || !call.kind) return "memory ran out";
  for (int y = 0; y < kSize; ++y) {
    unsigned char* row = hostkit::ByteRow(*picture, y);
    for (int x = 0; x < kSize; ++x, row += 4) {
      const Rgb color = Expected(x, y);
      row[0] = color.red;
      row[1] = color.green;
      row[2] = color.blue;
      row[3] = 255;
    }
  }
  std::string error;
  const auto runner = hostkit::EffectRunner::Create(driver, {}, &error);
  if (!runner) return error;
  const hostkit::BitmapPtr result = runner->Run(call, *picture, nullptr, &error);
  if (!result) return error;
  const hostkit::TwinPixels twin = hostkit::RunTwin(call, hostkit::TwinFromBytes(*picture));
  const int difference = hostkit::LargestDifference(twin, *result);
  if (difference <= hostkit::DifferenceBound(call)) return "";
  return fmt::format("its pixels differ by up to {}/255 from what they should be", difference);
}

}  // namespace gl3
