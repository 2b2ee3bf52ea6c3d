// A small host: frames by kind, and a session.
#include "tests/faults/host_session.h"

#include <cstring>

#include "hostkit/services/current_driver.h"

namespace {

constexpr int kSize = 64;

GALight Spot() {
  GALight light;
  light.type = GALight::kSpot;
  light.position = {0, 0, 20};
  light.target = {0, 0, -9};
  light.range = 100;
  return light;
}

void DrawOpaque(HostFrame& f) {
  auto quad = Square(-20, 20, 8, -9);
  f.list.SetupLights(nullptr);
  f.list.SetMaterial(&f.opaque, 0);
  f.list.AddTransformedTri(quad.data(), 1);
  f.list.AddTransformedQuad(quad.data(), 1, 0);
  RGBFloat colors[4] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}};
  f.list.AddTransformedQuad(quad.data(), colors, 1);
}

void DrawTransparent(HostFrame& f) {
  auto back = Square(0, 20, 8, -9), front = Square(4, 16, 8, -5);
  f.list.SetupLights(f.lights.Head());
  f.list.SetMaterial(&f.clear, 0);
  f.list.AddTransformedQuad(front.data(), 1, 0);
  f.list.AddTransformedTri(back.data(), 1);
  f.list.AddTransformedQuad(back.data(), 0xC002, 0);  // a line that fades
}

void DrawTextured(HostFrame& f) {
  auto quad = Square(20, 20, 8, -9);
  f.list.SetMaterial(&f.opaque, 0);
  f.list.SetTexture(f.texture);
  f.list.AddTransformedQuad(quad.data(), 1, 1);
  f.list.SetTexture(nullptr);
}

void DrawPolygons(HostFrame& f) {
  std::vector<VornPoly> polygons(3);
  for (VornPoly& polygon : polygons) polygon = Polygon(f.blue, -20);
  f.list.PrepForPolygons();
  f.list.AddTransformedPolygon(polygons[0], 1);
  f.list.PrepForPolygonArray();
  f.list.AddTransformedPolygons(polygons.data(), static_cast<int>(polygons.size()), 1);
}

void DrawIndexed(HostFrame& f) {
  auto quad = Square(-20, 0, 8, -9);
  unsigned short indices[4] = {0, 1, 3, 2};
  f.list.AddIndexedTriangleFan(quad.data(), 4, indices, 4, 1);
  GALitVertex lit[4] = {{-9, -9, -9, 255, 0, 0, 255}, {9, -9, -9}, {9, 9, -9}, {-9, 9, -9}};
  GALitVertexWT withTexture[4] = {};
  f.list.AddTransformedQuad(lit);
  f.list.AddIndexedLitTriangleList(lit, 4, indices, 3, 0);
  f.list.AddIndexedLitTriangleListWT(withTexture, 4, indices, 3, 0);
}

void DrawLines(HostFrame& f) {
  Vector a[2] = {{-30, -10, -9}, {-10, -10, -9}}, b[2] = {{-30, -30, -9}, {-10, -30, -9}};
  f.list.AddTransformedLine(a[0], a[1]);
  f.list.AddTransformedLine(a[0], f.red, a[1], f.blue);
  f.list.AddTransformedLineList(a, 2);
  f.list.AddTransformedLineList(a, b, 2, f.red, f.blue);
  f.list.AddTransformedSphere({-20, -20, -9}, 6, f.red);
  std::vector<GALitVertex> vertices = {{-30, -20, -9, 255, 0, 0, 255}, {-10, -20, -9}};
  std::vector<unsigned int> indices = {0, 1};
  f.list.AddIndexedLineList(vertices, indices);
  GAShadedLineVertex strip[2];
  for (int i = 0; i < 2; ++i) {
    strip[i].material = f.opaque;
    strip[i].position = b[i];
    strip[i].width = 2;
  }
  f.list.AddTransformedShadedLineList(strip, 2, 1);
}

