// What follows a round of a farm: another one for what is missing, or the report.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/work/farm/farm_plan.h"
#include "apps/work/farm/picture_check.h"

namespace gl3 {

/// How pictures of the plan, by index, are shared among tasks. `mostTasks`: of an array.
std::vector<PictureChunk> ShareOut(const FarmPlan& plan, const std::vector<std::size_t>& pictures,
                                   std::size_t mostTasks);

/// The missing pictures that it makes sense to draw once more: not those of tasks that told why no
/// repetition helps, such as a wrong option or a file that cannot be written.
std::vector<std::size_t> WorthRepeating(const FarmFolder& folder, int round,
                                        const FarmFindings& findings);

/// Writes report.json and contact.jpg, and prints the report, or a line on how it ended. Returns
/// the exit status.
int EndFarm(const FarmFolder& folder, const FarmPlan& plan, int rounds,
            const FarmFindings& findings, bool json);

/// Prints a report that is there already, likewise.
int TellReport(const Json& report, bool json);

/// `gl3 farm check`: the job behind a round of a scheduler. Submits the next one when something is
/// missing and rounds are left.
int RunFarmCheck(const std::string& folder, int round);

/// The rounds of a farm on this machine's processors, one after another, to the report.
int RunLocalFarm(const FarmFolder& folder, const FarmPlan& plan, std::vector<PictureChunk> chunks,
                 bool json);

}  // namespace gl3
