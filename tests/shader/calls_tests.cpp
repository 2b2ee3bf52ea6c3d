// Every GL call of the effects, from being set up to being released.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/gl.h"
#include "tests/shader/shader_fixture.h"
#include "tests/support/gl_names.h"
#include "tests/support/gl_recorder.h"

namespace {

using Lines = std::vector<std::string>;

std::map<GLint, std::string> g_uniforms;  // names by the location that was told last

/// One argument of GLEW's entry points, sources by a hash of their text. Kinds: s shader, p
/// program, e enumerant, u a uniform's location, told by its name, i other numbers, - pointers.
template <typename Argument>
std::string Describe(char kind, Argument argument) {
  if constexpr (std::is_pointer_v<Argument>) {
    if (!argument) return "null";
    if constexpr (std::is_same_v<Argument, const GLfloat*>) {
      return fmt::format("{:g}", fmt::join(argument, argument + 18, " "));
    }
    if constexpr (std::is_same_v<Argument, const GLchar* const*>) {
      unsigned hash = 0;
      for (const char* at = *argument; *at; ++at) hash = hash * 31 + static_cast<unsigned>(*at);
      return fmt::format("source {:08x}", hash);
    }
    if constexpr (std::is_same_v<Argument, const GLchar*>) return argument;
    if constexpr (std::is_same_v<Argument, const GLuint*>) return fmt::format("{{{}}}", *argument);
    return "pointer";
  } else {
    if (kind == 'e') return EnumName(static_cast<GLenum>(argument));
    if (kind == 'u') return g_uniforms[static_cast<GLint>(argument)];
    if (kind != 's' && kind != 'p') return fmt::format("{:g}", static_cast<double>(argument));
    const auto name = static_cast<std::uintptr_t>(argument);
    return HandleLabel(reinterpret_cast<void*>(name), kind == 's' ? "shader" : "program");
  }
}

/// One of the entry points: who stands in front of it, and what for.
template <auto* kPlace>
struct Entry;
template <typename Result, typename... Arguments, Result (**kPlace)(Arguments...)>
struct Entry<kPlace> {
  static inline Result (*next)(Arguments...) = nullptr;
  static inline const char *name = "", *kinds = "";

  static Result Call(Arguments... arguments) {
    const char* kind = kinds;
    std::vector<std::string> texts;
    ((texts.push_back(Describe(*kind++, arguments))), ...);
    if (IsRecordingPlatform()) RecordLine(fmt::format("{}({})", name, fmt::join(texts, ", ")));
    if constexpr (std::is_same_v<Result, GLint>) {
      const GLint location = next(arguments...);
      g_uniforms[location] = texts.back();
      return location;
    } else {
      return next(arguments...);
    }
  }
  static void Exchange(bool in, const char* itsName, const char* itsKinds) {
    name = itsName;
    kinds = itsKinds;
    if (in) next = *kPlace;
    *kPlace = in ? Call : next;
  }
};

#define GL3_ENTRIES(X)                                                                             \
  X(CreateShader, "e"), X(ShaderSource, "si--"), X(CompileShader, "s"), X(GetShaderiv, "se-"),     \
      X(DeleteShader, "s"), X(CreateProgram, ""), X(AttachShader, "ps"), X(DetachShader, "ps"),    \
      X(LinkProgram, "p"), X(ValidateProgram, "p"), X(GetProgramiv, "pe-"), X(DeleteProgram, "p"), \
      X(UseProgram, "p"), X(GetUniformLocation, "p-"), X(Uniform1i, "ui"), X(Uniform1f, "ui"),     \
      X(Uniform2fv, "ui-"), X(GenFramebuffers, "i-"), X(BindFramebuffer, "ei"),                    \
      X(FramebufferTexture2D, "eeeii"), X(DeleteFramebuffers, "i-")

/// Has the recorder's log, when it tells the platform's calls, tell GLEW's too while it lives.
class GlewCalls {
 public:
  GlewCalls() { Exchange(true); }
  ~GlewCalls() { Exchange(false); }
  GlewCalls(const GlewCalls&) = delete;
  GlewCalls& operator=(const GlewCalls&) = delete;

 private:
  static void Exchange(bool in) {
#define GL3_EXCHANGE(name, kinds) Entry<&__glew##name>::Exchange(in, "gl" #name, kinds)
    GL3_ENTRIES(GL3_EXCHANGE);
  }
};

GLint GLAPIENTRY NoLocation(GLuint, const GLchar*) {
  return -1;
}

std::string CompiledProgram(int number, const char* source) {
  return fmt::format(
      "glCreateShader({2});glShaderSource(shader{0}, 1, source {1}, null);"
      "glCompileShader(shader{0});glGetShaderiv(shader{0}, {3}, pointer);"
      "glCreateProgram();glAttachShader(program{0}, shader{0});glLinkProgram(program{0});"
      "glGetProgramiv(program{0}, {4}, pointer);glValidateProgram(program{0});"
      "glGetProgramiv(program{0}, {5}, pointer);",
      number, source, EnumName(GL_FRAGMENT_SHADER), EnumName(GL_COMPILE_STATUS),
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
  EXPECT_EQ(
      AfterSurface(gl),
      CallsIn(CompiledProgram(1, "6914fa4b") + CompiledProgram(2, "e7375baf") +
              BlurUniforms(1, "0.0714286") + BlurUniforms(2, "0.166667") + "glUseProgram(null)"));
  gl.Clear();
  InitFor(1, 3, 8);
  EXPECT_EQ(AfterSurface(gl),
            CallsIn(CompiledProgram(3, "1fad996d") + "glUseProgram(program3);" +
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
  const std::string released[] = {MakeCurrentCalls(2) + ReleaseProgram(1) + ReleaseProgram(2),
                                  MakeCurrentCalls(3) + ReleaseProgram(3)};
  for (const int effect : {0, 1}) {  // set up again
    gl.Clear();
    InitFor(effect, 0, 5);
    const Lines wanted = CallsIn(released[effect]), again = gl.Calls();
    EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), again.begin())) << effect;
  }
  // A blur that gets no surface any more releases itself, once more in between than filters do.
  Effects().refuses = true;
  gl.Clear();
  EXPECT_EQ(Init(0, 0, 0, 5, 14, 6), 0);
  EXPECT_EQ(gl.CallsTo("aglSetCurrentContext"), Lines(3, "aglSetCurrentContext(context4)"));
  MakeCurrent();
  gl.Clear();
  ResetProgram();
  EXPECT_EQ(gl.Calls(), CallsIn(MakeCurrentCalls(5) + ReleaseProgram(6)));
}

TEST_F(CallsTest, UniformsAreSetWhereTheyAreAndEffectsReleasedInTheirOrder) {
  const Replaced<PFNGLGETUNIFORMLOCATIONPROC> replaced(__glewGetUniformLocation, NoLocation);
  const GlewCalls entries;
  GlRecorder gl;
  gl.LogPlatform(true);
  InitFor(0, 2, 5);
  InitFor(1, 3, 8);
  EXPECT_EQ(gl.CallsTo("glGetUniformLocation").size(), 13u);
  EXPECT_EQ(gl.CallsTo("glUniform"), Lines());
  MakeCurrent();
  gl.Clear();
  ResetProgram();
  EXPECT_EQ(gl.Calls(), CallsIn(MakeCurrentCalls(2) + ReleaseProgram(1) + ReleaseProgram(2) +
                                MakeCurrentCalls(3) + ReleaseProgram(3)));
}

}  // namespace
