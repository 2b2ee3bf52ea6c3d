// What `gl3 render` can be told, and reading it from the command line.
#pragma once

#include <Imath/ImathVec.h>

#include <optional>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/drawing_options.h"
#include "apps/options/effect_options.h"
#include "apps/options/option_parser.h"
#include "apps/options/recipe_option.h"
#include "apps/options/run_options.h"
#include "apps/options/sequence_options.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/scene/up_axis.h"

namespace gl3 {

/// What joins the colours in an OpenEXR file.
struct RenderPasses {
  bool z = false, normal = false, object = false, material = false;
  bool Any() const { return z || normal || object || material; }
};

struct RenderOptions {
  std::vector<std::string> models;         ///< Files, merged into one scene in this order.
  std::string output;                      ///< With places for frame and camera: see OutputPattern.
  std::string scene;                       ///< Of each model, by name; empty: its own choice.
  std::string like;                        ///< A picture whose recipe is repeated; empty: none.
  RecipeKind recipe = RecipeKind::kNames;  ///< Of the pictures that are written.

  int width = 1280, height = 720;
  int samplesPerSide = 2;
  int jpegQuality = 92;  ///< Of WebP, too.
  hostkit::ExrEncoding exrEncoding = hostkit::ExrEncoding::kLinear;
  RenderPasses passes;                          ///< That join the colours; needs an .exr.
  float background[3] = {0.16f, 0.17f, 0.19f};  ///< Display-referred, 0 to 1.
  bool transparentBackground = false;
  DrawingOptions drawing;
  EffectOptions effects;  ///< On each finished picture.

  /// Of the model's own, by name, or "all"; empty: see below.
  std::vector<std::string> cameras;
  std::optional<Imath::V3d> eye;     ///< In the file's coordinates; empty: fitted to the model.
  std::optional<Imath::V3d> target;  ///< Likewise. Needs `eye`; empty: the middle of the model.
  std::optional<Imath::V3d> up;      ///< Used with `eye`; empty: that of `upAxis`.
  Imath::V3f viewFrom{0.7f, 0.45f, 1.f};  ///< From the model to the eye, when it is fitted.
  bool isViewNamed = true;  ///< `viewFrom` is meant for y up, and turns with `upAxis`.
  std::optional<hostkit::UpAxis> upAxis;  ///< Empty: what the model's format says.
  std::optional<float> fieldOfView;       ///< Degrees, vertical; empty: the camera's own or 40.
  bool parallel = false;

  SequenceOptions sequence;
  RunOptions run;

  /// What the repeated recipe tells of its models: a path and a hash each, in their order.
  std::vector<std::string> recipeInputs;
};

/// Adds the options to `parser`; parsing fills `*options`, which must live until then.
void AddRenderOptions(const OptionParser& parser, RenderOptions* options);

/// What no single option can tell: combinations that mean nothing. kWrongUsage with a message, or
/// kDone.
Outcome CheckRenderOptions(const RenderOptions& options);

}  // namespace gl3
