// Dispatch, the log, GLSL programs, failures, and what a run leaves behind.
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "host/Heaps.h"
#include "platform/gl.h"
#include "shader/Gl3ShaderMain.h"
#include "tests/shader/shader_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/next_symbol.h"

// In front of the platform layer's.
extern "C" DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size) {
  static auto* const next = NextSymbol<decltype(GetModuleFileNameA)>("GetModuleFileNameA");
  if (g_programPath.empty()) return next(module, path, size);
  std::strncpy(path, g_programPath.c_str(), size);
  return static_cast<DWORD>(g_programPath.size());
}

namespace {

constexpr char kSound[] = "void main() { gl_FragColor = vec4(1.0); }";
constexpr char kVertices[] = "void main() { gl_Position = gl_Vertex; }";
constexpr char kBroken[] = "void main() { nonsense }";
constexpr char kUnlinkable[] = "vec4 nowhere(); void main() { gl_FragColor = nowhere(); }";

// Injected: the n-th source from now on is replaced, programs are invalid.
int g_sourcesUntilReplaced = 0;
const char* g_replacement = nullptr;
PFNGLSHADERSOURCEPROC g_shaderSource = nullptr;
PFNGLGETPROGRAMIVPROC g_getProgramiv = nullptr;
GLenum g_unanswered = 0;
GLint g_infoLogLength = 0;
void GLAPIENTRY ReplaceSource(GLuint shader, GLsizei count, const GLchar* const* sources,
                              const GLint* lengths) {
  EXPECT_EQ(count, 1);
  EXPECT_EQ(lengths, nullptr);
  const bool replaced = --g_sourcesUntilReplaced == 0;
  g_shaderSource(shader, 1, replaced ? &g_replacement : sources, nullptr);
}

void GLAPIENTRY SayInvalid(GLuint program, GLenum name, GLint* value) {
  if (name == g_unanswered) return;  // as for what the GL does not know
  g_getProgramiv(program, name, value);
  if (name == GL_INFO_LOG_LENGTH) *value = g_infoLogLength;
}

void GLAPIENTRY SayWhy(GLuint, GLsizei size, GLsizei*, GLchar* text) {
  if (size > 9) return;
  std::copy_n("why not?", size, text);
  text[size - 1] = '\0';
}

/// How many of this process's descriptors are open on a file.
int TimesOpen(const std::filesystem::path& file) {
  int times = 0;
  for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    times += std::filesystem::read_symlink(descriptor, error) == std::filesystem::canonical(file);
  }
  return times;
}

class ProgramTest : public ShaderFixture {
 protected:
  /// Runs `work` while the n-th source is another.
  template <typename Work>
  int WithSource(int nth, const char* source, const Work& work) {
    g_shaderSource = __glewShaderSource;
    g_sourcesUntilReplaced = nth;
    g_replacement = source;
    const Replaced<PFNGLSHADERSOURCEPROC> replaced(__glewShaderSource, ReplaceSource);
    return work();
  }
  int InitEffect(int effect) { return Init(effect, 0, 1, 8, 8, 8); }
  bool Processes(int effect) {
    const TestBitmap bitmap = SolidBitmap(8, 8, {9, 9, 9, 9});
    return Program().Process(effect, bitmap.get(), bitmap.get(), 0) != 0;
  }
  static Lines LiveObjects() {
    Lines alive;
    for (GLuint name = 1; name < 4000; ++name) {
      const bool lives[] = {glIsTexture(name) != 0, glIsFramebuffer(name) != 0,
                            glIsShader(name) != 0, glIsProgram(name) != 0, glIsBuffer(name) != 0};
      for (int kind = 0; kind < 5; ++kind) {
        if (lives[kind])
          alive.push_back("kind " + std::to_string(kind) + ": " + std::to_string(name));
      }
    }
    return alive;
  }

  float m_parameters[5] = {0, 1, 8, 8, 8};
};

