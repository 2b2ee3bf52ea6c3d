// Whole sessions of a small host, with one call at a time failing at a seam: nothing crashes or
// leaks, the host is told where it should be, and the next session is as if nothing had been. Those
// that nothing fails in raise no GL error.
#include <algorithm>
#include <cstring>
#include <ostream>
#include <set>

#include "hostkit/services/current_driver.h"
#include "tests/support/drawing_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"

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

/// What one frame is drawn with. Materials, lights and texture live until the frame is drawn.
struct HostFrame {
  OffscreenTarget& target;
  GABuffer& buffer;
  DisplayList& list;
  GATexture* texture;  ///< May be null.
  GAColor red, blue;   ///< Empty when the driver has no memory.
  AttrProperty opaque = Material(1, 0.5f, 0.25f), clear = Material(0.5f, 1, 0.25f, 0.5f);
  LightList lights{{Spot()}};
  Lines refusals = {};  ///< What returned 0.
};

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

/// Draws everything, each kind with a list of instructions of its own.
void DrawFrame(HostFrame& frame) {
  frame.target.Begin(20, 30, 40);
  for (const auto draw :
       {DrawOpaque, DrawTransparent, DrawTextured, DrawPolygons, DrawIndexed, DrawLines, DrawPoints,
        DrawRectangles, DrawControlPoints, DrawFog, DrawOverlay, Blit, ReadAndShow}) {
    frame.list.BeginInstructions();
    draw(frame);
    frame.list.EndInstructions();
    frame.list.ExecuteInstructions();
  }
  frame.target.End();
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

struct SessionReport {
  Lines refusals;                     ///< What came out as null or 0, in order.
  std::vector<std::uint16_t> pixels;  ///< Half floats of the read-back; empty without one.
  std::set<GLenum> errors;            ///< Of the GL while it was drawn.
};

/// The part of a session between initialising and ending the driver, on the screen or off.
void PlayFrame(GADriver& driver, GlRecorder& recorder, int mode, SessionReport& report) {
  OffscreenTarget target(&driver, kSize, kSize, mode);
  const auto refuse = [&](const char* what) { report.refusals.emplace_back(what); };
  if (!target.buffer) return refuse("buffer");
  if (!target.ready) refuse("surface");  // drawing on nothing is harmless
  if (!target.list) return refuse("list");
  const Textures textures(driver, recorder, report.refusals);
  HostFrame frame{target,
                  *target.buffer,
                  *target.list,
                  textures.First(),
                  GAColor(driver.CreateColor(ColorBuf{255, 0, 0, 255})),
                  GAColor(driver.CreateColor(ColorBuf{0, 0, 255, 255}))};
  DrawFrame(frame);
  report.refusals.insert(report.refusals.end(), frame.refusals.begin(), frame.refusals.end());
  constexpr int kMostErrors = 8;  // that can be raised at once
  for (int i = 0; i < kMostErrors; ++i) report.errors.insert(glGetError());

  const TestBitmap bitmap(new HBitmapNode(kSize, kSize));
  if (!target.buffer->FillBitmapNode(bitmap.get(), 0)) refuse("read");
  report.pixels = Halves(*bitmap);
}

/// Makes a driver, initialises it, draws every kind of frame with textures from every maker, reads
/// it back and takes everything down. Goes on after a refusal as far as a careful host can. Of the
/// textures one is refused by the GL's proxy, for which `recorder` answers.
SessionReport PlaySession(GlRecorder& recorder, int mode = GL3GABuffer::kOffScreen) {
  SessionReport report;
  const std::unique_ptr<GADriver> driver(CreateDriver());
  if (!driver) {
    report.refusals.emplace_back("driver");
    return report;
  }
  hostkit::SetDriver(driver.get());
  if (driver->Initialize()) {
    PlayFrame(*driver, recorder, mode, report);
  } else {
    report.refusals.emplace_back("initialize");
  }
  driver->Terminate();
  hostkit::SetDriver(nullptr);
  return report;
}

const std::string kRefused = "OpenGL3 Initialization Failed: ";

SessionReport PlayUndisturbed(int mode = GL3GABuffer::kOffScreen) {
  const Faults faults;
  GlRecorder recorder;
  SessionReport report = PlaySession(recorder, mode);
  EXPECT_EQ(report.refusals, Lines());
  EXPECT_EQ(report.errors, std::set<GLenum>{GL_NO_ERROR});
  EXPECT_EQ(faults.Messages(), Lines());
  return report;
}

struct Seam {
  FaultPoint point;
  const char* name;
  /// All that comes of one failing call, whichever it is: what the host sees as null or 0, or ""
  /// where it sees nothing.
  std::set<std::string> outcomes;
  bool changesPicture = false;  ///< Where it sees nothing.
  const char* message = nullptr;
};

/// Else the test library prints its bytes, with those between its members, which valgrind tells.
void PrintTo(const Seam& seam, std::ostream* out) {
  *out << seam.name;
}

const Seam kSeams[] = {
    // A second chance each for the window's device context and the pixel formats.
    {FaultPoint::kGetDC, "GetDC", {""}},
    {FaultPoint::kCglChoosePixelFormat, "CGLChoosePixelFormat", {""}},
    {FaultPoint::kCglCreateContext, "CGLCreateContext", {"initialize"}, false, "glewInit"},
    {FaultPoint::kInitializeGlew, "InitializeGlew", {"initialize"}, false, "glewInit"},
    // The driver's own context is not asked for its success: textures are lost without it.
    {FaultPoint::kAglChoosePixelFormat, "aglChoosePixelFormat", {"", "surface"}, true},
    {FaultPoint::kAglCreateContext, "aglCreateContext", {"", "surface"}, true},
    {FaultPoint::kAglCreatePBuffer, "aglCreatePBuffer", {"surface"}},
    // A colour that cannot be made draws in black.
    {FaultPoint::kAllocGAssist, "GAssist", {"", "driver", "buffer", "list", "texture"}, true},
    // Without a queue transparent surfaces are left out.
    {FaultPoint::kAllocOGL, "OGL", {""}, true},
    {FaultPoint::kAllocExt, "Ext", {"picture", "blit", "read"}},
    // Texts come out empty: settings have their default values, a bitmap has no such buffer.
    {FaultPoint::kAllocString, "String", {"", "bitmap", "picture", "read"}},
    {FaultPoint::kAllocBitmap, "BitmapStorage", {"bitmap", "picture", "read"}},
};

class SeamTest : public testing::TestWithParam<Seam> {
 protected:
  SeamTest() : m_reference(PlayUndisturbed().pixels), m_alive(Alive()) {}

  /// Adds what came of a session with a failure to the outcomes.
  void Note(const SessionReport& report, const Faults& faults) {
    EXPECT_EQ(Alive(), m_alive);
    for (const std::string& message : faults.Messages()) m_messages.insert(message);
    for (const std::string& refusal : report.refusals) m_outcomes.insert(refusal);
    if (!report.refusals.empty()) return;
    m_outcomes.insert("");
    EXPECT_TRUE(GetParam().changesPicture || report.pixels == m_reference);
  }

  const std::vector<std::uint16_t> m_reference;
  const Lines m_alive;
  std::set<std::string> m_outcomes, m_messages;
};

TEST_P(SeamTest, EachCallOfASessionMayFail) {
  ASSERT_GT(std::set(m_reference.begin(), m_reference.end()).size(), 8u) << "no picture";
  for (int nth = 1; !HasFailure(); ++nth) {
    SCOPED_TRACE(nth);
    {
      Faults faults;
      GlRecorder recorder;
      faults.Fail(GetParam().point, nth);
      const SessionReport report = PlaySession(recorder);
      if (faults.Failures(GetParam().point) == 0) break;
      Note(report, faults);
    }
    EXPECT_EQ(PlayUndisturbed().pixels, m_reference);
  }
  EXPECT_EQ(m_outcomes, GetParam().outcomes);
  std::set<std::string> messages;
  if (GetParam().message) messages.insert(kRefused + GetParam().message);
  EXPECT_EQ(m_messages, messages);
}

TEST_P(SeamTest, AllCallsFromAnyOneOnMayFail) {
  int calls = 1;
  for (int nth = 1; nth <= calls; nth += calls / 8 + 1) {
    SCOPED_TRACE(nth);
    Faults faults;
    GlRecorder recorder;
    faults.Fail(GetParam().point, nth, 1000000);
    PlaySession(recorder);
    EXPECT_EQ(Alive(), m_alive);
    calls = std::max(calls, faults.Calls(GetParam().point));
  }
  EXPECT_EQ(PlayUndisturbed().pixels, m_reference);
}

TEST(SessionTest, OnScreenTextHasItsFontAndNothingRaisesAnError) {
  PlayUndisturbed(0);
}

INSTANTIATE_TEST_SUITE_P(All, SeamTest, testing::ValuesIn(kSeams),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
