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

/// Turned, moved and coloured so that no two values are alike.
GALight Placed(int type) {
  GALight light;
  light.type = type;
  light.position = {1, 2, 3};
  light.target = {2, 4, 7};
  const float placement[12] = {0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30};
  std::copy_n(placement, 12, light.placement);
  light.red = 0.5f;
  light.green = 1;
  light.blue = 0.25f;
  light.intensity = 0.5f;
  light.range = 2;
  return light;
}

TEST_F(LightsTest, ValuesFollowTheType) {
  GALight spot = Placed(GALight::kSpot);
  spot.coneAngle = 120;
  spot.coneSoftness = 5;
  spot.specularOn = false;
  GALight narrow = Placed(GALight::kSpot);
  narrow.coneAngle = -5;
  GALight point = Placed(GALight::kPoint);
  point.diffuseOn = false;
  LightList list({spot, narrow, point, Placed(GALight::kDirectional), Placed(7), Placed(7)});
  GlRecorder gl;
  Buffer().SetupLights(list.Head());

  EXPECT_EQ(SetOn(gl, "GL_LIGHT0"), CallsIn(R"(
      GL_POSITION, {8, 21, 33, 1}); GL_DIFFUSE, {0.25, 0.5, 0.125, 1});
      GL_SPECULAR, {0, 0, 0, 1}); GL_SPOT_DIRECTION, {-2, 1, 4}); GL_SPOT_CUTOFF, 90);
      GL_SPOT_EXPONENT, 64); GL_CONSTANT_ATTENUATION, 0.833333); GL_LINEAR_ATTENUATION, 0);
      GL_QUADRATIC_ATTENUATION, 0.0781475))"));
  EXPECT_EQ(SetOn(gl, "GL_LIGHT1")[4], "GL_SPOT_CUTOFF, 0)");
  EXPECT_EQ(SetOn(gl, "GL_LIGHT2"), CallsIn(R"(
      GL_POSITION, {8, 21, 33, 1}); GL_DIFFUSE, {0, 0, 0, 1});
      GL_SPECULAR, {0.25, 0.5, 0.125, 1}); GL_SPOT_CUTOFF, 180); GL_SPOT_EXPONENT, 0);
      GL_CONSTANT_ATTENUATION, 0.833333); GL_LINEAR_ATTENUATION, 0);
      GL_QUADRATIC_ATTENUATION, 0.0781475))"));
  EXPECT_EQ(SetOn(gl, "GL_LIGHT3"), CallsIn(R"(
      GL_POSITION, {2, -1, -4, 0}); GL_DIFFUSE, {0.25, 0.5, 0.125, 1});
      GL_SPECULAR, {0.25, 0.5, 0.125, 1}); GL_SPOT_DIRECTION, {-2, 1, 4}); GL_SPOT_CUTOFF, 180);
      GL_SPOT_EXPONENT, 0); GL_CONSTANT_ATTENUATION, 1); GL_LINEAR_ATTENUATION, 0);
      GL_QUADRATIC_ATTENUATION, 0))"));
  EXPECT_EQ(SetOn(gl, "GL_LIGHT4").size(), 3u);  // an unknown type uses its number
  EXPECT_EQ(SetOn(gl, "GL_LIGHT5").size(), 3u);
}

TEST_F(LightsTest, TheSameListSendsNothingTheSecondTime) {
  LightList list({Placed(GALight::kSpot)});
  GlRecorder gl;
  Buffer().SetupLights(list.Head());
  EXPECT_EQ(gl.Count("glGetIntegerv"), 1);
  EXPECT_EQ(gl.CallsTo("glEnable("), (Lines{"glEnable(GL_LIGHTING)", "glEnable(GL_LIGHT0)"}));
  gl.Clear();
  Buffer().SetupLights(list.Head());
  EXPECT_EQ(gl.Calls(), (Lines{"glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 1)",
                               "glIsEnabled(GL_LIGHT0)", "glIsEnabled(GL_LIGHT1)"}));

  GALight moved = Placed(GALight::kSpot);
  moved.range = 1;
  LightList other({moved});
  gl.Clear();
  Buffer().SetupLights(other.Head());
  EXPECT_EQ(SetOn(gl, "GL_LIGHT0"), Lines{"GL_QUADRATIC_ATTENUATION, 0.31259)"});
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

TEST_F(LightsTest, AShorterListSwitchesTheRestOff) {
  LightList four(std::vector<GALight>(4));
  LightList two(std::vector<GALight>(2));
  Buffer().SetupLights(four.Head());
  GlRecorder gl;
  Buffer().SetupLights(two.Head());
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 1); glIsEnabled(GL_LIGHT0);
      glIsEnabled(GL_LIGHT1); glIsEnabled(GL_LIGHT2); glDisable(GL_LIGHT2);
      glIsEnabled(GL_LIGHT3); glDisable(GL_LIGHT3); glIsEnabled(GL_LIGHT4))"));
}

TEST_F(LightsTest, LightsBeyondTheMaximumAreLeftOut) {
  std::vector<GALight> lights(5);
  for (int i = 0; i < 5; ++i) lights[static_cast<std::size_t>(i)].red = static_cast<float>(i);
  LightList list(lights);
  GlRecorder gl;
  gl.OverrideInteger(GL_MAX_LIGHTS, 3);
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
  gl.IgnoreInteger(GL_MAX_LIGHTS);
  Buffer().SetupLights(list.Head());
  EXPECT_EQ(SetAtAll(gl), 0);
  Buffer().SetupLights(nullptr);
  EXPECT_EQ(SetOn(gl, "GL_LIGHT0").size(), 9u);
  EXPECT_EQ(gl.Count("glGetIntegerv"), 1);
}

TEST_F(LightsTest, TheHeadlightTakesOverFromAList) {
  LightList list(std::vector<GALight>(2));
  Buffer().SetupLights(list.Head());
  GlRecorder gl;
  Buffer().SetupLights(nullptr);
  EXPECT_EQ(gl.Calls(), CallsIn(R"(
      glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, 0); glEnable(GL_LIGHT0);
      glLightfv(GL_LIGHT0, GL_POSITION, {0, 0, 1, 0});
      glLightfv(GL_LIGHT0, GL_SPOT_DIRECTION, {0, 0, 1});
      glLightf(GL_LIGHT0, GL_CONSTANT_ATTENUATION, 1);
      glLightf(GL_LIGHT0, GL_QUADRATIC_ATTENUATION, 0); glIsEnabled(GL_LIGHT1);
      glDisable(GL_LIGHT1); glIsEnabled(GL_LIGHT2))"));
}

}  // namespace
