// Every GL call of the effects, from being set up to being released.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstring>
#include <map>
#include <tuple>
#include <type_traits>

#include "platform/gl.h"
#include "shader/Gl3ShaderMain.h"
#include "tests/shader/shader_fixture.h"
#include "tests/support/gl_names.h"
#include "tests/support/gl_recorder.h"

namespace {

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

/// The name of an object at the end of a call, which the GL chooses.
int NameIn(const std::string& call) {
  return std::stoi(call.substr(call.find(", ") + 2));
}
std::string Parameters(const char* kind, const char* filter, const char* wrap) {
  return fmt::format(
      "glTexParameter{0}(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, {1});"
      "glTexParameter{0}(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, {1});"
      "glTexParameter{0}(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, {2});"
      "glTexParameter{0}(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, {2});",
      kind, filter, wrap);
}

/// A run over a picture of 14 x 6 pixels through programs of these numbers, the objects named as in
/// its log.
Lines RunCalls(const GlRecorder& gl, int context, const std::vector<int>& programs) {
  const Lines binds = gl.CallsTo("glBindTexture");
  const int frame = NameIn(gl.CallsTo("glBindFramebuffer").at(0)), target = NameIn(binds.at(0)),
            picture = NameIn(binds.at(1));
  EXPECT_NE(target, picture);
  const std::string unbind = "glBindTexture(GL_TEXTURE_2D, 0);",
                    bind = fmt::format("glBindTexture(GL_TEXTURE_2D, {});", picture),
                    copy = "glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, 14, 6);",
                    quad =
                        "glBegin(GL_POLYGON);glTexCoord2f(0, 0);glVertex2f(-1, -1);"
                        "glTexCoord2f(0, 1);glVertex2f(-1, 1);glTexCoord2f(1, 1);glVertex2f(1, 1);"
                        "glTexCoord2f(1, 0);glVertex2f(1, -1);glEnd();";
  std::string text = MakeCurrentCalls(context) +
                     "glClearColor(0, 0, 0, 1);glClear(GL_COLOR_BUFFER_BIT|GL_DEPTH_BUFFER_BIT);"
                     "glEnable(GL_TEXTURE_2D);glGenTextures(1, pointer);";
  text += fmt::format(
      "glBindTexture(GL_TEXTURE_2D, {0});{1}"
      "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 14, 6, 0, GL_RGBA, GL_UNSIGNED_BYTE, null);"
      "glGenFramebuffers(1, pointer);glBindFramebuffer({2}, {4});"
      "glFramebufferTexture2D({2}, {3}, GL_TEXTURE_2D, {0}, 0);",
      target, Parameters("f", "9729", "33071"),  // linear, clamped to the edge
      EnumName(GL_FRAMEBUFFER), EnumName(GL_COLOR_ATTACHMENT0), frame);
  text += "CreateByteBlock(0, 0, 0);glGenTextures(1, pointer);" + bind +
          Parameters("i", "GL_LINEAR", "GL_CLAMP_TO_EDGE") +
          "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 16, 8, 0, GL_RGBA, GL_UNSIGNED_BYTE, "
          "+0 of 512);" +
          unbind + bind + quad;
  for (const int program : programs) {
    text += fmt::format("glUseProgram(program{});", program) + quad + "glUseProgram(null);" + copy;
  }
  return CallsIn(
      text + bind + copy +
      fmt::format("glDeleteTextures(1, {{{}}});glBindFramebuffer({}, 0);"
                  "glDeleteFramebuffers(1, {{{}}});glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, "
                  "GL_UNSIGNED_BYTE, +0 of 512);{}glDeleteTextures(1, {{{}}})",
                  target, EnumName(GL_READ_FRAMEBUFFER), frame, unbind, picture));
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
  GlRecorder gl(GlRecorder::kPlatform);
  InitFor(0, 2, 5);
  EXPECT_EQ(gl.CallsTo("glViewport"), Lines{"glViewport(0, 0, 40, 24)"});
  EXPECT_EQ(
      AfterSurface(gl),
      CallsIn(CompiledProgram(1, "6914fa4b") + CompiledProgram(2, "e7375baf") +
              BlurUniforms(1, "0.0714286") + BlurUniforms(2, "0.166667") + "glUseProgram(null)"));
  gl.Clear();
  InitFor(1, 3, 8.9f);
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
    EXPECT_EQ(Process(effect, RandomPixels(14, 6, 5)).width, 14);
    EXPECT_EQ(gl.Calls(), effect == 0 ? RunCalls(gl, 2, {2, 1, 2, 1}) : RunCalls(gl, 3, {3, 3, 3}));
  }
  const std::string released[] = {MakeCurrentCalls(2) + ReleaseProgram(1) + ReleaseProgram(2),
                                  MakeCurrentCalls(3) + ReleaseProgram(3)};
  for (const int effect : {0, 1}) {  // set up again
    gl.Clear();
    InitFor(effect, 0, 5);
    const Lines wanted = CallsIn(released[effect]), again = gl.Calls();
    EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), again.begin())) << effect;
    gl.Clear();
    EXPECT_EQ(Process(effect, RandomPixels(14, 6, 5)).width, 14);
    EXPECT_EQ(gl.Calls(), RunCalls(gl, 4 + effect, {})) << "no passes";
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

