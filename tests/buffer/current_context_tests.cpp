// Which operations of buffers and lists make a buffer's context current, whatever was current
// before, and which leave the one that is.
#include <algorithm>

#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"

namespace {

constexpr int kUnlessItIs = -1;

class CurrentContextTest : public DrawingFixture {
 protected:
  struct Operation {
    const char* name;
    void (*run)(CurrentContextTest&);
    int times;  // how often the buffer's context is made current; kUnlessItIs: once, or never
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
  void CallTheOthers();
  void Fill(int x) { Buffer().AfxFillRect(x, 5, 4, 4, -9, m_color); }
  void Queue() {
    Buffer().MakeRoomForTransparentPolys(1);
    Buffer().AddTransparentPoly(Facing(0, 0, -5), Facing(8, 0, -5), Facing(0, 8, -5), nullptr,
                                &m_material, nullptr);
  }
  /// The operation runs after `before` was made current.
  void Expect(const Operation& operation, AGLContext before) {
    List().PrepForPolygonArray(), List().SetProjection(1);
    List().PrepForPoints();  // opens a block
    (before == Buffer().Context() ? Buffer() : Other()).MakeCurrent(0);
    if (before == GL3GADriver::m_context) Driver()->MakeCurrent();
    GlRecorder gl(GlRecorder::kPlatform);
    HandleLabel(Buffer().Context(), "own");
    operation.run(*this);
    const bool isOwn = before == Buffer().Context();
    const int times = operation.times == kUnlessItIs ? !isOwn : operation.times;
    Lines made;
    const Lines bind = CallsIn(
        "aglGetVirtualScreen(own1); aglSetPBuffer(own1, pbuffer1, 0, 0, 0);"
        "aglSetCurrentContext(own1)");
    for (int i = 0; i < times; ++i) made.insert(made.end(), bind.begin(), bind.end());
    Lines agl;
    for (const std::string& call : gl.Calls()) {
      if (call.starts_with("aglGet") || call.starts_with("aglSet")) agl.push_back(call);
    }
    EXPECT_EQ(agl, made) << operation.name;
    if (times > 0) {
      EXPECT_TRUE(std::equal(bind.begin(), bind.end(), gl.Calls().begin())) << operation.name;
    }
    const AGLContext after = times > 0 ? Buffer().Context() : before;
    EXPECT_EQ(GL3GADriver::m_prevcontext, after) << operation.name;
    EXPECT_EQ(aglGetCurrentContext(), after) << operation.name;
  }

