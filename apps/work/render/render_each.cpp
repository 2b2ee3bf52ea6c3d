// The work of `gl3 render` where each model has pictures of its own.
#include "apps/work/render/render_each.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/work/common/stopwatch.h"
#include "apps/work/render/each_report.h"
#include "apps/work/render/model_render.h"
#include "apps/work/render/render_session.h"
#include "hostkit/isolated/import_queue.h"

namespace gl3 {
namespace {

/// What one child does of a run.
struct EachPart {
  std::vector<std::string> models;
  std::size_t done = 0;   ///< Models of the run whose pictures are there before it.
  std::size_t total = 0;  ///< Models of the run.
};

/// One child's work with what its models share.
class EachRun {
 public:
  EachRun(const EachJob& job, const EachPart& part, ParentLine& line)
      : m_job(job),
        m_part(part),
        m_line(line),
        m_done(part.done),
        m_options(OptionsOfOne(job.options, "")) {}

  Outcome Run();

 private:
  void DrawOne(const std::string& model, hostkit::ImportQueue& imports);
  /// `next` is empty where nothing more is begun.
  void Tell(const std::string& next) { m_line.Progress(m_done, m_part.total, next); }

  const EachJob& m_job;
  const EachPart& m_part;
  ParentLine& m_line;
  std::size_t m_done;       // models of the run whose pictures are there
  RenderOptions m_options;  // with the model at hand
  RenderSession m_session;
};

void EachRun::DrawOne(const std::string& model, hostkit::ImportQueue& imports) {
  m_options.models.front() = model;
  Tell(model);
  ModelRender render(m_options, m_job.command.Of(model), m_session, m_line,
                     [&](std::size_t, std::size_t, const std::string& next) {
                       Tell(next.empty() ? model : model + ", " + next);
                     });
  m_line.Enter(Phase::kImport, model);
  const Stopwatch watch;
  ImportedModel imported;
  imported.end = imports.Next(&imported.scene, &imported.error);
  imported.waited = watch.Milliseconds();
  imported.taken = imports.Milliseconds();
  Outcome outcome = render.Draw(std::move(imported));
  const RenderReport report = render.Report();
  if (outcome.status == kDone) {
    ++m_done;
  } else {
    const bool isNamed = outcome.message.find(model) != std::string::npos ||
                         outcome.message.find(report.output) != std::string::npos;
    if (!isNamed) outcome.message.insert(0, model + ": ");
    m_line.Fail(outcome.message);
  }
  Tell(model);
  m_line.Tell(ModelPiece(report, outcome));
}

Outcome EachRun::Run() {
  // At once: should OpenGL not start again, the user is told what is there.
  if (m_done > 0) Tell("");
  // Before this process may start no other.
  hostkit::ImportQueue imports(m_part.models, LimitsOfImports(m_job.options), m_job.options.scene);
  Outcome outcome = ConfineRender(m_job.options, m_line, &m_session);
  if (outcome.status == kDone) outcome = StartSession(m_job.options, m_line, &m_session);
  if (outcome.status != kDone) return outcome;
  m_line.Tell(StartPiece(m_session.report));
  for (const std::string& model : m_part.models) DrawOne(model, imports);
  Tell("");
  return {};
}

/// The models whose pictures are not there, of the chunk.
EachPart ModelsToDo(const RenderOptions& options) {
  EachPart part;
  const bool sharesModels = options.sequence.Frames().size() == 1;
  RenderOptions one = OptionsOfOne(options, "");
  for (std::size_t i = 0; i < options.models.size(); ++i) {
    const std::string& model = options.models[i];
    if (sharesModels && !IsInChunk(options.sequence.chunk, i)) continue;
    ++part.total;
    one.models.front() = model;
    if (options.sequence.skipExisting && CountWhenAllThere(one) > 0) {
      PrintNote(model + ": all of its pictures are there");
      ++part.done;
    } else {
      part.models.push_back(model);
    }
  }
  return part;
}

/// Runs children until no model is left, or none can be begun; the status of the first failure.
int DrawAllModels(const EachJob& job, EachPart part, EachReport* report) {
  const std::vector<std::string> all = part.models;
  const std::size_t skipped = part.done;
  int status = kDone;
  while (report->ModelCount() < all.size()) {
    ChildTold told;
    const int ended = RunSupervised(
        job.options.run.limits, "",
        [&](ParentLine& line, std::string*) { return EachRun(job, part, line).Run(); }, &told);
    report->Add(told.parts);
    const std::size_t at = report->ModelCount();
    if (report->HasStarted() && at < all.size()) report->AddDied(all[at], {ended, told.error});
    if (status == kDone) status = report->FirstFailure();
    if (status == kDone) status = ended;
    if (!report->HasStarted()) break;
    const auto next = static_cast<std::ptrdiff_t>(report->ModelCount());
    part.models.assign(all.begin() + next, all.end());
    part.done = skipped + report->DoneCount();
  }
  return status;
}

}  // namespace

int RenderEachInto(const EachJob& job, EachReport* report, std::size_t* skipped) {
  const EachPart part = ModelsToDo(job.options);
  *skipped = part.done;
  return DrawAllModels(job, part, report);
}

int RenderEach(const EachJob& job) {
  const Stopwatch watch;
  const EachPart part = ModelsToDo(job.options);
  EachReport report;
  const int status = DrawAllModels(job, part, &report);
  if (!job.options.run.json || (status != kDone && report.ModelCount() == 0)) return status;
  const int printed =
      PrintResult(report.Format(job.options.output, part.done, watch.Milliseconds()));
  return status == kDone ? printed : status;
}

}  // namespace gl3