TEST_F(CallsTest, ABlurTakesMoreSamplesOfALargerRadius) {
  const GlewCalls entries;
  for (const auto& [radius, wanted] : {std::pair{1.0f, "steps, 0); radius, 1); bloom, 1)"},
                                       {3.3f, "steps, 2); radius, 3.3); bloom, 0.2)"},
                                       {10.0f, "steps, 7); radius, 10); bloom, 0.0666667)"},
                                       {40.0f, "steps, 19); radius, 40); bloom, 0.025641)"}}) {
    GlRecorder gl(GlRecorder::kPlatform);
    InitFor(0, 1, radius);
    Lines values;
    for (const std::string& call : gl.CallsTo("glUniform1")) {
      values.push_back(call.substr(call.find('(') + 1));
    }
    EXPECT_EQ(Lines(values.begin() + 2, values.begin() + 5), CallsIn(wanted));
  }
}

TEST_F(CallsTest, UniformsAreSetWhereTheyAreAndEffectsReleasedInTheirOrder) {
  const Replaced<PFNGLGETUNIFORMLOCATIONPROC> replaced(__glewGetUniformLocation, NoLocation);
  const GlewCalls entries;
  GlRecorder gl(GlRecorder::kPlatform);
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

TEST_F(CallsTest, OcclusionCopiesItsSource) {
  const Pixels picture = RandomPixels(6, 5, 4);
  const TestBitmap source = Bitmap(picture), destination(new HBitmapNode(1, 1));
  auto* depths = new HBitmapBuffer("depth", HBitmapBuffer::kFloatChannel, 1, 6, 5);
  source->AddBuffer(depths);
  depths->AllocateData(0);
  auto* const depth = static_cast<float*>(depths->Data());
  std::fill_n(depth, 6 * 5, 1.0f);
  depth[1 * 6 + 2] = depth[2 * 6 + 4] = 1e8f;  // background
  SSAOShader effect(&m_info);
  effect.Delete();
  effect.Delete();
  MakeCurrent();
  EXPECT_EQ(effect.ProcessShader(source.get(), nullptr, 0), 0);
  EXPECT_EQ(effect.ProcessShader(nullptr, destination.get(), 0), 0);
  const TestBitmap endless(new HBitmapNode(65536, 32768));
  EXPECT_EQ(effect.ProcessShader(endless.get(), destination.get(), 0), 0);
  GlRecorder gl;
  for (int i = 0; i < 2; ++i) {
    gl.Clear();
    EXPECT_EQ(effect.ProcessShader(source.get(), destination.get(), 0), 1);
  }
  EXPECT_EQ(effect.IsOperational(), 0);
  EXPECT_EQ(destination->GetWidth(), 6);
  EXPECT_NE(destination->FindBuffer("depth"), nullptr);
  const Lines binds = gl.CallsTo("glBindTexture"), calls = gl.Calls();
  ASSERT_EQ(binds.size(), 6u);
  std::string text;
  for (const int i : {2, 3, 4}) {  // after the picture
    text +=
        "glGenTextures(1, pointer);" + binds[i] + ";" +
        (i < 4 ? Parameters("f", "9728", "10496") : Parameters("f", "9729", "33071")) +
        fmt::format("glTexImage2D(GL_TEXTURE_2D, 0, {0}, 6, 5, 0, {0}, GL_UNSIGNED_BYTE, null);",
                    i < 4 ? "GL_RGBA" : "GL_LUMINANCE");
  }
  const Lines wanted = CallsIn(
      text +
      // The mask: what is background, also where an edge is beside it.
      "glPixelStorei(GL_UNPACK_ALIGNMENT, 1);glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 6, 5, "
      "GL_LUMINANCE, GL_UNSIGNED_BYTE, {255 255 0 255 255 255 255 255 0 255 255 255 "
      "255 255 255 255 0 0 255 255 255 255 255 255 255 255 255 255 255 255});"
      "glPixelStorei(GL_UNPACK_ALIGNMENT, 4);" +
      fmt::format("glBindTexture(GL_TEXTURE_2D, 0);glDeleteTextures(4, {{{}}})", NameIn(binds[0])));
  EXPECT_EQ(Lines(calls.end() - static_cast<std::ptrdiff_t>(wanted.size()), calls.end()), wanted);

  // Depths that are not there, too few, or no floats count as none.
  const std::tuple<HBitmapBuffer::ChannelType, int, int, bool> others[] = {
      {HBitmapBuffer::kFloatChannel, 6, 5, false},
      {HBitmapBuffer::kFloatChannel, 5, 5, true},
      {HBitmapBuffer::kFloatChannel, 6, 4, true},
      {HBitmapBuffer::kByteChannel, 6, 5, true}};
  for (const auto& [type, width, height, filled] : others) {
    const TestBitmap other = Bitmap(picture);
    EXPECT_EQ(effect.ProcessShader(other.get(), destination.get(), 0), 1) << "without any";
    auto* buffer = new HBitmapBuffer("DEPTH", type, 1, width, height);
    other->AddBuffer(buffer);
    if (filled && buffer->AllocateData(0)) {
      const std::size_t bytes = type == HBitmapBuffer::kFloatChannel ? sizeof(float) : 1;
      std::memset(buffer->Data(), 0, bytes * static_cast<std::size_t>(width * height));
    }
    EXPECT_EQ(effect.ProcessShader(other.get(), destination.get(), 0), 1);
  }
}

}  // namespace
