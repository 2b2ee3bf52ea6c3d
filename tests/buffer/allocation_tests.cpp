// Making, remaking and releasing the frame buffer's surface and context, and the state and the
// scene that it starts with.
#include "hostkit/services/host_heaps.h"
#include "hostkit/services/registry.h"
#include "platform/mfc.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"

namespace {

using State = GL3GABuffer::StateFlag;

// With depth buffer, filled polygons, without smoothing.
const std::string kRenderState = R"(
  glDisable(GL_LIGHTING);
  glLightModeli(GL_LIGHT_MODEL_COLOR_CONTROL, GL_SEPARATE_SPECULAR_COLOR);
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, {1, 1, 1, 1}); glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
  glFrontFace(GL_CW); glCullFace(GL_FRONT); glDisable(GL_CULL_FACE); glEnable(GL_DEPTH_TEST);
  glDisable(GL_TEXTURE_1D); glDisable(GL_TEXTURE_2D);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE); glDepthFunc(GL_LEQUAL);
  glEnable(GL_POLYGON_OFFSET_FILL); glPolygonOffset(0.5, 1); glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA); glAlphaFunc(GL_GREATER, 0);
  glEnable(GL_ALPHA_TEST); glPolygonMode(GL_FRONT_AND_BACK, GL_FILL); glDisable(GL_POINT_SMOOTH);
  glDisable(GL_LINE_SMOOTH);)";

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
  void SetUp() override {
    DriverFixture::SetUp();
    GL3GADriver::m_depthbits = 24;  // not what a driver starts with
  }
  std::unique_ptr<GL3GABuffer> Make(int mode, int compatibleDC = 0) {
    return std::unique_ptr<GL3GABuffer>(
        static_cast<GL3GABuffer*>(Driver()->CreateBuffer(&m_info, mode, compatibleDC)));
  }
  /// A driver that was initialised with a setting.
  void UseSetting(const char* key) {
    hostkit::OverrideRegistryValue("OpenGL3", key, 1);
    ASSERT_EQ(RemakeDriver()->Initialize(), 1);
  }
  /// The calls of `action`, those of the platform layer among them; it must return `result`.
  template <class Action>
  static Lines CallsOf(Action action, int result = 1) {
    GlRecorder recorder(GlRecorder::kPlatform);
    HandleLabel(GL3GADriver::m_context, "driver");
    HandleLabel(GL3GADriver::m_dummywindow->m_hWnd, "dummy");
    EXPECT_EQ(action(), result);
    return recorder.Calls();
  }

  RenderInfo m_info;
};

TEST_F(AllocationTest, TheDeviceContextComesFromViewDummyOrMemory) {
  const auto calls = [this](int compatibleDC) {
    return CallsOf([&] { return Make(1, compatibleDC) != nullptr; });
  };
  EXPECT_EQ(calls(0), CallsIn("GetDC(dummy1) = dc1; CheckoutPort(dc1, 1) = port1;"
                              "CheckinPort(dc1, 32768); DeleteDC(dc1)"));
  CWnd unmade;
  m_info.viewWindow = &unmade;
  EXPECT_EQ(calls(0).front(), "GetDC(dummy1) = dc1") << "a view without a window";
  View view(nullptr);
  m_info.viewWindow = &view;
  EXPECT_EQ(calls(0).front(), "GetDC(window1) = dc1");
  EXPECT_EQ(calls(1), CallsIn("CreateCompatibleDC(null) = dc1; CheckoutPort(dc1, 1) = null;"
                              "DeleteDC(dc1)"));

  RemakeDriver();  // without a window
  GlRecorder recorder(GlRecorder::kPlatform);
  delete Driver()->CreateBuffer(nullptr, 1, 0);
  EXPECT_TRUE(recorder.Calls().front().starts_with("GetDC(null) = "));
}

