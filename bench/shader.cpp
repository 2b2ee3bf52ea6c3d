// Effects, step by step and as a whole, against bare OpenGL that does the same with the same
// programs, and against copying the bytes that a merge writes.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/support/bare_surface.h"
#include "bench/support/harness.h"
#include "bench/support/host_module.h"
#include "shader/Gl3ShaderMainSources.h"
#include "shader/Gl3ShaderProgram.h"

namespace bench {
namespace {

struct Size {
  int width, height;

  std::size_t Pixels() const { return static_cast<std::size_t>(width) * height; }
};
constexpr Size kSizes[] = {{960, 540}, {1920, 1080}};
constexpr int kTargetWidth = 1920;  // targets are for this size
constexpr int kManyPasses = 5;
constexpr float kRadius = 10;
constexpr int kSteps = 7;  // of that radius
constexpr double kMostMerge = 3, kMostFilter = 1.3;

enum Effect : int { kBlur = 0, kFilter = 1 };

BitmapPtr MakePicture(Size size) {
  BitmapPtr bitmap(new HBitmapNode(size.width, size.height));
  HRGBABuffer* buffer =
      bitmap->CreateRGBABuffer("Color", HBitmapBuffer::kByteChannel, size.width, size.height);
  bitmap->AddBuffer(buffer);
  buffer->AllocateData(0);
  auto* bytes = static_cast<std::uint8_t*>(buffer->GetData(0));
  for (std::size_t i = 0; i < size.Pixels() * 4; ++i) {
    const double wave = std::sin(static_cast<double>(i) * 0.003) * 90 + 120;
    bytes[i] = i % 4 == 3 ? 255 : static_cast<std::uint8_t>(wave + static_cast<double>(i % 7));
  }
  return bitmap;
}

GLuint MakeProgram(const char* source) {
  const GLuint shader = glCreateShader(GL_FRAGMENT_SHADER);
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  const GLuint program = glCreateProgram();
  glAttachShader(program, shader);
  glLinkProgram(program);
  glDeleteShader(shader);
  glUseProgram(program);
  return program;
}

GLint Uniform(GLuint program, const char* name) {
  return glGetUniformLocation(program, name);
}

GLuint MakeBlurProgram(const char* source, int side) {
  const GLuint program = MakeProgram(source);
  glUniform1f(Uniform(program, "e_step"), 1.0f / static_cast<float>(side));
  glUniform1i(Uniform(program, "steps"), kSteps);
  glUniform1f(Uniform(program, "radius"), kRadius);
  glUniform1f(Uniform(program, "bloom"), 1.0f / (2 * kSteps + 1));
  return program;
}

GLuint MakeSobelProgram(Size size) {
  const GLuint program = MakeProgram(kFilterSource);
  GLfloat offsets[9][2];
  for (int i = 0; i < 9; ++i) {
    const int column = i / 3 - 1, row = i % 3 - 1;
    offsets[i][0] = static_cast<float>(column) / static_cast<float>(size.width);
    offsets[i][1] = static_cast<float>(row) / static_cast<float>(size.height);
  }
  glUniform2fv(Uniform(program, "tcOffset"), 9, offsets[0]);
  glUniform1i(Uniform(program, "filterNumber"), 8);
  return program;
}

GLuint MakeTexture(Size size, const void* bytes, GLenum format) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
    glTexParameteri(GL_TEXTURE_2D, filter, GL_LINEAR);
  }
  for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
    glTexParameteri(GL_TEXTURE_2D, wrap, GL_CLAMP_TO_EDGE);
  }
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, size.width, size.height, 0, format, GL_UNSIGNED_BYTE,
               bytes);
  return texture;
}

