// The verdicts of `gl3 info --check`.
#pragma once

#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/info_options.h"
#include "apps/work/info/info_report.h"
#include "apps/work/info/probe_child.h"

namespace gl3 {

/// Does every check in turn, and tells for each {"at": its name} before and {"verdict": {name,
/// verdict (OK, WARN, FAIL), reason, remedy, status}} after it. Checks that have no meaning after a
/// failure are left out. For a child process.
void TellChecks(const InfoOptions& options, const Tell& tell);

/// What was told, and what became of the child (empty: nothing), as an object: "checks", "failed",
/// "warnings", "notChecked".
Json CollectChecks(const std::vector<Json>& told, const std::string& trouble);

/// The verdicts as text, one a line, and a line of summary.
std::string FormatChecks(const Json& checks);

/// The first thing that failed, as an outcome; kDone when nothing did.
Outcome ConcludeChecks(const Json& checks);

}  // namespace gl3
