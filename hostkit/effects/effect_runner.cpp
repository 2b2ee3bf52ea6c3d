// Runs effects on pictures of any size through a renderer module.
#include "hostkit/effects/effect_runner.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/GAShaderProgram.h"
#include "host/RenderInfo.h"
#include "hostkit/effects/byte_image.h"
#include "hostkit/services/bitmap_calls.h"
#include "platform/gl.h"
#include "platform/platform.h"

namespace hostkit {
namespace {

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::time_point start, Clock::time_point end) {
  return std::chrono::duration<double, std::milli>(end - start).count();
}

/// The part of a picture that a window shows, over the edges the pixels of the edge.
void CutWindow(const HBitmapNode& picture, const WindowSpan& across, const WindowSpan& down,
               HBitmapNode* window) {
  const int inside = std::min(across.length, picture.GetWidth() - across.from);
  for (int y = 0; y < down.length; ++y) {
    const unsigned char* from = ByteRow(picture, std::min(down.from + y, picture.GetHeight() - 1));
    unsigned char* to = ByteRow(*window, y);
    std::memcpy(to, from + 4 * across.from, 4 * static_cast<std::size_t>(inside));
    for (int x = inside; x < across.length; ++x) {
      std::memcpy(to + 4 * x, from + 4 * (picture.GetWidth() - 1), 4);
    }
  }
}

void PasteWindow(const HBitmapNode& window, const WindowSpan& across, const WindowSpan& down,
                 HBitmapNode* picture) {
  const auto count = static_cast<std::size_t>(across.keepTo - across.keepFrom);
  for (int y = down.keepFrom; y < down.keepTo; ++y) {
    std::memcpy(HalfRow(*picture, y) + 4 * across.keepFrom,
                HalfRow(window, y - down.from) + 4 * (across.keepFrom - across.from),
                count * 4 * sizeof(std::uint16_t));
  }
}

}  // namespace

/// A shader program that is set up for one effect on windows of one size.
struct EffectRunner::Program {
  EffectCall call;
  int passes = 0, width = 0, height = 0;
  RenderInfo info;  // the program holds on to it
  std::unique_ptr<GAShaderProgram> shader;

  bool Fits(const EffectCall& wanted, int wantedPasses, int wantedWidth, int wantedHeight) const {
    return call.kind == wanted.kind && call.radius == wanted.radius && passes == wantedPasses &&
           width == wantedWidth && height == wantedHeight;
  }
};

/// As many passes as can be made without a look at the whole picture in between.
struct EffectRunner::Round {
  const EffectCall& call;
  int passes;
  const WindowPlan& plan;
};

/// Milliseconds of one call of the module.
struct EffectRunner::CallTimes {
  double process, upload;
  double between;  // passes and read-back
  double merge;
};

EffectRunner::EffectRunner(GADriver* driver, const EffectRunnerOptions& options)
    : m_driver(driver), m_options(options) {}
EffectRunner::~EffectRunner() = default;

std::unique_ptr<EffectRunner> EffectRunner::Create(GADriver* driver,
                                                   const EffectRunnerOptions& options,
                                                   std::string* error) {
  if (!driver || !driver->IsOperational()) {
    *error = "there is no usable OpenGL; see what gl3 info --check finds";
    return nullptr;
  }
  if (!driver->IsSupportGPU()) {
    *error = "this OpenGL has no shaders, which effects need; try --device cpu";
    return nullptr;
  }
  std::unique_ptr<EffectRunner> runner(new EffectRunner(driver, options));
  return runner->ReadLimits(error) ? std::move(runner) : nullptr;
}

/// Asks a context of the driver's, on a small surface made for that.
bool EffectRunner::ReadLimits(std::string* error) {
  RenderInfo info;
  const std::unique_ptr<GABuffer> buffer(m_driver->CreateBuffer(&info, GABuffer::kOffScreen, 0));
  if (!buffer || !buffer->Reallocate(4, 4, GABuffer::kWithoutDepth)) {
    *error = "no drawing surface can be made; see what gl3 info --check finds";
    return false;
  }
  m_rendererName = platform::CurrentRenderer() + ", OpenGL " + platform::CurrentVersion();
  // The module starts with the older GL_EXT_framebuffer_object as well, whose functions have other
  // names; its effects would call null.
  if (!glGenFramebuffers) {
    *error = fmt::format(
        "effects need GL_ARB_framebuffer_object, which {} lacks; update the "
        "OpenGL driver, or try --device cpu",
        m_rendererName);
    return false;
  }
  GLint maxTexture = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxTexture);
  constexpr int kLeastWindow = 8;
  m_options.maxWindow =
      std::max(kLeastWindow, std::min(m_options.maxWindow, static_cast<int>(maxTexture)) / 4 * 4);
  return true;
}

EffectRunner::Program* EffectRunner::FindProgram(const EffectCall& call, int passes, int width,
                                                 int height) {
  for (const std::unique_ptr<Program>& program : m_programs) {
    if (program->Fits(call, passes, width, height)) return program.get();
  }
  return nullptr;
}

