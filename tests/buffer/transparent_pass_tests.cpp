// The transparent pass: its GL calls, and the state it leaves.
#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"

namespace {

class PassTest : public DrawingFixture {
 protected:
  void SetUp() override {
    DrawingFixture::SetUp();
    Buffer().MakeRoomForTransparentPolys(1);
  }
  /// Queues a triangle over the middle.
  void Triangle(float z, AttrProperty* attribute, GL3GATexture* texture = nullptr,
                LightListNode* lights = nullptr) {
    Buffer().AddTransparentPoly(Facing(-10, -10, z), Facing(10, -10, z), Facing(0, 10, z), texture,
                                attribute, lights);
  }
  /// The log without what sets up and tears down a pass.
  static Lines Steps(const GlRecorder& gl) {
    Lines steps;
    for (const std::string& call : gl.Calls()) {
      for (const char* kept :
           {"glDrawElements", "glMaterialfv", "glBindTexture", "glDisable(GL_TEX", "glLightModeli",
            "glBegin", "glEnd()", "glLineWidth", "glNormal3fv", "glVertex3fv"}) {
        if (call.starts_with(kept)) steps.push_back(call);
      }
    }
    if (!steps.empty()) steps.pop_back();  // the diffuse colour found at the start
    return steps;
  }

  /// What the pass finds, and puts back.
  void SetDiffuse() {
    float rgba[4] = {0.9f, 0.7f, 0.3f, 0.5f};
    Buffer().SetDiffuseMaterial(rgba);
  }

  AttrProperty m_uneven = Material(0.5f, 0.8f, 0.6f, 0.25f);
  /// How m_uneven is sent. The scene's ambient light makes a quarter of the colour ambient.
  const std::string m_unevenSent = R"(
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.4375, 0.64, 0.51, 0.75});
      glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, {0.125, 0.2, 0.15, 0.75});
      glMaterialfv(GL_FRONT_AND_BACK, GL_SHININESS, {0, 0, 0, 1});
      glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, {0, 0, 0, 1});)";
};

TEST_F(PassTest, OneTriangleFromStartToEnd) {
  SetDiffuse();
  Buffer().AddTransparentPoly(Numbered(1), Numbered(2), Numbered(3), nullptr, &m_uneven, nullptr);
  const std::string draw = IndexedDraw(
      "vnt", 32, "GL_TRIANGLES, 3, GL_UNSIGNED_INT, {0, 1, 2}" + NumberedText({1, 2, 3}, true));
  const auto other = SolidTexture({0, 0, 0, 255});  // makes the driver's context current
  GlRecorder gl(GlRecorder::kIndices | GlRecorder::kVertices | GlRecorder::kPlatform);
  Buffer().EndScene();
  EXPECT_EQ(gl.Calls(),
            CallsIn(R"(
      aglGetVirtualScreen(context1); aglSetPBuffer(context1, pbuffer1, 0, 0, 0); aglSetCurrentContext(context1);
      glGetMaterialfv(GL_FRONT, GL_DIFFUSE, pointer); glEnable(GL_LINE_SMOOTH);
      glIsEnabled(GL_CULL_FACE); glGetIntegerv(0xb45); glCullFace(GL_FRONT);
      glEnable(GL_CULL_FACE);)" +
                    m_unevenSent + "glEnable(GL_LIGHTING);" + draw + R"(glDisable(GL_LIGHTING);
      glDisable(GL_CULL_FACE); glDisable(GL_LINE_SMOOTH); glCullFace(GL_FRONT);
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.9, 0.7, 0.3, 0.5}))"));
  gl.Clear();
  Buffer().EndScene();
  EXPECT_EQ(gl.Calls(), Lines());
}

TEST_F(PassTest, WithoutMaterialNothingIsDrawnOrLit) {
  Triangle(-10, nullptr);
  Buffer().SetState(GL3GABuffer::kSmoothingOn, true);  // and stays on
  GlRecorder gl;
  Buffer().EndScene();
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glGetMaterialfv(GL_FRONT, GL_DIFFUSE, pointer); glIsEnabled(GL_CULL_FACE);
      glGetIntegerv(0xb45); glCullFace(GL_FRONT); glEnable(GL_CULL_FACE); glDisable(GL_CULL_FACE);
      glCullFace(GL_FRONT); glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.8, 0.8, 0.8, 1}))"));
}

