// A host that draws in pixels: a plan of polygons, lines and points, a pane and a cross over it,
// and text.
#include <cstdio>
#include <memory>
#include <string>

#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/RenderInfo.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/services/flat_drawing.h"
#include "hostkit/services/module_loader.h"
#include "platform/platform.h"

namespace {

constexpr int kWidth = 160, kHeight = 120;
/// Depths, of the view: what is nearer covers, of the same depth what comes later.
constexpr float kPaper = -30, kInk = -20, kCross = -10;

GAColor Ink(unsigned char red, unsigned char green, unsigned char blue, unsigned char alpha = 255) {
  GAColor color;
  color.Set(red, green, blue, alpha);
  return color;
}

/// The middle of a pixel, where lines and points light that pixel and no other.
Vector At(int x, int y, float z) {
  return {static_cast<float>(x) + 0.5f, static_cast<float>(y) + 0.5f, z};
}

void DrawPlan(DisplayList& list) {
  list.BeginInstructions();
  list.SetDepthFunc(DisplayList::kLightingOff);  // colours as they are
  list.SetTexture(nullptr);
  GAColor paper = Ink(230, 220, 190);
  list.AddSolidRectangle(10, 20, 150, 110, kPaper, paper);  // pixels 10 to 149, 20 to 109

  VornPoly roof;
  roof.p0 = {20, 100, kInk};
  roof.p1 = {80, 100, kInk};
  roof.p2 = {50, 40, kInk};
  roof.c0 = Ink(200, 40, 30);
  roof.c1 = Ink(40, 140, 60);
  roof.c2 = Ink(40, 60, 200);
  list.AddTransformedPolygon(roof, DisplayList::kDrawAsOpaque);

  const GAColor pen = Ink(30, 30, 30);
  for (int x = 90; x <= 140; x += 10) {  // pixel (x, 30) to pixel (x, 79)
    list.AddTransformedLine(At(x, 30, kInk), At(x, 80, kInk), pen);
  }
  list.ExecuteInstructions();  // draws what waits in batches

  list.PrepForPoints();
  for (int x = 90; x <= 140; x += 2) list.AddTransformedPoint(At(x, 95, kInk), pen);
  list.PrepForPolygonArray();  // ends the points, so that the next PrepForPoints begins some
  list.EndInstructions();
}

/// A second part of the frame, over what is there.
void DrawCross(DisplayList& list) {
  list.BeginInstructions();
  list.SetDepthFunc(DisplayList::kDepthTestOff);
  const GAColor red = Ink(255, 0, 0);
  list.AddTransformedLine(At(100, 60, kCross), At(121, 60, kCross), red);
  list.AddTransformedLine(At(110, 50, kCross), At(110, 71, kCross), red);
  list.EndInstructions();
  list.SetDepthFunc(DisplayList::kDepthTestOn);
}

std::string Draw(GADriver* driver, const std::string& path) {
  hostkit::MakeGlyphs(driver);  // once, since no window of ours does
  RenderInfo info;
  hostkit::FillPixelView(kWidth, kHeight, &info);
  const std::unique_ptr<GABuffer> buffer(driver->CreateBuffer(&info, GABuffer::kOffScreen, 0));
  if (!buffer || !buffer->Reallocate(kWidth, kHeight, GABuffer::kWithDepth)) return "no surface";
  info.buffer = buffer.get();
  const std::unique_ptr<DisplayList> list(driver->CreateDisplayList(&info));
  if (!list) return "no display list";
  buffer->ComputeProjectionMatrices();

  buffer->SetBackground(Ink(20, 24, 40));
  buffer->Clear();
  buffer->SetProjection(GABuffer::kScreenProjection);
  buffer->BeginScene();
  DrawPlan(*list);
  buffer->EndScene();
  DrawCross(*list);
  GAColor pane = Ink(255, 255, 255, 128);
  buffer->AfxFillRect(120, 90, 30, 20, info.nearZ, pane);  // loads the scene's projection
  buffer->TextOutA(8, 3, hostkit::Latin1FromUtf8("Größe 12 m²").c_str(), Ink(255, 255, 255), 0);

  hostkit::Picture picture;
  picture.bitmap.reset(new HBitmapNode(kWidth, kHeight));
  if (!buffer->FillBitmapNode(picture.bitmap.get(), GABuffer::kTopRowFirst)) return "no memory";
  std::string error;
  hostkit::WritePicture(path, picture, {}, {}, &error);
  return error;
}

}  // namespace

int main(int argc, char** argv) {
  std::string error;
  const auto module = hostkit::LoadedModule::Load(OPENGL3_MODULE, &error);
  if (module && !module->Driver()->Initialize()) {
    error = "no usable OpenGL: " + platform::DescribeDisplay().reason;
  }
  if (error.empty()) error = Draw(module->Driver(), argc > 1 ? argv[1] : "plan.png");
  if (!error.empty()) std::fprintf(stderr, "example_flat: %s\n", error.c_str());
  return error.empty() ? 0 : 1;
}
