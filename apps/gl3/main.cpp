// gl3: the command line. Finds the verb, parses its options, runs its job.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "apps/base/command_words.h"
#include "apps/base/messages.h"
#include "apps/base/text.h"
#include "apps/gl3/verbs.h"

namespace gl3 {
namespace {

constexpr Verb kVerbs[] = {
    {"render", "Draw model files into a picture (PNG, EXR or JPEG)", AddRenderVerb},
    {"filter", "Put pictures through effects (blur, sharpen, edges and more)", AddFilterVerb},
    {"info", "Tell what OpenGL is found, and whether it will do", AddInfoVerb},
    {"settings", "Show and change the renderer's settings", AddSettingsVerb},
    {"view", "Show model files in a window", AddViewVerb},
};

constexpr const char* kFooter = R"(
Examples:
  gl3 render chair.glb -o chair.png
  gl3 filter photo.jpg -o soft.png --effect blur:radius=4
  gl3 render --help
  gl3 info --check

Environment (flags beat it):
  GL3_MODULE_PATH  folders to look for OpenGL3.so in, with colons between; else it
                   is looked for beside gl3, then in ../lib/gl3
  GL3_DEVICE       as --device
  GL3_PLATFORM     surfaceless, x11 or device: how OpenGL is reached
  GL3_REGISTRY     the settings file (default ~/.config/gl3/registry.ini)
  NO_COLOR         no colours in messages

Exit status:
  0  done
  1  the run failed
  2  wrong usage
  3  input that cannot be read
  4  no usable OpenGL, or no module
  5  output that cannot be written
  6  a comparison that does not match)";

/// Help without the parser's remarks on what excludes what, which only lengthen the lines.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string type = option->get_type_name();
    return type.empty() ? "" : " " + type;
  }
};

/// The help of the verb that was chosen, or of the program.
std::string HelpText(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  std::string text = chosen.empty() ? app.help() : chosen.front()->help("gl3");
  for (std::size_t at; (at = text.find("\n\n\n")) != std::string::npos;) text.erase(at, 1);
  return text;
}

/// One line about what is wrong with the command line.
std::string UsageMessage(const CLI::App& app, const CLI::ParseError& error) {
  const auto chosen = app.get_subcommands();
  const CLI::App& parsed = chosen.empty() ? app : *chosen.front();
  const std::string help = chosen.empty() ? "gl3 --help" : "gl3 " + parsed.get_name() + " --help";
  const std::string what = error.what();
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
    return what.substr(0, what.find(':')) + ": its value is missing; " + help + " tells which";
  }
  if (!dynamic_cast<const CLI::ExtrasError*>(&error)) {
    // Our own checks carry their remedy.
    return what.find("; ") == std::string::npos ? what + "; " + help + " lists the options" : what;
  }
  const std::vector<std::string> extras = app.remaining(true);
  const std::string wrong = extras.empty() ? "argument" : extras.front();
  std::vector<std::string> names;
  for (const CLI::Option* option : parsed.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  const std::string nearest = NearestName(wrong.substr(0, wrong.find('=')), names);
  return wrong + ": no such option; " + (nearest.empty() ? "" : "did you mean " + nearest + "? ") +
         help + " lists the options";
}

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

int FailUsage(const std::string& message) {
  PrintError(message);
  return kWrongUsage;
}

int Main(int argc, char** argv) {
  if (const std::string message = WrongVerbMessage(argc, argv); !message.empty()) {
    return FailUsage(message);
  }
  CLI::App app("gl3 draws 3D models through OpenGL, with or without a screen or a GPU.", "gl3");
  app.set_version_flag("--version", "gl3 " GL3_VERSION, "Print the version");
  app.set_help_flag("-h,--help", "Print this help; each verb has its own");
  const auto formatter = std::make_shared<HelpFormatter>();
  formatter->label("SUBCOMMAND", "VERB");
  formatter->column_width(25);
  app.formatter(formatter);
  app.footer(kFooter);
  app.require_subcommand(0, 1);

  std::vector<VerbJob> jobs;
  for (const Verb& verb : kVerbs) {
    CLI::App* parser = app.add_subcommand(verb.name, verb.summary)->group("Verbs");
    jobs.push_back(verb.add(*parser));
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForVersion&) {
    return PrintResult("gl3 " GL3_VERSION "\n");
  } catch (const CLI::CallForHelp&) {
    return PrintResult(HelpText(app));
  } catch (const CLI::ParseError& error) {
    return FailUsage(UsageMessage(app, error));
  }

  std::vector<std::string> words = {"gl3"};
  for (int i = 1; i < argc; ++i) words.emplace_back(argv[i]);
  const std::string command = JoinCommand(words);
  for (std::size_t i = 0; i < std::size(kVerbs); ++i) {
    if (app.got_subcommand(kVerbs[i].name)) return jobs[i](command);
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
