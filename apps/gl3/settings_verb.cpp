// `gl3 settings`: options; the settings page, which is a program of its own.
#include "apps/options/settings_options.h"

#include <memory>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/gl3/start_viewer.h"
#include "apps/gl3/verbs.h"
#include "apps/gl3/work_library.h"

namespace gl3 {
namespace {

constexpr const char* kSettingsFooter = R"(
A setting holds for every program that draws through the module, from its next
start on. Keys may be written without quotes and in any case. Switches take 0 or
1, also off and on; the value `default` removes what is stored.

Examples:
  gl3 settings
  gl3 settings get Max Vertices
  gl3 settings set "OpenMP Threads" 4
  gl3 settings set Antialias on
  gl3 settings list --json)";

struct VerbOptions {
  SettingsOptions settings;
  bool page = false;
};

int RunSettings(const VerbOptions& options) {
  if (options.page) return StartViewer({"--settings"}, ", or use gl3 settings set");
  Outcome outcome;
  std::string result;
  const WorkTable* work = LoadWork(&outcome);
  if (work) outcome = work->settings(options.settings, &result);
  if (!outcome.message.empty()) PrintError(outcome.message);
  if (result.empty()) return outcome.status;
  const int printed = PrintResult(result);
  return outcome.status == kDone ? printed : outcome.status;
}

}  // namespace

VerbJob AddSettingsVerb(const OptionParser& parser) {
  const auto options = std::make_shared<VerbOptions>();
  SettingsOptions* settings = &options->settings;
  const Option action =
      parser.AddWord("ACTION", "",
                     "list (the default): every setting with its value, range and\n"
                     "meaning; get KEY; set KEY VALUE",
                     &settings->action);
  const Option words = parser.AddWords(
      "KEY", "[VALUE]", "The setting, for set with its new value behind it", &settings->words);
  const Option json = parser.AddFlag("--json", "What is printed, as JSON", &settings->json);
  parser.AddFlag("--page", "Show the settings in a window (needs gl3-view)", &options->page)
      .Exclude(action)
      .Exclude(words)
      .Exclude(json);
  parser.SetFooter(kSettingsFooter);
  return [options](const std::vector<std::string>&) { return RunSettings(*options); };
}

}  // namespace gl3
