// The options of `gl3 render`: how each is read, its limits and its help.
#include "apps/gl3/render_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <functional>

#include "apps/gl3/text.h"

namespace gl3 {
namespace {

constexpr int kMaxSide = 32768;
/// 16384 x 16384: two gigabytes as half floats, what a machine can still be expected to hold.
constexpr long long kMaxPixels = 1LL << 28;
constexpr std::uint64_t kLeastMemory = 64ull << 20;
constexpr double kMaxTimeout = 1e6;

struct NamedColor {
  const char* name;
  float rgb[3];
};
constexpr NamedColor kColors[] = {
    {"black", {0, 0, 0}},  {"white", {1, 1, 1}},   {"gray", {0.5f, 0.5f, 0.5f}},
    {"red", {1, 0, 0}},    {"green", {0, 1, 0}},   {"blue", {0, 0, 1}},
    {"yellow", {1, 1, 0}}, {"magenta", {1, 0, 1}}, {"cyan", {0, 1, 1}},
};

struct NamedView {
  const char* name;
  Imath::V3f direction;
};
const NamedView kViews[] = {
    {"front", {0, 0, 1}}, {"back", {0, 0, -1}},   {"left", {-1, 0, 0}}, {"right", {1, 0, 0}},
    {"top", {0, 1, 0}},   {"bottom", {0, -1, 0}}, {"iso", {1, 1, 1}},
};

struct NamedLights {
  const char* name;
  hostkit::LightSet set;
};
constexpr NamedLights kLights[] = {
    {"auto", hostkit::LightSet::kAuto},
    {"scene", hostkit::LightSet::kScene},
    {"headlight", hostkit::LightSet::kHeadlight},
    {"three-point", hostkit::LightSet::kThreePoint},
};

constexpr const char* kFooter = R"(
World space is the file's: right-handed, y up, units as in the file. Colours are
display-referred (sRGB), as the renderer draws them.
Without --camera, --eye or --view the whole model is shown from a three-quarter
view. A camera of the file is used only when it is named.

Examples:
  gl3 render chair.glb -o chair.png
  gl3 render scene.dae -o shot.exr -s 1920x1080 --camera Camera01
  gl3 render part.stl -o icon.png -s 256x256 --no-background --view iso --parallel
  gl3 render room.obj lamp.glb -o room.jpg --eye 0,1.7,4 --target 0,1,0 --fov 60)";

/// Reads one argument; on failure returns false and says why, with the remedy.
using Reader = std::function<bool(const std::string& text, std::string* error)>;

/// Adds an option that is read by `read`; the last one given counts.
CLI::Option* Add(CLI::App& app, const std::string& names, const std::string& type,
                 const std::string& help, Reader read) {
  const std::string shown = names.substr(names.find("--"));
  const auto apply = [shown, read = std::move(read)](const std::string& text) {
    std::string error;
    if (!read(text, &error)) throw CLI::ValidationError(shown, error);
  };
  return app.add_option_function<std::string>(names, apply, help)->type_name(type)->take_last();
}

bool ReadSize(const std::string& text, RenderOptions* options, std::string* error) {
  const std::size_t cross = text.find_first_of("xX");
  int width = 0, height = 0;
  const bool isRead = cross != std::string::npos && ParseInteger(text.substr(0, cross), &width) &&
                      ParseInteger(text.substr(cross + 1), &height);
  if (isRead && std::min(width, height) >= 1 && std::max(width, height) <= kMaxSide &&
      static_cast<long long>(width) * height <= kMaxPixels) {
    options->width = width;
    options->height = height;
    return true;
  }
  *error = fmt::format(
      "{} is not a size that can be drawn; give WIDTHxHEIGHT such as 1920x1080, each side from 1 "
      "to {} and at most {} pixels in all",
      ShellQuote(text), kMaxSide, kMaxPixels);
  return false;
}

bool ReadHexColor(const std::string& digits, float rgb[3]) {
  if (digits.size() != 3 && digits.size() != 6) return false;
  if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
  const std::size_t each = digits.size() / 3;
  for (std::size_t i = 0; i < 3; ++i) {
    const long value = std::strtol(digits.substr(i * each, each).c_str(), nullptr, 16);
    rgb[i] = static_cast<float>(each == 1 ? value * 17 : value) / 255.f;
  }
  return true;
}

bool ReadColor(const std::string& text, RenderOptions* options, std::string* error) {
  options->transparentBackground = text == "transparent";
  if (options->transparentBackground) return true;
  std::vector<std::string> names;
  for (const NamedColor& color : kColors) {
    names.emplace_back(color.name);
    if (text != color.name) continue;
    std::copy_n(color.rgb, 3, options->background);
    return true;
  }
  float rgb[3];
  const bool isRead =
      !text.empty() && text[0] == '#' ? ReadHexColor(text.substr(1), rgb) : ParseTriple(text, rgb);
  const auto inRange = [](float value) { return value >= 0 && value <= 1; };
  if (isRead && std::all_of(rgb, rgb + 3, inRange)) {
    std::copy_n(rgb, 3, options->background);
    return true;
  }
  *error = fmt::format(
      "{} is not a colour; give #rgb, #rrggbb, three numbers from 0 to 1 such as 0.2,0.2,0.3, "
      "transparent or one of {}",
      ShellQuote(text), JoinNames(names));
  return false;
}

bool ReadView(const std::string& text, RenderOptions* options, std::string* error) {
  std::vector<std::string> names;
  for (const NamedView& view : kViews) {
    names.emplace_back(view.name);
    if (text != view.name) continue;
    options->viewFrom = view.direction;
    return true;
  }
  float direction[3];
  if (ParseTriple(text, direction) &&
      std::any_of(direction, direction + 3, [](float value) { return value != 0; })) {
    options->viewFrom = {direction[0], direction[1], direction[2]};
    return true;
  }
  *error = fmt::format("{} is not a view; give {} or a direction X,Y,Z other than 0,0,0",
                       ShellQuote(text), JoinNames(names));
  return false;
}

/// A reader of a point or direction into anything that a vector can be assigned to.
template <class Vector>
Reader TripleReader(Vector* vector) {
  return [vector](const std::string& text, std::string* error) {
    float triple[3];
    if (ParseTriple(text, triple)) {
      *vector = Imath::V3f(triple[0], triple[1], triple[2]);
      return true;
    }
    *error = ShellQuote(text) + " is not a point; give three numbers such as 0,1.5,-4";
    return false;
  };
}

Reader IntegerReader(int least, int most, int* number) {
  return [=](const std::string& text, std::string* error) {
    int value = 0;
    if (ParseInteger(text, &value) && value >= least && value <= most) {
      *number = value;
      return true;
    }
    *error = fmt::format("{} is out of range; give a whole number from {} to {}", ShellQuote(text),
                         least, most);
    return false;
  };
}

bool ReadFov(const std::string& text, RenderOptions* options, std::string* error) {
  double degrees = 0;
  if (ParseNumber(text, &degrees) && degrees >= 0.1 && degrees <= 170) {
    options->fieldOfView = static_cast<float>(degrees);
    return true;
  }
  *error = ShellQuote(text) + " is not a field of view; give degrees from 0.1 to 170";
  return false;
}

bool ReadLights(const std::string& text, RenderOptions* options, std::string* error) {
  std::vector<std::string> names;
  for (const NamedLights& lights : kLights) {
    names.emplace_back(lights.name);
    if (text != lights.name) continue;
    options->lights = lights.set;
    return true;
  }
  *error = fmt::format("{} is not a set of lights; give {}", ShellQuote(text), JoinNames(names));
  return false;
}

bool ReadMode(const std::string& text, std::string* error) {
  if (text == "shaded") return true;
  *error = ShellQuote(text) + " is not a known mode; give shaded";
  return false;
}

bool ReadDevice(const std::string& text, RenderOptions* options, std::string* error) {
  int number = -1;
  if (text == "auto" || text == "cpu" || text == "gpu" ||
      (ParseInteger(text, &number) && number >= 0)) {
    options->device = text;
    return true;
  }
  *error = ShellQuote(text) + " is not a device; give auto, cpu, gpu or a device's number from 0";
  return false;
}

bool ReadTimeout(const std::string& text, Limits* limits, std::string* error) {
  double seconds = 0;
  if (ParseNumber(text, &seconds) && seconds >= 0 && seconds <= kMaxTimeout) {
    limits->timeoutSeconds = seconds;
    return true;
  }
  *error = ShellQuote(text) + " is not a time; give seconds from 0 (no limit) to 1000000";
  return false;
}

bool ReadMemory(const std::string& text, Limits* limits, std::string* error) {
  std::uint64_t bytes = 0;
  if (ParseBytes(text, &bytes) && (bytes == 0 || bytes >= kLeastMemory)) {
    limits->maxMemory = bytes;
    return true;
  }
  *error = ShellQuote(text) + " is not an amount of memory; give 0 (no limit) or at least 64M, " +
           "with K, M, G or T";
  return false;
}

void AddPictureOptions(CLI::App& app, RenderOptions* options) {
  app.option_defaults()->group("Picture");
  app.add_option("-o,--output", options->output,
                 "The picture: .png (8 bits, straight alpha), .exr (half floats,\n"
                 "premultiplied alpha), .jpg or .jpeg; replaced when it exists")
      ->type_name("OUT")
      ->required()
      ->take_last();
  Add(app, "-s,--size", "WxH", "Pixels, each side 1 to 32768 (default 1280x720)",
      [=](const std::string& t, std::string* e) { return ReadSize(t, options, e); });
  Add(app, "--antialias", "N", "Samples a pixel, N x N, 1 to 4 (default 2; 1 draws fastest)",
      IntegerReader(1, 4, &options->samplesPerSide));
  CLI::Option* background =
      Add(app, "--background", "COLOR",
          "#rgb, #rrggbb, r,g,b in 0..1, a name such as white, or\n"
          "transparent (default #292b30)",
          [=](const std::string& t, std::string* e) { return ReadColor(t, options, e); });
  app.add_flag("--no-background", options->transparentBackground,
               "Alpha tells what the model covers (in JPEG: on black)")
      ->excludes(background);
  Add(app, "--quality", "N", "Of JPEG, 1 to 100 (default 92)",
      IntegerReader(1, 100, &options->jpegQuality));
}

void AddCameraOptions(CLI::App& app, RenderOptions* options) {
  app.option_defaults()->group("Camera");
  Add(app, "--view", "VIEW",
      "front, back, left, right, top, bottom, iso, or a direction X,Y,Z\n"
      "from the model to the eye; shows all of it (default 0.7,0.45,1)",
      [=](const std::string& t, std::string* e) { return ReadView(t, options, e); });
  CLI::Option* camera = app.add_option("--camera", options->camera, "A camera of the model's file")
                            ->type_name("NAME")
                            ->take_last()
                            ->excludes("--view");
  CLI::Option* eye =
      Add(app, "--eye", "X,Y,Z", "Where the eye is, in world units", TripleReader(&options->eye));
  eye->excludes(camera)->excludes("--view");
  Add(app, "--target", "X,Y,Z", "What --eye looks at (default: the middle of the model)",
      TripleReader(&options->target))
      ->needs(eye);
  Add(app, "--up", "X,Y,Z", "What is up for --eye (default 0,1,0)", TripleReader(&options->up))
      ->needs(eye);
  Add(app, "--fov", "DEG",
      "Vertical field of view in degrees, 0.1 to 170 (default: the\ncamera's own, else 40)",
      [=](const std::string& t, std::string* e) { return ReadFov(t, options, e); });
  app.add_flag("--parallel", options->parallel, "Parallel projection, without perspective");
}

void AddSceneOptions(CLI::App& app, RenderOptions* options) {
  app.option_defaults()->group("Drawing");
  Add(app, "--lights", "SET",
      "auto, scene, headlight or three-point (default auto: the model's\n"
      "own lights when it has any, else three-point)",
      [=](const std::string& t, std::string* e) { return ReadLights(t, options, e); });
  Add(app, "--mode", "MODE", "shaded (default)", ReadMode);
  Add(app, "--device", "DEVICE",
      "auto, cpu (the software renderer), gpu, or a device's number\n"
      "(default: GL3_DEVICE, else auto)",
      [=](const std::string& t, std::string* e) { return ReadDevice(t, options, e); });
  app.add_option("--module", options->module,
                 "The renderer module's file (default: OpenGL3.so, looked for as\n"
                 "gl3 --help tells)")
      ->type_name("PATH")
      ->take_last();
}

void AddRunOptions(CLI::App& app, RenderOptions* options) {
  app.option_defaults()->group("Run");
  Limits* limits = &options->limits;
  Add(app, "--timeout", "SECONDS", "Give up after this time; 0: never (default 600)",
      [=](const std::string& t, std::string* e) { return ReadTimeout(t, limits, e); });
  Add(app, "--max-memory", "SIZE",
      "Give up beyond this, such as 500M or 4G; 0: no limit (default:\n"
      "three quarters of the machine's memory)",
      [=](const std::string& t, std::string* e) { return ReadMemory(t, limits, e); });
  app.add_flag("--json", options->json,
               "Figures to standard output: times in milliseconds, size,\n"
               "triangles, renderer, device, peak memory in bytes");
  CLI::Option* quiet = app.add_flag_callback(
      "-q,--quiet", [=] { options->verbosity = Verbosity::kQuiet; }, "Errors only");
  app.add_flag_callback(
         "-v,--verbose", [=] { options->verbosity = Verbosity::kVerbose; },
         "Tell each step, and let drivers and libraries speak")
      ->excludes(quiet);
}

}  // namespace

void AddRenderOptions(CLI::App& app, RenderOptions* options) {
  app.set_help_flag("-h,--help", "Print this help");
  app.footer(kFooter);
  app.add_option("MODEL", options->models, "Model files, merged into one scene")
      ->type_name("...")
      ->required();
  AddPictureOptions(app, options);
  AddCameraOptions(app, options);
  AddSceneOptions(app, options);
  AddRunOptions(app, options);
}

Outcome CheckRenderOptions(const RenderOptions& options) {
  if (!options.eye) return {};
  if (options.up == Imath::V3f(0))
    return {kWrongUsage, "--up: 0,0,0 is no direction; give another"};
  if (!options.target) return {};
  const Imath::V3f sight = *options.target - *options.eye;
  if (sight == Imath::V3f(0)) {
    return {kWrongUsage, "--target: it is where --eye is; move one of them"};
  }
  if (sight.normalized().cross(options.up.normalized()).length() < 1e-5f) {
    return {kWrongUsage,
            "--up: it points along the line of sight; give another, such as --up 0,0,1"};
  }
  return {};
}

}  // namespace gl3