TEST_F(ProgramTest, EffectsByNumber) {
  EXPECT_EQ(Program().IsOperational(), 1);
  for (const int effect : {-1, 0, 1, 2, 3}) EXPECT_FALSE(Processes(effect)) << effect;
  EXPECT_EQ(InitEffect(-1), 0);
  EXPECT_EQ(InitEffect(3), 0);
  EXPECT_EQ(NewLogLines(), Lines());
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(InitEffect(2), 0) << "occlusion is switched off";
    EXPECT_FALSE(Processes(2));
  }
  EXPECT_EQ(NewLogLines(), Lines()) << "without a word";
  EXPECT_EQ(InitEffect(0), 1);
  EXPECT_EQ(NewLogLines(), (Lines{"---Creating Blur shader", "---Blur Shader operational"}));
  EXPECT_EQ(InitEffect(1), 1);
  EXPECT_EQ(NewLogLines(),
            (Lines{"---Creating Misc shader", "Selected Type = 8", "---Misc Shader operational"}));
  EXPECT_TRUE(Processes(0));
  EXPECT_TRUE(Processes(1));
  EXPECT_EQ(InitEffect(0), 1) << "again";
  EXPECT_EQ(Effects().arguments, (std::vector<std::pair<int, int>>(3, {2, 0})));
}

TEST_F(ProgramTest, EffectsWithoutMemoryAreMissing) {
  Faults faults;
  faults.Fail(FaultPoint::kAllocGAssist, 1);
  EXPECT_EQ(Effects().CreateShaderProgram(&m_info), nullptr);
  faults.Fail(FaultPoint::kAllocGAssist, 2, 2);  // blur and filters
  const auto program = MakeProgram();
  for (int effect = 0; effect < 3; ++effect) EXPECT_EQ(program->Init(effect, m_parameters, 5), 0);
}

TEST_F(ProgramTest, FailuresOfSetUpEndTheEffect) {
  const std::string blur = "---Creating Blur shader\n";
  const std::string filter = "---Creating Misc shader\nSelected Type = 8\n";
  const std::string compile = "---LoadShaderFromSource failed\n---Compile shader error!\n*";
  const std::string link = "---CreateProgramFromShaders failed\n---Error linking!\n*";
  const struct {
    int effect, nthSource;
    const char* source;  // null: the surface fails, or cannot be made (-1)
    std::string log;     // '*': what the GL says
  } cases[] = {{0, 0, nullptr, blur + "---Blur shader AllocateforShader failed\n"},
               {1, 0, nullptr, filter + "---Misc shader AllocateforShader failed\n"},
               {0, -1, nullptr, blur + "---Blur shader AllocateforShader failed\n"},
               {1, -1, nullptr, filter + "---Misc shader AllocateforShader failed\n"},
               {0, 1, kBroken, blur + compile + "---BlurFragmentShaderH failed\n"},
               {0, 2, kBroken, blur + compile + "---BlurFragmentShaderV failed\n"},
               {1, 1, kBroken, filter + compile + "---MiscFragmentShader failed\n"},
               {0, 1, kUnlinkable, blur + link},
               {0, 2, kUnlinkable, blur + link},
               {1, 1, kUnlinkable, filter + link}};
  MakeCurrent();
  for (const auto& each : cases) {
    const std::size_t before = LiveObjects().size();
    const auto program = MakeProgram();
    NewLogLines();
    Effects().refuses = !each.source;
    Faults faults;
    if (each.nthSource < 0) faults.Fail(FaultPoint::kAllocGAssist);
    EXPECT_EQ(WithSource(each.nthSource, each.source,
                         [&] { return program->Init(each.effect, m_parameters, 5); }),
              0);
    std::string log;
    for (const std::string& line : NewLogLines()) log += line + "\n";
    const std::size_t star = each.log.find('*');
    const std::string head = each.log.substr(0, star);
    const std::string tail = star < each.log.size() ? each.log.substr(star + 1) : "";
    EXPECT_TRUE(log.starts_with(head) && log.ends_with(tail)) << log << "\nwanted: " << each.log;
    EXPECT_EQ(log.size() > head.size() + tail.size(), star < each.log.size()) << log;
    EXPECT_EQ(program->Init(each.effect, m_parameters, 5), 0) << "gone for good";
    EXPECT_EQ(NewLogLines(), Lines());
    // A program that could not be linked stays, and keeps its shader.
    const std::size_t left = each.source == kUnlinkable ? 2 : 0;
    EXPECT_EQ(LiveObjects().size(), before + left) << each.log;
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << "nothing is released twice";
  }
}

