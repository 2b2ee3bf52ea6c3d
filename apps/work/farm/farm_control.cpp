// Farms that were submitted: how far they are, waiting for their end, ending them.
#include "apps/work/farm/farm_control.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>

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

/// Pictures of the plan that are there, as seen from the folder of the farm's command.
std::string CountPictures(const FarmFolder& folder) {
  FarmPlan plan;
  const Outcome outcome = folder.ReadPlan(&plan);
  if (outcome.status != kDone || chdir(plan.workFolder.c_str()) != 0) return "";
  const auto done = std::count_if(plan.pictures.begin(), plan.pictures.end(),
                                  [](const FarmPicture& picture) { return picture.IsThere(); });
  return fmt::format("{} of {} pictures are there", done, plan.pictures.size());
}

int TellStatus(const FarmFolder& folder, bool json) {
  const Json report = folder.Read("report.json");
  if (report.is_object()) return TellReport(report, json);
  std::vector<std::string> states;
  const bool isKnown = JobStates(JobIds(folder), &states);
  const auto running = std::count(states.begin(), states.end(), "RUNNING");
  const std::string counted = CountPictures(folder);
  if (json) {
    return PrintResult(PrintedJson({{"folder", folder.Path()},
                                    {"ended", false},
                                    {"there", counted},
                                    {"running", running},
                                    {"left", isKnown ? Json(states.size()) : Json()}}));
  }
  if (!isKnown) PrintWarning("squeue: the scheduler does not answer; try again");
  return PrintResult(fmt::format("{}; {} tasks are running, {} entries wait or run\n", counted,
                                 running, states.size()));
}

int WaitForEnd(const FarmFolder& folder, bool json) {
  int ofNothing = 0;
  for (int naps = 0;; ++naps) {
    const Json report = folder.Read("report.json");
    if (report.is_object()) return TellReport(report, json);
    std::vector<std::string> states;
    if (naps % kNapsBetweenQuestions == kNapsBetweenQuestions - 1) {
      const bool isKnown = JobStates(JobIds(folder), &states);
      ofNothing = isKnown && states.empty() ? ofNothing + 1 : 0;
    }
    if (ofNothing == kAnswersOfNothing) {
      PrintError(
          fmt::format("{}: the scheduler has no task of it left, and there is no report; "
                      "{}/logs tells why, and the same command goes on",
                      folder.Path(), folder.Path()));
      return kRunFailed;
    }
    if (ShowsProgress() && naps % 4 == 0) ShowProgress(CountPictures(folder));
    std::this_thread::sleep_for(kNap);
  }
}

int Cancel(const FarmFolder& folder) {
  const std::vector<std::string> ids = JobIds(folder);
  const Outcome outcome = ids.empty() ? Outcome() : CancelJobs(ids);
  if (outcome.status == kDone) {
    return PrintResult(CountPictures(folder) + ", all of them whole; the same command goes on\n");
  }
  PrintError(outcome.message);
  return outcome.status;
}

}  // namespace

void RememberFarm(const std::string& id, const FarmFolder& folder) {
  const fs::path index = IndexFolder();
  std::error_code code;
  if (!index.empty()) fs::create_directories(index, code);
  std::ofstream file(index / id);
  file << folder.Path() << "\n";
  file.close();
  if (index.empty() || !file) {
    PrintWarning("the farm's number cannot be kept; name its folder to status, wait and cancel");
  }
}

int ControlFarm(const std::string& action, const std::string& id, const FarmOptions& options) {
  std::string path;
  const Outcome outcome = FindFarm(id, &path);
  if (outcome.status != kDone) {
    PrintError(outcome.message);
    return outcome.status;
  }
  const FarmFolder folder(path);
  if (action == "status") return TellStatus(folder, options.json);
  if (action == "wait") return WaitForEnd(folder, options.json);
  return Cancel(folder);
}

}  // namespace gl3
