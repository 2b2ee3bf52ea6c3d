// One task of a farm, on whichever node it comes to.
#include "apps/work/farm/farm_task.h"

#include <fmt/format.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "apps/base/messages.h"
#include "apps/work/common/stopwatch.h"
#include "apps/work/farm/farm_plan.h"
#include "apps/work/farm/node_check.h"
#include "apps/work/farm/slurm.h"

namespace gl3 {
namespace {

/// How often the scheduler has begun this task anew.
int Restarts() {
  const char* const count = std::getenv("SLURM_RESTART_COUNT");
  return count ? std::atoi(count) : 0;
}

Outcome ReadTask(const FarmFolder& folder, int round, std::size_t task, FarmPlan* plan,
                 std::vector<FarmPicture>* pictures) {
  if (folder.IsCancelled())
    return {kRunFailed, folder.Path() + ": the farm was cancelled; repeat its command to go on"};
  Outcome outcome = folder.EnterPlan(plan);
  std::vector<PictureChunk> chunks;
  if (outcome.status == kDone) outcome = folder.ReadRound(round, &chunks);
  if (outcome.status != kDone) return outcome;
  if (task < 1 || task > chunks.size()) {
    return {kWrongUsage, fmt::format("{}: round {} has no task {}; it has {}", folder.Path(), round,
                                     task, chunks.size())};
  }
  for (const std::size_t picture : chunks[task - 1]) {
    if (picture < plan->pictures.size()) pictures->push_back(plan->pictures[picture]);
  }
  return {};
}

PartReport Draw(const FarmFolder& folder, const FarmPlan& plan,
                const std::vector<FarmPicture>& pictures) {
  PartReport report;
  Outcome outcome;
  const std::unique_ptr<FarmCommand> command =
      FarmCommand::Read(plan.words, folder.Path(), &outcome);
  if (command) outcome = CheckNode(folder, command->Run(), plan.options.allowMixed);
  if (outcome.status == kDone) return command->Make(pictures, "");
  PrintError(outcome.message);
  // Whatever comes here next would fail as well, and fast: one such node could fail them all.
  if (outcome.status == kNoOpenGl) KeepTasksOffBadNodes(folder);
  report.status = outcome.status;
  report.error = outcome.message;
  return report;
}

}  // namespace

int RunFarmTask(const std::string& path, int round, std::size_t task) {
  const Stopwatch watch;
  const FarmFolder folder(path);
  FarmPlan plan;
  std::vector<FarmPicture> pictures;
  const Outcome outcome = ReadTask(folder, round, task, &plan, &pictures);
  if (outcome.status != kDone) {
    PrintError(outcome.message);
    return outcome.status;
  }
  const PartReport report = Draw(folder, plan, pictures);
  const Outcome written =
      folder.Write(folder.TaskFile(round, task), {{"round", round},
                                                  {"task", task},
                                                  {"node", NodeName()},
                                                  {"restarts", Restarts()},
                                                  {"status", report.status},
                                                  {"error", report.error},
                                                  {"pictures", pictures.size()},
                                                  {"drawn", report.drawn},
                                                  {"renderer", report.renderer},
                                                  {"seconds", watch.Milliseconds() / 1000},
                                                  {"pictureSeconds", report.pictureSeconds},
                                                  {"peakMemoryBytes", report.peakMemory}});
  if (written.status != kDone) PrintError(written.message);
  return report.status == kDone ? written.status : report.status;
}

}  // namespace gl3
