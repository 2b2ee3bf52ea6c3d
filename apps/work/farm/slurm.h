// The Slurm scheduler, through its own programs.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/work/farm/batch_script.h"
#include "apps/work/farm/farm_plan.h"

namespace gl3 {

/// What a round's jobs may have: limits by the plan, processors by --per-node. Asks the scheduler
/// about its nodes.
Outcome DescribeWork(const FarmFolder& folder, const FarmPlan& plan, int round,
                     const std::vector<PictureChunk>& chunks, BatchWork* work);

/// How many tasks an array may have.
std::size_t MostArrayTasks();

/// Submits a round: the array, and the check behind it. Writes scripts and jobs-N.json. Nodes that
/// failed their check are left out where others passed. `*id` is the array's.
Outcome SubmitRound(const FarmFolder& folder, const FarmPlan& plan, int round,
                    const std::vector<PictureChunk>& chunks, std::string* id);

/// The command line of a submission: sbatch, what the user wants, the script.
std::vector<std::string> SubmitWords(const FarmPlan& plan, const std::vector<std::string>& more,
                                     const std::string& script);

/// In a task of an array: has the scheduler begun no more of its tasks on nodes that failed their
/// check, where others passed.
void KeepTasksOffBadNodes(const FarmFolder& folder);

/// Whether that round's jobs were submitted.
bool IsSubmitted(const FarmFolder& folder, int round);

/// The scheduler's numbers of all rounds so far, each round's check before its array.
std::vector<std::string> JobIds(const FarmFolder& folder);

/// States of what is left of these jobs, "RUNNING" and such, one a task or a group of waiting ones.
/// False when the scheduler does not answer.
bool JobStates(const std::vector<std::string>& ids, std::vector<std::string>* states);

/// Ends what is left of these jobs, in their order.
Outcome CancelJobs(const std::vector<std::string>& ids);

}  // namespace gl3
