// What `gl3 info` is asked for.
#include "apps/options/info_options.h"

#include "apps/options/standard_stream.h"

namespace gl3 {
namespace {

/// A driver that has not answered by then hangs.
constexpr double kTimeoutSeconds = 60;

constexpr const char* kInfoFooter = R"(
With models it tells what is in them: format, unit, size, triangles, materials,
textures, cameras, lights, animations, scenes, extensions, and what will be
approximated. They are imported as render imports them. One that fails is told, and
the rest all the same; the exit status is that of the first failure.

Without models, what it prints is what a bug report needs. Each device is asked in a
process of its own: a driver that crashes or hangs is told, and the rest of the
report comes all the same.

Exit status of --check: 0 when nothing failed (warnings allow work), else 4.
Of --compare: 6 when a picture is further from the kept one than drivers may be,
or a driver crashed; 0 also where one says what it cannot draw.

Examples:
  gl3 info
  gl3 info --check
  gl3 info chair.glb
  gl3 info --json parts/*.stl
  gl3 info --formats
  gl3 info --all-devices
  gl3 info --device cpu --extended
  gl3 info --compare drivers
  gl3 info --json > report.json)";

Option AddKind(const OptionParser& parser, InfoOptions* options, const char* name, InfoKind kind,
               const char* help) {
  return parser.AddFlag(name, help, [=] { options->kind = kind; });
}

}  // namespace

void AddInfoOptions(const OptionParser& parser, InfoOptions* options) {
  const Option models = parser.AddWords(
      "MODEL", "...", "Model files to tell about, in place of OpenGL", &options->models);
  parser.BeginGroup("Report");
  const Option check = AddKind(parser, options, "--check", InfoKind::kCheck,
                               "A verdict on each thing that the programs need: OK, WARN or\n"
                               "FAIL, with the reason and the remedy");
  const Option extended = AddKind(parser, options, "--extended", InfoKind::kExtended,
                                  "The renderer's extended report, and nothing else");
  const Option extensions = AddKind(parser, options, "--extensions", InfoKind::kExtensions,
                                    "The OpenGL extensions, one a line, and nothing else");
  const Option formats = AddKind(parser, options, "--formats", InfoKind::kFormats,
                                 "The kinds of files that are read and written");
  const Option all = parser.AddFlag(
      "--all-devices", "Ask every device that EGL lists, one after another", &options->allDevices);
  const Option compare = parser.Add("--compare", "FOLDER",
                                    "Draw the gallery on every device and driver, and compare the\n"
                                    "pictures; those, their differences and compare.json go there",
                                    [=](const std::string& text, std::string* error) {
                                      options->kind = InfoKind::kCompare;
                                      options->compareFolder = text;
                                      if (text.empty()) *error = "--compare wants a folder";
                                      return !text.empty();
                                    });
  parser
      .AddEach("--driver", "NAME",
               "Of them these alone, as the table calls them; can be given several\n"
               "times",
               [=](const std::vector<std::string>& names, std::string*) {
                 options->compareDrivers = names;
                 return true;
               })
      .Need(compare);
  compare.Exclude(check).Exclude(extended).Exclude(extensions).Exclude(all);
  check.Exclude(extended).Exclude(extensions);
  extended.Exclude(extensions).Exclude(all);
  extensions.Exclude(all);
  formats.Exclude(check).Exclude(extended).Exclude(extensions).Exclude(all).Exclude(compare);
  for (const Option& other : {check, extended, extensions, formats, all, compare}) {
    other.Exclude(models);
  }

  AddModelFormatOption(parser, &options->modelFormat);
  options->run.limits.timeoutSeconds = kTimeoutSeconds;
  AddRunOptions(parser, &options->run);
  parser.Find("--json").Describe("The report as JSON, with extensions and limits");
  parser.Find("--timeout").Describe("Give up on a device or model after this time; 0: never (60)");
  parser.Find("--max-memory").Describe("Of a model's import, as for render");
  parser.Find("--device").Exclude(all);
  parser.SetFooter(kInfoFooter);
}

}  // namespace gl3
