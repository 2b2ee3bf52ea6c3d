// Making, remaking and releasing the frame buffer's surface and context, and the state and the
// scene that it starts with.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "buffer/GL3Buffer.h"
#include "driver/GL3Driver.h"
#include "hostkit/services/registry.h"
#include "platform/mfc.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"

namespace {

using Lines = std::vector<std::string>;
using State = GL3GABuffer::StateFlag;

// With depth buffer, filled polygons, without smoothing.
const Lines kRenderState = {
    "glDisable(GL_LIGHTING)",
    "glLightModeli(GL_LIGHT_MODEL_COLOR_CONTROL, GL_SEPARATE_SPECULAR_COLOR)",
    "glLightModelfv(GL_LIGHT_MODEL_AMBIENT, {1, 1, 1, 1})",
    "glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1)",
    "glFrontFace(GL_CW)",
    "glCullFace(GL_FRONT)",
    "glDisable(GL_CULL_FACE)",
    "glEnable(GL_DEPTH_TEST)",
    "glDisable(GL_TEXTURE_1D)",
    "glDisable(GL_TEXTURE_2D)",
    "glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE)",
    "glDepthFunc(GL_LEQUAL)",
    "glEnable(GL_POLYGON_OFFSET_FILL)",
    "glPolygonOffset(0.5, 1)",
    "glEnable(GL_BLEND)",
    "glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)",
    "glAlphaFunc(GL_GREATER, 0)",
    "glEnable(GL_ALPHA_TEST)",
    "glPolygonMode(GL_FRONT_AND_BACK, GL_FILL)",
    "glDisable(GL_POINT_SMOOTH)",
    "glDisable(GL_LINE_SMOOTH)"};

Lines Joined(std::initializer_list<Lines> parts) {
  Lines all;
  for (const Lines& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

/// A view window in a frame window, or in none.
class View : public CWnd {
 public:
  explicit View(CWnd* frame) : m_frame(frame) {
    CreateEx(0, AfxRegisterWndClass(CS_OWNDC, nullptr, nullptr, nullptr), "view", WS_POPUP, 30, 20,
             64, 48, nullptr, nullptr, nullptr);
  }
  CWnd* GetParentFrame() const override { return m_frame; }

 private:
  CWnd* m_frame;
};

class AllocationTest : public DriverFixture {
 protected:
  std::unique_ptr<GL3GABuffer> Make(int mode, int compatibleDC = 0) {
    return std::unique_ptr<GL3GABuffer>(
        static_cast<GL3GABuffer*>(Driver()->CreateBuffer(&m_info, mode, compatibleDC)));
  }
  /// A driver that was initialised with a setting.
  void UseSetting(const char* key) {
    hostkit::OverrideRegistryValue("OpenGL3", key, 1);
    ASSERT_EQ(RemakeDriver()->Initialize(), 1);
  }
  static Lines RenderState(GL3GABuffer& buffer) {
    GlRecorder recorder;
    EXPECT_EQ(buffer.SetRenderStateNoMakeCurrent(), 1);
    return recorder.Calls();
  }
  static std::array<int, 3> PixelOf(GL3GABuffer& buffer) {
    buffer.MakeCurrent(0);
    std::array<unsigned char, 4> pixel{};
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
    return {pixel[0], pixel[1], pixel[2]};
  }

  RenderInfo m_info;
};

TEST_F(AllocationTest, TheDeviceContextComesFromViewDummyOrMemory) {
  const auto calls = [this](int compatibleDC) {
    GlRecorder recorder;
    recorder.LogPlatform(true);
    HandleLabel(GL3GADriver::m_dummywindow->m_hWnd, "dummy");
    Make(1, compatibleDC);
    return recorder.Calls();
  };
  EXPECT_EQ(calls(0), (Lines{"GetDC(dummy1) = dc1", "CheckoutPort(dc1, 1) = port1",
                             "CheckinPort(dc1, 32768)", "DeleteDC(dc1)"}));
  CWnd unmade;
  m_info.viewWindow = &unmade;
  EXPECT_EQ(calls(0).front(), "GetDC(dummy1) = dc1") << "a view without a window";
  View view(nullptr);
  m_info.viewWindow = &view;
  EXPECT_EQ(calls(0).front(), "GetDC(window1) = dc1");
  EXPECT_EQ(calls(1), (Lines{"CreateCompatibleDC(null) = dc1", "CheckoutPort(dc1, 1) = null",
                             "DeleteDC(dc1)"}));
}

TEST_F(AllocationTest, OffScreenCallsInOrder) {
  const auto buffer = Make(1);
  GlRecorder recorder;
  recorder.LogPlatform(true);
  HandleLabel(GL3GADriver::m_context, "driver");
  ASSERT_EQ(buffer->Reallocate(24, 16, 3), 1);
  EXPECT_EQ(
      recorder.Calls(),
      Joined({{"CheckinPort(dc1, 32768)",
               "aglChoosePixelFormat({AGL_RGBA, AGL_DEPTH_SIZE, 32}) = format1",
               "aglCreateContext(format1, driver1) = context1",
               "aglCreatePBuffer(24, 16, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0) = pbuffer1",
               "GetPortPixMap(pbuffer1) = null", "LockPixels(null)",
               "aglSetPBuffer(context1, pbuffer1, 0, 0, 0)", "aglSetCurrentContext(context1)"},
              kRenderState,
              {"aglUpdateContext(context1)", "glViewport(0, 0, 24, 16)",
               "glMatrixMode(GL_MODELVIEW)", "glLoadIdentity()", "glViewport(0, 0, 24, 16)"}}));
  EXPECT_EQ(GL3GADriver::m_prevcontext, buffer->Context());
  EXPECT_TRUE(buffer->HasState(State::kDepthWanted));
  EXPECT_FALSE(buffer->HasState(State::kOwnsWindow));
  EXPECT_EQ(buffer->Width(), 24);
  EXPECT_EQ(buffer->Height(), 16);

  recorder.Clear();
  ASSERT_EQ(buffer->Reallocate(10, 12, 2), 1) << "remade, now without depth";
  Lines begin = recorder.Calls();
  begin.resize(2);
  EXPECT_EQ(begin, (Lines{"aglDestroyContext(context1)",
                          "aglChoosePixelFormat({AGL_RGBA, AGL_DEPTH_SIZE, 0}) = format2"}));
  EXPECT_FALSE(buffer->HasState(State::kDepthWanted));
}

TEST_F(AllocationTest, FailingPbufferLeavesAContextWithoutDrawable) {
  const auto buffer = Make(1);
  {
    Faults faults;
    GlRecorder recorder;
    recorder.LogPlatform(true);
    HandleLabel(GL3GADriver::m_context, "driver");
    faults.Fail(FaultPoint::kAglCreatePBuffer);
    EXPECT_EQ(buffer->Reallocate(24, 16, 1), 0);
    EXPECT_EQ(recorder.Calls(),
              (Lines{"CheckinPort(dc1, 32768)",
                     "aglChoosePixelFormat({AGL_RGBA, AGL_DEPTH_SIZE, 32}) = format1",
                     "aglCreateContext(format1, driver1) = context1",
                     "aglCreatePBuffer(24, 16, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0) = null",
                     "aglDestroyContext(context1)",
                     "aglChoosePixelFormat({AGL_DEPTH_SIZE, 32, AGL_OFFSCREEN, AGL_RGBA, "
                     "AGL_PIXEL_SIZE, 32}) = format1",
                     "aglCreateContext(format1, driver1) = context2"}));
    EXPECT_EQ(faults.Messages(), Lines());
  }
  EXPECT_NE(buffer->Context(), nullptr);
  EXPECT_TRUE(buffer->HasState(State::kOwnsWindow));
  EXPECT_EQ(buffer->Clear(), 1) << "drawing on nothing is harmless";

  ASSERT_EQ(buffer->Reallocate(24, 16, 1), 1) << "the next attempt may succeed";
  buffer->SetBackground(Color(10, 200, 30));
  buffer->Clear();
  EXPECT_EQ(PixelOf(*buffer), (std::array<int, 3>{10, 200, 30}));
}

TEST_F(AllocationTest, WithoutPixelFormatOrContextErrorsAreDropped) {
  for (const FaultPoint point :
       {FaultPoint::kAglChoosePixelFormat, FaultPoint::kAglCreateContext}) {
    const int errors = point == FaultPoint::kAglChoosePixelFormat ? 2 : 1;
    for (const int mode : {0, 1}) {
      const auto buffer = Make(mode);
      Faults faults;
      GlRecorder recorder;
      recorder.LogPlatform(true);
      faults.FailAlways(point);
      EXPECT_EQ(buffer->Reallocate(8, 8, 1), mode == 1 ? 0 : 1);
      EXPECT_EQ(recorder.Count("aglGetError"), errors) << mode;
      EXPECT_EQ(faults.Calls(FaultPoint::kAglCreatePBuffer), 0);
      EXPECT_EQ(buffer->Context(), nullptr);
      EXPECT_EQ(buffer->Clear(), 1);
    }
  }
}

TEST_F(AllocationTest, WindowSurfaceCallsInOrder) {
  View view(nullptr);
  m_info.viewWindow = &view;
  const auto buffer = Make(0);
  GlRecorder recorder;
  recorder.LogPlatform(true);
  HandleLabel(GL3GADriver::m_context, "driver");
  ASSERT_EQ(buffer->Reallocate(64, 48, 1), 1);
  EXPECT_EQ(
      recorder.Calls(),
      Joined({{"CheckinPort(dc1, 32768)",
               "aglChoosePixelFormat({AGL_DEPTH_SIZE, 32, AGL_DOUBLEBUFFER, AGL_RGBA, "
               "AGL_ACCELERATED}) = format1",
               "aglCreateContext(format1, driver1) = context1", "CheckoutPort(dc1, 1) = port1",
               "aglEnable(context1, AGL_BUFFER_RECT)",
               "aglSetInteger(context1, AGL_SWAP_INTERVAL, {1})", "aglSetDrawable(context1, port1)",
               "aglSetCurrentContext(context1)", "aglUseFont(context1, 3, 0, 10, 0, 256, 10000)",
               "aglSetDrawable(context1, port1)", "aglSetCurrentContext(context1)"},
              kRenderState,
              {"aglSetInteger(context1, AGL_BUFFER_RECT, {0, 0, 64, 48})",
               "aglUpdateContext(context1)", "glViewport(0, 0, 64, 48)",
               "glMatrixMode(GL_MODELVIEW)", "glLoadIdentity()", "glViewport(0, 0, 64, 48)"}}));
  EXPECT_EQ(buffer->SetBackground(Color(1, 2, 3)), 1);
  buffer->Clear();
  EXPECT_EQ(PixelOf(*buffer), (std::array<int, 3>{1, 2, 3}));

  // The next size remakes it.
  recorder.Clear();
  ASSERT_EQ(buffer->Reallocate(60, 40, 0), 1);
  EXPECT_EQ(recorder.Calls().front(), "aglDestroyContext(context1)");
  EXPECT_EQ(recorder.CallsTo("aglCreateContext"),
            Lines{"aglCreateContext(format2, driver1) = context2"});
  EXPECT_EQ(recorder.CallsTo("aglChoosePixelFormat").front(),
            "aglChoosePixelFormat({AGL_DEPTH_SIZE, 0, AGL_DOUBLEBUFFER, AGL_RGBA, "
            "AGL_ACCELERATED}) = format2");
}

TEST_F(AllocationTest, KeptContextIsOnlyFitted) {
  View view(nullptr);
  m_info.viewWindow = &view;
  const auto buffer = Make(2);
  ASSERT_EQ(buffer->Reallocate(64, 48, 1), 1);
  const AGLContext context = buffer->Context();
  view.MoveWindow(30, 20, 80, 60);
  GlRecorder recorder;
  recorder.LogPlatform(true);
  ASSERT_EQ(buffer->Reallocate(80, 60, 1), 1);
  EXPECT_EQ(recorder.Calls(),
            (Lines{"aglSetDrawable(context1, port1)", "aglSetCurrentContext(context1)",
                   "aglSetInteger(context1, AGL_BUFFER_RECT, {0, 0, 80, 60})",
                   "aglUpdateContext(context1)", "glViewport(0, 0, 80, 60)"}));
  EXPECT_EQ(buffer->Context(), context);
}

TEST_F(AllocationTest, BufferRectangleCountsFromTheFramesLowerLeft) {
  CWnd frame;
  frame.CreateEx(0, AfxRegisterWndClass(0, nullptr, nullptr, nullptr), "frame", WS_POPUP, 10, 5,
                 200, 100, nullptr, nullptr, nullptr);
  View view(&frame);
  m_info.viewWindow = &view;
  const auto buffer = Make(0);
  ASSERT_EQ(buffer->Reallocate(64, 48, 1), 1);
  GlRecorder recorder;
  recorder.LogPlatform(true);
  buffer->OnSize();
  EXPECT_EQ(recorder.Calls(), (Lines{"aglSetInteger(context1, AGL_BUFFER_RECT, {20, 37, 64, 48})",
                                     "aglUpdateContext(context1)", "glViewport(0, 0, 64, 48)"}));
}

TEST_F(AllocationTest, RenderStateFollowsDepthAndSettings) {
  const Lines end = {"glViewport(0, 0, 8, 8)"};
  {
    const auto buffer = Make(1);
    ASSERT_EQ(buffer->Reallocate(8, 8, 0), 1);
    Lines wanted = kRenderState;
    std::replace(wanted.begin(), wanted.end(), std::string("glEnable(GL_DEPTH_TEST)"),
                 std::string("glDisable(GL_DEPTH_TEST)"));
    EXPECT_EQ(RenderState(*buffer), Joined({wanted, end}));
    EXPECT_FALSE(buffer->HasState(State::kDepthTestOn));
    EXPECT_FALSE(buffer->HasState(State::kSmoothingOn));
  }
  UseSetting("Polygonmode");
  {
    const auto buffer = Make(1);
    ASSERT_EQ(buffer->Reallocate(8, 8, 1), 1);
    Lines wanted = kRenderState;
    wanted.at(18) = "glPolygonMode(GL_FRONT_AND_BACK, GL_LINE)";
    EXPECT_EQ(RenderState(*buffer), Joined({wanted, end}));
  }
  UseSetting("Antialias");
  const auto buffer = Make(1);
  ASSERT_EQ(buffer->Reallocate(8, 8, 1), 1);
  Lines wanted = kRenderState;
  wanted.at(18) = "glPolygonMode(GL_FRONT_AND_BACK, GL_LINE)";
  wanted.resize(19);
  const Lines smooth = {"glEnable(GL_POINT_SMOOTH)", "glEnable(GL_LINE_SMOOTH)",
                        "glHint(GL_POLYGON_SMOOTH_HINT, GL_NICEST)",
                        "glHint(GL_POINT_SMOOTH_HINT, GL_NICEST)",
                        "glHint(GL_LINE_SMOOTH_HINT, GL_NICEST)"};
  buffer->SetState(State::kLightingOn, true);
  EXPECT_EQ(RenderState(*buffer), Joined({wanted, smooth, end}));
  EXPECT_TRUE(buffer->HasState(State::kDepthTestOn));
  EXPECT_TRUE(buffer->HasState(State::kSmoothingOn));
  EXPECT_FALSE(buffer->HasState(State::kLightingOn));
}

TEST_F(AllocationTest, ShaderSurfaceCallsInOrder) {
  View view(nullptr);
  m_info.viewWindow = &view;
  const auto buffer = Make(2);
  GlRecorder recorder;
  recorder.LogPlatform(true);
  HandleLabel(GL3GADriver::m_context, "driver");
  buffer->SetState(State::kFogOn, true);
  ASSERT_EQ(buffer->AllocateforShader(64, 48), 1);
  EXPECT_EQ(
      recorder.Calls(),
      (Lines{"aglChoosePixelFormat({AGL_DEPTH_SIZE, 32, AGL_DOUBLEBUFFER, AGL_RGBA}) = format1",
             "aglDescribePixelFormat(format1, AGL_DEPTH_SIZE)",
             "aglDescribePixelFormat(format1, AGL_BUFFER_SIZE)",
             "aglCreateContext(format1, driver1) = context1", "CheckoutPort(dc1, 1) = port1",
             "aglEnable(context1, AGL_BUFFER_RECT)",
             "aglSetInteger(context1, AGL_SWAP_INTERVAL, {1})", "aglSetDrawable(context1, port1)",
             "aglSetCurrentContext(context1)", "aglUseFont(context1, 3, 0, 10, 0, 256, 10000)",
             "glViewport(0, 0, 64, 48)", "glMatrixMode(GL_TEXTURE)", "glLoadIdentity()",
             "glMatrixMode(GL_PROJECTION)", "glLoadIdentity()"}));
  EXPECT_TRUE(buffer->HasState(State::kDepthWanted));
  EXPECT_FALSE(buffer->HasState(State::kFogOn));
  recorder.Clear();
  buffer->UseProjectionMatrix();
  EXPECT_EQ(recorder.Calls(), Lines()) << "the projection stack is known to be current";
}

TEST_F(AllocationTest, DestroyReleasesOnceAndTwiceIsHarmless) {
  m_info.imageWidth = m_info.imageHeight = 2;
  const auto buffer = Make(0);
  ASSERT_EQ(buffer->Reallocate(2, 2, 1), 1);
  const long blocks = hostkit::CountHeaps().ext.blocks;
  tagBITMAPINFO info{};
  ASSERT_EQ(buffer->Blit(&info), 1);
  EXPECT_EQ(hostkit::CountHeaps().ext.blocks, blocks + 1);

  GlRecorder recorder;
  recorder.LogPlatform(true);
  EXPECT_EQ(buffer->Destroy(), 1);
  EXPECT_EQ(recorder.Calls(), (Lines{"aglDestroyContext(context1)", "CheckinPort(dc1, 32768)"}));
  EXPECT_EQ(buffer->Context(), nullptr);
  EXPECT_EQ(GL3GADriver::m_prevcontext, nullptr);
  EXPECT_EQ(hostkit::CountHeaps().ext.blocks, blocks);
  recorder.Clear();
  EXPECT_EQ(buffer->Destroy(), 1);
  EXPECT_EQ(recorder.Calls(), Lines());
}

TEST_F(AllocationTest, BackgroundIsKeptInBytes) {
  const auto buffer = Make(1);
  ASSERT_EQ(buffer->Reallocate(4, 4, 1), 1);
  EXPECT_EQ(buffer->SetBackground(GAColor(Driver()->CreateColor(Vector4{0.5f, 1, 0, 0.25f}))), 1);
  GlRecorder recorder;
  recorder.LogPlatform(true);
  EXPECT_EQ(buffer->Clear(), 1);
  EXPECT_EQ(recorder.Calls(),
            (Lines{"aglSetPBuffer(context1, pbuffer1, 0, 0, 0)", "aglSetCurrentContext(context1)",
                   "glClearColor(0.501961, 1, 0, 1)",
                   "glClear(GL_COLOR_BUFFER_BIT|GL_DEPTH_BUFFER_BIT)"}));
  EXPECT_EQ(PixelOf(*buffer), (std::array<int, 3>{128, 255, 0}));
  buffer->SetBackground(GAColor());
  buffer->Clear();
  EXPECT_EQ(PixelOf(*buffer), (std::array<int, 3>{0, 0, 0}));
}

TEST_F(AllocationTest, EmptyScenesMakeNoCalls) {
  const auto buffer = Make(1);
  ASSERT_EQ(buffer->Reallocate(4, 4, 1), 1);
  GlRecorder recorder;
  recorder.LogPlatform(true);
  buffer->BeginScene();
  buffer->EndScene();
  buffer->CopyObjects(nullptr, 1);
  EXPECT_EQ(buffer->RepaintFront(CRect(), nullptr, 0, 0), 0);
  EXPECT_EQ(recorder.Calls(), Lines());
}

TEST_F(AllocationTest, BuffersTakeTurnsAndShareObjects) {
  const auto first = Make(1), second = Make(1);
  ASSERT_EQ(first->Reallocate(4, 4, 1), 1);
  ASSERT_EQ(second->Reallocate(6, 6, 0), 1);
  first->SetBackground(Color(255, 0, 0));
  second->SetBackground(Color(0, 0, 255));
  first->Clear();
  second->Clear();
  EXPECT_EQ(GL3GADriver::m_prevcontext, second->Context());
  EXPECT_EQ(PixelOf(*first), (std::array<int, 3>{255, 0, 0}));
  EXPECT_EQ(GL3GADriver::m_prevcontext, first->Context());
  EXPECT_EQ(PixelOf(*second), (std::array<int, 3>{0, 0, 255}));

  static_cast<GL3GADriver*>(Driver())->MakeCurrent();
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  for (GL3GABuffer* buffer : {first.get(), second.get()}) {
    buffer->MakeCurrent(0);
    EXPECT_EQ(glIsTexture(texture), GL_TRUE);
  }
  ASSERT_EQ(first->Reallocate(5, 5, 1), 1);
  EXPECT_EQ(glIsTexture(texture), GL_TRUE) << "also in the remade context";
  first->Destroy();
  EXPECT_EQ(PixelOf(*second), (std::array<int, 3>{0, 0, 255}));
  glDeleteTextures(1, &texture);
}

}  // namespace
