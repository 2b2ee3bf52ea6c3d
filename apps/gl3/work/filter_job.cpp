// The work of `gl3 filter`, from picture files to picture files.
#include "apps/gl3/work/filter_job.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "apps/gl3/text.h"
#include "apps/gl3/work/driver_session.h"
#include "apps/gl3/work/filter_report.h"
#include "apps/gl3/work/render_recipe.h"
#include "apps/gl3/work/stopwatch.h"
#include "host/Services.h"
#include "hostkit/effects/effect_chain.h"
#include "hostkit/effects/effect_twins.h"
#include "hostkit/scene/picture.h"
#include "hostkit/scene/picture_in.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"

namespace gl3 {
namespace {

constexpr const char* kThreadsSection = "General";
constexpr const char* kThreadsKey = "OpenMP Threads";

/// One run with what its pictures share.
class FilterRun {
 public:
  FilterRun(const FilterJob& job, ParentLine& line) : m_job(job), m_line(line) {}

  Outcome Run(std::string* result);

 private:
  Outcome StartDriver();
  Outcome FilterOne(std::size_t index, FilteredPicture* report);
  Outcome Read(FilteredPicture* report, hostkit::ByteImage* image);
  Outcome RunEffects(hostkit::ByteImage image, FilteredPicture* report, hostkit::Picture* picture);
  Outcome Write(const hostkit::Picture& picture, FilteredPicture* report);
  Outcome Compare(const FilteredPicture& report) const;
  bool IsThere(std::size_t index) const;
  void Warn(const std::string& text);