/// Effects by themselves, without the program that takes those away that fail.
TEST_F(ProgramTest, EffectsThatFailOrWereNeverSetUpDoNotRun) {
  BlurShader blur(&m_info), unknown(nullptr);
  MiscShader filter(&m_info);
  const TestBitmap bitmap = SolidBitmap(8, 8, {9, 9, 9, 9});
  EXPECT_EQ(blur.ProcessShader(bitmap.get(), bitmap.get()), 0);
  EXPECT_EQ(unknown.InitShader(m_parameters, 5), 0) << "nobody tells the size of the output";
  for (const bool refuses : {false, true}) {
    Effects().refuses = refuses;
    EXPECT_EQ(blur.InitShader(m_parameters, 5), refuses ? 0 : 1);
    EXPECT_EQ(filter.InitShader(m_parameters, 5), refuses ? 0 : 1);
    EXPECT_EQ(blur.IsOperational(), refuses ? 0 : 1);
    EXPECT_EQ(filter.IsOperational(), refuses ? 0 : 1);
  }
}

TEST_F(ProgramTest, ProgramsFromSources) {
  MakeCurrent();
  const GLuint shader = Program().LoadShaderFromSource(kSound, GL_FRAGMENT_SHADER);
  ASSERT_NE(shader, 0u);
  Program().WriteInfoLog(shader);
  EXPECT_EQ(NewLogLines(), Lines()) << "nothing to say";
  const GLuint sound = Program().CreateProgramFromShaders(0, shader);
  EXPECT_NE(sound, 0u);
  EXPECT_EQ(NewLogLines(), Lines());
  const struct {
    GLenum unanswered;
    GLint length;  // of the log
    bool noMemory;
    Lines wanted;
  } cases[] = {{GL_LINK_STATUS, 4, false, {"Error linking!", "why"}},
               {GL_VALIDATE_STATUS, 4, false, {"Error validating!", "why"}},
               {GL_VALIDATE_STATUS, 1, false, {"Error validating!"}},
               {GL_VALIDATE_STATUS, 20, false, {"Error validating!"}},
               {GL_VALIDATE_STATUS, 9, true, {"Error validating!"}},
               {GL_VALIDATE_STATUS, 0, false, {}}};
  for (const auto& each : cases) {
    Faults faults;
    FreeExt(std::memset(AllocExt(20), 77, 20));  // is not to be told when the GL says nothing
    if (each.noMemory) faults.FailAlways(FaultPoint::kAllocExt);
    g_getProgramiv = __glewGetProgramiv;
    g_unanswered = each.unanswered;
    g_infoLogLength = each.length;
    const Replaced<PFNGLGETPROGRAMIVPROC> replaced(__glewGetProgramiv, SayInvalid);
    const Replaced<PFNGLGETPROGRAMINFOLOGPROC> log(__glewGetProgramInfoLog, SayWhy);
    EXPECT_EQ(Program().CreateProgramFromShaders(0, shader), 0u);
    const bool links = each.unanswered == GL_VALIDATE_STATUS;
    Lines wanted = {std::string("---CreateProgramFromShaders ") +
                    (links ? "Validation failed" : "failed")};
    for (const std::string& line : each.wanted)
      wanted.push_back(line == "why" ? line : "---" + line);
    EXPECT_EQ(NewLogLines(), wanted) << each.length;
  }
  EXPECT_EQ(Program().LoadShaderFromSource(kSound, GL_RGBA), 0u) << "the GL answers nothing";
  EXPECT_EQ(NewLogLines(), Lines{"---LoadShaderFromSource failed"});
  const GLuint vertices = Program().LoadShaderFromSource(kVertices, GL_VERTEX_SHADER);
  const GLuint both = Program().CreateProgramFromShaders(vertices, shader);
  GLint attached = 0;
  glGetProgramiv(both, GL_ATTACHED_SHADERS, &attached);
  EXPECT_EQ(attached, 2);
  EXPECT_EQ(NewLogLines(), Lines());
  glDeleteProgram(both);
  glDeleteShader(vertices);
  const GLuint empty = Program().CreateProgramFromShaders(0, 0);
  EXPECT_EQ(NewLogLines().front(), "---No shaders!");
  glDeleteProgram(empty);
  glDeleteProgram(sound);
  glDeleteShader(shader);

  const GLuint broken = glCreateShader(GL_VERTEX_SHADER);
  const char* source = kBroken;
  glShaderSource(broken, 1, &source, nullptr);
  glCompileShader(broken);
  Program().WriteInfoLog(broken);
  EXPECT_EQ(NewLogLines().front().substr(0, 3), "---");
  glDeleteShader(broken);
}

