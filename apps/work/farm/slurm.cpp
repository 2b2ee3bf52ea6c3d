// The Slurm scheduler, through its own programs.
#include "apps/work/farm/slurm.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "apps/base/run_program.h"
#include "apps/base/text.h"
#include "apps/work/farm/picture_check.h"

namespace gl3 {
namespace {

using CommandWords = std::vector<std::string>;

constexpr std::size_t kUsualArrayTasks = 1000;
/// Reading and decoding a large picture.
constexpr double kReadingSeconds = 0.25;
/// A cluster that does not tell its limits by then is not there, which submitting says.
constexpr double kAnswerSeconds = 20;

Outcome Failed(const CommandWords& words, const ProgramEnd& end) {
  if (!end.isThere) {
    return {kRunFailed, words[0] +
                            ": there is no such program; install the package slurm-client, or give "
                            "--local to draw on this machine"};
  }
  const std::string why = OneLine(end.errors.substr(0, end.errors.find_last_not_of('\n') + 1));
  return {kRunFailed,
          fmt::format("{}: {}; gl3 farm --dry-run shows what it was given, --sbatch adds "
                      "to it, and --local draws on this machine without a cluster",
                      words[0], why.empty() ? fmt::format("status {}", end.status) : why)};
}

CommandWords TextLines(const std::string& text) {
  CommandWords lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

/// The partition that the user's options name; empty: the default one.
std::string PartitionOf(const CommandWords& submitOptions) {
  std::string partition;
  for (const std::string& option : submitOptions) {
    for (const char* name : {"--partition=", "-p"}) {
      if (option.starts_with(name)) partition = option.substr(std::string(name).size());
    }
  }
  return partition;
}

/// Processors of the smallest node; 0 when the scheduler does not tell.
int NodeProcessors(const CommandWords& submitOptions) {
  CommandWords words = {"sinfo", "--noheader", "--Node", "--format=%c"};
  const std::string partition = PartitionOf(submitOptions);
  if (!partition.empty()) words.push_back("--partition=" + partition);
  int least = 0;
  for (const std::string& line : TextLines(RunProgram(words).output)) {
    const int count = std::atoi(line.c_str());
    if (count > 0) least = least == 0 ? count : std::min(least, count);
  }
  return least;
}

/// Names of nodes by whether their check passed.
void SortNodes(const FarmFolder& folder, CommandWords* good, CommandWords* bad) {
  for (const Json& node : folder.ReadAll("nodes")) {
    (node.value("status", -1) == kDone ? good : bad)->push_back(node.value("node", ""));
  }
}

std::string Joined(const CommandWords& names) {
  return fmt::format("{}", fmt::join(names, ","));
}

Outcome WriteScript(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (file) return {};
  return {kUnwritableOutput, path + ": cannot be written; make room, or give another --folder"};
}

/// The number that the scheduler gives a job; `--parsable` has the cluster's name behind it.
Outcome Submit(const CommandWords& words, std::string* id) {
  const ProgramEnd end = RunProgram(words);
  *id = end.output.substr(0, end.output.find_first_not_of("0123456789"));
  return end.status == 0 && !id->empty() ? Outcome() : Failed(words, end);
}

std::string JobsFile(int round) {
  return fmt::format("jobs-{}.json", round);
}

/// Words of a folder that anybody may have made, in a command line.
bool IsJobId(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

/// Jobs that ended are forgotten after some minutes (MinJobAge).
bool IsForgotten(const ProgramEnd& end) {
  return end.errors.find("Invalid job id") != std::string::npos;
}

}  // namespace

std::size_t MostArrayTasks() {
  for (const std::string& line :
       TextLines(RunProgram({"scontrol", "show", "config"}, {}, kAnswerSeconds).output)) {
    const std::size_t equals = line.find('=');
    if (!line.starts_with("MaxArraySize") || equals == std::string::npos) continue;
    const long size = std::atol(line.c_str() + equals + 1);
    if (size > 1) return static_cast<std::size_t>(size - 1);
  }
  return kUsualArrayTasks;
}

Outcome DescribeWork(const FarmFolder& folder, const FarmPlan& plan, int round,
                     const std::vector<PictureChunk>& chunks, BatchWork* work) {
  work->program = OwnProgram();
  work->folder = folder.Path();
  work->round = round;
  work->tasks = chunks.size();
  work->atATime = plan.options.tasks;
  if (plan.options.perNode > 0) {
    int processors = NodeProcessors(plan.options.submitOptions);
    if (processors == 0) processors = UsableProcessors();
    if (plan.options.perNode > processors) {
      return {kWrongUsage,
              fmt::format("--per-node: {} tasks on a node of {} processors; give {} or "
                          "fewer",
                          plan.options.perNode, processors, processors)};
    }
    work->processors = processors / plan.options.perNode;
  }
  double longest = 0;
  for (const PictureChunk& chunk : chunks) {
    longest = std::max(longest, ChunkSeconds(chunk, plan.seconds));
  }
  work->limits = LimitsOfTask(plan.startSeconds + longest, plan.peakMemory);
  work->checkMinutes =
      LimitsOfTask(kReadingSeconds * static_cast<double>(plan.pictures.size()), 0).minutes;
  if (plan.options.minutes > 0) work->limits.minutes = plan.options.minutes;
  if (plan.options.memory > 0) work->limits.megabytes = plan.options.memory >> 20;
  return {};
}

std::vector<std::string> SubmitWords(const FarmPlan& plan, const std::vector<std::string>& more,
                                     const std::string& script) {
  CommandWords words = {"sbatch", "--parsable"};
  words.insert(words.end(), more.begin(), more.end());
  words.insert(words.end(), plan.options.submitOptions.begin(), plan.options.submitOptions.end());
  words.push_back(script);
  return words;
}

Outcome SubmitRound(const FarmFolder& folder, const FarmPlan& plan, int round,
                    const std::vector<PictureChunk>& chunks, std::string* id) {
  BatchWork work;
  Outcome outcome = DescribeWork(folder, plan, round, chunks, &work);
  const std::string array = folder.File(fmt::format("round-{}.sh", round));
  const std::string check = folder.File(fmt::format("check-{}.sh", round));
  if (outcome.status == kDone) outcome = folder.WriteRound(round, chunks);
  if (outcome.status == kDone) outcome = WriteScript(array, ArrayScript(work));
  if (outcome.status == kDone) outcome = WriteScript(check, CheckScript(work));
  if (outcome.status != kDone) return outcome;
  CommandWords good, bad, more;
  SortNodes(folder, &good, &bad);
  if (!good.empty() && !bad.empty()) more.push_back("--exclude=" + Joined(bad));
  outcome = Submit(SubmitWords(plan, more, array), id);
  if (outcome.status != kDone) return outcome;
  CommandWords jobs = {*id};
  std::string checkId;
  more.push_back("--dependency=afterany:" + *id);
  outcome = Submit(SubmitWords(plan, more, check), &checkId);
  if (outcome.status == kDone) {
    jobs.insert(jobs.begin(), checkId);
    outcome = folder.Write(JobsFile(round), {{"array", *id}, {"check", checkId}});
  }
  // Of tasks that nobody will look at, nobody would know.
  if (outcome.status != kDone) CancelJobs(jobs);
  return outcome;
}

void KeepTasksOffBadNodes(const FarmFolder& folder) {
  const char* const array = std::getenv("SLURM_ARRAY_JOB_ID");
  CommandWords good, bad;
  SortNodes(folder, &good, &bad);
  if (!array || good.empty() || bad.empty()) return;
  RunProgram({"scontrol", "update", std::string("JobId=") + array, "ExcNodeList=" + Joined(bad)});
}

bool IsSubmitted(const FarmFolder& folder, int round) {
  return folder.Read(JobsFile(round)).is_object();
}

std::vector<std::string> JobIds(const FarmFolder& folder) {
  CommandWords ids;
  for (int round = 1; IsSubmitted(folder, round); ++round) {
    const Json jobs = folder.Read(JobsFile(round));
    for (const char* job : {"check", "array"}) {
      const Json id = jobs.value(job, Json());
      if (id.is_string() && IsJobId(id)) ids.push_back(id);
    }
  }
  return ids;
}

bool JobStates(const std::vector<std::string>& ids, std::vector<std::string>* states) {
  states->clear();
  // Asked for one by one: of several, one that the scheduler has forgotten spoils the answer.
  for (const std::string& id : ids) {
    const ProgramEnd end = RunProgram({"squeue", "--noheader", "--format=%T", "--jobs=" + id});
    if (end.status != 0 && !IsForgotten(end)) return false;
    const CommandWords lines = TextLines(end.output);
    states->insert(states->end(), lines.begin(), lines.end());
  }
  return true;
}

Outcome CancelJobs(const std::vector<std::string>& ids) {
  Outcome outcome;
  for (const std::string& id : ids) {
    const CommandWords words = {"scancel", id};
    const ProgramEnd end = RunProgram(words);
    if (end.status != 0 && !IsForgotten(end)) outcome = Failed(words, end);
  }
  return outcome;
}

}  // namespace gl3
