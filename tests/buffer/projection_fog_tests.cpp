// Projection matrices and fog of the frame buffer.
#include <algorithm>
#include <cmath>

#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"

namespace {

using Matrix = std::array<float, 16>;

const std::string kLinearFog = "glFogi(GL_FOG_MODE, " + std::to_string(GL_LINEAR) + ")";
const std::string kExponentialFog = "glFogi(GL_FOG_MODE, " + std::to_string(GL_EXP) + ")";

class ProjectionTest : public DrawingFixture {
 protected:
  static Matrix Loaded() {
    const GlRecorderPause pause;
    Matrix matrix;
    glGetFloatv(GL_PROJECTION_MATRIX, matrix.data());
    return matrix;
  }
  Matrix Stored(int scene) {
    Matrix matrix;
    std::copy_n(Buffer().ProjectionMatrix(scene), 16, matrix.begin());
    return matrix;
  }
  Lines FogCalls(int on) {
    GlRecorder recorder;
    Buffer().SetFogState(on);
    return recorder.Calls();
  }
};

void ExpectNear(const Matrix& actual, const Matrix& wanted) {
  for (std::size_t i = 0; i < 16; ++i) {
    EXPECT_NEAR(actual.at(i), wanted.at(i), 1e-6) << "element " << i;
  }
}

TEST_F(ProjectionTest, ParallelViewIsOrthographic) {
  // Rectangles off the middle, so that every edge shows in its own element.
  Info().pixelLeft = 10, Info().pixelRight = 50, Info().pixelTop = 4, Info().pixelBottom = 24;
  Info().viewLeft = -1, Info().viewRight = 3, Info().viewTop = 6, Info().viewBottom = -2;
  Info().nearZ = -2, Info().farZ = -12;
  GlRecorder recorder;
  Buffer().ComputeProjectionMatrices();
  EXPECT_EQ(recorder.Calls(), CallsIn(R"(
      glMatrixMode(GL_PROJECTION); glLoadIdentity(); glOrtho(10, 50, 24, 4, 2, 12);
      glGetFloatv(GL_PROJECTION_MATRIX); glLoadIdentity(); glOrtho(-1, 3, -2, 6, 2, 12);
      glGetFloatv(GL_PROJECTION_MATRIX))"));
  ExpectNear(Stored(0), {0.05f, 0, 0, 0, 0, -0.1f, 0, 0, 0, 0, -0.2f, 0, -1.5f, 1.4f, -1.4f, 1});
  ExpectNear(Stored(1), {0.5f, 0, 0, 0, 0, 0.25f, 0, 0, 0, 0, -0.2f, 0, -0.5f, -0.5f, -1.4f, 1});
  EXPECT_EQ(Loaded(), Stored(1)) << "the scene's stays loaded";
}

TEST_F(ProjectionTest, AnyPerspectiveValueIsAFrustum) {
  Info().viewLeft = -1, Info().viewRight = 3, Info().viewTop = 6, Info().viewBottom = -2;
  Info().nearZ = -2, Info().farZ = -12;
  for (const float perspective : {-0.0001f, 5.0f}) {
    Info().perspective = perspective;
    GlRecorder recorder;
    Buffer().ComputeProjectionMatrices();
    EXPECT_EQ(recorder.CallsTo("glFrustum"), Lines{"glFrustum(-1, 3, -2, 6, 2, 12)"});
    EXPECT_EQ(recorder.Count("glOrtho"), 1) << "the screen's";
  }
  ExpectNear(Stored(1), {1, 0, 0, 0, 0, 0.5f, 0, 0, 0.5f, 0.5f, -1.4f, -1, 0, 0, -4.8f, 0});
  Info().perspective = -0.0f;
  GlRecorder recorder;
  Buffer().ComputeProjectionMatrices();
  EXPECT_EQ(recorder.Count("glFrustum"), 0);
}

TEST_F(ProjectionTest, SetProjectionRestoresWithoutRecomputing) {
  Info().perspective = -7;
  Buffer().Reallocate(80, 48, 1);  // leaves the model-view stack current
  Buffer().ComputeProjectionMatrices();
  const Matrix scene = Loaded();
  Info().perspective = 0;
  Info().viewLeft = -99;
  Info().pixelRight = 999;

  GlRecorder recorder;
  Buffer().SetProjection(0);
  EXPECT_EQ(Loaded(), Stored(0));
  EXPECT_NE(Loaded(), scene);
  Buffer().SetProjection(2);
  EXPECT_EQ(Loaded(), scene);
  EXPECT_EQ(recorder.Names(), CallsIn(R"(
      glLoadIdentity; glLoadMatrixf; glViewport; glLoadIdentity; glLoadMatrixf; glViewport)"))
      << "the matrix mode is known";
  EXPECT_EQ(recorder.CallsTo("glViewport").front(), "glViewport(0, 0, 80, 48)");

  Buffer().Reallocate(30, 10, 1);
  recorder.Clear();
  Buffer().SetProjection(1);
  EXPECT_EQ(recorder.Names(), CallsIn(R"(
      glMatrixMode; glLoadIdentity; glLoadMatrixf; glViewport)"));
  EXPECT_EQ(recorder.CallsTo("glViewport").front(), "glViewport(0, 0, 30, 10)");
  EXPECT_EQ(Loaded(), scene) << "kept over the remade context";

  const std::unique_ptr<GABuffer> unmade(Driver()->CreateBuffer(&Info(), 1, 0));
  recorder.Clear();
  unmade->SetProjection(1);
  EXPECT_EQ(recorder.Calls(), CallsIn(R"(
      glMatrixMode(GL_PROJECTION); glLoadIdentity();
      glLoadMatrixf({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}); glViewport(0, 0, 0, 0))"));
}

TEST_F(ProjectionTest, LinearFogOfTheScene) {
  Target().scene.fogStart = AnimatableValue(12.9f);
  Target().scene.fogEnd = AnimatableValue(-3.7f);
  Target().scene.fogRed = 0.25f, Target().scene.fogGreen = 0.5f, Target().scene.fogBlue = 0.75f;
  EXPECT_EQ(Buffer().IsFogEnabled(), 0);
  EXPECT_EQ(FogCalls(1),
            (Lines{"glEnable(GL_FOG)", kLinearFog, "glFogi(GL_FOG_START, 12)",
                   "glFogi(GL_FOG_END, -3)", "glFogfv(GL_FOG_COLOR, {0.25, 0.5, 0.75, 1})",
                   "glFogf(GL_FOG_DENSITY, 1)", "glHint(GL_FOG_HINT, GL_FASTEST)"}));
  EXPECT_EQ(Buffer().IsFogEnabled(), 1);
  EXPECT_EQ(FogCalls(0), Lines{"glDisable(GL_FOG)"});
  EXPECT_EQ(Buffer().IsFogEnabled(), 0);
  Buffer().SetFogState(2);
  EXPECT_EQ(Buffer().IsFogEnabled(), 1) << "1 whatever it was switched on with";
  Buffer().Reallocate(40, 20, 1);
  EXPECT_EQ(Buffer().IsFogEnabled(), 0) << "a new surface starts without";
}

TEST_F(ProjectionTest, ExponentialFogWithoutAScene) {
  Info().scene = nullptr;
  Buffer().SetFogState(1);
  {
    GlRecorder recorder;
    Buffer().SetFogDensity(0.999f);
    EXPECT_EQ(recorder.Calls(), Lines()) << "waits for the next switch";
  }
  EXPECT_EQ(FogCalls(1),
            (Lines{"glEnable(GL_FOG)", kExponentialFog, "glFogfv(GL_FOG_COLOR, {0, 0, 0, 1})",
                   "glFogf(GL_FOG_DENSITY, 0.999)", "glHint(GL_FOG_HINT, GL_FASTEST)"}));
  Buffer().SetFogDensity(1.0f);
  EXPECT_EQ(FogCalls(1).at(1), kLinearFog);
}

TEST_F(ProjectionTest, AnimatedAndWildFogDistances) {
  class Clock : public AnimationChannel {
   public:
    explicit Clock(float speed) : m_speed(speed) {}
    float Evaluate(double time) const override { return static_cast<float>(time) * m_speed; }
    double CurrentTime() const override { return now; }
    double now = 1;

   private:
    float m_speed;
  } slow(10), fast(100);
  Target().scene.fogStart = AnimatableValue(&slow);
  Target().scene.fogEnd = AnimatableValue(&fast);
  slow.now = 4.25, fast.now = 7;
  const Lines calls = FogCalls(1);
  EXPECT_EQ(calls.at(2), "glFogi(GL_FOG_START, 42)") << "brought up to date";
  EXPECT_EQ(calls.at(3), "glFogi(GL_FOG_END, 700)");
  const std::pair<float, const char*> distances[] = {
      {3e30f, "2147483647"}, {-3e30f, "-2147483648"}, {NAN, "0"}, {2147483520.0f, "2147483520"}};
  for (const auto& [distance, text] : distances) {
    Target().scene.fogStart = AnimatableValue(distance);
    EXPECT_EQ(FogCalls(1).at(2), std::string("glFogi(GL_FOG_START, ") + text + ")");
  }
}

TEST_F(ProjectionTest, FogColourReadsItsAlphaAsBlue) {
  RGBFloat color;
  color.red = 0.25f;
  color.green = 0.5f;
  color.blue = 0.75f;
  GlRecorder recorder(GlRecorder::kPlatform);
  Buffer().SetFogColor(color);
  EXPECT_EQ(recorder.Calls(), Lines{"glFogfv(GL_FOG_COLOR, {0.25, 0.5, 0.75, 1})"})
      << "on whatever context is current";
  const RGBFloat read = Buffer().GetFogColor();
  EXPECT_EQ(read.red, 0.25f);
  EXPECT_EQ(read.green, 0.5f);
  EXPECT_EQ(read.blue, 1.0f);
  recorder.OverrideNumber(GL_FOG_COLOR, {});
  const RGBFloat unread = Buffer().GetFogColor();
  EXPECT_EQ(unread.red + unread.green + unread.blue, 0) << "without an answer";

  recorder.Clear();
  Buffer().SetFogState(1);
  EXPECT_EQ(recorder.CallsTo("glFogfv"), Lines{"glFogfv(GL_FOG_COLOR, {0, 0, 0, 1})"})
      << "the scene's colour replaces it";
}

}  // namespace