  const FilterJob& m_job;
  ParentLine& m_line;
  FilterReport m_report;
  bool m_warnedOfClipping = false;
  std::unique_ptr<DriverSession> m_session;
  std::unique_ptr<hostkit::EffectRunner> m_runner;
};

void FilterRun::Warn(const std::string& text) {
  m_line.Warn(text);
  m_report.warnings.push_back(text);
}

Outcome FilterRun::StartDriver() {
  const FilterOptions& options = m_job.options;
  m_line.Enter(Phase::kStart, "OpenGL");
  const Stopwatch watch;
  // The module reads its settings when it is loaded.
  if (options.threads > 0) {
    hostkit::OverrideRegistryValue(kThreadsSection, kThreadsKey, options.threads);
  }
  Outcome outcome;
  m_session = DriverSession::Start({options.run.device, options.run.module}, &outcome);
  if (const std::string trouble = hostkit::RegistryError(); !trouble.empty()) Warn(trouble);
  if (!m_session) return outcome;
  hostkit::EffectRunnerOptions runnerOptions;
  runnerOptions.measuresParts = options.run.json;
  std::string error;
  m_runner = hostkit::EffectRunner::Create(m_session->Driver(), runnerOptions, &error);
  if (!m_runner) return {kNoOpenGl, error};
  const platform::DisplayReport& display = platform::DescribeDisplay();
  m_report.renderer = m_runner->RendererName();
  m_report.platform = display.platform;
  m_report.device = display.device;
  m_report.software = display.software;
  m_report.threads = GetRegistryValue(kThreadsSection, kThreadsKey, 1);
  m_report.start = watch.Milliseconds();
  m_line.Note(fmt::format("{}: loaded; {}; threads: {}", m_session->ModulePath(), m_report.renderer,
                          m_report.threads));
  return {};
}

Outcome FilterRun::Read(FilteredPicture* report, hostkit::ByteImage* image) {
  m_line.Enter(Phase::kImport, report->input);
  const Stopwatch watch;
  std::string error;
  hostkit::PictureFacts facts;
  hostkit::BitmapPtr bitmap = hostkit::LoadPicture(report->input, &error, &facts);
  if (!bitmap) return {kUnreadableInput, error};
  report->width = bitmap->GetWidth();
  report->height = bitmap->GetHeight();
  *image = hostkit::TakeByteBitmap(std::move(bitmap));
  report->read = watch.Milliseconds();
  if (facts.wasLinear) m_line.Note(report->input + ": its linear light was encoded for display");
  if (facts.clipped && !std::exchange(m_warnedOfClipping, true)) {
    Warn(
        report->input +
        ": colours above 1 were cut, since effects work on 8 bits from 0 to 1; scale the picture's "
        "light down first to keep them");
  }
  return {};
}

Outcome FilterRun::RunEffects(hostkit::ByteImage image, FilteredPicture* report,
                              hostkit::Picture* picture) {
  m_line.Enter(Phase::kDraw, report->input);
  const Stopwatch watch;
  std::string error;
  *picture = hostkit::RunEffects(*m_runner, m_report.calls, m_job.options.verify, std::move(image),
                                 &report->steps, &error);
  report->effects = watch.Milliseconds();
  if (!picture->bitmap) return {kRunFailed, report->input + ": " + error};
  m_line.Note(fmt::format("{}: effects took {:.1f} ms", report->input, report->effects));
  return {};
}

Outcome FilterRun::Write(const hostkit::Picture& picture, FilteredPicture* report) {
  m_line.Enter(Phase::kWrite, report->output);
  const Stopwatch watch;
  const hostkit::Recipe recipe = {{"gl3:command", m_job.command},
                                  {"gl3:version", GL3_VERSION},
                                  {"gl3:renderer", m_report.renderer},
                                  {"gl3:input", report->input + " " + HashFile(report->input)}};
  std::string error;
  if (!hostkit::WritePicture(report->output, picture, recipe, {m_job.options.jpegQuality},
                             &error)) {
    return {kUnwritableOutput, error};
  }
  report->write = watch.Milliseconds();
  m_line.Note(fmt::format("{}: written in {:.1f} ms", report->output, report->write));
  return {};
}

Outcome FilterRun::Compare(const FilteredPicture& report) const {
  for (std::size_t i = 0; m_job.options.verify && i < report.steps.size(); ++i) {
    const hostkit::EffectCall& call = m_report.calls[i];
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

Outcome FilterRun::FilterOne(std::size_t index, FilteredPicture* report) {
  report->input = m_job.options.inputs[index];
  if (!m_job.outputs.empty()) report->output = m_job.outputs[index];
  hostkit::ByteImage image;
  hostkit::Picture picture;
  Outcome outcome = Read(report, &image);
  if (outcome.status == kDone) outcome = RunEffects(std::move(image), report, &picture);
  if (outcome.status == kDone && !m_job.outputs.empty()) outcome = Write(picture, report);
  if (outcome.status == kDone) outcome = Compare(*report);
  report->status = outcome.status;
  report->error = outcome.message;
  return outcome;
}

bool FilterRun::IsThere(std::size_t index) const {
  std::error_code error;
  return !m_job.outputs.empty() && std::filesystem::exists(m_job.outputs[index], error);
}

Outcome FilterRun::Run(std::string* result) {
  const Stopwatch watch;
  m_report.calls = m_job.options.effects.calls;
  m_report.verified = m_job.options.verify;
  Outcome first = StartDriver();
  if (first.status != kDone) return first;
  const std::size_t count = m_job.options.inputs.size();
  for (std::size_t i = 0; i < count; ++i) {
    if (m_job.options.skipExisting && IsThere(i)) {
      m_line.Note(m_job.outputs[i] + ": is there");
      ++m_report.skipped;
      continue;
    }
    if (count > 1) m_line.Progress(i, count, m_job.options.inputs[i]);
    m_report.pictures.emplace_back();
    Outcome outcome = FilterOne(i, &m_report.pictures.back());
    if (outcome.status == kDone) continue;
    if (count > 1) m_line.Fail(std::exchange(outcome.message, ""));
    if (first.status == kDone) first = outcome;
  }
  if (count > 1) m_line.Progress(count, count, "");
  m_report.total = watch.Milliseconds();
  if (m_job.options.run.json) {
    *result = FormatFilterReport(m_report);
  } else if (m_report.verified) {
    *result = FormatDifferences(m_report);
  }
  return first;
}

}  // namespace

Outcome Filter(const FilterJob& job, ParentLine& line, std::string* result) {
  return FilterRun(job, line).Run(result);
}

}  // namespace gl3
