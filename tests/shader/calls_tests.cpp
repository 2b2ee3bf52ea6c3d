// Every GL call of the effects, from being set up to being released.
#include <fmt/format.h>

#include <string>
#include <vector>

#include "platform/gl.h"
#include "tests/shader/glew_calls.h"
#include "tests/shader/shader_fixture.h"
#include "tests/support/gl_names.h"
#include "tests/support/gl_recorder.h"

namespace {

using Lines = std::vector<std::string>;

GLint GLAPIENTRY NoLocation(GLuint, const GLchar*) {
  return -1;
}

std::string CompiledProgram(int number, int characters) {
  return fmt::format(
      "glCreateShader({2});glShaderSource(shader{0}, 1, {1} characters, null);"
      "glCompileShader(shader{0});glGetShaderiv(shader{0}, {3}, pointer);"
      "glCreateProgram();glAttachShader(program{0}, shader{0});glLinkProgram(program{0});"
      "glGetProgramiv(program{0}, {4}, pointer);glValidateProgram(program{0});"
      "glGetProgramiv(program{0}, {5}, pointer);",
      number, characters, EnumName(GL_FRAGMENT_SHADER), EnumName(GL_COMPILE_STATUS),
      EnumName(GL_LINK_STATUS), EnumName(GL_VALIDATE_STATUS));
}
/// `call` is glUniform1f(name, value) or the like.
std::string Uniform(int program, const std::string& call) {
  const std::size_t name = call.find('(') + 1;
  return fmt::format("glGetUniformLocation(program{}, {});{};", program,
                     call.substr(name, call.find(',') - name), call);
}
std::string BlurUniforms(int program, const char* step) {
  return fmt::format("glUseProgram(program{});", program) +
         Uniform(program, "glUniform1i(texture0, 0)") +
         Uniform(program, fmt::format("glUniform1f(e_step, {})", step)) +
         Uniform(program, "glUniform1i(steps, 3)") + Uniform(program, "glUniform1f(radius, 5)") +
         Uniform(program, "glUniform1f(bloom, 0.142857)");
}
std::string ReleaseProgram(int number) {
  return fmt::format(
      "glDetachShader(program{0}, shader{0});glDeleteShader(shader{0});"
      "glDeleteProgram(program{0});",
      number);
}
std::string MakeCurrentCalls(int context) {
  return fmt::format("aglSetDrawable(context{0}, port1);aglSetCurrentContext(context{0});",
                     context);
}

/// The `nth` run, over a picture of 14 x 6 pixels, through programs of these numbers.
std::string RunCalls(int nth, const std::vector<int>& programs) {
  const std::string target = fmt::format("glBindTexture(GL_TEXTURE_2D, {});", 2 * nth - 1),
                    picture = fmt::format("glBindTexture(GL_TEXTURE_2D, {});", 2 * nth),
                    unbind = "glBindTexture(GL_TEXTURE_2D, 0);",
                    copy = "glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, 14, 6);",
                    quad =
                        "glBegin(GL_POLYGON);glTexCoord2f(0, 0);glVertex2f(-1, -1);"
                        "glTexCoord2f(0, 1);glVertex2f(-1, 1);glTexCoord2f(1, 1);glVertex2f(1, 1);"
                        "glTexCoord2f(1, 0);glVertex2f(1, -1);glEnd();";
  std::string text = MakeCurrentCalls(nth + 1);
  text +=
      "glClearColor(0, 0, 0, 1);glClear(GL_COLOR_BUFFER_BIT|GL_DEPTH_BUFFER_BIT);"
      "glEnable(GL_TEXTURE_2D);glGenTextures(1, pointer);";
  text += target +
          "glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, 9729);"  // linear
          "glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, 9729);"
          "glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, 33071);"  // clamped to the edge
          "glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, 33071);"
          "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 14, 6, 0, GL_RGBA, GL_UNSIGNED_BYTE, null);";
  text += fmt::format(
      "glGenFramebuffers(1, pointer);glBindFramebuffer({0}, {2});"
      "glFramebufferTexture2D({0}, {1}, GL_TEXTURE_2D, {3}, 0);",
      EnumName(GL_FRAMEBUFFER), EnumName(GL_COLOR_ATTACHMENT0), nth, 2 * nth - 1);
  text += "CreateByteBlock(0, 0, 0);glGenTextures(1, pointer);" + picture +
          "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);"
          "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);"
          "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);"
          "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);"
          "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 16, 8, 0, GL_RGBA, GL_UNSIGNED_BYTE, "
          "+0 of 512);";
  text += unbind + picture + quad;
  for (const int program : programs) {
    text += fmt::format("glUseProgram(program{});", program) + quad + "glUseProgram(null);" + copy;
  }
  return text + picture + copy +
         fmt::format(
             "glDeleteTextures(1, {{{0}}});glBindFramebuffer({1}, 0);"
             "glDeleteFramebuffers(1, {{{2}}});glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, "
             "GL_UNSIGNED_BYTE, +0 of 512);{3}glDeleteTextures(1, {{{4}}})",
             2 * nth - 1, EnumName(GL_READ_FRAMEBUFFER), nth, unbind, 2 * nth);
}

/// A log without what the making of a surface calls.
Lines AfterSurface(const GlRecorder& gl) {
  std::size_t at = 0;
  while (at < gl.Calls().size() && !gl.Calls()[at].starts_with("glCreateShader")) ++at;
  return {gl.Calls().begin() + static_cast<std::ptrdiff_t>(at), gl.Calls().end()};
}

class CallsTest : public ShaderFixture {
 protected:
  void SetUp() override {
    ShaderFixture::SetUp();
    MakeCurrent();  // loads the entry points
    m_info.imageWidth = 40;
    m_info.imageHeight = 24;
  }
  /// For pictures of 14 x 6 pixels.
  void InitFor(int effect, float passes, float third) {
    float parameters[] = {0, passes, third, 14, 6};
    ASSERT_EQ(Program().Init(effect, parameters, 5), 1);
  }
};

TEST_F(CallsTest, FromSetUpToRelease) {
  const GlewCalls entries;
  GlRecorder gl;
  gl.LogPlatform(true);
  InitFor(0, 2, 5);
  EXPECT_EQ(gl.CallsTo("glViewport"), Lines{"glViewport(0, 0, 40, 24)"});
  EXPECT_EQ(AfterSurface(gl), CallsIn(CompiledProgram(1, 604) + CompiledProgram(2, 603) +
                                      BlurUniforms(1, "0.0714286") + BlurUniforms(2, "0.166667") +
                                      "glUseProgram(null)"));
  gl.Clear();
  InitFor(1, 3, 8);
  EXPECT_EQ(AfterSurface(gl),
            CallsIn(CompiledProgram(3, 2944) + "glUseProgram(program3);" +
                    Uniform(3, "glUniform1i(colorTexture, 0)") +
                    Uniform(3,
                            "glUniform2fv(tcOffset, 9, -0.0714286 -0.166667 -0.0714286 0 "
                            "-0.0714286 0.166667 0 -0.166667 0 0 0 0.166667 "
                            "0.0714286 -0.166667 0.0714286 0 0.0714286 0.166667)") +
                    Uniform(3, "glUniform1i(filterNumber, 8)") + "glUseProgram(null)"));
  for (const int effect : {0, 1}) {
    MakeCurrent();
    gl.Clear();
    Process(effect, RandomPixels(14, 6, 5));
    EXPECT_EQ(gl.Calls(),
              CallsIn(effect == 0 ? RunCalls(1, {2, 1, 2, 1}) : RunCalls(2, {3, 3, 3})));
  }
  MakeCurrent();
  gl.Clear();
  InitFor(0, 0, 5);
  const Lines again = gl.Calls(),
              released = CallsIn(MakeCurrentCalls(2) + ReleaseProgram(1) + ReleaseProgram(2));
  EXPECT_EQ(Lines(again.begin(), again.begin() + 8), released);
  MakeCurrent();
  gl.Clear();
  ResetProgram();
  EXPECT_EQ(gl.Calls(), CallsIn(MakeCurrentCalls(4) + ReleaseProgram(4) + ReleaseProgram(5) +
                                MakeCurrentCalls(3) + ReleaseProgram(3)));
}

TEST_F(CallsTest, UniformsThatAProgramHasNotAreNotSet) {
  const Replaced<PFNGLGETUNIFORMLOCATIONPROC> replaced(__glewGetUniformLocation, NoLocation);
  const GlewCalls entries;
  GlRecorder gl;
  gl.LogPlatform(true);
  InitFor(0, 2, 5);
  InitFor(1, 2, 5);
  EXPECT_EQ(gl.CallsTo("glGetUniformLocation").size(), 13u);
  EXPECT_EQ(gl.CallsTo("glUniform"), Lines());
}

}  // namespace
