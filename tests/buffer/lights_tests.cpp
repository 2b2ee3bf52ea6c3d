// Host lights into GL lights: values by type, numbering, and what the cache saves.
#include <algorithm>

#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"

namespace {

class LightsTest : public DrawingFixture {
 protected:
  /// Calls that set values of one GL light, without its name.
  static Lines SetOn(const GlRecorder& gl, const std::string& light) {
    Lines values;
    for (const std::string& call : gl.Calls()) {
      const std::size_t at = call.find("(" + light + ", ");
      if (at != std::string::npos) values.push_back(call.substr(at + light.size() + 3));
    }
    return values;
  }
  static int SetAtAll(const GlRecorder& gl) { return gl.Count("glLightf") + gl.Count("glLightfv"); }
};

/// Turned, moved and coloured so that no two values are alike: it lies at (26, 24, 69), aims along
/// (-4, 23, -1), and its colour is 2, 4, 1 times the intensity.
GALight Placed(int type, float intensity = 0.5f) {
  GALight light;
  light.type = type;
  light.position = {2, 3, 5};
  light.target = {5, 7, 3};
  const float placement[12] = {2, -1, 3, 10, 1, 4, -2, 20, -3, 5, 6, 30};
  std::copy_n(placement, 12, light.placement);
  light.red = 2;
  light.green = 4;
  light.blue = 1;
  light.intensity = intensity;
  light.range = 5;
  return light;
}

TEST_F(LightsTest, ValuesFollowTheType) {
  GALight spot = Placed(GALight::kSpot);
  spot.coneAngle = 120;
  spot.coneSoftness = 2.5f;
  spot.specularOn = false;
  GALight narrow = Placed(GALight::kSpot, 1);
  narrow.coneAngle = -5;
  GALight point = Placed(GALight::kPoint, 2);
  point.diffuseOn = false;
  GALight unknown = Placed(7, 0.25f);
  LightList list({spot, narrow, point, Placed(GALight::kDirectional, 4), unknown, unknown});
  GlRecorder gl;
  Buffer().SetupLights(list.Head());

  EXPECT_EQ(SetOn(gl, "GL_LIGHT0"), CallsIn(R"(
      GL_POSITION, {26, 24, 69, 1}); GL_DIFFUSE, {1, 2, 0.5, 1});
      GL_SPECULAR, {0, 0, 0, 1}); GL_SPOT_DIRECTION, {-4, 23, -1, 0}); GL_SPOT_CUTOFF, 90);
      GL_SPOT_EXPONENT, 32); GL_CONSTANT_ATTENUATION, 0.833333); GL_LINEAR_ATTENUATION, 0);
      GL_QUADRATIC_ATTENUATION, 0.0125036))"));
  EXPECT_EQ(SetOn(gl, "GL_LIGHT1")[1], "GL_DIFFUSE, {2, 4, 1, 1})");
  EXPECT_EQ(SetOn(gl, "GL_LIGHT1")[4], "GL_SPOT_CUTOFF, 0)");
  EXPECT_EQ(SetOn(gl, "GL_LIGHT2"), CallsIn(R"(
      GL_POSITION, {26, 24, 69, 1}); GL_DIFFUSE, {0, 0, 0, 1});
      GL_SPECULAR, {4, 8, 2, 1}); GL_SPOT_CUTOFF, 180); GL_SPOT_EXPONENT, 0);
      GL_CONSTANT_ATTENUATION, 0.833333); GL_LINEAR_ATTENUATION, 0);
      GL_QUADRATIC_ATTENUATION, 0.0125036))"));
  EXPECT_EQ(SetOn(gl, "GL_LIGHT3"), CallsIn(R"(
      GL_POSITION, {4, -23, 1, 0}); GL_DIFFUSE, {8, 16, 4, 1});
      GL_SPECULAR, {8, 16, 4, 1}); GL_SPOT_DIRECTION, {-4, 23, -1, 0}); GL_SPOT_CUTOFF, 180);
      GL_SPOT_EXPONENT, 0); GL_CONSTANT_ATTENUATION, 1); GL_LINEAR_ATTENUATION, 0);
      GL_QUADRATIC_ATTENUATION, 0))"));
  for (const char* light : {"GL_LIGHT4", "GL_LIGHT5"}) {  // an unknown type uses its number
    EXPECT_EQ(SetOn(gl, light), CallsIn(R"(
        GL_POSITION, {26, 24, 69, 1}); GL_DIFFUSE, {0.5, 1, 0.25, 1});
        GL_SPECULAR, {0.5, 1, 0.25, 1}))"));
  }
}

