// The work of `gl3 farm`.
#include "apps/work/farm/farm_job.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "apps/base/command_words.h"
#include "apps/base/messages.h"
#include "apps/base/run_program.h"
#include "apps/base/text.h"
#include "apps/work/farm/batch_script.h"
#include "apps/work/farm/farm_control.h"
#include "apps/work/farm/farm_plan.h"
#include "apps/work/farm/farm_rounds.h"
#include "apps/work/farm/farm_task.h"
#include "apps/work/farm/measure.h"
#include "apps/work/farm/node_check.h"
#include "apps/work/farm/picture_check.h"
#include "apps/work/farm/slurm.h"
#include "hostkit/services/without_controls.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

using CommandWords = std::vector<std::string>;

/// Without a message, what went wrong has been told.
int FailJob(const Outcome& outcome) {
  if (!outcome.message.empty()) PrintError(outcome.message);
  return outcome.status;
}

/// Beside the pictures, under a name of its own.
std::string NewFolder(const std::string& pictures) {
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  localtime_r(&now, &local);
  char stamp[32] = {};
  std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
  return (fs::path(pictures) / fmt::format("gl3-farm-{}-{}", stamp, getpid())).string();
}

/// Names travel through JSON, scripts and logs, in which some characters mean something else.
Outcome CheckNames(const FarmPlan& plan, const std::string& folder) {
  CommandWords names = plan.words;
  names.insert(names.end(), {plan.workFolder, folder, OwnProgram()});
  for (const FarmPicture& picture : plan.pictures) {
    names.push_back(picture.input);
    names.insert(names.end(), picture.outputs.begin(), picture.outputs.end());
    names.insert(names.end(), picture.distances.begin(), picture.distances.end());
  }
  for (const std::string& name : names) {
    const bool isPlain = hostkit::WithoutControls(name, '?') == name;
    if (isPlain && ParsedJson(JsonLine(name)) == Json(name)) continue;
    return {kWrongUsage,
            ShellQuote(OneLine(name)) +
                ": a farm takes no names with line ends, control characters or other than UTF-8; "
                "rename it"};
  }
  return {};
}

/// One farm on its way to its tasks.
class FarmStart {
 public:
  explicit FarmStart(const FarmOptions& options) : m_options(options) {}
  int Run();

 private:
  Outcome Prepare();
  Outcome Measure();
  int Print(const FarmFolder& folder, const std::vector<PictureChunk>& chunks) const;
  int Submit(const FarmFolder& folder, const std::vector<PictureChunk>& chunks) const;
  int DrawHere(const FarmFolder& folder, const std::vector<PictureChunk>& chunks) const;

  const FarmOptions& m_options;
  std::string m_folder;
  std::unique_ptr<FarmCommand> m_command;
  FarmPlan m_plan;
};

Outcome FarmStart::Prepare() {
  Outcome outcome;
  m_command = FarmCommand::Read(m_options.words, "", &outcome);
  if (!m_command) return outcome;
  const std::string wanted =
      m_options.folder.empty() ? NewFolder(m_command->Folder()) : m_options.folder;
  std::error_code code;
  m_folder = fs::absolute(wanted, code).lexically_normal().string();
  if (m_command->IsMovie()) m_command = FarmCommand::Read(m_options.words, m_folder, &outcome);
  if (!m_command) return outcome;
  outcome = m_command->Check();
  if (outcome.status != kDone) return outcome;
  m_plan.words = m_options.words;
  m_plan.workFolder = fs::current_path(code).string();
  m_plan.options = m_options;
  if (m_options.local && m_options.tasks == 0) {
    m_plan.options.tasks = m_options.perNode > 0 ? m_options.perNode : UsableProcessors();
  }
  return Measure();
}

/// On this machine every processor gets one part, whatever a picture takes.
Outcome FarmStart::Measure() {
  Measurement measured = {m_options.startSeconds, m_options.frameSeconds, 0, {}};
  const bool isGiven = m_options.frameSeconds > 0 || m_options.local;
  if (!isGiven || m_command->NeedsCameras()) {
    Outcome outcome = MeasureFirst(*m_command, &measured);
    if (outcome.status != kDone) return outcome;
    PrintNote(fmt::format("measured: {:.3f} s to start, {:.3f} s a picture, {} of memory",
                          measured.startSeconds, measured.pictureSeconds,
                          FormatBytes(measured.peakMemory)));
  }
  if (isGiven) measured.startSeconds = m_options.startSeconds;
  if (m_options.frameSeconds > 0) measured.pictureSeconds = m_options.frameSeconds;
  m_plan.startSeconds = measured.startSeconds;
  m_plan.peakMemory = measured.peakMemory;
  m_plan.pictures = m_command->Pictures(measured.cameras);
  m_plan.seconds = ExpectedSeconds(*m_command, m_plan.pictures, measured.pictureSeconds);
  return {};
}