void DrawPoints(HostFrame& f) {
  f.list.SetDefaultColor(f.red);
  f.list.PrepForPoints();
  f.list.AddTransformedPoint({5, -5, -9});
  f.list.AddTransformedPoint({7, -5, -9}, f.blue);
}

void DrawRectangles(HostFrame& f) {
  f.list.SetProjection(0);
  f.list.AddSolidRectangle(30, 40, 40, 50, -2, f.red);
  f.list.AddRectangle(30, 40, 44, 54, -1);
  f.list.AddRoundRect(28, 38, 46, 56, -2, 3, 3, f.blue);
  f.list.SetProjection(1);
}

void DrawControlPoints(HostFrame& f) {
  f.list.AddCP({20, -20, -9}, 3, f.red);
  f.list.AddCP({24, -20, -9}, 3, f.blue);
}

void DrawFog(HostFrame& f) {
  f.target.scene.fogStart = 2;
  f.target.scene.fogEnd = 20;
  f.buffer.SetFogState(1);
  f.buffer.SetFogColor({1, 1, 1});
  DrawOpaque(f);
  f.list.ExecuteInstructions();
  f.buffer.SetFogState(0);
}

void DrawOverlay(HostFrame& f) {
  f.buffer.AfxFillRect(50, 50, 8, 8, -2, f.red);
  f.buffer.TransparentBlit(f.texture, CRect(52, 34, 60, 42), -2, {1, 1}, 0.5f);
  f.buffer.TextOutA(2, 34, "text", f.blue, 0);
}

void Blit(HostFrame& f) {
  tagBITMAPINFO picture{};
  if (!f.buffer.Blit(&picture)) f.refusals.emplace_back("blit");
}

void ReadAndShow(HostFrame& f) {
  f.buffer.GetZValue(kSize / 2, kSize / 2);
  const TestBitmap bitmap(new HBitmapNode(kSize, kSize));
  if (!f.buffer.FillBitmapNode(bitmap.get(), 0)) f.refusals.emplace_back("read");
  f.buffer.BlitToFront(nullptr, 0, 0);
}

/// A picture with a transparent corner; null when a careful host finds that there is no memory.
TestBitmap Picture(int width, int height) {
  TestBitmap bitmap(new HBitmapNode(width, height));
  HRGBABuffer* buffer =
      bitmap->CreateRGBABuffer("Color", HBitmapBuffer::kByteChannel, width, height);
  if (!buffer) return nullptr;
  bitmap->AddBuffer(buffer);
  if (!buffer->AllocateData(0)) return nullptr;
  std::memset(buffer->Data(), 200, static_cast<std::size_t>(width) * height * 4);
  static_cast<unsigned char*>(buffer->Data())[3] = 0;
  return bitmap;
}

/// One texture of each maker; the first, on whose behalf the GL is asked, and which is scaled, is
/// what frames are drawn with, and the second is refused by the proxy.
class Textures {
 public:
  Textures(GADriver& driver, GlRecorder& recorder, Lines& refusals) {
    recorder.OverrideTexLevel(GL_PROXY_TEXTURE_2D, GL_TEXTURE_INTERNAL_FORMAT, {GL_RGBA8, 0});
    const TestBitmap picture = Picture(18, 10);
    if (!picture) refusals.emplace_back("bitmap");
    for (int maker = 0; maker < 4; ++maker) {
      auto* texture = static_cast<GL3GATexture*>(driver.CreateTexture());
      m_textures.emplace_back(texture);
      if (!texture) {
        refusals.emplace_back("texture");
      } else if (!Make(*texture, maker, picture.get()) && picture) {
        refusals.emplace_back("picture");
      }
    }
  }
  GATexture* First() const { return m_textures.front().get(); }