TEST_F(AllocationTest, OffScreenCallsInOrder) {
  const auto buffer = Make(1);
  EXPECT_EQ(CallsOf([&] { return buffer->Reallocate(24, 16, 3); }), CallsIn(R"(
      CheckinPort(dc1, 32768); aglChoosePixelFormat({AGL_RGBA, AGL_DEPTH_SIZE, 24}) = format1;
      aglCreateContext(format1, driver1) = context1;
      aglCreatePBuffer(24, 16, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0) = pbuffer1;
      GetPortPixMap(pbuffer1) = null; LockPixels(null); aglGetVirtualScreen(context1);
      aglSetPBuffer(context1, pbuffer1, 0, 0, 0); aglSetCurrentContext(context1);)" +
                                                                            kRenderState + R"(
      aglUpdateContext(context1); glViewport(0, 0, 24, 16); glMatrixMode(GL_MODELVIEW);
      glLoadIdentity(); glViewport(0, 0, 24, 16))"));
  EXPECT_EQ(GL3GADriver::m_prevcontext, buffer->Context());
  EXPECT_TRUE(buffer->HasState(State::kDepthWanted));
  EXPECT_FALSE(buffer->HasState(State::kOwnsWindow));
  EXPECT_EQ(buffer->Width(), 24);
  EXPECT_EQ(buffer->Height(), 16);

  buffer->SetState(State::kArraysPending, true);
  Lines begin = CallsOf([&] { return buffer->Reallocate(10, 12, 2); });  // now without depth
  begin.resize(2);
  EXPECT_EQ(begin, (Lines{"aglDestroyContext(context1)",
                          "aglChoosePixelFormat({AGL_RGBA, AGL_DEPTH_SIZE, 0}) = format1"}));
  EXPECT_FALSE(buffer->HasState(State::kDepthWanted));
  EXPECT_TRUE(buffer->HasState(State::kArraysPending)) << "is not the surface's";
}

