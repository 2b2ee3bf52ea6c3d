// What follows a round of a farm: another one for what is missing, or the report.
#include "apps/work/farm/farm_rounds.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>

#include "apps/base/messages.h"
#include "apps/base/run_program.h"
#include "apps/base/text.h"
#include "apps/work/farm/contact_sheet.h"
#include "apps/work/farm/farm_command.h"
#include "apps/work/farm/node_check.h"
#include "apps/work/farm/program_pool.h"
#include "apps/work/farm/slurm.h"

namespace gl3 {
namespace {

/// Below this a task spares nothing that a scheduler does not take to begin it.
constexpr double kLeastTaskSeconds = 30;
constexpr std::size_t kMostCounted = 20000;

Json RoundJson(const std::vector<PictureFault>& faults) {
  Json list = Json::array();
  for (const PictureFault& fault : faults) {
    list.push_back({{"file", fault.file}, {"why", fault.why}});
  }
  return list;
}

/// Of all tasks together, the part of their time that is not the pictures'; null without any.
Json StartShare(const std::vector<Json>& tasks) {
  double seconds = 0, pictures = 0;
  for (const Json& task : tasks) {
    if (task.value("drawn", 0) == 0) continue;
    seconds += task.value("seconds", 0.0);
    pictures += task.value("pictureSeconds", 0.0);
  }
  return seconds > 0 ? Json(std::clamp(1 - pictures / seconds, 0.0, 1.0)) : Json();
}

/// One file a picture, for the contact sheet; empty where something is wrong with it.
std::vector<std::string> FilesToShow(const FarmPlan& plan, const FarmFindings& findings) {
  std::set<std::string> faulty;
  for (const auto* faults : {&findings.missing, &findings.broken}) {
    for (const PictureFault& fault : *faults) faulty.insert(fault.file);
  }
  std::vector<std::string> files;
  for (const FarmPicture& picture : plan.pictures) {
    for (const std::string& file : picture.outputs) {
      files.push_back(faulty.count(file) > 0 ? "" : file);
    }
  }
  return files;
}

/// The indices of pictures with missing files, in order.
std::vector<std::size_t> MissingPictures(const FarmFindings& findings) {
  std::set<std::size_t> pictures;
  for (const PictureFault& fault : findings.missing) pictures.insert(fault.picture);
  return {pictures.begin(), pictures.end()};
}

/// Of frames that are all there; what goes wrong has been printed.
Outcome EndMovie(const FarmFolder& folder, const FarmPlan& plan) {
  Outcome outcome;
  const auto command = FarmCommand::Read(plan.words, folder.Path(), &outcome);
  if (!command || !command->IsMovie()) return outcome;
  const int status = command->MakeMovie(plan.pictures);
  if (status == kDone) return {};
  return {status, folder.Path() +
                      ": all frames are there, and no movie could be made of them; "
                      "repeat the command with --folder on another folder"};
}

void ShowLocalProgress(const FarmPlan& plan) {
  if (!ShowsProgress() || plan.pictures.size() > kMostCounted) return;
  ShowProgress(plan.CountedPictures());
}

void DrawLocalRound(const FarmFolder& folder, const FarmPlan& plan, int round, std::size_t tasks) {
  std::vector<PoolProgram> programs;
  for (std::size_t task = 1; task <= tasks; ++task) {
    programs.push_back(
        {{OwnProgram(), "farm", "task", folder.Path(), std::to_string(round), std::to_string(task)},
         folder.Log(round, std::to_string(task))});
  }
  RunPool(
      programs, plan.options.tasks, [&] { ShowLocalProgress(plan); },
      [&] {
        PrintStatus(fmt::format("ended: {}, all of them whole; {}", plan.CountedPictures(),
                                folder.HowToGoOn(plan)));
      });
  ShowProgress("");
}

/// Adds the pictures of tasks that told why no repetition helps. False when the round is not known.
bool AddHopeless(const FarmFolder& folder, int round, std::set<std::size_t>* hopeless) {
  std::vector<PictureChunk> chunks;
  if (folder.ReadRound(round, &chunks).status != kDone) return false;
  for (std::size_t task = 1; task <= chunks.size(); ++task) {
    const Json report = folder.Read(folder.TaskFile(round, task));
    const int status = report.is_object() ? report.value("status", 0) : 0;
    if (status != kWrongUsage && status != kUnreadableInput && status != kUnwritableOutput)
      continue;
    hopeless->insert(chunks[task - 1].begin(), chunks[task - 1].end());
  }
  return true;
}

/// Submits what is worth repeating. False when there is nothing, or that is not possible, and the
/// farm ends.
bool SubmitAgain(const FarmFolder& folder, const FarmPlan& plan, int round,
                 const FarmFindings& findings) {
  const std::vector<std::size_t> again = WorthRepeating(folder, round, findings);
  if (again.empty() || round > plan.options.retries) return false;
  std::string id;
  const Outcome outcome =
      SubmitRound(folder, plan, round + 1, ShareOut(plan, again, MostArrayTasks()), &id);
  if (outcome.status != kDone) PrintError(outcome.message);
  return outcome.status == kDone;
}

}  // namespace

std::vector<PictureChunk> ShareOut(const FarmPlan& plan, const std::vector<std::size_t>& pictures,
                                   std::size_t mostTasks) {
  std::vector<double> seconds;
  seconds.reserve(pictures.size());
  for (const std::size_t picture : pictures) seconds.push_back(plan.seconds[picture]);
  ShareWish wish = {plan.startSeconds, plan.options.tasks, mostTasks, kLeastTaskSeconds};
  if (!plan.options.local) wish.startSeconds += kSchedulerSeconds;
  // On one machine nobody is waited for: as few tasks as keep it busy.
  if (plan.startSeconds == 0 && plan.options.local) {
    wish.mostChunks = static_cast<std::size_t>(plan.options.tasks);
    wish.leastTaskSeconds = 0;
  }
  std::vector<PictureChunk> chunks = SharePictures(seconds, wish);
  for (PictureChunk& chunk : chunks) {
    for (std::size_t& index : chunk) index = pictures[index];
  }
  return chunks;
}

std::vector<std::size_t> WorthRepeating(const FarmFolder& folder, int round,
                                        const FarmFindings& findings) {
  std::set<std::size_t> hopeless;
  for (int i = 1; i <= round; ++i) {
    if (!AddHopeless(folder, i, &hopeless)) return {};
  }
  std::vector<std::size_t> pictures = MissingPictures(findings);
  pictures.erase(std::remove_if(pictures.begin(), pictures.end(),
                                [&](std::size_t picture) { return hopeless.count(picture) > 0; }),
                 pictures.end());
  return pictures;
}

int EndFarm(const FarmFolder& folder, const FarmPlan& plan, int rounds,
            const FarmFindings& findings, bool json) {
  Outcome judged = findings.Judge(folder);
  if (judged.status == kDone) judged = EndMovie(folder, plan);
  const std::vector<Json> tasks = folder.ReadAll("tasks");
  Json report = {{"status", judged.status},
                 {"message", judged.message},
                 {"command", plan.words},
                 {"folder", folder.Path()},
                 {"pictures", plan.pictures.size()},
                 {"whole", findings.whole},
                 {"missing", RoundJson(findings.missing)},
                 {"broken", RoundJson(findings.broken)},
                 {"differing", RoundJson(findings.differing)},
                 {"renderer", findings.renderer},
                 {"rounds", rounds},
                 {"startShare", StartShare(tasks)},
                 {"nodes", folder.ReadAll("nodes")},
                 {"tasks", tasks}};
  const std::string sheet = folder.File("contact.jpg");
  Outcome drawn;
  const auto command = FarmCommand::Read(plan.words, folder.Path(), &drawn);
  if (command) drawn = WriteContactSheet(FilesToShow(plan, findings), command->Run(), sheet);
  report["contactSheet"] = drawn.status == kDone ? Json(sheet) : Json();
  const Outcome written = folder.Write("report.json", report);
  if (written.status != kDone) {
    PrintError(written.message);
    return written.status;
  }
  return TellReport(report, json);
}

namespace {

/// What nodes had to say, and tasks of a farm that lacks pictures, each thing once.
void TellTroubles(const Json& report) {
  constexpr std::size_t kMost = 5;
  std::set<std::string> troubles;
  for (const Json& node : report.value("nodes", Json::array()))
    troubles.insert(node.value("problem", ""));
  for (const Json& task : report.value("tasks", Json::array())) {
    if (report.value("whole", 0) != report.value("pictures", 0))
      troubles.insert(task.value("error", ""));
  }
  troubles.erase("");
  std::size_t count = 0;
  for (const std::string& trouble : troubles) {
    if (++count <= kMost) PrintWarning(trouble);
  }
}

}  // namespace

int TellReport(const Json& report, bool json) {
  const int status = report.value("status", static_cast<int>(kRunFailed));
  if (status != kDone) PrintError(report.value("message", ""));
  TellTroubles(report);
  const std::string text = fmt::format(
      "{} of {} pictures are there, whole and alike; the report: {}/report.json",
      report.value("whole", 0), report.value("pictures", 0), report.value("folder", ""));
  const int printed = PrintResult(json ? PrintedJson(report) : OneLine(text) + "\n");
  return status == kDone ? printed : status;
}

int RunFarmCheck(const std::string& path, int round) {
  const FarmFolder folder(path);
  // The scheduler may have begun this check anew behind its last deed.
  if (folder.IsCancelled() || IsSubmitted(folder, round + 1)) return kDone;
  FarmPlan plan;
  FarmFindings findings;
  Outcome outcome = folder.EnterPlan(&plan);
  if (outcome.status == kDone) outcome = CheckPictures(folder, plan, &findings);
  if (outcome.status != kDone) {
    PrintError(outcome.message);
    return outcome.status;
  }
  if (!SubmitAgain(folder, plan, round, findings)) {
    return EndFarm(folder, plan, round, findings, false);
  }
  // Whoever cancelled it in the meantime did not know of this round.
  if (folder.IsCancelled()) CancelJobs(JobIds(folder));
  return kDone;
}

int RunLocalFarm(const FarmFolder& folder, const FarmPlan& plan, std::vector<PictureChunk> chunks,
                 bool json) {
  // The software renderer takes all processors of the machine unless it is told otherwise.
  const int threads = std::max(1, UsableProcessors() / std::max(1, plan.options.tasks));
  setenv("LP_NUM_THREADS", std::to_string(threads).c_str(), 0);
  int round = 0;
  while (true) {
    if (!chunks.empty()) {
      const Outcome outcome = folder.WriteRound(++round, chunks);
      if (outcome.status != kDone) {
        PrintError(outcome.message);
        return outcome.status;
      }
      DrawLocalRound(folder, plan, round, chunks.size());
    }
    FarmFindings findings;
    const Outcome outcome = CheckPictures(folder, plan, &findings);
    if (outcome.status != kDone) {
      PrintError(outcome.message);
      return outcome.status;
    }
    std::vector<std::size_t> again;
    if (round > 0 && round <= plan.options.retries) again = WorthRepeating(folder, round, findings);
    if (again.empty()) return EndFarm(folder, plan, round, findings, json);
    chunks = ShareOut(plan, again, again.size());
  }
}

}  // namespace gl3