 private:
  static int Make(GL3GATexture& texture, int maker, HBitmapNode* picture) {
    unsigned char planes[4 * 4 * 4] = {};
    texture.m_width = texture.m_height = 4;
    if (maker == 2) return texture.MakeGATexture(planes);
    if (maker == 3) return texture.MakeGATextureForShader(picture);
    return texture.MakeGATexture(picture, maker, 0, 0);
  }

  std::vector<std::unique_ptr<GL3GATexture>> m_textures;
};

std::vector<std::uint16_t> Halves(const HBitmapNode& bitmap) {
  const HBitmapBuffer* buffer = bitmap.GetBufferHead();
  if (!buffer || !buffer->Data()) return {};
  const auto* halves = static_cast<const std::uint16_t*>(buffer->Data());
  return {halves, halves + static_cast<std::ptrdiff_t>(kSize) * kSize * 4};
}

/// The part of a session between initialising and ending the driver.
void PlayFrame(GADriver& driver, GlRecorder& recorder, SessionReport& report) {
  OffscreenTarget target(&driver, kSize, kSize);
  const auto refuse = [&](const char* what) { report.refusals.emplace_back(what); };
  if (!target.buffer) return refuse("buffer");
  if (!target.ready) refuse("surface");  // drawing on nothing is harmless
  if (!target.list) return refuse("list");
  const Textures textures(driver, recorder, report.refusals);
  HostFrame frame(driver, target, textures.First());
  DrawFrame(frame, FrameKinds().data(), FrameKinds().data() + FrameKinds().size());
  report.refusals.insert(report.refusals.end(), frame.refusals.begin(), frame.refusals.end());

  const TestBitmap bitmap(new HBitmapNode(kSize, kSize));
  if (!target.buffer->FillBitmapNode(bitmap.get(), 0)) refuse("read");
  report.pixels = Halves(*bitmap);
}

}  // namespace

HostFrame::HostFrame(GADriver& driver, OffscreenTarget& usedTarget, GATexture* usedTexture)
    : target(usedTarget),
      buffer(*usedTarget.buffer),
      list(*usedTarget.list),
      texture(usedTexture),
      red(driver.CreateColor(ColorBuf{255, 0, 0, 255})),
      blue(driver.CreateColor(ColorBuf{0, 0, 255, 255})),
      opaque(Material(1, 0.5f, 0.25f)),
      clear(Material(0.5f, 1, 0.25f, 0.5f)),
      lights({Spot()}) {}

const std::vector<FrameKind>& FrameKinds() {
  static const std::vector<FrameKind> kinds = {{"opaque", DrawOpaque},
                                               {"transparent", DrawTransparent},
                                               {"textured", DrawTextured},
                                               {"polygons", DrawPolygons},
                                               {"indexed", DrawIndexed},
                                               {"lines", DrawLines},
                                               {"points", DrawPoints},
                                               {"rectangles", DrawRectangles},
                                               {"control points", DrawControlPoints},
                                               {"fog", DrawFog},
                                               {"overlay", DrawOverlay},
                                               {"blit", Blit},
                                               {"read-back", ReadAndShow}};
  return kinds;
}

void DrawFrame(HostFrame& frame, const FrameKind* first, const FrameKind* last) {
  frame.target.Begin(20, 30, 40);
  for (const FrameKind* kind = first; kind != last; ++kind) {
    frame.list.BeginInstructions();
    kind->draw(frame);
    frame.list.EndInstructions();
    frame.list.ExecuteInstructions();
  }
  frame.target.End();
}

SessionReport PlaySession(GlRecorder& recorder) {
  SessionReport report;
  const std::unique_ptr<GADriver> driver(CreateDriver());
  if (!driver) {
    report.refusals.emplace_back("driver");
    return report;
  }
  hostkit::SetDriver(driver.get());
  if (driver->Initialize()) {
    PlayFrame(*driver, recorder, report);
  } else {
    report.refusals.emplace_back("initialize");
  }
  driver->Terminate();
  hostkit::SetDriver(nullptr);
  return report;
}
