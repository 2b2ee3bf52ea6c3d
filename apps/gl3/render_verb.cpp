// `gl3 render`: options, checks that need no work, then the work in a supervised child.
#include <memory>

#include "apps/gl3/file_checks.h"
#include "apps/gl3/messages.h"
#include "apps/gl3/render_options.h"
#include "apps/gl3/supervised_child.h"
#include "apps/gl3/verbs.h"
#include "apps/gl3/work_library.h"

namespace gl3 {
namespace {

Outcome CheckBeforeWork(const RenderOptions& options, const WorkTable& work) {
  Outcome outcome = CheckRenderOptions(options);
  if (outcome.status == kDone) outcome = work.checkOutput(options.output);
  for (const std::string& model : options.models) {
    if (outcome.status == kDone) outcome = CheckInput(model);
  }
  return outcome;
}

int RunRender(const RenderOptions& options, const std::string& command) {
  SetVerbosity(options.run.verbosity);
  Outcome outcome;
  const WorkTable* work = LoadWork(&outcome);
  if (work) outcome = CheckBeforeWork(options, *work);
  if (outcome.status != kDone) {
    PrintError(outcome.message);
    return outcome.status;
  }
  return RunSupervised(options.run.limits, options.output,
                       [&](ParentLine& line, std::string* result) {
                         return work->render(options, command, line, result);
                       });
}

}  // namespace

VerbJob AddRenderVerb(CLI::App& app) {
  const auto options = std::make_shared<RenderOptions>();
  AddRenderOptions(app, options.get());
  return [options](const std::string& command) { return RunRender(*options, command); };
}

}  // namespace gl3
