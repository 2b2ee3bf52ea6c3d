// The work of `gl3 filter`, from picture files to picture files.
#include "apps/work/filter/filter_job.h"

#include <cstddef>
#include <string>
#include <vector>

#include "apps/base/file_checks.h"
#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/work/common/stopwatch.h"
#include "apps/work/filter/filter_child.h"
#include "apps/work/filter/filter_report.h"

namespace gl3 {
namespace {

/// The pictures whose outputs are not there, or all.
FilterPart PicturesToDo(const FilterJob& job) {
  FilterPart part;
  for (std::size_t i = 0; i < job.options.inputs.size(); ++i) {
    if (job.options.skipExisting && IsThere(job.outputs[i])) {
      PrintNote(job.outputs[i] + ": is there");
      ++part.done;
    } else {
      part.pictures.push_back(i);
    }
  }
  return part;
}

/// Runs children until no picture is left, or none can be begun; the status of the first failure.
int FilterAll(const FilterJob& job, FilterPart part, FilterReport* report) {
  const std::vector<std::size_t> all = part.pictures;
  const std::size_t skipped = part.done;
  const bool isStreamed = job.options.stream.IsOpen();
  const std::string output = job.outputs.empty() || isStreamed ? "" : job.outputs.front();
  int status = kDone;
  while (report->PictureCount() < all.size()) {
    ChildTold told;
    const std::size_t before = report->PictureCount();
    const int ended = RunSupervised(
        job.options.run.limits, output,
        [&](ParentLine& line, std::string*) { return FilterPictures(job, part, line); }, &told);
    report->Add(told.parts);
    const std::size_t at = report->PictureCount();
    const bool isLeftToOthers = ended == kDone && at > before;  // nobody was left to decode for it
    if (report->HasStarted() && at < all.size() && !isLeftToOthers) {
      FilteredPicture died;
      died.input = job.options.inputs[all[at]];
      if (!job.outputs.empty()) died.output = job.outputs[all[at]];
      died.status = ended;
      died.error = told.error;
      report->Add(died);
    }
    if (status == kDone) status = report->FirstFailure();
    if (status == kDone) status = ended;
    if (!report->HasStarted()) break;
    if (isStreamed && report->LastStatus() == kUnwritableOutput) break;  // nor is there more room
    const auto next = static_cast<std::ptrdiff_t>(report->PictureCount());
    part.pictures.assign(all.begin() + next, all.end());
    part.done = skipped + report->DoneCount();
    part.isFirst = false;
    part.hasWarnedOfClipping = report->HasWarnedOfClipping();
  }
  return status;
}

}  // namespace

int FilterInto(const FilterJob& job, FilterReport* report, std::size_t* skipped) {
  const FilterPart part = PicturesToDo(job);
  *skipped = part.done;
  return FilterAll(job, part, report);
}

int Filter(const FilterJob& job) {
  const Stopwatch watch;
  const FilterPart part = PicturesToDo(job);
  FilterReport report;
  const int status = FilterAll(job, part, &report);
  std::string result;
  if (job.options.run.json) {
    result = report.Format(part.done, watch.Milliseconds());
  } else if (job.options.verify) {
    std::vector<std::string> inputs;
    for (const std::size_t picture : part.pictures) inputs.push_back(job.options.inputs[picture]);
    result = report.FormatDifferences(inputs);
  }
  const bool hasReport = status == kDone || report.PictureCount() > 0;
  const int printed = hasReport && !result.empty() ? PrintResult(result) : kDone;
  return status == kDone ? printed : status;
}

}  // namespace gl3
