// Reading, filtering and writing pictures, in a supervised child.
#include "apps/work/filter/filter_child.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "apps/base/text.h"
#include "apps/work/common/confine_work.h"
#include "apps/work/common/driver_session.h"
#include "apps/work/common/file_hash.h"
#include "apps/work/common/picture_reader.h"
#include "apps/work/common/stopwatch.h"
#include "apps/work/filter/filter_report.h"
#include "host/Services.h"
#include "hostkit/effects/effect_chain.h"
#include "hostkit/effects/effect_twins.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/pictures/picture_formats.h"
#include "hostkit/pictures/picture_guards.h"
#include "hostkit/pictures/picture_in.h"
#include "hostkit/pictures/picture_scale.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"

namespace gl3 {
namespace {

constexpr const char* kThreadsSection = "General";
constexpr const char* kThreadsKey = "OpenMP Threads";

/// One child's work with what its pictures share.
class FilterRun {
 public:
  FilterRun(const FilterJob& job, const FilterPart& part, ParentLine& line)
      : m_job(job), m_part(part), m_line(line), m_done(part.done) {
    m_warnedOfClipping = part.hasWarnedOfClipping;
  }

  Outcome Run();

 private:
  Outcome StartDriver();
  void FilterOne(std::size_t index, FilteredPicture* report);
  Outcome Read(FilteredPicture* report, hostkit::BitmapPtr* picture);
  Outcome Scale(const std::string& input, hostkit::BitmapPtr* picture) const;
  Outcome RunEffects(hostkit::BitmapPtr bitmap, FilteredPicture* report, hostkit::Picture* picture);
  hostkit::Recipe MakeRecipe(const std::string& input) const;
  Outcome Write(const hostkit::Picture& picture, FilteredPicture* report);
  Outcome Compare(const FilteredPicture& report) const;
  void Warn(const std::string& text, bool ofClipping = false);

