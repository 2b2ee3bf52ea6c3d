// What of a scene is drawn and how: reading these options.
#include "apps/gl3/drawing_options.h"

#include <CLI/CLI.hpp>

#include "apps/gl3/option_readers.h"

namespace gl3 {
namespace {

constexpr Choice<hostkit::LightSet> kLights[] = {
    {"auto", hostkit::LightSet::kAuto},
    {"scene", hostkit::LightSet::kScene},
    {"headlight", hostkit::LightSet::kHeadlight},
    {"three-point", hostkit::LightSet::kThreePoint},
};

bool ReadMode(const std::string& text, std::string* error) {
  if (text == "shaded") return true;
  *error = ShellQuote(text) + " is not a known mode; give shaded";
  return false;
}

}  // namespace

void AddDrawingOptions(CLI::App& app, DrawingOptions* options) {
  app.option_defaults()->group("Drawing");
  AddOption(app, "--lights", "SET",
            "auto, scene, headlight or three-point (default auto: the model's\n"
            "own lights when it has any, else three-point)",
            ChoiceReader(kLights, "a set of lights", &options->lights));
  AddOption(app, "--mode", "MODE", "shaded (default)", ReadMode);
}

}  // namespace gl3