TEST_F(LightsTest, ASecondTimeOnlyWhatDiffersIsSent) {
  LightList list({Placed(GALight::kPoint), Placed(GALight::kSpot)});
  GlRecorder gl;
  Buffer().SetupLights(list.Head());
  EXPECT_EQ(gl.Count("glGetIntegerv"), 1);
  EXPECT_EQ(gl.CallsTo("glEnable("),
            (Lines{"glEnable(GL_LIGHTING)", "glEnable(GL_LIGHT0)", "glEnable(GL_LIGHT1)"}));
  gl.Clear();
  Buffer().SetupLights(list.Head());
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 1); glIsEnabled(GL_LIGHT0);
      glIsEnabled(GL_LIGHT1); glIsEnabled(GL_LIGHT2))"));

  GALight& spot = *list.Head()->next->light;
  const auto sent = [&] {
    gl.Clear();
    Buffer().SetupLights(list.Head());
    EXPECT_EQ(SetOn(gl, "GL_LIGHT0"), Lines());
    return SetOn(gl, "GL_LIGHT1");
  };
  const Lines black = {"GL_DIFFUSE, {0, 0, 0, 1})", "GL_SPECULAR, {0, 0, 0, 1})"};
  spot.range = 1;
  EXPECT_EQ(sent(), Lines{"GL_QUADRATIC_ATTENUATION, 0.31259)"});
  spot.coneAngle = 30;
  EXPECT_EQ(sent(), Lines{"GL_SPOT_CUTOFF, 30)"});
  spot.coneSoftness = 5;
  EXPECT_EQ(sent(), Lines{"GL_SPOT_EXPONENT, 64)"});
  spot.placement[11] = 31;
  EXPECT_EQ(sent(), Lines{"GL_POSITION, {26, 24, 70, 1})"});
  spot.target.x = 6;
  EXPECT_EQ(sent(), Lines{"GL_SPOT_DIRECTION, {-2, 24, -4, 0})"});
  spot.blue = 3;
  EXPECT_EQ(sent(), (Lines{"GL_DIFFUSE, {1, 2, 1.5, 1})", "GL_SPECULAR, {1, 2, 1.5, 1})"}));
  spot.diffuseOn = false;
  EXPECT_EQ(sent(), Lines{black[0]});
  spot.specularOn = false;
  EXPECT_EQ(sent(), Lines{black[1]});
  spot.type = GALight::kPoint;
  EXPECT_EQ(sent(), (Lines{"GL_SPOT_CUTOFF, 180)", "GL_SPOT_EXPONENT, 0)"}));
}

TEST_F(LightsTest, EverythingIsSentTheFirstTime) {
  // Values that a record of zeros and minus ones would take for loaded.
  GALight light = Placed(GALight::kSpot);
  light.red = light.green = light.blue = 1;
  light.intensity = -1;
  light.target = light.position;
  light.coneSoftness = -10.0f / 128;
  LightList list({light});
  GlRecorder gl;
  Buffer().SetupLights(list.Head());
  EXPECT_EQ(SetOn(gl, "GL_LIGHT0").size(), 9u);
}