/// The effects' GL calls without a module: upload, passes, copies, read-back.
class BareEffect {
 public:
  explicit BareEffect(const HBitmapNode& picture)
      : m_size{picture.GetWidth(), picture.GetHeight()},
        m_surface(m_size.width, m_size.height),
        m_bytes(PackedBytes(picture, 3)),
        m_result(m_size.Pixels() * 4) {
    glDisable(GL_LIGHTING);
    glDisable(GL_BLEND);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_ALPHA_TEST);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glEnable(GL_TEXTURE_2D);
    sobel = {MakeSobelProgram(m_size)};
    blur = {MakeBlurProgram(kBlurVerticalSource, m_size.height),
            MakeBlurProgram(kBlurHorizontalSource, m_size.width)};
    glUseProgram(0);
  }

  void MakeCurrent() {
    m_surface.MakeCurrent();
    glFinish();
  }
  GLuint Upload() const { return MakeTexture(m_size, m_bytes.data(), GL_RGB); }

  void Run(const std::vector<GLuint>& programs, int passes) {
    const GLuint work = MakeTexture(m_size, nullptr, GL_RGBA);
    GLuint frame = 0;
    glGenFramebuffers(1, &frame);
    glBindFramebuffer(GL_FRAMEBUFFER, frame);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, work, 0);
    const GLuint picture = Upload();
    Draw(0);
    for (int pass = 0; pass < passes; ++pass) {
      for (const GLuint program : programs) {
        Draw(program);
        glUseProgram(0);
        Copy();
      }
    }
    Copy();
    glDeleteTextures(1, &work);
    glDeleteFramebuffers(1, &frame);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, m_result.data());
    glDeleteTextures(1, &picture);
  }
  /// The last run's red, green, blue bytes.
  std::vector<std::uint8_t> Result() const {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < m_result.size(); ++i) {
      if (i % 4 != 3) bytes.push_back(m_result[i]);
    }
    return bytes;
  }

  std::vector<GLuint> sobel, blur;

 private:
  static void Draw(GLuint program) {
    constexpr float kCorners[4][2] = {{0, 0}, {0, 1}, {1, 1}, {1, 0}};
    if (program) glUseProgram(program);
    glBegin(GL_POLYGON);
    for (const auto& [u, v] : kCorners) {
      glTexCoord2f(u, v);
      glVertex2f(2 * u - 1, 2 * v - 1);
    }
    glEnd();
  }
  void Copy() const {
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, m_size.width, m_size.height);
  }

  Size m_size;
  BareSurface m_surface;
  std::vector<std::uint8_t> m_bytes, m_result;
};

/// The module's effects on the same picture.
class HostEffects {
 public:
  HostEffects(GADriver* driver, Size size) {
    m_info.imageWidth = size.width;
    m_info.imageHeight = size.height;
    m_program.reset(driver->CreateShaderProgram(&m_info));
  }
  bool Init(Effect effect, int passes) {
    float parameters[] = {0, static_cast<float>(passes), effect == kBlur ? kRadius : 8,
                          static_cast<float>(m_info.imageWidth),
                          static_cast<float>(m_info.imageHeight)};
    return m_program && m_program->Init(effect, parameters, 5) != 0;
  }
  GAShaderProgram& Program() { return *m_program; }
  /// Called through the class's virtual functions, which the module has.
  GL3GAShaderProgram& Parts() { return static_cast<GL3GAShaderProgram&>(*m_program); }

 private:
  RenderInfo m_info;
  std::unique_ptr<GAShaderProgram> m_program;
};

struct Setting {
  Size size;
  BareEffect& bare;
  HostEffects& effects;
  const BitmapPtr& picture;
  const Options& options;
  Report& report;
};

void AddRow(const Setting& s, Row row, double mostRatio) {
  row.sizeText = fmt::format("{}x{}", s.size.width, s.size.height);
  if (s.size.width == kTargetWidth) row.mostRatio = mostRatio;
  s.report.Add(row);
}

void MeasureUpload(const Setting& s) {
  GLuint texture = 0;
  const auto start = [&] { s.bare.MakeCurrent(); };
  const auto end = [&] { glDeleteTextures(1, &texture); };
  const Work floor = {start,
                      [&] {
                        texture = s.bare.Upload();
                        glFinish();
                      },
                      end};
  const Work ours = {start,
                     [&] {
                       int pixels = 0;
                       texture = s.effects.Parts().CreateTextureForShader(s.picture.get(), pixels);
                       glFinish();
                     },
                     end};
  AddRow(s, MeasureRow("upload", static_cast<double>(s.size.Pixels()), {floor}, ours, s.options),
         0);
  if (s.options.oursOnly) return;
  const auto readAfter = [&](const Work& work) {
    work.prepare();
    work.run();
    const std::vector<std::uint8_t> texels = ReadTexture(texture, s.size.width, s.size.height);
    work.cleanUp();
    return texels;
  };
  const std::string problem = Compare(readAfter(floor), readAfter(ours));
  if (!problem.empty()) s.report.Fail("upload: " + problem);
}

