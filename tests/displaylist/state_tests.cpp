// State switches of the display list: what each sends, closes, flushes and remembers.
#include <algorithm>

#include "platform/platform.h"
#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"
#include "tests/support/transparent_queue.h"

namespace {

class StateTest : public DrawingFixture {
 protected:
  /// Calls of `action`, a batched line waiting. Its flush appears as "flush".
  template <class Action>
  Lines CallsOf(Action action, bool pending = true) {
    if (pending) List().AddTransformedLine({0, 0, -5}, {1, 1, -5}, m_white);
    GlRecorder gl;
    action();
    Lines calls;
    for (const std::string& call : gl.Calls()) {
      if (call.starts_with("glDrawElements")) calls.push_back("flush");
      if (call.find("ClientState") == std::string::npos &&
          call.find("Pointer") == std::string::npos && !call.starts_with("glDrawElements")) {
        calls.push_back(call);
      }
    }
    return calls;
  }

  GAColor m_white = Rgb(255, 255, 255);
};

TEST_F(StateTest, TexturesFlushAndSwitch) {
  const auto texture = SolidTexture({255, 0, 0, 255});
  GL3GATexture nameless;
  const std::string bind = Bind(*texture);
  struct Case {
    GL3GATexture* set;
    Lines calls;
  };
  const Case cases[] = {{nullptr, {}},
                        {&nameless, {}},
                        {texture.get(), {"flush", "glEnable(GL_TEXTURE_2D)", bind}},
                        {texture.get(), {"flush", bind}},
                        {&nameless, {"flush", "glDisable(GL_TEXTURE_2D)"}},
                        {texture.get(), {"flush", "glEnable(GL_TEXTURE_2D)", bind}},
                        {nullptr, {"flush", "glDisable(GL_TEXTURE_2D)"}}};
  List().MakeCurrent();
  for (const Case& c : cases) {
    EXPECT_EQ(CallsOf([&] { List().SetTexture(c.set); }), c.calls);
    EXPECT_EQ(Buffer().HasState(GL3GABuffer::kArraysPending), c.calls.empty());
  }
}

TEST_F(StateTest, DepthFuncIsASwitchOfManyThings) {
  const std::pair<int, Lines> cases[] = {{-1, {}},
                                         {6, {}},
                                         {1, {}},
                                         {0, {"glDisable(GL_DEPTH_TEST)"}},
                                         {0, {}},
                                         {1, {"glEnable(GL_DEPTH_TEST)"}},
                                         {1, {}},
                                         {2, {"glBlendFunc(GL_SRC_ALPHA, GL_ONE)"}},
                                         {3, {"glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)"}},
                                         {4, {"glEnable(GL_LIGHTING)", "glEnable(GL_LIGHT0)"}},
                                         {4, {"glEnable(GL_LIGHTING)", "glEnable(GL_LIGHT0)"}},
                                         {5, {"glDisable(GL_LIGHTING)", "glDisable(GL_LIGHT0)"}},
                                         {5, {"glDisable(GL_LIGHTING)", "glDisable(GL_LIGHT0)"}}};
  for (const auto& [function, calls] : cases) {
    EXPECT_EQ(CallsOf([&, f = function] { List().SetDepthFunc(f); }), calls) << function;
    EXPECT_EQ(Buffer().HasState(GL3GABuffer::kLightingOn), function == 4);
  }
  List().PrepForPoints();
  EXPECT_EQ(CallsOf([&] { List().SetDepthFunc(6); }), Lines{"glEnd()"});
  EXPECT_EQ(CallsOf([&] { List().SetDepthFunc(6); }), Lines());
}

TEST_F(StateTest, ProjectionIsLoadedWhenTheModeChanges) {
  List().PrepForPoints();
  EXPECT_EQ(CallsOf([&] { List().SetProjection(1); }), Lines());
  // 80 x 48 pixels, y down; the planes at 1 and 1000.
  const std::string screen =
      "glLoadMatrixf({0.025, 0, 0, 0, 0, -0.0416667, 0, 0, 0, 0, -0.002002, 0, -1, 1, -1.002, 1})";
  EXPECT_EQ(CallsOf([&] { List().SetProjection(0); }),
            (Lines{"glEnd()", "glLoadIdentity()", screen, "glViewport(0, 0, 80, 48)"}));
  EXPECT_EQ(CallsOf([&] { List().SetProjection(0); }), Lines());

  Buffer().Reallocate(64, 32, 1);  // leaves the model-view stack current
  EXPECT_EQ(CallsOf([&] { List().SetProjection(2); }), CallsIn(R"(
      glMatrixMode(GL_PROJECTION); glLoadIdentity();
      glLoadMatrixf({0.03125, 0, 0, 0, 0, 0.03125, 0, 0, 0, 0, -0.002002, 0, )"
                                                               "0.125, 0.125, -1.002, 1})"
                                                               R"(;
      glViewport(0, 0, 64, 32))"));
}

TEST_F(StateTest, PreparationsOpenBlocksOnce) {
  const auto texture = SolidTexture({255, 0, 0, 255});
  List().SetTexture(texture.get());
  List().SetDepthFunc(4);
  EXPECT_EQ(CallsOf([&] { List().PrepForPoints(); }),
            (Lines{"glDisable(GL_TEXTURE_2D)", "glDisable(GL_LIGHTING)", "glBegin(GL_POINTS)"}));
  EXPECT_EQ(CallsOf([&] { List().PrepForPoints(); }), Lines());
  EXPECT_EQ(CallsOf([&] { List().PrepForLines(); }), (Lines{"glEnd()", "glBegin(GL_LINES)"}));
  EXPECT_EQ(CallsOf([&] { List().PrepForPolygons(); }),
            (Lines{"glEnd()", "glBegin(GL_TRIANGLES)"}));
  EXPECT_EQ(CallsOf([&] { List().PrepForPolygonArray(); }), Lines{"glEnd()"});

  List().SetTexture(texture.get());
  List().SetDepthFunc(4);  // stays on for polygons
  EXPECT_EQ(CallsOf([&] { List().PrepForPolygons(); }),
            (Lines{"flush", "glDisable(GL_TEXTURE_2D)", "glBegin(GL_TRIANGLES)"}));
  List().PrepForLines();
  List().SetDepthFunc(6);
  EXPECT_EQ(CallsOf([&] { List().PrepForLines(); }), Lines());  // the mode is remembered
}

TEST_F(StateTest, InstructionListsCloseAndFlush) {
  List().SetDepthFunc(4);
  List().PrepForPolygons();
  EXPECT_EQ(CallsOf([&] { List().BeginInstructions(); }), Lines());
  EXPECT_EQ(CallsOf([&] { List().EndInstructions(); }),
            (Lines{"glEnd()", "flush", "glDisable(GL_LIGHTING)"}));
  EXPECT_EQ(CallsOf([&] { List().EndInstructions(); }, false), Lines());
  List().PrepForPoints();
  EXPECT_EQ(CallsOf([&] { List().ExecuteInstructions(); }), (Lines{"glEnd()", "flush"}));
  EXPECT_EQ(CallsOf([&] { List().Execute(), List().AddLine(1, 2), List().AddPoint(1); }), Lines());
}

TEST_F(StateTest, BeginningForgetsTheTextureButNotThatTexturingIsOn) {
  const auto texture = SolidTexture({255, 0, 0, 128});
  AttrProperty clear = Material(1, 1, 1, 0.5f);
  GAVertex corners[4] = {};
  List().SetMaterial(&clear, 0);
  GL3GATexture nameless;  // is kept, although the GL has none
  for (GL3GATexture* set : {&nameless, texture.get()}) {
    List().SetTexture(set);
    List().AddTransformedTri(corners, 1);
  }
  List().BeginInstructions();
  List().AddTransformedTri(corners, 1);
  ASSERT_EQ(TransparentQueue::Count(Buffer()), 3);
  EXPECT_EQ(TransparentQueue::Records(Buffer())[0].texture, &nameless);
  EXPECT_EQ(TransparentQueue::Records(Buffer())[1].texture, texture.get());
  EXPECT_EQ(TransparentQueue::Records(Buffer())[2].texture, nullptr);
  EXPECT_EQ(CallsOf([&] { List().SetTexture(nullptr); }),
            (Lines{"flush", "glDisable(GL_TEXTURE_2D)"}));
}

TEST_F(StateTest, MaterialsAndLightsFlushBeforeTheyChange) {
  AttrProperty red = Material(1, 0, 0);
  EXPECT_EQ(CallsOf([&] { List().SetMaterial(&red, 0); }), CallsIn(R"(
      flush; glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.75, 0, 0, 1});
      glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, {0.25, 0, 0, 1});
      glMaterialfv(GL_FRONT_AND_BACK, GL_SHININESS, {0, 0, 0, 1});
      glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, {0, 0, 0, 1}))"));
  EXPECT_EQ(CallsOf([&] { List().SetMaterial(&red, 0); }), Lines());
  EXPECT_TRUE(Buffer().HasState(GL3GABuffer::kArraysPending));
  EXPECT_EQ(CallsOf([&] { List().SetMaterial(&red, 0.5f); }), CallsIn(R"(
      flush; glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.75, 1, 1, 0.5});
      glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, {0.25, 0, 0, 0.5}))"));
  EXPECT_EQ(CallsOf([&] { List().SetMaterial(nullptr, 0); }), Lines());

  List().PrepForPoints();
  const Lines lights = CallsOf([&] { List().SetupLights(nullptr); });
  EXPECT_EQ(lights[0], "glEnd()");
  EXPECT_EQ(lights[1], "flush");
  LightList list(std::vector<GALight>(1));
  EXPECT_EQ(CallsOf([&] { List().SetupLights(list.Head()); }, false).front(),
            "glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 1)");
}