TEST_F(AllocationTest, FailingPbufferLeavesAContextWithoutDrawable) {
  auto buffer = Make(1);
  {
    Faults faults;
    faults.Fail(FaultPoint::kAglCreatePBuffer);
    EXPECT_EQ(CallsOf([&] { return buffer->Reallocate(24, 16, 1); }, 0), CallsIn(R"(
      CheckinPort(dc1, 32768); aglChoosePixelFormat({AGL_RGBA, AGL_DEPTH_SIZE, 24}) = format1;
      aglCreateContext(format1, driver1) = context1;
      aglCreatePBuffer(24, 16, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0) = null;
      aglDestroyContext(context1);
      aglChoosePixelFormat({AGL_DEPTH_SIZE, 24, AGL_OFFSCREEN, AGL_RGBA, AGL_PIXEL_SIZE, 32}) = format1;
      aglCreateContext(format1, driver1) = context2)"));
    EXPECT_EQ(faults.Messages(), Lines());
  }
  EXPECT_NE(buffer->Context(), nullptr);
  EXPECT_TRUE(buffer->HasState(State::kOwnsWindow));
  EXPECT_EQ(buffer->Clear(), 1) << "drawing on nothing is harmless";

  // The next attempt may succeed; the buffer still counts as the owner of a window.
  Lines next = CallsOf([&] { return buffer->Reallocate(24, 16, 1); });
  next.resize(7);
  EXPECT_EQ(next, CallsIn(R"(
      aglDestroyContext(context1); UnlockPixels(null); DisposeWindow(null); UnwrapPort(dc1);
      aglChoosePixelFormat({AGL_RGBA, AGL_DEPTH_SIZE, 24}) = format1;
      aglCreateContext(format1, driver1) = context2;
      aglCreatePBuffer(24, 16, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0) = pbuffer1)"));
  EXPECT_EQ(CallsOf([&] { return buffer.reset(), 1; }),
            CallsIn("aglDestroyContext(context1); UnlockPixels(null); DisposeWindow(null)"));
}

TEST_F(AllocationTest, WithoutPixelFormatOrContextErrorsAreDropped) {
  for (const FaultPoint point :
       {FaultPoint::kAglChoosePixelFormat, FaultPoint::kAglCreateContext}) {
    const int errors = point == FaultPoint::kAglChoosePixelFormat ? 2 : 1;
    for (const int mode : {0, 1}) {
      const auto buffer = Make(mode);
      Faults faults;
      GlRecorder recorder(GlRecorder::kPlatform);
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
  EXPECT_EQ(CallsOf([&] { return buffer->Reallocate(50, 40, 1); }), CallsIn(R"(
      CheckinPort(dc1, 32768);
      aglChoosePixelFormat({AGL_DEPTH_SIZE, 24, AGL_DOUBLEBUFFER, AGL_RGBA, AGL_ACCELERATED}) = format1;
      aglCreateContext(format1, driver1) = context1; CheckoutPort(dc1, 1) = port1;
      aglEnable(context1, AGL_BUFFER_RECT); aglSetInteger(context1, AGL_SWAP_INTERVAL, {1});
      aglSetDrawable(context1, port1); aglSetCurrentContext(context1);
      aglUseFont(context1, 3, 0, 10, 0, 256, 10000);
      aglSetDrawable(context1, port1); aglSetCurrentContext(context1);)" + kRenderState +
                                                                            R"(
      aglSetInteger(context1, AGL_BUFFER_RECT, {0, 0, 64, 48}); aglUpdateContext(context1);
      glViewport(0, 0, 50, 40); glMatrixMode(GL_MODELVIEW); glLoadIdentity();
      glViewport(0, 0, 50, 40))"));
  EXPECT_EQ(CallsOf([&] { return buffer->BlitToFront(nullptr, 0, 0); }), CallsIn(R"(
      aglSetDrawable(context1, port1); aglSetCurrentContext(context1);
      aglSwapBuffers(context1))"));

  // The next size remakes it.
  const Lines remade = CallsOf([&] { return buffer->Reallocate(65536 + 60, 40, 0); });
  EXPECT_EQ(remade.at(0), "aglDestroyContext(context1)");
  EXPECT_TRUE(remade.at(2).starts_with("aglChoosePixelFormat({AGL_DEPTH_SIZE, 0, AGL_DOUBLE"));
  EXPECT_EQ(remade.at(3), "aglCreateContext(format1, driver1) = context2");
  EXPECT_EQ(*(remade.end() - 4), "glViewport(0, 0, 60, 40)") << "kept in 16 bits";
  EXPECT_EQ(remade.back(), "glViewport(0, 0, 65596, 40)");
}

TEST_F(AllocationTest, DerivedBuffersTakePart) {
  struct Derived : GL3GABuffer {
    using GL3GABuffer::GL3GABuffer;
    int Destroy() override { return steps += "Destroy ", GL3GABuffer::Destroy(); }
    int SetRenderState() override { return steps += "State ", GL3GABuffer::SetRenderState(); }
    void SetProjection(int scene) override { steps += scene ? "scene " : "screen "; }
    std::string steps;
  };
  m_info.pixelRight = m_info.pixelBottom = 9;
  GAColor color = Rgb(1, 2, 3);
  for (const int mode : {0, 1}) {
    Derived buffer(&m_info, mode, 0);
    buffer.Reallocate(9, 9, 1);
    buffer.AfxFillRect(1, 1, 2, 2, -5, color);
    buffer.TextOutA(1, 1, "a", color, 0);
    EXPECT_EQ(buffer.steps, "Destroy State screen scene screen scene ");
  }
}

TEST_F(AllocationTest, APortThatIsLeftServesWithoutAPbuffer) {
  struct Derived : GL3GABuffer {
    using GL3GABuffer::GL3GABuffer;
    int Destroy() override { return 1; }
  };
  View view(nullptr);
  m_info.viewWindow = &view;
  auto buffer = std::make_unique<Derived>(&m_info, 1, 0);
  Faults faults;
  faults.Fail(FaultPoint::kAglChoosePixelFormat);
  Lines calls = CallsOf([&] { return buffer->Reallocate(50, 40, 1); });
  calls.resize(9);
  EXPECT_EQ(calls, CallsIn(R"(
      aglChoosePixelFormat({AGL_RGBA, AGL_DEPTH_SIZE, 24}) = null;
      aglChoosePixelFormat({AGL_DEPTH_SIZE, 24, AGL_OFFSCREEN, AGL_RGBA, AGL_PIXEL_SIZE, 32}) = format1;
      aglCreateContext(format1, driver1) = context1; GetPortPixMap(port1) = pixmap1;
      LockPixels(pixmap1); WrapPort(port1) = dc1; aglSetDrawable(context1, port1);
      aglSetCurrentContext(context1); aglUseFont(context1, 3, 0, 10, 0, 256, 10000))"));
  EXPECT_EQ(CallsOf([&] { return buffer.reset(), 1; }), CallsIn(R"(
      aglDestroyContext(context1); UnlockPixels(pixmap1); DisposeWindow(port1);
      UnwrapPort(dc1))"));
}

TEST_F(AllocationTest, KeptContextIsOnlyFitted) {
  View view(nullptr);
  m_info.viewWindow = &view;
  const auto buffer = Make(2);
  ASSERT_EQ(buffer->Reallocate(64, 48, 1), 1);
  const AGLContext context = buffer->Context();
  view.MoveWindow(30, 20, 80, 60);
  EXPECT_EQ(CallsOf([&] { return buffer->Reallocate(70, 50, 0); }), CallsIn(R"(
      aglSetDrawable(context1, port1); aglSetCurrentContext(context1);
      aglSetInteger(context1, AGL_BUFFER_RECT, {0, 0, 80, 60}); aglUpdateContext(context1);
      glViewport(0, 0, 70, 50))"));
  EXPECT_EQ(buffer->Context(), context);
  EXPECT_EQ(GL3GADriver::m_prevcontext, context);
  EXPECT_FALSE(buffer->HasState(State::kDepthWanted));
}

TEST_F(AllocationTest, BufferRectangleCountsFromTheFramesLowerLeft) {
  CWnd frame;
  frame.CreateEx(0, AfxRegisterWndClass(0, nullptr, nullptr, nullptr), "frame", WS_POPUP, 10, 5,
                 200, 100, nullptr, nullptr, nullptr);
  View view(&frame);
  m_info.viewWindow = &view;
  const auto buffer = Make(0);
  ASSERT_EQ(buffer->Reallocate(50, 40, 1), 1);
  EXPECT_EQ(CallsOf([&] { return buffer->OnSize(), 1; }), CallsIn(R"(
      aglSetInteger(context1, AGL_BUFFER_RECT, {20, 37, 64, 48}); aglUpdateContext(context1);
      glViewport(0, 0, 50, 40))"));
}

TEST_F(AllocationTest, RenderStateFollowsDepthAndSettings) {
  const auto expect = [&](int options, Lines state) {
    const auto buffer = Make(1);
    ASSERT_EQ(buffer->Reallocate(8, 8, options), 1);
    for (const State flag : {State::kLightingOn, State::kSmoothingOn, State::kDepthTestOn}) {
      buffer->SetState(flag, flag != State::kDepthTestOn || options == 0);
    }
    const bool isSmooth = state.back().starts_with("glHint");
    state.insert(state.end(), {"aglUpdateContext(context1)", "glViewport(0, 0, 8, 8)"});
    EXPECT_EQ(CallsOf([&] { return buffer->SetRenderStateNoMakeCurrent(); }), state);
    EXPECT_EQ(buffer->HasState(State::kDepthTestOn), options == 1);
    EXPECT_EQ(buffer->HasState(State::kSmoothingOn), isSmooth);
    EXPECT_FALSE(buffer->HasState(State::kLightingOn));
  };
  Lines state = CallsIn(kRenderState);
  state.at(7) = "glDisable(GL_DEPTH_TEST)";
  expect(0, state);
  UseSetting("Polygonmode");
  state = CallsIn(kRenderState);
  state.at(18) = "glPolygonMode(GL_FRONT_AND_BACK, GL_LINE)";
  expect(1, state);
  UseSetting("Antialias");
  state.resize(19);
  const Lines smooth = CallsIn(R"(
      glEnable(GL_POINT_SMOOTH); glEnable(GL_LINE_SMOOTH);
      glHint(GL_POLYGON_SMOOTH_HINT, GL_NICEST); glHint(GL_POINT_SMOOTH_HINT, GL_NICEST);
      glHint(GL_LINE_SMOOTH_HINT, GL_NICEST))");
  state.insert(state.end(), smooth.begin(), smooth.end());
  expect(1, state);
}

TEST_F(AllocationTest, ShaderSurfaceCallsInOrder) {
  View view(nullptr);
  m_info.viewWindow = &view;
  const auto buffer = Make(2);
  buffer->SetState(State::kFogOn, true);
  EXPECT_EQ(CallsOf([&] { return buffer->AllocateforShader(64, 48); }), CallsIn(R"(
      aglChoosePixelFormat({AGL_DEPTH_SIZE, 24, AGL_DOUBLEBUFFER, AGL_RGBA}) = format1;
      aglDescribePixelFormat(format1, AGL_DEPTH_SIZE);
      aglDescribePixelFormat(format1, AGL_BUFFER_SIZE);
      aglCreateContext(format1, driver1) = context1; CheckoutPort(dc1, 1) = port1;
      aglEnable(context1, AGL_BUFFER_RECT); aglSetInteger(context1, AGL_SWAP_INTERVAL, {1});
      aglSetDrawable(context1, port1); aglSetCurrentContext(context1);
      aglUseFont(context1, 3, 0, 10, 0, 256, 10000); glViewport(0, 0, 64, 48);
      glMatrixMode(GL_TEXTURE); glLoadIdentity(); glMatrixMode(GL_PROJECTION);
      glLoadIdentity())"));
  EXPECT_TRUE(buffer->HasState(State::kDepthWanted));
  EXPECT_FALSE(buffer->HasState(State::kFogOn));
  EXPECT_EQ(CallsOf([&] { return buffer->UseProjectionMatrix(), 1; }), Lines())
      << "the projection stack is known to be current";
  EXPECT_EQ(buffer->Width() * 100 + buffer->Height(), 6448);
  EXPECT_EQ(GL3GADriver::m_prevcontext, buffer->Context());

  // Another call keeps the context before, which then is its maker's.
  const AGLContext first = buffer->Context();
  const Lines again = CallsOf([&] { return buffer->AllocateforShader(5, 7); });
  EXPECT_TRUE(again.front().starts_with("aglChoosePixelFormat"));
  EXPECT_NE(buffer->Context(), first);
  aglDestroyContext(first);
}

TEST_F(AllocationTest, DestroyReleasesOnceAndTwiceIsHarmless) {
  m_info.imageWidth = m_info.imageHeight = 2;
  const auto buffer = Make(0), other = Make(1);
  ASSERT_EQ(buffer->Reallocate(2, 2, 1) + other->Reallocate(2, 2, 1), 2);
  const hostkit::HeapCounts before = hostkit::CountHeaps();
  tagBITMAPINFO info{};
  ASSERT_EQ(buffer->Blit(&info) + buffer->MakeRoomForTransparentPolys(1), 2);
  EXPECT_EQ(hostkit::CountHeaps().ext.blocks, before.ext.blocks + 1);
  EXPECT_EQ(hostkit::CountHeaps().ogl.blocks, before.ogl.blocks + 1);

  const auto destroy = [&] { return buffer->Destroy(); };
  EXPECT_EQ(CallsOf(destroy), CallsIn("aglDestroyContext(context1); CheckinPort(dc1, 32768)"));
  EXPECT_EQ(buffer->Context(), nullptr);
  EXPECT_EQ(GL3GADriver::m_prevcontext, nullptr) << "even when it was another's";
  EXPECT_EQ(hostkit::CountHeaps().ext.blocks, before.ext.blocks);
  EXPECT_EQ(hostkit::CountHeaps().ogl.blocks, before.ogl.blocks);
  other->MakeCurrent(0);
  EXPECT_EQ(CallsOf(destroy), Lines());
  EXPECT_EQ(GL3GADriver::m_prevcontext, other->Context());

  // A pbuffer's handle stays with the buffer.
  EXPECT_EQ(CallsOf([&] { return other->Destroy(); }), CallsIn("aglDestroyContext(context1)"));
  EXPECT_EQ(CallsOf([&] { return other->MakeCurrent(0), 1; }), CallsIn(R"(
      aglGetVirtualScreen(null); aglSetPBuffer(null, pbuffer1, 0, 0, 0);
      aglSetCurrentContext(null))"));
}

TEST_F(AllocationTest, BackgroundIsKeptInBytesAndEmptyScenesMakeNoCalls) {
  const auto buffer = Make(1);
  ASSERT_EQ(buffer->Reallocate(4, 4, 1), 1);
  EXPECT_EQ(buffer->SetBackground(GAColor(Driver()->CreateColor(Vector4{0.5f, 1, 0.2f, 0.25f}))),
            1);
  EXPECT_EQ(CallsOf([&] { return buffer->Clear(); }), CallsIn(R"(
      aglGetVirtualScreen(context1); aglSetPBuffer(context1, pbuffer1, 0, 0, 0);
      aglSetCurrentContext(context1); glClearColor(0.501961, 1, 0.2, 1);
      glClear(GL_COLOR_BUFFER_BIT|GL_DEPTH_BUFFER_BIT))"));
  buffer->SetBackground(GAColor());
  EXPECT_EQ(CallsOf([&] { return buffer->Clear(); }).at(3), "glClearColor(0, 0, 0, 1)");

  const auto emptyScene = [&] {
    buffer->BeginScene();
    buffer->EndScene();
    return 10 * buffer->CopyObjects(nullptr, 1) + buffer->RepaintFront(CRect(), nullptr, 0, 0);
  };
  EXPECT_EQ(CallsOf(emptyScene, 10), Lines());
  EXPECT_EQ(buffer->SetRenderState(), 1);
}

}  // namespace