/// A run; the figures are those of the effect's default of one pass unless there are more.
Row MeasureRun(const Setting& s, const char* name, Effect effect, int passes) {
  if (!s.effects.Init(effect, passes)) s.report.Fail("an effect could not be set up");
  const std::vector<GLuint>& programs = effect == kBlur ? s.bare.blur : s.bare.sobel;
  BitmapPtr result;
  const Work floor = {[&] { s.bare.MakeCurrent(); }, [&] { s.bare.Run(programs, passes); }, {}};
  const Work ours = {[&] {
                       result.reset(new HBitmapNode(s.size.width, s.size.height));
                       glFinish();
                     },
                     [&] {
                       if (!s.effects.Program().Process(effect, s.picture.get(), result.get(), 0)) {
                         s.report.Fail("an effect did not run");
                       }
                     },
                     {}};
  Row row = MeasureRow(name, static_cast<double>(s.size.Pixels()), {floor}, ours, s.options);
  if (!s.options.oursOnly) {
    const std::string problem = Compare(s.bare.Result(), ToBytes(*result));
    if (!problem.empty()) s.report.Fail(name + (": " + problem));
  }
  return row;
}

Figure Difference(const Figure& more, const Figure& less, double parts) {
  return {(more.wall - less.wall) / parts, (more.cpu - less.cpu) / parts};
}

void MeasureRuns(const Setting& s) {
  AddRow(s, MeasureRun(s, "no pass: up, back and merge", kFilter, 0), 0);
  const Row one = MeasureRun(s, "whole Sobel filter", kFilter, 1);
  const Row many = MeasureRun(s, "the same, several passes", kFilter, kManyPasses);
  Row pass = one;
  pass.work = "one pass of it";
  pass.floor = Difference(many.floor, one.floor, kManyPasses - 1);
  pass.ours = Difference(many.ours, one.ours, kManyPasses - 1);
  AddRow(s, pass, 0);
  AddRow(s, one, kMostFilter);
  AddRow(s, MeasureRun(s, "whole blur, radius 10", kBlur, 1), kMostFilter);
}

/// Mode 0 writes into a new buffer, as does its floor; the other mode into one that is there.
void MeasureMerge(const Setting& s, int mode) {
  const Size size = s.size;
  const std::size_t written = size.Pixels() * 8;
  std::vector<std::uint8_t> bytes(size.Pixels() * 4);
  std::memcpy(bytes.data(), s.picture->GetBufferHead()->Data(), bytes.size());
  const std::vector<std::uint64_t> words(size.Pixels(), 0x3c00380034003000);
  BitmapPtr bitmap;
  const auto add = [&] {
    HRGBABuffer* buffer = bitmap->CreateRGBABuffer("ColorAlpha", HBitmapBuffer::kHalfChannel,
                                                   size.width, size.height);
    bitmap->AddBuffer(buffer);
    buffer->AllocateData(0);
    return buffer->Data();
  };
  const auto start = [&] {
    bitmap.reset(new HBitmapNode(s.size.width, s.size.height));
    if (mode != 0) std::memset(add(), 1, written);
  };
  const Work floor = {start,
                      [&] {
                        void* to = mode == 0 ? add() : bitmap->GetBufferHead()->Data();
                        std::memcpy(to, words.data(), written);
                      },
                      {}};
  const Work ours = {start,
                     [&] {
                       s.effects.Parts().MergeBuffers(bitmap.get(), bitmap.get(), bytes.data(),
                                                      mode, 0, 0, size.width, size.height);
                     },
                     {}};
  const char* name = mode == 0 ? "merge into a new buffer" : "merge over the source";
  AddRow(s, MeasureRow(name, static_cast<double>(s.size.Pixels()), {floor}, ours, s.options),
         kMostMerge);
  if (s.options.oursOnly) return;
  ours.prepare();
  ours.run();
  const std::string problem = Compare(PackedBytes(*s.picture, 3), ToBytes(*bitmap));
  if (!problem.empty()) s.report.Fail(name + (": " + problem));
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  for (const Size size : kSizes) {
    const BitmapPtr picture = MakePicture(size);
    HostEffects effects(module.Driver(), size);
    BareEffect bare(*picture);
    const Setting setting = {size, bare, effects, picture, options, report};
    MeasureUpload(setting);
    MeasureRuns(setting);
    MeasureMerge(setting, 0);
    MeasureMerge(setting, 1);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "shader", bench::Run);
}