EffectRunner::Program* EffectRunner::MakeProgram(const EffectCall& call, int passes, int width,
                                                 int height, std::string* error) {
  auto program = std::make_unique<Program>();
  program->call = call;
  program->passes = passes;
  program->width = program->info.imageWidth = width;
  program->height = program->info.imageHeight = height;
  program->shader.reset(m_driver->CreateShaderProgram(&program->info));
  const bool isBlur = call.kind->program == GAShaderProgram::kBlur;
  // The module reads as many as the effect has, whatever the count. Filters have theirs at the same
  // places, with their number where blur has its radius.
  static_assert(int{GAShaderProgram::kFilterNumber} == int{GAShaderProgram::kBlurRadius} &&
                int{GAShaderProgram::kFilterHeight} == int{GAShaderProgram::kBlurHeight});
  float parameters[GAShaderProgram::kBlurParameters] = {
      float{GAShaderProgram::kMergeNewBuffer}, static_cast<float>(passes),
      isBlur ? call.radius : static_cast<float>(call.kind->filter), static_cast<float>(width),
      static_cast<float>(height)};
  if (!program->shader || !program->shader->Init(call.kind->program, parameters,
                                                 static_cast<int>(std::size(parameters)))) {
    *error = fmt::format(
        "effect {}: its shaders cannot be set up on {}; GPUShader.log beside a program outside of "
        "/usr and /opt tells why, or try --device cpu",
        call.kind->name, m_rendererName);
    return nullptr;
  }
  m_programs.push_back(std::move(program));
  return m_programs.back().get();
}

BitmapPtr EffectRunner::ProcessOnce(const Round& round, int passes, HBitmapNode& window,
                                    CallTimes* times, std::string* error) {
  const int width = round.plan.WindowWidth(), height = round.plan.WindowHeight();
  Program* program = FindProgram(round.call, passes, width, height);
  if (!program) program = MakeProgram(round.call, passes, width, height, error);
  if (!program) return nullptr;
  BitmapPtr result(new HBitmapNode(width, height));
  const auto start = Clock::now();
  const int done = program->shader->Process(round.call.kind->program, &window, result.get(), 0);
  const auto end = Clock::now();
  const BitmapCalls& calls = LastBitmapCalls();
  *times = {Milliseconds(start, end), Milliseconds(calls.bytesAsked, calls.bytesReleased),
            Milliseconds(calls.bytesReleased, calls.bufferAsked),
            Milliseconds(calls.bufferAsked, end)};
  const HBitmapBuffer* colors = result->FindBuffer("ColorAlpha");
  if (done && colors && colors->Data()) return result;
  *error = fmt::format("effect {}: {}", round.call.kind->name, kNoEffectMemory);
  return nullptr;
}

BitmapPtr EffectRunner::Process(const Round& round, HBitmapNode& window, EffectTimes* times,
                                std::string* error) {
  CallTimes bare{};
  if (m_options.measuresParts && !ProcessOnce(round, 0, window, &bare, error)) return nullptr;
  CallTimes full{};
  BitmapPtr result = ProcessOnce(round, round.passes, window, &full, error);
  times->process += full.process;
  if (m_options.measuresParts) {
    // The GL works behind our back, so what of the time in between went into passes shows only by
    // comparison with a run that has none.
    const double passes = std::max(full.between - bare.between, 0.0);
    times->upload += full.upload;
    times->passes += passes;
    times->readBack += full.between - passes;
    times->merge += full.merge;
  }
  return result;
}

BitmapPtr EffectRunner::RunRound(const Round& round, HBitmapNode& source, EffectTimes* times,
                                 std::string* error) {
  const std::vector<WindowSpan>& across = round.plan.across.spans;
  const std::vector<WindowSpan>& down = round.plan.down.spans;
  const int width = source.GetWidth(), height = source.GetHeight();
  if (round.plan.WindowWidth() == width && round.plan.WindowHeight() == height) {
    return Process(round, source, times, error);
  }
  BitmapPtr result = NewHalfBitmap(width, height);
  const BitmapPtr window = NewByteBitmap(round.plan.WindowWidth(), round.plan.WindowHeight());
  if (!result || !window) {
    *error = kNoEffectMemory;
    return nullptr;
  }
  for (const WindowSpan& y : down) {
    for (const WindowSpan& x : across) {
      CutWindow(source, x, y, window.get());
      const BitmapPtr part = Process(round, *window, times, error);
      if (!part) return nullptr;
      PasteWindow(*part, x, y, result.get());
    }
  }
  return result;
}

/// Chooses the windows for a picture.
bool EffectRunner::Plan(const EffectCall& call, const HBitmapNode& source, WindowPlan* plan,
                        std::string* error) {
  const int passes = static_cast<int>(call.passes), reach = ReachOf(call);
  const auto planWith = [&](WindowFit fit) {
    return PlanWindows(source.GetWidth(), source.GetHeight(), m_options.maxWindow, reach, passes,
                       fit);
  };
  *plan = planWith(WindowFit::kOwn);
  if (!plan->IsEmpty() && static_cast<int>(m_programs.size()) >= m_options.ownSizes &&
      !FindProgram(call, plan->Passes(), plan->WindowWidth(), plan->WindowHeight())) {
    *plan = planWith(WindowFit::kShared);
  }
  if (!plan->IsEmpty()) return true;
  *error = fmt::format(
      "effect {}: a radius of {} is too large for textures of {} pixels a side; give a smaller one",
      call.kind->name, call.radius, m_options.maxWindow);
  return false;
}

BitmapPtr EffectRunner::Run(const EffectCall& call, HBitmapNode& source, EffectTimes* times,
                            std::string* error) {
  const int passes = static_cast<int>(call.passes);
  WindowPlan plan;
  if (!Plan(call, source, &plan, error)) return nullptr;
  EffectTimes unused;
  BitmapPtr bytes, result;
  for (int left = passes; !result || left > 0;) {
    if (result) bytes = BytesFromHalves(*result);
    if (result && !bytes) {
      *error = kNoEffectMemory;
      return nullptr;
    }
    const Round round{call, std::min(left, plan.Passes()), plan};
    result = RunRound(round, bytes ? *bytes : source, times ? times : &unused, error);
    if (!result) return nullptr;
    left -= round.passes;
  }
  return result;
}

}  // namespace hostkit