int FarmStart::Run() {
  Outcome outcome = Prepare();
  if (outcome.status != kDone) return FailJob(outcome);
  const FarmFolder folder(m_folder);
  outcome = CheckNames(m_plan, folder.Path());
  if (outcome.status != kDone) return FailJob(outcome);
  std::error_code code;
  if (fs::exists(folder.File("plan.json"), code)) {
    return FailJob(
        {kUnwritableOutput,
         folder.Path() + ": it has a farm already; give another --folder, or remove it"});
  }
  std::vector<std::size_t> left;
  for (std::size_t i = 0; i < m_plan.pictures.size(); ++i) {
    if (!m_plan.pictures[i].IsThere()) left.push_back(i);
  }
  const std::vector<PictureChunk> chunks =
      ShareOut(m_plan, left, m_options.local ? left.size() : MostArrayTasks());
  if (m_options.dryRun) return Print(folder, chunks);
  if (left.size() < m_plan.pictures.size()) {
    PrintWarning(fmt::format("{} of {} pictures are there and are left as they are",
                             m_plan.pictures.size() - left.size(), m_plan.pictures.size()));
  }
  outcome = folder.Create();
  if (outcome.status == kDone) outcome = folder.WritePlan(m_plan);
  if (outcome.status != kDone) return FailJob(outcome);
  if (m_options.local) folder.Hold();
  return m_options.local || left.empty() ? DrawHere(folder, chunks) : Submit(folder, chunks);
}

int FarmStart::Print(const FarmFolder& folder, const std::vector<PictureChunk>& chunks) const {
  std::string text;
  for (std::size_t i = 0; i < chunks.size() && m_options.local; ++i) {
    text += JoinCommand({OwnProgram(), "farm", "task", folder.Path(), "1", std::to_string(i + 1)}) +
            fmt::format("  # {} pictures\n", chunks[i].size());
  }
  if (m_options.local || chunks.empty()) return PrintResult(text);
  BatchWork work;
  const Outcome outcome = DescribeWork(folder, m_plan, 1, chunks, &work);
  if (outcome.status != kDone) return FailJob(outcome);
  const auto line = [&](const CommandWords& more, const char* script) {
    return "# " + JoinCommand(SubmitWords(m_plan, more, folder.File(script))) + "\n";
  };
  return PrintResult(line({}, "round-1.sh") + ArrayScript(work) + "\n" +
                     line({"--dependency=afterany:ID"}, "check-1.sh") + CheckScript(work));
}

int FarmStart::Submit(const FarmFolder& folder, const std::vector<PictureChunk>& chunks) const {
  std::string id;
  const Outcome outcome = SubmitRound(folder, m_plan, 1, chunks, &id);
  if (outcome.status != kDone) {
    folder.RemoveStart();
    return FailJob(outcome);
  }
  RememberFarm(id, folder);
  if (m_options.json) {
    return PrintResult(
        PrintedJson({{"id", id}, {"folder", folder.Path()}, {"tasks", chunks.size()}}));
  }
  PrintStatus(fmt::format("{} task{}; plan, logs and report: {}", chunks.size(),
                          chunks.size() == 1 ? "" : "s", folder.Path()));
  return PrintResult(id + "\n");
}

int FarmStart::DrawHere(const FarmFolder& folder, const std::vector<PictureChunk>& chunks) const {
  if (!chunks.empty()) {
    const Outcome outcome = CheckNode(folder, m_command->Run(), m_options.allowMixed);
    if (outcome.status != kDone) return FailJob(outcome);
  }
  return RunLocalFarm(folder, m_plan, chunks, m_options.json);
}

/// A process that a farm is made of, by its words.
int RunPart(const CommandWords& words) {
  int first = 0, second = 0;
  const bool isCheck = words[0] == "check";
  if (words.size() < (isCheck ? 3u : 4u) || !ParseInteger(words[2], &first) || first < 0 ||
      (!isCheck && (!ParseInteger(words[3], &second) || second < 1))) {
    return FailJob({kWrongUsage, words[0] + ": gl3 farm itself calls this; see gl3 farm --help"});
  }
  if (isCheck) return RunFarmCheck(words[1], first);
  if (words[0] == "task") return RunFarmTask(words[1], first, static_cast<std::size_t>(second));
  return RunFarmVerify(words[1], std::max(first, 1), second);
}

template <std::size_t count>
bool IsOneOf(const char* const (&names)[count], const std::string& name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

}  // namespace

int Farm(const FarmOptions& options) {
  static constexpr const char* kControls[] = {"status", "wait", "cancel"};
  static constexpr const char* kParts[] = {"task", "verify", "check"};
  static constexpr const char* kShared[] = {"render", "filter"};
  const std::string& verb = options.words.front();
  if (IsOneOf(kControls, verb)) {
    if (options.words.size() == 2) return ControlFarm(verb, options.words[1], options);
    return FailJob({kWrongUsage, verb + ": it takes the ID of one farm, or its folder"});
  }
  if (IsOneOf(kParts, verb)) return RunPart(options.words);
  if (IsOneOf(kShared, verb)) return FarmStart(options).Run();
  return FailJob(
      {kWrongUsage, ShellQuote(verb) +
                        ": cannot be shared; give render or filter behind --, or status, "
                        "wait or cancel"});
}

}  // namespace gl3