TEST_F(StateTest, VerticesGoIntoTheOpenBlock) {
  const float matrix[12] = {2, -1, 3, 10, 1, 4, -2, 20, -3, 5, 6, 30};
  Info().objectToView = matrix;
  GAColor red = Rgb(255, 0, 0);
  EXPECT_EQ(CallsOf([&] { List().SetDefaultColor(red); }), Lines{"glColor4fv({1, 0, 0, 1})"});
  List().PrepForPoints();
  const GAColor mixed = Rgb(51, 102, 153, 204);
  const Lines calls = CallsOf([&] {
    EXPECT_EQ(List().TransformAndAddVertex({2, 3, 5}, mixed), 0);
    EXPECT_EQ(List().AddTransformedVertex({1, 2, 3}), 0);
    EXPECT_EQ(List().AddTransformedVertex({4, 5, 6}, mixed), 0);
    EXPECT_EQ(List().AddTransformedVertex({1, 2, 3}, mixed, {4, 5}), 0);
    EXPECT_EQ(List().AddOGLVertex({7, 8, 9}, mixed), 0);
    List().AddTransformedPoint({6, 7, 8});
    List().AddTransformedPoint({9, 7, 8}, mixed);
  });
  EXPECT_EQ(calls, CallsIn(R"(
      glColor4fv({0.2, 0.4, 0.6, 0.8}); glVertex3fv({26, 24, 69});
      glColor4fv({1, 0, 0, 1}); glVertex3fv({1, 2, 3});
      glColor4fv({0.2, 0.4, 0.6, 0.8}); glVertex3fv({4, 5, 6});
      glColor4fv({0.2, 0.4, 0.6, 0.8}); glTexCoord2fv({4, 5}); glVertex3fv({1, 2, 3});
      glColor4fv({0.2, 0.4, 0.6, 0.8}); glVertex3fv({7, 8, 9});
      glColor4fv({1, 0, 0, 1}); glVertex3fv({6, 7, 8});
      glColor4fv({0.2, 0.4, 0.6, 0.8}); glVertex3fv({9, 7, 8}))"));
}

TEST_F(StateTest, AListEndsNoContextOfItsBuffer) {
  const int contexts = platform::CountHandles().contexts;
  { GL3DisplayList list(&Info()); }
  EXPECT_EQ(platform::CountHandles().contexts, contexts);
  {
    // The buffer's new context leaves the old one to the list that still knows it.
    GL3DisplayList list(&Info());
    Buffer().AllocateforShader(kWidth, kHeight);
    EXPECT_EQ(platform::CountHandles().contexts, contexts + 1);
  }
  EXPECT_EQ(platform::CountHandles().contexts, contexts);
  {
    GL3DisplayList list(&Info());
    Buffer().Reallocate(kWidth, kHeight, 1);  // ends the old context itself
  }
  EXPECT_EQ(platform::CountHandles().contexts, contexts);
}

/// What a host that derives from the list sees.
class WatchingList : public GL3DisplayList {
 public:
  using GL3DisplayList::GL3DisplayList;
  void SetTexture(GATexture* texture) override {
    ++textures;
    GL3DisplayList::SetTexture(texture);
  }
  void FlushArrays() override {
    ++flushes;
    GL3DisplayList::FlushArrays();
  }
  std::size_t LineRoom() const {
    return std::min(m_lineVertices.capacity(), m_lineIndices.capacity());
  }
  int textures = 0, flushes = 0;
};

TEST_F(StateTest, SubclassesSeeTexturesAndFlushes) {
  const auto texture = SolidTexture({255, 0, 0, 255});
  List().AddTransformedLine({0, 0, -5}, {1, 1, -5}, m_white);
  WatchingList list(&Info());
  EXPECT_EQ(list.LineRoom(), 100u);
  // A new list takes what waits for drawn.
  EXPECT_EQ(CallsOf([&] { List().ExecuteInstructions(); }, false), Lines());
  list.PrepForPolygons();
  list.PrepForPolygonArray();
  EXPECT_EQ(list.textures, 2);
  list.SetTexture(texture.get());
  EXPECT_EQ(list.flushes, 1);
  unsigned short indices[3] = {0, 0, 0};
  GALitVertex vertices[1];
  list.AddIndexedLitTriangleList(vertices, 1, indices, 3, 0);
  EXPECT_EQ(list.textures, 4);
  EXPECT_EQ(list.flushes, 2);
  GL3GADriver::gl_max_vertices = 0;
  auto quad = Square(0, 0, 5, -9);
  list.AddTransformedQuad(quad.data(), 0, 0);
  list.AddTransformedQuad(quad.data(), 0, 0);
  EXPECT_EQ(list.flushes, 3);
  list.ExecuteInstructions();
  EXPECT_EQ(list.flushes, 4);
}

/// Whatever is asked of it: the picture of another list stays as it is.
TEST_F(StateTest, AListWithoutABufferDrawsNowhere) {
  EXPECT_EQ(Driver()->CreateDisplayList(nullptr), nullptr);
  RenderInfo info;
  GlRecorder recorder(GlRecorder::kPlatform);
  const std::unique_ptr<DisplayList> list(Driver()->CreateDisplayList(&info));
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(recorder.CallsTo("GetDC").size(), 1u) << "as for a view without a window";
  EXPECT_EQ(recorder.CallsTo("CreateCompatibleDC"), Lines());
  AttrProperty glass = Material(1, 0, 0, 0.5f);
  auto quad = Square(0, 0, 5, -9);
  list->BeginInstructions();
  list->SetDepthFunc(DisplayList::kDepthTestOff);
  list->SetProjection(0);
  list->SetupLights(nullptr);
  list->SetMaterial(&glass, 0);
  list->AddTransformedQuad(quad.data(), DisplayList::kQuadSorted, 0);
  list->AddTransformedQuad(quad.data(), DisplayList::kQuadBatched, 0);
  list->AddCP({0, 0, -5}, 4, m_white);
  list->AddRectangle(-5, -5, 5, 5, -5);
  list->FlushTransparentPolys();
  list->OnSize();
  list->EndInstructions();
  for (const std::uint32_t pixel : Target().Drawn()) ASSERT_EQ(pixel, 0u);
}

}  // namespace
