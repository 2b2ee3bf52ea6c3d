// Farms that were submitted: how far they are, waiting for their end, ending them.
#include "apps/work/farm/farm_control.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>
#include <vector>

#include "apps/base/text.h"
#include "apps/work/farm/farm_rounds.h"
#include "apps/work/farm/slurm.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

constexpr auto kNap = std::chrono::milliseconds(500);
/// The scheduler is asked once in so many naps.
constexpr int kNapsBetweenQuestions = 20;
/// Answers in a row that nothing is left, before a farm without a report counts as ended.
constexpr int kAnswersOfNothing = 2;
/// Of a farm without a scheduler and without a report.
constexpr const char* kLost = "the gl3 farm that drew it has ended";

/// Where numbers are kept; empty without a home.
fs::path IndexFolder() {
  const char* const state = std::getenv("XDG_STATE_HOME");
  if (state && *state == '/') return fs::path(state) / "gl3/farm";
  const char* const home = std::getenv("HOME");
  return home && *home == '/' ? fs::path(home) / ".local/state/gl3/farm" : fs::path();
}

Outcome FindFarm(const std::string& id, std::string* path) {
  std::error_code code;
  if (fs::is_regular_file(fs::path(id) / "plan.json", code)) {
    *path = fs::absolute(id, code).lexically_normal().string();
    return {};
  }
  const bool isNumber = !id.empty() && id.find_first_not_of("0123456789") == std::string::npos;
  const fs::path index = IndexFolder();
  if (isNumber && !index.empty()) std::getline(std::ifstream(index / id) >> std::ws, *path);
  if (!path->empty()) return {};
  return {kUnreadableInput,
          ShellQuote(id) +
              ": no farm of this user has this number; name the folder that gl3 farm "
              "printed"};
}

int EndWith(const Outcome& outcome) {
  PrintError(outcome.message);
  return outcome.status;
}

int TellStatus(const FarmFolder& folder, const FarmPlan& plan, bool json) {
  std::vector<std::string> states;
  const bool isKnown = JobStates(JobIds(folder), &states);
  const auto running = std::count(states.begin(), states.end(), "RUNNING");
  const bool isLost = plan.options.local && !folder.IsHeld();
  if (json) {
    return PrintResult(PrintedJson({{"folder", folder.Path()},
                                    {"ended", false},
                                    {"cancelled", folder.IsCancelled()},
                                    {"lost", isLost},
                                    {"pictures", plan.pictures.size()},
                                    {"there", plan.CountPictures()},
                                    {"running", isKnown ? Json(running) : Json()},
                                    {"left", isKnown ? Json(states.size()) : Json()}}));
  }
  if (plan.options.local) {
    const std::string lost =
        isLost ? std::string("; ") + kLost + "; " + folder.HowToGoOn(plan) : "";
    return PrintResult(plan.CountedPictures() + lost + "\n");
  }
  if (!isKnown) PrintWarning("squeue: the scheduler does not answer; try again");
  return PrintResult(fmt::format("{}{}; {} tasks are running, {} entries wait or run\n",
                                 folder.IsCancelled() ? "cancelled; " : "", plan.CountedPictures(),
                                 running, states.size()));
}

int WaitForEnd(const FarmFolder& folder, const FarmPlan& plan, bool json) {
  int ofNothing = 0;
  for (int naps = 0;; ++naps) {
    const Json report = folder.Read("report.json");
    if (report.is_object()) return TellReport(report, json);
    if (folder.IsCancelled()) {
      return EndWith({kRunFailed, fmt::format("{}: the farm was cancelled; {}; {}", folder.Path(),
                                              plan.CountedPictures(), folder.HowToGoOn(plan))});
    }
    std::vector<std::string> states;
    if (naps % kNapsBetweenQuestions == kNapsBetweenQuestions - 1) {
      const bool isKnown = JobStates(JobIds(folder), &states);
      ofNothing = isKnown && states.empty() ? ofNothing + 1 : 0;
    }
    if (ofNothing == kAnswersOfNothing) {
      return EndWith(
          {kRunFailed,
           fmt::format("{}: the scheduler has no task of it left, and there is no report; "
                       "{}/logs tells why, and {}",
                       folder.Path(), folder.Path(), folder.HowToGoOn(plan))});
    }
    if (ShowsProgress() && naps % 4 == 0) ShowProgress(plan.CountedPictures());
    std::this_thread::sleep_for(kNap);
  }
}

int CancelFarm(const FarmFolder& folder, const FarmPlan& plan) {
  // First, so that a check which submits more just now notices.
  const Outcome noted = folder.Cancel();
  const Outcome ended = CancelJobs(JobIds(folder));
  if (ended.status != kDone) return EndWith(ended);
  if (noted.status != kDone) return EndWith(noted);
  return PrintResult(
      fmt::format("{}, all of them whole; {}\n", plan.CountedPictures(), folder.HowToGoOn(plan)));
}

int ControlFolder(const std::string& action, const FarmFolder& folder, bool json) {
  const Json report = folder.Read("report.json");
  if (report.is_object()) return TellReport(report, json);
  FarmPlan plan;
  const Outcome outcome = folder.EnterPlan(&plan);
  if (outcome.status != kDone) return EndWith(outcome);
  if (action == "status") return TellStatus(folder, plan, json);
  if (plan.options.local && !folder.IsHeld()) {
    return EndWith({kRunFailed, fmt::format("{}: {}; {}; {}", folder.Path(), kLost,
                                            plan.CountedPictures(), folder.HowToGoOn(plan))});
  }
  if (plan.options.local) {
    return EndWith({kWrongUsage, folder.Path() +
                                     ": it is drawn on its own machine, by the gl3 farm that was "
                                     "started there; wait for that, or end it"});
  }
  return action == "wait" ? WaitForEnd(folder, plan, json) : CancelFarm(folder, plan);
}

}  // namespace

void RememberFarm(const std::string& id, const FarmFolder& folder) {
  const fs::path index = IndexFolder();
  std::ofstream file;
  if (!index.empty()) {
    std::error_code code;
    fs::create_directories(index, code);
    file.open(index / id);
  }
  file << folder.Path() << "\n";
  file.close();
  if (!file) {
    PrintWarning("the farm's number cannot be kept; name its folder to status, wait and cancel");
  }
}

int ControlFarm(const std::string& action, const std::string& id, const FarmOptions& options) {
  std::string path;
  const Outcome outcome = FindFarm(id, &path);
  if (outcome.status != kDone) return EndWith(outcome);
  try {
    return ControlFolder(action, FarmFolder(path), options.json);
  } catch (const Json::exception&) {
    return EndWith({kUnreadableInput, ShellQuote(path) +
                                          ": what is in the farm's folder is damaged; repeat the "
                                          "command that was shared, which goes on"});
  }
}

}  // namespace gl3
