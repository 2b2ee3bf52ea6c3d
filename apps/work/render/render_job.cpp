// The work of `gl3 render`, from model files to picture files.
#include "apps/work/render/render_job.h"

#include <cstddef>
#include <string>
#include <utility>

#include "apps/work/common/stopwatch.h"
#include "apps/work/render/model_render.h"
#include "apps/work/render/movie.h"
#include "apps/work/render/render_report.h"
#include "apps/work/render/render_sequence.h"
#include "apps/work/render/render_session.h"
#include "hostkit/isolated/import_process.h"

namespace gl3 {
namespace {

/// Imports beside OpenGL, which takes about as long to start as a small model to import.
Outcome DrawAll(const RenderOptions& options, ParentLine& line, RenderSession* session,
                ModelRender* model) {
  // Before this process may start no other.
  hostkit::ImportProcess import(options.models, LimitsOfImports(options), options.scene);
  Outcome outcome = ConfineRender(options, line, session);
  // Without a driver, nobody waits for the import of a large model.
  if (outcome.status == kDone) outcome = StartSession(options, line, session);
  if (outcome.status != kDone) return outcome;
  const std::string odd = OddSides(options.output, options.width, options.height);
  if (!odd.empty()) Warn(odd, line, session);
  const Stopwatch watch;
  ImportedModel imported;
  imported.end = import.Finish([&](const std::string& path) { line.Enter(Phase::kImport, path); },
                               &imported.scene, &imported.error);
  imported.waited = watch.Milliseconds();
  imported.taken = import.Milliseconds();
  return model->Draw(std::move(imported));
}

/// The report of the model with what the session tells of the start.
std::string WholeReport(const RenderSession& session, RenderReport report) {
  report.start = session.report.start;
  report.platform = session.report.platform;
  report.device = session.report.device;
  report.software = session.report.software;
  report.warnings.insert(report.warnings.begin(), session.report.warnings.begin(),
                         session.report.warnings.end());
  return FormatReport(report);
}

}  // namespace

Outcome Render(const RenderOptions& options, const std::string& command, ParentLine& line,
               std::string* result) {
  RenderSession session;
  ModelRender model(options, command, session, line,
                    [&](std::size_t done, std::size_t total, const std::string& next) {
                      line.Progress(done, total, next);
                    });
  const std::size_t skipped = options.sequence.skipExisting ? CountWhenAllThere(options) : 0;
  Outcome outcome;
  if (skipped > 0) {
    line.Note(options.output + ": all of it is there");
  } else {
    outcome = DrawAll(options, line, &session, &model);
  }
  if (outcome.status != kDone || !options.run.json) return outcome;
  RenderReport report = model.Report();
  report.skipped += skipped;
  *result = WholeReport(session, std::move(report));
  return {};
}

}  // namespace gl3
