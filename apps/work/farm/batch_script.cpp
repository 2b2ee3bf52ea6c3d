// The scripts that a scheduler runs.
#include "apps/work/farm/batch_script.h"

#include <fmt/format.h>

#include "apps/base/text.h"

namespace gl3 {
namespace {

/// Lines that both have. What they print goes to files that the script itself names: the scheduler
/// reads names of files its own way.
std::string Head(const BatchWork& work, const char* name, const std::string& array, int minutes) {
  return fmt::format(
      "#!/bin/sh\n"
      "#SBATCH --job-name={}\n"
      "{}"
      "#SBATCH --requeue\n"
      "#SBATCH --nodes=1\n"
      "#SBATCH --ntasks=1\n"
      "#SBATCH --cpus-per-task={}\n"
      "#SBATCH --mem={}M\n"
      "#SBATCH --time={}\n"
      "#SBATCH --output=/dev/null\n",
      name, array, work.processors, work.limits.megabytes, minutes);
}

}  // namespace

std::string ArrayScript(const BatchWork& work) {
  const std::string limit = work.atATime > 0 ? fmt::format("%{}", work.atATime) : "";
  const std::string head =
      Head(work, "gl3-farm", fmt::format("#SBATCH --array=1-{}{}\n", work.tasks, limit),
           work.limits.minutes);
  // The software renderer takes all processors of the machine unless it is told otherwise.
  return fmt::format(
      "{}export LP_NUM_THREADS=\"${{LP_NUM_THREADS:-{}}}\"\n"
      "exec >>{}/logs/{}-\"$SLURM_ARRAY_TASK_ID\".log 2>&1\n"
      "exec {} farm task {} {} \"$SLURM_ARRAY_TASK_ID\"\n",
      head, work.processors, ShellQuote(work.folder), work.round, ShellQuote(work.program),
      ShellQuote(work.folder), work.round);
}

std::string CheckScript(const BatchWork& work) {
  return fmt::format(
      "{}exec >>{}/logs/{}-check.log 2>&1\n"
      "exec {} farm check {} {}\n",
      Head(work, "gl3-farm-check", "", work.checkMinutes), ShellQuote(work.folder), work.round,
      ShellQuote(work.program), ShellQuote(work.folder), work.round);
}

}  // namespace gl3
