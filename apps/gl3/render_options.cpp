// The options of `gl3 render`: how each is read, its limits and its help.
#include "apps/gl3/render_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>

#include "apps/gl3/option_readers.h"
#include "apps/gl3/text.h"

namespace gl3 {
namespace {

constexpr int kMaxSide = 32768;
/// 16384 x 16384: two gigabytes as half floats, what a machine can still be expected to hold.
constexpr long long kMaxPixels = 1LL << 28;

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

bool ReadFov(const std::string& text, RenderOptions* options, std::string* error) {
  double degrees = 0;
  if (ParseNumber(text, &degrees) && degrees >= 0.1 && degrees <= 170) {
    options->fieldOfView = static_cast<float>(degrees);
    return true;
  }
  *error = ShellQuote(text) + " is not a field of view; give degrees from 0.1 to 170";
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
  AddOption(app, "-s,--size", "WxH", "Pixels, each side 1 to 32768 (default 1280x720)",
            [=](const std::string& t, std::string* e) { return ReadSize(t, options, e); });
  AddOption(app, "--antialias", "N", "Samples a pixel, N x N, 1 to 4 (default 2; 1 draws fastest)",
            IntegerReader(1, 4, &options->samplesPerSide));
  CLI::Option* background =
      AddOption(app, "--background", "COLOR",
                "#rgb, #rrggbb, r,g,b in 0..1, a name such as white, or\n"
                "transparent (default #292b30)",
                [=](const std::string& t, std::string* e) { return ReadColor(t, options, e); });
  app.add_flag("--no-background", options->transparentBackground,
               "Alpha tells what the model covers (in JPEG: on black)")
      ->excludes(background);
  AddOption(app, "--quality", "N", "Of JPEG, 1 to 100 (default 92)",
            IntegerReader(1, 100, &options->jpegQuality));
}

void AddCameraOptions(CLI::App& app, RenderOptions* options) {
  app.option_defaults()->group("Camera");
  AddOption(app, "--view", "VIEW",
            "front, back, left, right, top, bottom, iso, or a direction X,Y,Z\n"
            "from the model to the eye; shows all of it (default 0.7,0.45,1)",
            [=](const std::string& t, std::string* e) { return ReadView(t, options, e); });
  CLI::Option* camera = app.add_option("--camera", options->camera, "A camera of the model's file")
                            ->type_name("NAME")
                            ->take_last()
                            ->excludes("--view");
  CLI::Option* eye = AddOption(app, "--eye", "X,Y,Z", "Where the eye is, in world units",
                               TripleReader(&options->eye));
  eye->excludes(camera)->excludes("--view");
  AddOption(app, "--target", "X,Y,Z", "What --eye looks at (default: the middle of the model)",
            TripleReader(&options->target))
      ->needs(eye);
  AddOption(app, "--up", "X,Y,Z", "What is up for --eye (default 0,1,0)",
            TripleReader(&options->up))
      ->needs(eye);
  AddOption(app, "--fov", "DEG",
            "Vertical field of view in degrees, 0.1 to 170 (default: the\ncamera's own, else 40)",
            [=](const std::string& t, std::string* e) { return ReadFov(t, options, e); });
  app.add_flag("--parallel", options->parallel, "Parallel projection, without perspective");
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
  AddDrawingOptions(app, &options->drawing);
  AddRunOptions(app, &options->run);
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
