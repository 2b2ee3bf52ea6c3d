// gl3: the command line. Finds the verb, parses its options, runs its job.
#include <algorithm>
#include <exception>
#include <iterator>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/base/text.h"
#include "apps/gl3/verbs.h"
#include "apps/options/option_parser.h"

namespace gl3 {
namespace {

constexpr Verb kVerbs[] = {
    {"render", "Draw models into pictures (PNG, EXR, JPEG, WebP, TIFF, PPM) and movies",
     AddRenderVerb},
    {"filter", "Convert and scale pictures, put them through effects (blur, edges and more)",
     AddFilterVerb},
    {"farm", "Share a render or filter among many machines or processors", AddFarmVerb},
    {"info", "Tell what models hold, what files are read, and whether OpenGL will do", AddInfoVerb},
    {"settings", "Show and change the renderer's settings", AddSettingsVerb},
    {"view", "Show model files in a window", AddViewVerb},
};

constexpr const char* kProgramFooter = R"(
Examples:
  gl3 render chair.glb -o chair.png
  gl3 filter photo.jpg -o soft.png --effect blur:radius=4
  gl3 render --help
  gl3 info --check

Environment (flags beat it):
  GL3_MODULE_PATH  folders to look for OpenGL3.so in, with colons between; else it
                   is looked for beside gl3, in ../lib/gl3 and beside its libraries
  GL3_DEVICE       as --device
  GL3_CONFINED     1 (all but empty and 0): as --confined, and no flag beats it
  GL3_PLATFORM     surfaceless, x11 or device: how OpenGL is reached
  GL3_SURFACE      pbuffer or, with GL3_PLATFORM=x11, window: what render draws into
  GL3_REGISTRY     the settings file (default ~/.config/gl3/registry.ini)
  NO_COLOR         no colours in messages

Exit status:
  0  done
  1  the run failed
  2  wrong usage
  3  input that cannot be read
  4  no usable OpenGL, no module, or no ffmpeg for a movie
  5  output that cannot be written
  6  a comparison that does not match)";

/// The message for a first argument that is neither a verb nor an option, else empty.
std::string WrongVerbMessage(int argc, char** argv) {
  if (argc < 2) return "no verb was given; gl3 --help lists them";
  const std::string word = argv[1];
  if (!word.empty() && word[0] == '-') return "";
  std::vector<std::string> names;
  for (const Verb& verb : kVerbs) names.emplace_back(verb.name);
  if (std::find(names.begin(), names.end(), word) != names.end()) return "";
  const std::string nearest = NearestName(word, names);
  return ShellQuote(word) + ": no such verb; " +
         (nearest.empty() ? "" : "did you mean " + nearest + "? ") + "gl3 --help lists them";
}

/// The message for a farm's command line without the mark before what it shares, else empty.
std::string MissingMarkMessage(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  if (words.front() != "farm") return "";
  const auto shared = std::find_if(words.begin(), words.end(), [](const std::string& word) {
    return word == "render" || word == "filter";
  });
  const bool hasOptions = std::any_of(shared, words.end(), [](const std::string& word) {
    return word[0] == '-' && word != "-h" && word != "--help";
  });
  if (!hasOptions || std::find(words.begin(), words.end(), "--") != words.end()) return "";
  return "farm: -- is missing between its own options and what it shares; write gl3 farm "
         "[options] -- " +
         *shared + " ...";
}

int FailUsage(const std::string& message) {
  PrintError(message);
  return kWrongUsage;
}

int Main(int argc, char** argv) {
  if (const std::string message = WrongVerbMessage(argc, argv); !message.empty()) {
    return FailUsage(message);
  }
  if (const std::string message = MissingMarkMessage(argc, argv); !message.empty()) {
    return FailUsage(message);
  }
  const OptionParser parser(
      "gl3", "gl3 draws 3D models through OpenGL, with or without a screen or a GPU.",
      "gl3 " GL3_VERSION);
  parser.SetFooter(kProgramFooter);
  std::vector<VerbJob> jobs;
  for (const Verb& verb : kVerbs) jobs.push_back(verb.add(parser.AddVerb(verb.name, verb.summary)));
  if (const std::optional<int> status = parser.ParseProgram(argc, argv)) return *status;

  std::vector<std::string> words = {"gl3"};
  for (int i = 1; i < argc; ++i) words.emplace_back(argv[i]);
  for (std::size_t i = 0; i < std::size(kVerbs); ++i) {
    if (parser.IsChosen(kVerbs[i].name)) return jobs[i](words);
  }
  return FailUsage("no verb was given; gl3 --help lists them");
}

}  // namespace
}  // namespace gl3

int main(int argc, char** argv) {
  gl3::PrepareStandardStreams();
  try {
    return gl3::Main(argc, argv);
  } catch (const std::bad_alloc&) {
    gl3::PrintError("memory: none is left; close other programs");
  } catch (const std::exception& error) {
    gl3::PrintError(std::string("unexpected: ") + error.what() + "; please report this");
  }
  return gl3::kRunFailed;
}
