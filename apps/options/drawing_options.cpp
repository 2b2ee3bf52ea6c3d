// What of a scene is drawn and how: reading these options.
#include "apps/options/drawing_options.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "apps/options/drawing_readers.h"
#include "apps/options/option_readers.h"

namespace gl3 {
namespace {

using hostkit::DrawMode;

constexpr Choice<hostkit::LightSet> kLights[] = {
    {"auto", hostkit::LightSet::kAuto},
    {"scene", hostkit::LightSet::kScene},
    {"headlight", hostkit::LightSet::kHeadlight},
    {"three-point", hostkit::LightSet::kThreePoint},
};

constexpr Choice<DrawMode> kModes[] = {
    {"shaded", DrawMode::kShaded},       {"flat", DrawMode::kFlat},
    {"wireframe", DrawMode::kWireframe}, {"wireframe-gl", DrawMode::kDriverWireframe},
    {"lines", DrawMode::kLines},         {"points", DrawMode::kPoints},
};

/// An option that may be given several times; `read` makes one of each.
template <class Thing>
void AddList(const OptionParser& parser, const std::string& name, const std::string& type,
             const std::string& help, bool (*read)(const std::string&, Thing*, std::string*),
             std::vector<Thing>* things) {
  parser.AddEach(name, type, help, [=](const std::vector<std::string>& texts, std::string* error) {
    things->clear();
    for (const std::string& text : texts) {
      things->emplace_back();
      if (!read(text, &things->back(), error)) return false;
    }
    return true;
  });
}

Reader LineColorReader(std::optional<ColorBuf>* color) {
  return [=](const std::string& text, std::string* error) {
    float rgb[3];
    if (!ReadColor(text, rgb, error)) return false;
    *color = ToBytes(rgb);
    return true;
  };
}

bool ReadCrease(const std::string& text, std::optional<float>* degrees, std::string* error) {
  double number = 0;
  if (ParseNumber(text, &number) && number >= 0 && number <= 180) {
    *degrees = static_cast<float>(number);
    return true;
  }
  *error = ShellQuote(text) + " is not an angle of creases; give degrees from 0 to 180";
  return false;
}

bool ReadDepthFile(const std::string& text, std::string* path, std::string* error) {
  std::string suffix = std::filesystem::path(text).extension().string();
  for (char& c : suffix) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  *path = text;
  if (suffix == ".exr") return true;
  *error = ShellQuote(text) + " cannot hold distances; give a file that ends in .exr";
  return false;
}

void AddModeOptions(const OptionParser& parser, DrawingOptions* options) {
  parser.BeginGroup("Drawing");
  parser.Add("--lights", "SET",
             "auto, scene, headlight or three-point (default auto: the model's\n"
             "own lights when it has any, else three-point; and what its own\n"
             "leave dark from where the camera is gets three-point as well)",
             ChoiceReader(kLights, "a set of lights", &options->lights));
  parser.Add("--mode", "MODE",
             "shaded (default)\n"
             "flat: one colour a triangle, lit at its middle\n"
             "wireframe: every edge in its material's colour\n"
             "wireframe-gl: shaded, with the driver's outlines for polygons\n"
             "lines: open edges, creases and outlines; what is behind is hidden\n"
             "points: every vertex, lit",
             ChoiceReader(kModes, "a known mode", &options->mode));
  parser.AddFlag("--edges", "With shaded and flat: every edge of the triangles over them",
                 &options->edges);
  parser.AddFlag("--backfaces",
                 "Show triangles from behind, too, whose material is single-sided\n"
                 "(default: as the model says)",
                 &options->backfaces);
  parser.Add(
      "--crease", "DEG",
      "For lines: triangles that meet at a larger angle have an edge, 0 to\n180 (default 30)",
      [=](const std::string& t, std::string* e) {
        return ReadCrease(t, &options->creaseDegrees, e);
      });
  parser.Add("--line-color", "COLOR",
             "For wireframe, lines and --edges (default: the material's; for lines\n"
             "black or white, whatever stands out from the background; for --edges\n"
             "black)",
             LineColorReader(&options->lineColor));
  parser.Add("--point-size", "N",
             "Pixels, 1 to 64, of all points (default: by their number and spacing,\n"
             "so that they can be seen); round from 3 on with --antialias 2 and more",
             IntegerReader(1, 64, &options->pointSize));
  parser.Add("--fog", "FOG",
             "NEAR,FAR[,COLOR]: from clear to fog alone between these distances;\n"
             "or exp:DENSITY[,COLOR]: exp(-DENSITY x distance) is left to see.\n"
             "World units from the eye (default colour: the background's)",
             [=](const std::string& t, std::string* e) { return ReadFog(t, options, e); });
  parser.Add(
      "--depth", "OUT",
      "Also write distances: an .exr with a float channel Z, world units\n"
      "from the eye along the view at pixel centres, 1e30 where nothing\n"
      "is; glass counts as solid. The same file as -o: Z joins the colours",
      [=](const std::string& t, std::string* e) { return ReadDepthFile(t, &options->depth, e); });
}

void AddAnnotationOptions(const OptionParser& parser, DrawingOptions* options) {
  parser.BeginGroup("Annotations");
  parser.AddOptionalValue(
      "--grid", "SPACING",
      "A grid on the ground, axis x red, y green, z blue; --grid=0.5 sets\n"
      "the spacing (default: one that suits the model)",
      [=](const std::string& t, std::string* e) { return ReadGrid(t, &options->grid, e); });
  parser.AddOptionalValue("--control-points", "SIZE",
                          "Markers on all vertices; --control-points=5 sets half their side in\n"
                          "pixels, 1 to 64 (default: by their spacing, up to 3)",
                          [=](const std::string& t, std::string* e) {
                            options->controlPointSize = hostkit::kSizeBySpacing;
                            return t.empty() ||
                                   IntegerReader(1, 64, &options->controlPointSize)(t, e);
                          });
  AddList(parser, "--overlay", "IMAGE[,X,Y[,ALPHA]]",
          "A picture over the frame, pixel for pixel, its top left at X,Y\n"
          "(default 0,0), ALPHA from 0 to 1 (default 1); again for more",
          ReadOverlay, &options->overlays);
  AddList(parser, "--text", "TEXT[,X,Y[,COLOR]][,SIZEpx]",
          "A line of text over it, its letters 4px to 256px high (default: ten),\n"
          "its top left at X,Y (default: at the top left, each below the one\n"
          "before); again for more",
          ReadText, &options->texts);
  parser.AddOptionalValue("--scale-bar", "UNIT",
                          "A bar at the bottom left with its length in the model's units: 1, 2 or\n"
                          "5 times a power of ten; in perspective it holds at the distance of\n"
                          "what is looked at. --scale-bar=mm writes the unit behind the number",
                          [=](const std::string& text, std::string*) {
                            options->hasScaleBar = true;
                            options->scaleUnit = text;
                            return true;
                          });
}

}  // namespace

void AddDrawingOptions(const OptionParser& parser, DrawingOptions* options) {
  AddModeOptions(parser, options);
  AddAnnotationOptions(parser, options);
}

bool HasCreases(DrawMode mode) {
  return mode == DrawMode::kLines;
}

bool HasLineColor(DrawMode mode) {
  return mode == DrawMode::kLines || mode == DrawMode::kWireframe;
}

bool HasSurfaces(DrawMode mode) {
  return mode == DrawMode::kShaded || mode == DrawMode::kFlat;
}

bool HasOverlays(DrawMode mode) {
  return mode != DrawMode::kDriverWireframe;
}

Outcome CheckDrawingOptions(const DrawingOptions& options) {
  const DrawMode mode = options.mode;
  if (options.creaseDegrees && !HasCreases(mode)) {
    return {kWrongUsage, "--crease: only lines have creases; add --mode lines"};
  }
  if (options.edges && !HasSurfaces(mode)) {
    return {kWrongUsage,
            "--edges: there are no surfaces for them to lie on; use --mode shaded or --mode flat"};
  }
  if (options.lineColor && !HasLineColor(mode) && !options.edges) {
    return {kWrongUsage,
            "--line-color: there are no lines of their own to colour; add --mode lines, --mode "
            "wireframe or --edges"};
  }
  if (!options.overlays.empty() && !HasOverlays(mode)) {
    return {kWrongUsage,
            "--overlay: with --mode wireframe-gl the driver draws pictures as outlines, too; use "
            "--mode wireframe"};
  }
  const bool hasLargeText = std::any_of(options.texts.begin(), options.texts.end(),
                                        [](const TextOption& text) { return text.size > 0; });
  if ((options.hasScaleBar || hasLargeText) && !HasOverlays(mode)) {
    return {kWrongUsage,
            std::string(options.hasScaleBar ? "--scale-bar" : "--text with a size") +
                ": with --mode wireframe-gl the driver draws pictures as outlines, too; use "
                "--mode wireframe"};
  }
  if (!options.depth.empty() && mode == DrawMode::kDriverWireframe) {
    return {kWrongUsage,
            "--depth: with --mode wireframe-gl the driver draws no surfaces; use --mode wireframe"};
  }
  return {};
}

}  // namespace gl3
