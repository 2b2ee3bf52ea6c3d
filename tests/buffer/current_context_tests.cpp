// Which operations make a buffer's context current, whatever was current before, and which leave
// the one that is.
#include <algorithm>

#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"

namespace {

class CurrentContextTest : public DrawingFixture {
 protected:
  struct Operation {
    const char* name;
    void (*run)(CurrentContextTest&);
    int times;  // how often the buffer's context is made current
  };
  static const std::vector<Operation> kOperations;

  void SetUp() override {
    DrawingFixture::SetUp();
    m_other = std::make_unique<OffscreenTarget>(Driver(), 6, 5);
  }
  void TearDown() override {
    m_texture.reset();
    m_other.reset();
    DrawingFixture::TearDown();
  }
  GL3GABuffer& Other() { return *m_other->buffer; }
  GL3GATexture* Texture() {
    const GlRecorderPause pause;
    if (!m_texture) m_texture = SolidTexture({9, 9, 9, 255});
    return m_texture.get();
  }
  void Blit(int left, int right) {
    Buffer().TransparentBlit(Texture(), CRect(left, 5, right, 9), -9, {1, 1}, 1);
  }
  void Fill(int x) { Buffer().AfxFillRect(x, 5, 4, 4, -9, m_color); }
  void Queue() {
    Buffer().MakeRoomForTransparentPolys(1);
    Buffer().AddTransparentPoly(Facing(0, 0, -5), Facing(8, 0, -5), Facing(0, 8, -5), nullptr,
                                &m_material, nullptr);
  }
  /// The operation runs after `before` was made current.
  void Expect(const Operation& operation, AGLContext before) {
    GlRecorder gl(GlRecorder::kPlatform);
    HandleLabel(Buffer().Context(), "own");
    operation.run(*this);
    Lines made;
    const Lines bind = CallsIn(
        "aglGetVirtualScreen(own1); aglSetPBuffer(own1, pbuffer1, 0, 0, 0);"
        "aglSetCurrentContext(own1)");
    for (int i = 0; i < operation.times; ++i) made.insert(made.end(), bind.begin(), bind.end());
    Lines agl;
    for (const std::string& call : gl.Calls()) {
      if (call.starts_with("aglGet") || call.starts_with("aglSet")) agl.push_back(call);
    }
    EXPECT_EQ(agl, made) << operation.name;
    if (operation.times > 0) {
      EXPECT_TRUE(std::equal(bind.begin(), bind.end(), gl.Calls().begin())) << operation.name;
    }
    const AGLContext after = operation.times > 0 ? Buffer().Context() : before;
    EXPECT_EQ(GL3GADriver::m_prevcontext, after) << operation.name;
    EXPECT_EQ(aglGetCurrentContext(), after) << operation.name;
  }

  TestBitmap m_bitmap{new HBitmapNode(4, 3)};
  GAColor m_color = Rgb(1, 2, 3);
  AttrProperty m_material = Material(1, 0, 0, 0.5f);
  std::unique_ptr<OffscreenTarget> m_other;
  std::unique_ptr<GL3GATexture> m_texture;
};

using Self = CurrentContextTest;
const std::vector<CurrentContextTest::Operation> CurrentContextTest::kOperations = {
    {"MakeCurrent", [](Self& t) { t.Buffer().MakeCurrent(0); }, 1},
    {"SetRenderState", [](Self& t) { t.Buffer().SetRenderState(); }, 1},
    {"Clear", [](Self& t) { t.Buffer().Clear(); }, 1},
    {"ComputeProjectionMatrices", [](Self& t) { t.Buffer().ComputeProjectionMatrices(); }, 1},
    {"SetProjection", [](Self& t) { t.Buffer().SetProjection(1); }, 1},
    {"IsFogEnabled", [](Self& t) { t.Buffer().IsFogEnabled(); }, 1},
    {"SetFogState 1", [](Self& t) { t.Buffer().SetFogState(1); }, 1},
    {"SetFogState 0", [](Self& t) { t.Buffer().SetFogState(0); }, 1},
    {"BlitToFront", [](Self& t) { t.Buffer().BlitToFront(nullptr, 0, 0); }, 1},
    {"FillBitmapNode", [](Self& t) { t.Buffer().FillBitmapNode(t.m_bitmap.get(), 0); }, 1},
    {"GetZValue", [](Self& t) { t.Buffer().GetZValue(1, 2); }, 1},
    {"TextOutA", [](Self& t) { t.Buffer().TextOutA(1, 2, "a", t.m_color, 0); }, 2},
    {"AfxFillRect", [](Self& t) { t.Fill(5); }, 2},
    {"AfxFillRect outside", [](Self& t) { t.Fill(200); }, 0},
    {"TransparentBlit", [](Self& t) { t.Blit(5, 9); }, 1},
    {"TransparentBlit outside", [](Self& t) { t.Blit(200, 209); }, 0},
    {"EndScene", [](Self& t) { t.Queue(), t.Buffer().EndScene(); }, 1},
    {"EndScene, nothing queued", [](Self& t) { t.Buffer().EndScene(); }, 0},
    {"SetRenderStateNoMakeCurrent", [](Self& t) { t.Buffer().SetRenderStateNoMakeCurrent(); }, 0},
    {"OnSize", [](Self& t) { t.Buffer().OnSize(); }, 0},
    {"SetBackground", [](Self& t) { t.Buffer().SetBackground(t.m_color); }, 0},
    {"BeginScene", [](Self& t) { t.Buffer().BeginScene(); }, 0},
    {"CopyObjects", [](Self& t) { t.Buffer().CopyObjects(&t.Other(), 1); }, 0},
    {"RepaintFront", [](Self& t) { t.Buffer().RepaintFront(CRect(), nullptr, 0, 0); }, 0},
    {"SetFogColor", [](Self& t) { t.Buffer().SetFogColor({}); }, 0},
    {"GetFogColor", [](Self& t) { t.Buffer().GetFogColor(); }, 0},
    {"SetFogDensity", [](Self& t) { t.Buffer().SetFogDensity(1); }, 0},
    {"SetMaterial", [](Self& t) { t.Buffer().SetMaterial(1); }, 0},
    {"SetupLights", [](Self& t) { t.Buffer().SetupLights(nullptr); }, 0},
    {"MakeRoom, AddTransparentPoly", [](Self& t) { t.Queue(); }, 0},
    {"the driver's factories",
     [](Self& t) {
       delete t.Driver()->CreateColor();
       delete t.Driver()->CreateTexture();
       delete t.Driver()->CreateBuffer(&t.Info(), 1, 0);
     },
     0}};

TEST_F(CurrentContextTest, IsTheBuffersOwnInWhatDrawsOrReads) {
  Texture();
  for (const Operation& operation : kOperations) {
    Other().MakeCurrent(0);
    Expect(operation, Other().Context());
    Driver()->MakeCurrent();
    Expect(operation, GL3GADriver::m_context);
    Buffer().MakeCurrent(0);
    Expect(operation, Buffer().Context());
  }
}

}  // namespace