  const FilterJob& m_job;
  const FilterPart& m_part;
  ParentLine& m_line;
  std::size_t m_done;  // pictures of the run that are there
  FilterStart m_start;
  std::string m_inputHash;  // of the picture at hand
  bool m_warnedOfClipping = false;
  std::unique_ptr<PictureReader> m_reader;
  std::unique_ptr<DriverSession> m_session;
  std::unique_ptr<hostkit::EffectRunner> m_runner;
};

void FilterRun::Warn(const std::string& text, bool ofClipping) {
  m_line.Warn(text);
  m_line.Tell(WarningPiece(text, ofClipping));
}

Outcome FilterRun::StartDriver() {
  const FilterOptions& options = m_job.options;
  Outcome outcome;
  m_reader = PictureReader::Start(options.run, m_line, &outcome);
  if (!m_reader) return outcome;
  const auto outputs = options.stream.IsOpen() ? std::vector<std::string>() : m_job.outputs;
  outcome = ConfineDrawing({options.inputs, outputs}, options.run.module, options.run.confined);
  if (outcome.status != kDone) return outcome;
  if (options.effects.calls.empty()) {  // converting takes no OpenGL
    m_line.Tell(StartPiece(m_start));
    return {};
  }
  m_line.Enter(Phase::kStart, "OpenGL");
  const Stopwatch watch;
  // The module reads its settings when it is loaded.
  if (options.threads > 0) {
    hostkit::OverrideRegistryValue(kThreadsSection, kThreadsKey, options.threads);
  }
  m_session = DriverSession::Start({options.run.device, options.run.module}, &outcome);
  const std::string trouble = hostkit::RegistryError();
  if (!trouble.empty() && m_part.isFirst) Warn(trouble);
  if (!m_session) return outcome;
  hostkit::EffectRunnerOptions runnerOptions;
  runnerOptions.measuresParts = options.run.json;
  std::string error;
  m_runner = hostkit::EffectRunner::Create(m_session->Driver(), runnerOptions, &error);
  if (!m_runner) return {kNoOpenGl, error};
  const platform::DisplayReport& display = platform::DescribeDisplay();
  m_start = {m_runner->RendererName(),
             display.platform,
             display.device,
             display.software,
             GetRegistryValue(kThreadsSection, kThreadsKey, 1),
             watch.Milliseconds()};
  m_line.Tell(StartPiece(m_start));
  m_line.Note(fmt::format("{}: loaded; {}; threads: {}", m_session->ModulePath(), m_start.renderer,
                          m_start.threads));
  return {};
}

Outcome FilterRun::Read(FilteredPicture* report, hostkit::BitmapPtr* picture) {
  const Stopwatch watch;
  hostkit::PictureFacts facts;
  const auto kind = m_job.options.effects.calls.empty() ? hostkit::PixelKind::kHalves
                                                        : hostkit::PixelKind::kBytes;
  Outcome outcome = m_reader->Read(report->input, kind, picture, &facts);
  if (outcome.status != kDone) return outcome;
  report->width = (*picture)->GetWidth();
  report->height = (*picture)->GetHeight();
  if (!m_job.outputs.empty()) m_inputHash = HashFile(report->input);
  report->read = watch.Milliseconds();
  if (facts.wasLinear) m_line.Note(report->input + ": its linear light was encoded for display");
  const hostkit::StreamTarget& stream = m_job.options.stream;
  const hostkit::PictureFormat* format =
      hostkit::FindWrittenFormat(stream.IsOpen() ? "x." + stream.kind : report->output);
  const bool areCut =
      facts.clipped && (kind == hostkit::PixelKind::kBytes || !format || !format->keepsHalves);
  if (areCut && !std::exchange(m_warnedOfClipping, true)) {
    const char* what =
        kind == hostkit::PixelKind::kBytes ? "effects work on" : "all kinds but .exr hold";
    Warn(fmt::format("{}: colours above 1 were cut, since {} 8 bits from 0 to 1; scale its light "
                     "down first to keep them",
                     report->input, what),
         true);
  }
  return {};
}

/// To the size that is asked for, if any.
Outcome FilterRun::Scale(const std::string& input, hostkit::BitmapPtr* picture) const {
  const FilterOptions& options = m_job.options;
  if (options.width == 0 && options.height == 0) return {};
  const long long across = (*picture)->GetWidth(), down = (*picture)->GetHeight();
  const auto inProportion = [](long long side, long long part, long long whole) {
    return std::max((side * part + whole / 2) / whole, 1LL);
  };
  const long long width =
      options.width > 0 ? options.width : inProportion(options.height, across, down);
  const long long height =
      options.height > 0 ? options.height : inProportion(options.width, down, across);
  const std::string refusal = hostkit::SizeRefusal(width, height, UINT64_MAX);
  if (!refusal.empty()) return {kUnreadableInput, input + ": scaled to " + refusal};
  *picture = hostkit::ScalePicture(**picture, static_cast<int>(width), static_cast<int>(height));
  if (*picture) return {};
  return {kRunFailed, input + ": memory ran out; try a smaller picture or size"};
}

Outcome FilterRun::RunEffects(hostkit::BitmapPtr bitmap, FilteredPicture* report,
                              hostkit::Picture* picture) {
  if (m_job.options.effects.calls.empty()) {
    const bool hasAlpha = hostkit::HasAlpha(*bitmap);
    *picture = {std::move(bitmap), hasAlpha};
    return {};
  }
  m_line.Enter(Phase::kDraw, report->input);
  const Stopwatch watch;
  std::string error;
  *picture =
      hostkit::RunEffects(*m_runner, m_job.options.effects.calls, m_job.options.verify,
                          hostkit::TakeByteBitmap(std::move(bitmap)), &report->steps, &error);
  report->effects = watch.Milliseconds();
  if (!picture->bitmap) return {kRunFailed, report->input + ": " + error};
  m_line.Note(fmt::format("{}: effects took {:.1f} ms", report->input, report->effects));
  return {};
}

hostkit::Recipe FilterRun::MakeRecipe(const std::string& input) const {
  const RecipeKind kind = m_job.options.recipe;
  if (kind == RecipeKind::kNone) return {};
  hostkit::Recipe recipe = {{"gl3:command", m_job.command.Of(input)}, {"gl3:version", GL3_VERSION}};
  if (m_runner) recipe.emplace_back("gl3:renderer", m_start.renderer);
  recipe.emplace_back("gl3:input", RecipePath(input, kind) + " " + m_inputHash);
  return recipe;
}

Outcome FilterRun::Write(const hostkit::Picture& picture, FilteredPicture* report) {
  if (m_job.outputs.empty()) return {};
  m_line.Enter(m_job.options.stream.IsOpen() ? Phase::kSend : Phase::kWrite, report->output);
  const Stopwatch watch;
  std::string error;
  hostkit::PictureOptions options;
  options.quality = m_job.options.jpegQuality;
  options.exrEncoding = m_job.options.exrEncoding;
  const hostkit::Recipe recipe = MakeRecipe(report->input);
  const hostkit::StreamTarget& stream = m_job.options.stream;
  const bool isWritten =
      stream.IsOpen() ? hostkit::StreamPicture(stream, picture, recipe, options, &error)
                      : hostkit::WritePicture(report->output, picture, recipe, options, &error);
  if (!isWritten) return {kUnwritableOutput, error};
  report->write = watch.Milliseconds();
  m_line.Note(fmt::format("{}: written in {:.1f} ms", report->output, report->write));
  return {};
}

Outcome FilterRun::Compare(const FilteredPicture& report) const {
  for (std::size_t i = 0; m_job.options.verify && i < report.steps.size(); ++i) {
    const hostkit::EffectCall& call = m_job.options.effects.calls[i];
    const int difference = report.steps[i].difference, bound = hostkit::DifferenceBound(call);
    if (difference <= bound) continue;
    return {
        kMismatch,
        fmt::format("{}: {} differs from the processor's by {}/255, and {}/255 are allowed; try "
                    "--device cpu or another OpenGL driver",
                    report.input, DescribeEffect(call), difference, bound)};
  }
  return {};
}

void FilterRun::FilterOne(std::size_t index, FilteredPicture* report) {
  report->input = m_job.options.inputs[index];
  if (!m_job.outputs.empty()) report->output = m_job.outputs[index];
  hostkit::BitmapPtr bitmap;
  hostkit::Picture picture;
  Outcome outcome = Read(report, &bitmap);
  if (outcome.status == kDone) outcome = Scale(report->input, &bitmap);
  if (outcome.status == kDone) outcome = RunEffects(std::move(bitmap), report, &picture);
  if (outcome.status == kDone) outcome = Write(picture, report);
  if (outcome.status == kDone) {
    ++m_done;
    outcome = Compare(*report);
  }
  report->status = outcome.status;
  report->error = outcome.message;
}

Outcome FilterRun::Run() {
  const std::size_t count = m_job.options.inputs.size();
  // At once: should the driver not start again, the user is told what is there.
  if (!m_part.isFirst) m_line.Progress(m_done, count, "");
  Outcome outcome = StartDriver();
  if (outcome.status != kDone) return outcome;
  for (const std::size_t index : m_part.pictures) {
    const std::string& input = m_job.options.inputs[index];
    if (count > 1) m_line.Progress(m_done, count, input);
    FilteredPicture report;
    FilterOne(index, &report);
    if (report.status != kDone) m_line.Fail(report.error);
    if (count > 1) m_line.Progress(m_done, count, input);
    m_line.Tell(PicturePiece(report, m_job.options.effects.calls));
    if (!m_reader->IsAlive()) return {};  // another child goes on
    if (m_job.options.stream.IsOpen() && report.status == kUnwritableOutput) return {};
  }
  if (count > 1) m_line.Progress(m_done, count, "");
  return {};
}

}  // namespace

Outcome FilterPictures(const FilterJob& job, const FilterPart& part, ParentLine& line) {
  return FilterRun(job, part, line).Run();
}

}  // namespace gl3