TEST_F(PassTest, FarSurfacesComeFirstAndChangesOfStateEndABatch) {
  const auto texture = SolidTexture({255, 255, 255, 128});
  const std::string bind = Bind(*texture);
  GL3GATexture nameless;
  AttrProperty same = m_uneven;
  LightList lights(std::vector<GALight>(1));
  Triangle(-10, &same, nullptr, lights.Head());  // with lights everything is sent again
  Triangle(-80, &m_uneven);
  Triangle(-90, &m_uneven);
  Triangle(-70, &same);                     // equal values: a batch, nothing sent
  Triangle(-60, &same, texture.get());      // the texture alone
  Triangle(-55, nullptr);                   // draws nothing, and yet ends the texture
  Triangle(-50, &m_uneven, texture.get());  // with a texture everything is sent again
  Triangle(-40, &m_uneven, texture.get(), lights.Head());
  Triangle(-30, &m_uneven, &nameless, lights.Head());
  Triangle(-20, &m_uneven, &nameless, lights.Head());  // never current: ends a batch each time
  GlRecorder gl(GlRecorder::kIndices);
  Buffer().RenderTransparentPolys();

  const std::string three = "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, {0, 1, 2})";
  const Lines all = CallsIn(m_unevenSent);
  const std::string off = "glDisable(GL_TEXTURE_2D)";
  Lines wanted = all;
  wanted.insert(wanted.end(),
                {"glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_INT, {0, 1, 2, 3, 4, 5})", three,
                 bind, three, off, bind});
  wanted.insert(wanted.end(), all.begin(), all.end());
  wanted.insert(wanted.end(), {three, "glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 1)", three, off,
                               three, off, three});
  wanted.insert(wanted.end(), all.begin(), all.end());
  wanted.push_back(three);
  EXPECT_EQ(Steps(gl), wanted);
}

TEST_F(PassTest, TheFirstMaterialIsSentAlsoWhenItIsInForce) {
  Buffer().SetMaterial(&m_uneven, 0.0f);
  Triangle(-10, &m_uneven);
  GlRecorder gl;
  Buffer().RenderTransparentPolys();
  // Four values before the draw; the diffuse colour at the end is the one in force.
  EXPECT_EQ(gl.Count("glMaterialfv"), 4);
}

TEST_F(PassTest, LinesOvertakeTheTrianglesThatWait) {
  const GAVertex from = {-5, 1, -20, 0.1f, 0.2f, 0.3f, 0.25f, 3};
  const GAVertex to = {5, 2, -25, 0.4f, 0.5f, 0.6f, 0.5f, 9};
  SetDiffuse();
  Triangle(-30, &m_uneven);
  Buffer().AddTransparentPoly(from, to, &m_uneven, nullptr);
  Triangle(-10, &m_uneven);
  GlRecorder gl;
  Buffer().RenderTransparentPolys();
  Lines steps = Steps(gl);
  steps.erase(steps.begin(), steps.begin() + 4);  // the material
  EXPECT_EQ(steps, CallsIn(R"(
      glLineWidth(3); glBegin(GL_LINES);
      glNormal3fv({0.1, 0.2, 0.3});
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.9, 0.7, 0.3, 0.375});
      glVertex3fv({-5, 1, -20}); glNormal3fv({0.4, 0.5, 0.6});
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.9, 0.7, 0.3, 0.25});
      glVertex3fv({5, 2, -25}); glEnd(); glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_INT))"));
  EXPECT_EQ(gl.CallsTo("glEnable(GL_LIGHTING)").size(), 1u);
}

TEST_F(PassTest, StateComesBackAsItWas) {
  SetDiffuse();
  List().SetDepthFunc(0);
  Buffer().SetupLights(nullptr);
  glEnable(GL_CULL_FACE);
  glCullFace(GL_BACK);
  const auto texture = SolidTexture({255, 255, 255, 128});
  Buffer().IsFogEnabled();  // back from the driver's context
  Triangle(-10, &m_uneven, texture.get());
  GlRecorder gl;
  Buffer().RenderTransparentPolys();
  EXPECT_EQ(gl.CallsTo("glEnable("), CallsIn(R"(
      glEnable(GL_LINE_SMOOTH); glEnable(GL_DEPTH_TEST); glEnable(GL_CULL_FACE);
      glEnable(GL_TEXTURE_2D))"));
  EXPECT_EQ(gl.CallsTo("glDisable("), CallsIn(R"(
      glDisable(GL_DEPTH_TEST); glDisable(GL_TEXTURE_2D); glDisable(GL_LIGHTING);
      glDisable(GL_LINE_SMOOTH))"));
  EXPECT_EQ(gl.CallsTo("glCullFace("), (Lines{"glCullFace(GL_FRONT)", "glCullFace(GL_BACK)"}));
  // Lighting goes off in the GL alone.
  EXPECT_TRUE(Buffer().HasState(GL3GABuffer::kLightingOn));
  EXPECT_FALSE(Buffer().HasState(GL3GABuffer::kDepthTestOn));
  EXPECT_EQ(gl.Calls().back(), "glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.9, 0.7, 0.3, 0.5})");
}

}  // namespace