TEST_F(LightsTest, HiddenLightsLeaveNoGap) {
  const LightOwner invisible{false, nullptr};
  const LightOwner child{true, &invisible};
  std::vector<GALight> lights(5);
  lights[1].hidden = true;
  lights[2].on = false;
  lights[3].owner = &child;
  lights[4].red = 0.5f;
  LightList list(lights);
  LightListNode empty{list.Head(), nullptr};
  GlRecorder gl;
  Buffer().SetupLights(&empty);
  EXPECT_EQ(gl.CallsTo("glEnable(GL_LIGHT"),
            (Lines{"glEnable(GL_LIGHTING)", "glEnable(GL_LIGHT0)", "glEnable(GL_LIGHT1)"}));
  EXPECT_EQ(SetOn(gl, "GL_LIGHT1")[1], "GL_DIFFUSE, {0.5, 1, 1, 1})");
}

TEST_F(LightsTest, LightsBeyondTheMaximumAreLeftOut) {
  std::vector<GALight> lights(5);
  for (int i = 0; i < 5; ++i) lights[static_cast<std::size_t>(i)].red = static_cast<float>(i);
  LightList list(lights);
  GlRecorder gl;
  gl.OverrideNumber(GL_MAX_LIGHTS, 3);
  Buffer().SetupLights(list.Head());
  EXPECT_EQ(gl.Count("glLightfv"), 9);
  EXPECT_EQ(SetOn(gl, "GL_LIGHT2")[1], "GL_DIFFUSE, {2, 1, 1, 1})");
  gl.Clear();
  LightList one(std::vector<GALight>(1));
  Buffer().SetupLights(one.Head());
  EXPECT_EQ(gl.CallsTo("glDisable"), (Lines{"glDisable(GL_LIGHT1)", "glDisable(GL_LIGHT2)"}));
  EXPECT_EQ(gl.CallsTo("glIsEnabled(GL_LIGHT3)"), Lines());
}

TEST_F(LightsTest, WithoutAKnownMaximumOnlyTheHeadlightIsLoaded) {
  LightList list(std::vector<GALight>(2));
  GlRecorder gl;
  gl.OverrideNumber(GL_MAX_LIGHTS, {});
  Buffer().SetupLights(list.Head());
  EXPECT_EQ(SetAtAll(gl), 0);
  Buffer().SetupLights(nullptr);
  EXPECT_EQ(SetOn(gl, "GL_LIGHT0"), CallsIn(R"(
      GL_POSITION, {0, 0, 1, 0}); GL_DIFFUSE, {1, 1, 1, 1}); GL_SPECULAR, {1, 1, 1, 1});
      GL_SPOT_DIRECTION, {0, 0, 1, 0}); GL_SPOT_CUTOFF, 180); GL_SPOT_EXPONENT, 0);
      GL_CONSTANT_ATTENUATION, 1); GL_LINEAR_ATTENUATION, 0); GL_QUADRATIC_ATTENUATION, 0))"));
  EXPECT_EQ(gl.Count("glGetIntegerv"), 1);
}

TEST_F(LightsTest, WhereThereAreNoLightsNoneIsLoaded) {
  for (const int maximum : {0, -5}) {
    OffscreenTarget other(Driver(), 8, 8);
    GlRecorder gl;
    gl.OverrideNumber(GL_MAX_LIGHTS, maximum);
    other.buffer->SetupLights(nullptr);
    EXPECT_EQ(gl.CallsTo("glEnable(GL_LIGHT0"), Lines{"glEnable(GL_LIGHT0)"});
    EXPECT_EQ(SetAtAll(gl), 0);
  }
}

TEST_F(LightsTest, TheHeadlightTakesOverFromAList) {
  LightList list(std::vector<GALight>(2));
  Buffer().SetupLights(list.Head());
  GlRecorder gl;
  Buffer().SetupLights(nullptr);
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 0); glEnable(GL_LIGHT0);
      glLightfv(GL_LIGHT0, GL_POSITION, {0, 0, 1, 0});
      glLightfv(GL_LIGHT0, GL_SPOT_DIRECTION, {0, 0, 1, 0});
      glLightf(GL_LIGHT0, GL_CONSTANT_ATTENUATION, 1);
      glLightf(GL_LIGHT0, GL_QUADRATIC_ATTENUATION, 0); glIsEnabled(GL_LIGHT1);
      glDisable(GL_LIGHT1); glIsEnabled(GL_LIGHT2))"));
}

}  // namespace