  TestBitmap m_bitmap{new HBitmapNode(4, 3)};
  GAColor m_color = Rgb(1, 2, 3);
  AttrProperty m_material = Material(1, 0, 0, 0.5f);
  std::unique_ptr<OffscreenTarget> m_other;
  std::unique_ptr<GL3GATexture> m_texture;
  std::vector<GALitVertex> m_lit = std::vector<GALitVertex>(4);
  std::vector<unsigned> m_pairs;
  GALitVertexWT m_wt[4];
  unsigned short m_indices[3] = {0, 1, 2};
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
     0},
    {"list: MakeCurrent", [](Self& t) { t.List().MakeCurrent(); }, kUnlessItIs},
    {"list: OnSize", [](Self& t) { t.List().OnSize(); }, kUnlessItIs},
    {"list: SetTexture", [](Self& t) { t.List().SetTexture(t.Texture()); }, kUnlessItIs},
    {"list: SetTexture(null)", [](Self& t) { t.List().SetTexture(nullptr); }, kUnlessItIs},
    {"list: SetDepthFunc", [](Self& t) { t.List().SetDepthFunc(6); }, kUnlessItIs},
    {"list: SetProjection", [](Self& t) { t.List().SetProjection(0); }, kUnlessItIs},
    {"list: SetupLights", [](Self& t) { t.List().SetupLights(nullptr); }, kUnlessItIs},
    {"list: PrepForLines", [](Self& t) { t.List().PrepForLines(); }, kUnlessItIs},
    {"list: PrepForPolygons", [](Self& t) { t.List().PrepForPolygons(); }, kUnlessItIs},
    {"list: PrepForPolygonArray", [](Self& t) { t.List().PrepForPolygonArray(); }, kUnlessItIs},
    {"list: BeginInstructions", [](Self& t) { t.List().BeginInstructions(); }, kUnlessItIs},
    {"list: ExecuteInstructions", [](Self& t) { t.List().ExecuteInstructions(); }, kUnlessItIs},
    {"list: indexed lines", [](Self& t) { t.List().AddIndexedLineList(t.m_lit, t.m_pairs); },
     kUnlessItIs},
    {"list: lit triangles",
     [](Self& t) { t.List().AddIndexedLitTriangleList(t.m_lit.data(), 4, t.m_indices, 3, 0); },
     kUnlessItIs},
    {"list: listWT",
     [](Self& t) { t.List().AddIndexedLitTriangleListWT(t.m_wt, 4, t.m_indices, 3, 0); },
     kUnlessItIs},
    {"list: FlushTransparentPolys", [](Self& t) { t.List().FlushTransparentPolys(); }, 1},
    {"list: others", [](Self& t) { t.CallTheOthers(); }, 0}};

/// Every operation of a list that leaves it to its caller to make the context current. Points have
/// been prepared for, and the scene's projection is in force.
void CurrentContextTest::CallTheOthers() {
  GL3DisplayList& l = List();
  AttrProperty material = Material(1, 0, 0);
  GAVertex v[4];
  GAShadedLineVertex shaded[2];
  RGBFloat colors[4];
  Vector p[2];
  VornPoly polygon;
  l.SetProjection(1);
  l.PrepForPoints();
  l.SetMaterial(&material, 0);
  l.SetDefaultColor(m_color);
  l.AddOGLVertex(p[0], m_color);
  l.AddTransformedVertex(p[0]);
  l.AddTransformedVertex(p[0], m_color);
  l.AddTransformedVertex(p[0], m_color, Vector2());
  l.TransformAndAddVertex(p[0], m_color);
  l.AddTransformedPoint(p[0]);
  l.AddTransformedPoint(p[0], m_color);
  l.AddTransformedLine(p[0], p[1]);
  l.AddTransformedLine(p[0], p[1], m_color);
  l.AddTransformedLineRef(p[0], p[1]);
  l.AddTransformedLineRef(p[0], p[1], m_color);
  l.AddTransformedLine(p[0], m_color, p[1], m_color);
  l.AddTransformedLineList(p, 2);
  l.AddTransformedLineList(p, p, 2, m_color, m_color);
  l.AddTransformedShadedLineList(shaded, 2, 1);
  l.AddRectangle(0, 0, 1, 1, -9);
  l.AddRectangle(0, 0, 1, 1, -9, m_color);
  l.AddSolidRectangle(0, 0, 1, 1, -9);
  l.AddSolidRectangle(0, 0, 1, 1, -9, m_color);
  l.AddCP(p[0], 1, m_color);
  l.AddTransformedPolygon(polygon, 1);
  l.AddTransformedPolygons(&polygon, 1, 1);
  l.AddTransformedTri(v, 1);
  for (const int mode : {0, 1, 2, 0x8002, 0xC002}) l.AddTransformedQuad(v, mode, 0);
  l.AddTransformedQuad(v, colors, 1);
  l.AddTransformedQuad(m_lit.data());
  l.AddIndexedTriangleFan(v, 4, m_indices, 3, 1);
  l.FlushArrays();
  l.AddTransformedLine(p[0], p[1]);
  l.EndInstructions();
  l.Execute(), l.AddLine(1, 2), l.AddPoint(1);
  l.SetMaterial(nullptr, 0);
}

TEST_F(CurrentContextTest, IsTheBuffersOwnInWhatDrawsOrReads) {
  Texture();
  for (const Operation& operation : kOperations) {
    for (const AGLContext before :
         {Other().Context(), GL3GADriver::m_context, Buffer().Context()}) {
      Expect(operation, before);
    }
  }
}

}  // namespace
