// The options of `gl3 farm`: how each is read, its limits and its help.
#include "apps/options/farm_options.h"

#include <cstddef>

#include "apps/base/text.h"
#include "apps/options/option_readers.h"

namespace gl3 {
namespace {

constexpr int kMostTasks = 100000, kMostPerNode = 1024, kMostRetries = 10;
constexpr int kMostMinutes = 60 * 24 * 365;
constexpr std::uint64_t kLeastMemoryOfTask = 64ull << 20;
constexpr double kLongestFrame = 1e6;

constexpr const char* kFarmFooter = R"(
Turns a command line of gl3 render or gl3 filter into an array of tasks of the Slurm
scheduler (sbatch, of the package slurm-client), on nodes that see the same folders
and have the same gl3. Pictures appear whole or not at all and none is drawn twice,
so the same command goes on where a farm was ended.

A first picture is measured, and decides how many a task draws, so that starting
takes less than a tenth of it, and its limits of time and memory. Models or pictures
are shared by the size of their files, largest first. Before a node draws, it checks
itself as gl3 info --check does; one whose renderer is not that of the first node
draws nothing, unless --allow-mixed says that this does not matter.

Behind all tasks a last one looks whether each picture is there, whole, and of one
recipe and renderer. What is missing is submitted again, up to --retries times. Then
it makes the movie when -o is one, and writes report.json and contact.jpg into the
job's folder.

gl3 farm status ID, wait ID and cancel ID take the number that was printed, or the
job's folder, which standard error tells. wait ends with the status of the farm.

Exit status: 1 when pictures are missing or broken, 6 when they are of several
recipes or renderers; the report names them.

Examples:
  gl3 farm --tasks 64 --per-node 4 -- render shot.glb -o out/shot_####.exr --frames 1-2400
  gl3 farm --local -- render chair.glb -o turn_####.png --turntable 240 -s 640x360
  gl3 farm --sbatch=--partition=night -- filter scans/*.png -o clean/ --effect blur
  gl3 farm --dry-run --tasks 8 -- render chair.glb -o t_####.png --turntable 240
  gl3 farm wait 4711)";

bool ReadMeasured(const std::string& text, FarmOptions* options, std::string* error) {
  const std::size_t comma = text.find(',');
  double start = 0, frame = 0;
  if (comma != std::string::npos && ParseNumber(text.substr(0, comma), &start) &&
      ParseNumber(text.substr(comma + 1), &frame) && start >= 0 && frame > 0 &&
      start <= kLongestFrame && frame <= kLongestFrame) {
    options->startSeconds = start;
    options->frameSeconds = frame;
    return true;
  }
  *error = ShellQuote(text) +
           " is not a measurement; give START,FRAME in seconds, such as 1.5,0.4, with a frame "
           "above 0";
  return false;
}

bool ReadTaskMemory(const std::string& text, FarmOptions* options, std::string* error) {
  std::uint64_t bytes = 0;
  if (ParseBytes(text, &bytes) && bytes >= kLeastMemoryOfTask) {
    options->memory = bytes;
    return true;
  }
  *error = ShellQuote(text) + " is not an amount of memory; give at least 64M, with K, M, G or T";
  return false;
}

/// Options of the scheduler are words of its command line; a line's end would end them there.
bool ReadSubmitOptions(const std::vector<std::string>& texts, FarmOptions* options,
                       std::string* error) {
  for (const std::string& text : texts) {
    if (!text.empty() && text[0] == '-' && OneLine(text) == text) continue;
    *error = ShellQuote(text) +
             " is not an option of sbatch; give one word such as "
             "--sbatch=--partition=night";
    return false;
  }
  options->submitOptions = texts;
  return true;
}

void AddShareOptions(const OptionParser& parser, FarmOptions* options) {
  parser.BeginGroup("Share");
  parser.Add("--tasks", "N", "Tasks at a time (default: as many as there is room for)",
             IntegerReader(1, kMostTasks, &options->tasks));
  parser.Add("--per-node", "N",
             "Tasks at a time on one node, which share its processors\n"
             "(default: one a processor)",
             IntegerReader(1, kMostPerNode, &options->perNode));
  parser.Add("--measured", "START,FRAME",
             "Seconds to start and for a picture, in place of measuring them\n"
             "here; give --memory as well, which is 512M else",
             [=](const std::string& t, std::string* e) { return ReadMeasured(t, options, e); });
  parser.Add("--retries", "N",
             "Rounds for what is missing after the first one, 0 to 10 (default\n2)",
             IntegerReader(0, kMostRetries, &options->retries));
  parser.AddFlag("--allow-mixed", "Draw also where the renderer is another one",
                 &options->allowMixed);
  parser.AddFlag("--local", "Draw on this machine's processors, without a scheduler",
                 &options->local);
}

void AddSchedulerOptions(const OptionParser& parser, FarmOptions* options) {
  parser.BeginGroup("Scheduler");
  parser.AddFlag("--dry-run", "Print what would be submitted, and submit nothing",
                 &options->dryRun);
  parser.Add("--time", "MINUTES", "Limit of a task (default: by what was measured)",
             IntegerReader(1, kMostMinutes, &options->minutes));
  parser.Add("--memory", "SIZE",
             "Memory of a task, such as 500M or 4G (default: by what was\nmeasured)",
             [=](const std::string& t, std::string* e) { return ReadTaskMemory(t, options, e); });
  parser.AddEach("--sbatch", "OPTION",
                 "An option for sbatch, as --sbatch=--partition=night; may be given\n"
                 "several times, and comes before those of gl3",
                 [=](const std::vector<std::string>& texts, std::string* error) {
                   return ReadSubmitOptions(texts, options, error);
                 });
  parser.AddText("--folder", "DIR",
                 "Where plan, logs and report go, seen by every node (default: a\n"
                 "new folder gl3-farm-... beside the pictures)",
                 &options->folder);
}

}  // namespace

void AddFarmOptions(const OptionParser& parser, FarmOptions* options) {
  parser.SetFooter(kFarmFooter);
  parser
      .AddWords("COMMAND", "...",
                "-- and then render or filter with all that belongs to it; or\n"
                "status, wait or cancel with a farm's ID",
                &options->words)
      .Require();
  AddShareOptions(parser, options);
  AddSchedulerOptions(parser, options);
  parser.BeginGroup("Run");
  parser.AddFlag("--json", "The report to standard output as JSON", &options->json);
  const Option quiet =
      parser.AddFlag("-q,--quiet", "Errors only", [=] { options->verbosity = Verbosity::kQuiet; });
  parser
      .AddFlag("-v,--verbose", "Tell each step", [=] { options->verbosity = Verbosity::kVerbose; })
      .Exclude(quiet);
}

}  // namespace gl3
