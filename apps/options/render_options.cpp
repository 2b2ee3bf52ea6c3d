// The options of `gl3 render`: how each is read, its limits and its help.
#include "apps/options/render_options.h"

#include <fmt/format.h>

#include <algorithm>

#include "apps/base/text.h"
#include "apps/options/movie_kinds.h"
#include "apps/options/option_readers.h"
#include "apps/options/output_checks.h"
#include "apps/options/picture_options.h"
#include "hostkit/pictures/picture_formats.h"

namespace gl3 {
namespace {

constexpr float kDefaultFov = 40;  // degrees

struct NamedView {
  const char* name;
  Imath::V3f direction;
};
const NamedView kViews[] = {
    {"front", {0, 0, 1}}, {"back", {0, 0, -1}},   {"left", {-1, 0, 0}}, {"right", {1, 0, 0}},
    {"top", {0, 1, 0}},   {"bottom", {0, -1, 0}}, {"iso", {1, 1, 1}},
};

constexpr Choice<std::optional<hostkit::UpAxis>> kUpAxes[] = {
    {"auto", std::nullopt},           {"+X", hostkit::UpAxis::kPlusX},
    {"-X", hostkit::UpAxis::kMinusX}, {"+Y", hostkit::UpAxis::kPlusY},
    {"-Y", hostkit::UpAxis::kMinusY}, {"+Z", hostkit::UpAxis::kPlusZ},
    {"-Z", hostkit::UpAxis::kMinusZ},
};

constexpr const char* kRenderFooter = R"(
World space is the file's: right-handed, axes and units as in the file. What is up
is y, unless the format says otherwise or --up-axis does; it turns named views, the
grid and the turntable, and moves nothing. Colours are display-referred (sRGB), as
the renderer draws them.
Without --camera, --eye, --view or --azimuth the whole model is shown from a
three-quarter view; --turntable goes on from wherever the camera is. A camera of
the file is used only when it is named.

Several models: -o holds %n (or {name}) for a model's name without folder and suffix.
They are drawn one after another with one start of OpenGL. One that fails is told,
and the rest is done; the exit status is that of the first failure.

Movies: -o turn.mp4, .webm or .gif with --turntable or --frames is made by ffmpeg, which
must be installed, and appears whole or not at all.

Standard streams: the model - comes from standard input; with -o - pictures go to
standard output, those of a sequence one after another, and --json needs a file.

Sequences: -o holds #### or %04d for the frame's number and {camera} or %c for the
camera's name (%% for a percent sign). The model is loaded once. Pictures appear
whole or not at all, so a run that was ended goes on with --skip-existing; it asks
only whether a picture is there, not how it was made. What moves in the model moves
with the frames.
--like repeats the options of the recipe in a picture, and what the command line
says comes first. Of a picture out of a sequence that frame alone is drawn, unless
--frames or --turntable asks for more. It repeats neither -o nor --module nor what
is told and waited for. Models and overlays that a recipe names without a folder are
looked for beside the picture, then in the current folder. Files elsewhere that the
recipe would have read are told, or refused with --confined.

--passes writes float channels: Z, the distance from the eye along the view in world
units (1e30 where nothing is); N.X N.Y N.Z, unit normals in view space (x right, y up,
z to the eye, 0 where nothing is); objectid and materialid, whole numbers from 1 in the
order of the attributes gl3:objects and gl3:materials, 0 where nothing is.

Examples:
  gl3 render chair.glb -o chair.png
  gl3 render scene.dae -o shot.exr -s 1920x1080 --camera Camera01
  gl3 render part.stl -o icon.png -s 256x256 --no-background --view iso --parallel
  gl3 render room.obj lamp.glb --merge -o room.jpg --eye 0,1.7,4 --target 0,1,0
  gl3 render parts/*.stl -o 'thumbs/%n.png' -s 256x256
  gl3 render part.stl -o part.png --up-axis +Z --view front
  gl3 render part.stl -o part.png --azimuth 30 --elevation 20 --background white,#bcd
  gl3 render car.glb -o cut.png --hide 'Wheel*' --section x=50% --scale-bar=m
  gl3 render part.stl -o drawing.png --mode lines --crease 20 --background white
  gl3 render house.glb -o plan.png --grid --text "South side,20,20" --overlay logo.png
  gl3 render town.glb -o town.exr --depth town.exr --fog 50,400,#a8b4c0
  gl3 render town.glb -o town.exr --passes z,normal,object,material --no-background
  gl3 render chair.glb -o turn_####.png --turntable 240 -s 640x360
  gl3 render robot.glb -o %c_%04d.exr --camera all --frames 1-100 --fps 25
  gl3 render robot.glb -o shot_####.png --frames 1-1000 --chunk 2/8 --skip-existing
  gl3 render chair.glb -o turn.mp4 --turntable 120 --fps 30
  gl3 render - --model-format stl -o - --format ppm <part.stl | ffmpeg -i - part.jpg
  gl3 render --like shot_0007.png -o large.png -s 3840x2160)";

bool ReadView(const std::string& text, RenderOptions* options, std::string* error) {
  std::vector<std::string> names;
  for (const NamedView& view : kViews) {
    names.emplace_back(view.name);
    if (text != view.name) continue;
    options->viewFrom = view.direction;
    options->isViewNamed = true;
    return true;
  }
  float direction[3];
  if (ParseTriple(text, direction) &&
      std::any_of(direction, direction + 3, [](float value) { return value != 0; })) {
    options->viewFrom = {direction[0], direction[1], direction[2]};
    options->isViewNamed = false;
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

constexpr Choice<bool RenderPasses::*> kPasses[] = {
    {"z", &RenderPasses::z},
    {"normal", &RenderPasses::normal},
    {"object", &RenderPasses::object},
    {"material", &RenderPasses::material},
};

bool ReadPasses(const std::string& text, RenderPasses* passes, std::string* error) {
  *passes = {};
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    bool RenderPasses::*pass = nullptr;
    if (!ChoiceReader(kPasses, "a pass", &pass)(text.substr(begin, end - begin), error)) {
      return false;
    }
    passes->*pass = true;
    begin = end + 1;
  }
  return true;
}

void AddPictureOptions(const OptionParser& parser, RenderOptions* options) {
  parser.BeginGroup("Picture");
  AddPictureFileOptions(parser, "\nor a movie (.mp4, .webm, .gif); -: standard output",
                        &options->output, &options->jpegQuality, &options->exrEncoding);
  parser.Add(
      "--passes", "LIST",
      "Of z, normal, object, material: also write these channels into the\n"
      ".exr, at pixel centres without smoothing; see below",
      [=](const std::string& t, std::string* e) { return ReadPasses(t, &options->passes, e); });
  AddStreamFormatOption(parser, &options->format);
  AddModelFormatOption(parser, &options->modelFormat);
  parser.AddFlag("--merge", "All models in one scene, in place of pictures of each",
                 &options->merge);
  parser.AddText("--like", "PICTURE",
                 "Repeat the recipe in this picture; models and options that are\n"
                 "given as well come in place of the recipe's",
                 &options->like);
  AddRecipeOption(parser, &options->recipe);
  parser.Add("-s,--size", "WxH", "Pixels, each side 1 to 32768 (default 1280x720)",
             [=](const std::string& t, std::string* e) {
               return ReadPictureSize(t, false, &options->width, &options->height, e);
             });
  parser.Add("--antialias", "N", "Samples a pixel, N x N, 1 to 4 (default 2; 1 draws fastest)",
             IntegerReader(1, 4, &options->samplesPerSide));
  const Option background =
      parser.Add("--background", "COLOR",
                 "#rgb, #rrggbb, r,g,b in 0..1, a name such as white; two of them with\n"
                 "a comma between, at the top and at the bottom of a gradient; a picture's\n"
                 "file, which covers the frame; or transparent (default #292b30)",
                 [=](const std::string& t, std::string* e) {
                   return ReadBackground(t, &options->background, e);
                 });
  parser
      .AddFlag("--no-background", "Alpha tells what the model covers (in JPEG: on black)",
               &options->background.isTransparent)
      .Exclude(background);
}

void AddCameraOptions(const OptionParser& parser, RenderOptions* options) {
  parser.BeginGroup("Camera");
  parser.AddText("--scene", "NAME",
                 "Which of several scenes that a glTF file holds (default: its own\nchoice)",
                 &options->scene);
  const Option view =
      parser.Add("--view", "VIEW",
                 "front, back, left, right, top, bottom, iso, or a direction X,Y,Z\n"
                 "from the model to the eye; shows all of it (default 0.7,0.45,1)",
                 [=](const std::string& t, std::string* e) { return ReadView(t, options, e); });
  const Option camera =
      parser.AddEach("--camera", "NAME",
                     "A camera of the model's file; all, or given several times:\n"
                     "a picture from each, with {camera} or %c in -o for its name",
                     [=](const std::vector<std::string>& names, std::string*) {
                       options->cameras = names;
                       return true;
                     });
  camera.Exclude(view);
  const Option eye =
      parser.Add("--eye", "X,Y,Z", "Where the eye is, in world units", TripleReader(&options->eye));
  eye.Exclude(camera).Exclude(view);
  parser
      .Add("--target", "X,Y,Z", "What --eye looks at (default: the middle of the model)",
           TripleReader(&options->target))
      .Need(eye);
  parser
      .Add("--up", "X,Y,Z", "What is up for --eye (default: that of --up-axis)",
           TripleReader(&options->up))
      .Need(eye);
  parser.Add("--up-axis", "AXIS",
             "What is up in the model: +X, -X, +Y, -Y, +Z, -Z or auto (default:\n"
             "what its format says, else +Y)",
             ChoiceReader(kUpAxes, "an axis", &options->upAxis));
  parser.Add("--fov", "DEG",
             "Vertical field of view in degrees, 0.1 to 170 (default: the\ncamera's own, else 40)",
             [=](const std::string& t, std::string* e) { return ReadFov(t, options, e); });
  parser.AddFlag("--parallel", "Parallel projection, without perspective", &options->parallel);
  AddFramingOptions(parser, &options->framing);
}

}  // namespace

void AddRenderOptions(const OptionParser& parser, RenderOptions* options) {
  parser.SetFooter(kRenderFooter);
  parser.AddWords("MODEL", "...",
                  "Model files: each drawn by itself, with %n in -o for its name, or\n"
                  "all in one scene with --merge",
                  &options->models);
  AddPictureOptions(parser, options);
  AddCameraOptions(parser, options);
  AddSequenceOptions(parser, &options->sequence);
  AddEffectOptions(parser, &options->effects);
  AddSubjectOptions(parser, &options->subject);
  AddDrawingOptions(parser, &options->drawing);
  AddRunOptions(parser, &options->run);
}

namespace {

Outcome CheckEye(const RenderOptions& options) {
  if (!options.eye) return {};
  if (options.up == Imath::V3d(0))
    return {kWrongUsage, "--up: 0,0,0 is no direction; give another"};
  if (!options.target) return {};
  const Imath::V3d sight = *options.target - *options.eye;
  if (sight == Imath::V3d(0)) {
    return {kWrongUsage, "--target: it is where --eye is; move one of them"};
  }
  if (options.up && sight.normalized().cross(options.up->normalized()).length() < 1e-5) {
    return {kWrongUsage,
            "--up: it points along the line of sight; give another, such as --up 0,0,1"};
  }
  return {};
}

Outcome CheckPasses(const RenderOptions& options) {
  if (!options.passes.Any()) return {};
  const hostkit::PictureFormat* format =
      hostkit::FindWrittenFormat(options.IsStreamed() ? "x." + options.format : options.output);
  const bool isPicture = format || !(options.IsStreamed() || FindMovieKind(options.output));
  if (!isPicture || (format && !format->keepsPasses)) {
    return {kWrongUsage, "--passes: " + ShellQuote(options.output) +
                             " cannot hold them; give -o a name that ends in .exr, or - with "
                             "--format exr"};
  }
  if (options.drawing.mode != hostkit::DrawMode::kDriverWireframe) return {};
  return {kWrongUsage,
          "--passes: with --mode wireframe-gl the driver draws no surfaces; use --mode wireframe"};
}

}  // namespace

Outcome CheckRenderOptions(const RenderOptions& options) {
  constexpr const char* kRequired = "{} is required; gl3 render --help lists the options";
  if (options.models.empty()) return {kWrongUsage, fmt::format(kRequired, "MODEL")};
  if (options.output.empty()) return {kWrongUsage, fmt::format(kRequired, "--output")};
  Outcome outcome = CheckEye(options);
  if (outcome.status != kDone) return outcome;
  outcome = CheckDrawingOptions(options.drawing);
  if (outcome.status == kDone) outcome = CheckPasses(options);
  if (outcome.status == kDone && !options.parallel) {
    outcome = CheckZoom(options.framing, options.fieldOfView.value_or(kDefaultFov));
  }
  if (outcome.status != kDone) return outcome;
  return CheckOutputs(options);
}

}  // namespace gl3