TEST_F(ProgramTest, FilesThatOpenAreErrorsAndOthersNothing) {
  MakeCurrent();
  const std::string path = Folder().Path("shader.frag");
  Folder().Write("shader.frag", kSound);
  EXPECT_EQ(TimesOpen(path), 0);
  EXPECT_EQ(Program().LoadShaderFromFile(path.c_str(), GL_FRAGMENT_SHADER), 0u);
  EXPECT_EQ(TimesOpen(path), 1) << "deliberately: it is left open";
  EXPECT_EQ(NewLogLines(), Lines{"---Error loading file " + path + "!"});
  for (const char* missing : {"/no/such/file", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(Program().LoadShaderFromFile(missing, GL_FRAGMENT_SHADER), 0u);
  }
  EXPECT_EQ(NewLogLines(), Lines());
}

TEST_F(ProgramTest, LogLines) {
  const auto log = [&] { return Folder().Read("GPUShader.log").substr(25); };
  EXPECT_EQ(log(), "") << "one stamp of 25 characters";
  Program().WriteLog("abc");
  Program().WriteLog("end\n");
  Program().WriteLog("a\nb");
  EXPECT_EQ(log(), "---abc\n---end\n---a\nb");
  std::filesystem::remove(Folder().Path("GPUShader.log"));
  MakeProgram();
  EXPECT_EQ(log(), "") << "made anew, with its stamp";

  for (const char* path : {"/proc/host", "host"}) {  // nothing can be made there
    g_programPath = path;
    Program().WriteLog("lost");
  }
  for (const std::string folder : {"/usr/bin/", "/usr/local/bin/", "/opt/"}) {  // nothing may be
    g_programPath = folder + "host";
    Program().WriteLog("lost");
    EXPECT_FALSE(std::filesystem::remove(folder + "GPUShader.log")) << folder;
  }
  EXPECT_EQ(InitEffect(1), 1);
  EXPECT_TRUE(Processes(1));
}

TEST_F(ProgramTest, TwoProcessesLoseNoLine) {
  constexpr int kLines = 300;
  for (const char* name : {"first", "second"}) {
    if (fork() != 0) continue;
    for (int i = 0; i < kLines; ++i) Program().WriteLog((name + std::to_string(i)).c_str());
    _exit(0);
  }
  for (int status = -1; wait(&status) > 0;) EXPECT_EQ(status, 0);
  Lines lines = NewLogLines(), wanted;
  for (int i = 0; i < kLines; ++i) {
    for (const char* name : {"---first", "---second"}) wanted.push_back(name + std::to_string(i));
  }
  std::sort(lines.begin(), lines.end());
  std::sort(wanted.begin(), wanted.end());
  EXPECT_EQ(lines, wanted);
}

TEST_F(ProgramTest, RunsLeaveNothingBehind) {
  ASSERT_EQ(InitEffect(0), 1);
  ASSERT_EQ(InitEffect(1), 1);
  const TestBitmap source = SolidBitmap(8, 8, {9, 99, 199, 255}),
                   destination(new HBitmapNode(8, 8));
  const auto run = [&] {
    for (const int effect : {0, 1}) {
      EXPECT_EQ(Program().Process(effect, source.get(), destination.get(), 0), 1);
    }
    destination->RemoveBuffers("ColorAlpha");
  };
  run();
  const Lines objects = LiveObjects(), alive = Alive();
  for (int i = 0; i < 500; ++i) run();
  EXPECT_EQ(LiveObjects(), objects);
  EXPECT_EQ(Alive(), alive);
  for (const GLenum binding : {GL_DRAW_FRAMEBUFFER_BINDING, GL_READ_FRAMEBUFFER_BINDING,
                               GL_TEXTURE_BINDING_2D, GL_CURRENT_PROGRAM}) {
    GLint bound = -1;
    glGetIntegerv(binding, &bound);
    EXPECT_EQ(bound, 0) << binding;
  }
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  ResetProgram();
  EXPECT_EQ(LiveObjects().size(), objects.size() - 6) << "three shaders, three programs";
}

TEST_F(ProgramTest, RunsWithoutPictureOrMemoryAnswer0) {
  ASSERT_EQ(InitEffect(1), 1);
  const Lines objects = LiveObjects();
  const TestBitmap source = SolidBitmap(8, 8, {9, 99, 199, 255}), none(new HBitmapNode(8, 8));
  EXPECT_EQ(Program().Process(1, none.get(), none.get(), 0), 0);
  EXPECT_EQ(Program().Process(1, nullptr, none.get(), 0), 0);
  {
    Faults faults;
    // The upload's bytes, those read back.
    for (const FaultPoint point : {FaultPoint::kAllocBitmap, FaultPoint::kAllocExt}) {
      faults.Fail(point, 1);
      EXPECT_EQ(Program().Process(1, source.get(), none.get(), 0), 0);
    }
  }
  EXPECT_EQ(LiveObjects(), objects);
  EXPECT_EQ(none->GetBufferHead(), nullptr);
  // A picture smaller than what the effect was set up for is black beyond itself, whatever the
  // memory held before.
  std::array<void*, 8> blocks{};
  for (void*& block : blocks) block = std::memset(AllocExt(8 * 8 * 4), 77, 8 * 8 * 4);
  for (void* block : blocks) FreeExt(block);
  const TestBitmap small = SolidBitmap(4, 4, {9, 99, 199, 255});
  EXPECT_EQ(Program().Process(1, small.get(), none.get(), 0), 1);
  const Pixels result = Result(*none);
  for (std::size_t i = 4 * 4 * 4; i < 8 * 8 * 4; ++i) EXPECT_EQ(result.bytes[i], 0) << i;
}

/// The GL's functions may not even be there then.
TEST_F(ProgramTest, EffectsNeedAnOperationalDriver) {
  ResetProgram();
  Effects().Terminate();
  EffectDriver fresh;
  hostkit::SetDriver(&fresh);
  const std::unique_ptr<GAShaderProgram> program(fresh.CreateShaderProgram(&m_info));
  for (const int effect : {0, 1}) EXPECT_EQ(program->Init(effect, m_parameters, 5), 0);
  EXPECT_TRUE(fresh.buffers.empty());
  hostkit::SetDriver(&Effects());
}

}  // namespace
