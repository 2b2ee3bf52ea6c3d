// What `gl3 render` can be told, and reading it from the command line.
#pragma once

#include <Imath/ImathVec.h>

#include <optional>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/background_option.h"
#include "apps/options/drawing_options.h"
#include "apps/options/effect_options.h"
#include "apps/options/framing_options.h"
#include "apps/options/option_parser.h"
#include "apps/options/recipe_option.h"
#include "apps/options/run_options.h"
#include "apps/options/sequence_options.h"
#include "apps/options/standard_stream.h"
#include "apps/options/subject_options.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/pictures/picture_stream.h"
#include "hostkit/scene/up_axis.h"

namespace gl3 {

/// What joins the colours in an OpenEXR file.
struct RenderPasses {
  bool z = false, normal = false, object = false, material = false;
  bool Any() const { return z || normal || object || material; }
};

struct RenderOptions {
  std::vector<std::string> models;  ///< Files.
  bool merge = false;  ///< All of them are one scene, in this order; else each is drawn by itself.
  std::string output;  ///< With places for frame, camera and model: see OutputPattern.
  hostkit::StreamTarget stream;            ///< In place of `output` where it is open.
  std::string format;                      ///< Kind of what goes to standard output; empty: PNG.
  std::string modelFormat;                 ///< Kind of what standard input holds; empty: unknown.
  std::string scene;                       ///< Of each model, by name; empty: its own choice.
  std::string like;                        ///< A picture whose recipe is repeated; empty: none.
  RecipeKind recipe = RecipeKind::kNames;  ///< Of the pictures that are written.

  int width = 1280, height = 720;
  int samplesPerSide = 2;
  int jpegQuality = 92;  ///< Of WebP, too.
  hostkit::ExrEncoding exrEncoding = hostkit::ExrEncoding::kLinear;
  RenderPasses passes;  ///< That join the colours; needs an .exr.
  BackgroundOption background;
  SubjectOptions subject;
  DrawingOptions drawing;
  EffectOptions effects;  ///< On each finished picture.

  /// Of the model's own, by name, or "all"; empty: see below.
  std::vector<std::string> cameras;
  std::optional<Imath::V3d> eye;     ///< In the file's coordinates; empty: fitted to the model.
  std::optional<Imath::V3d> target;  ///< Likewise. Needs `eye`; empty: the middle of the model.
  std::optional<Imath::V3d> up;      ///< Used with `eye`; empty: that of `upAxis`.
  Imath::V3f viewFrom{0.7f, 0.45f, 1.f};  ///< From the model to the eye, when it is fitted.
  FramingOptions framing;                 ///< Its angles come in place of `viewFrom`.
  bool isViewNamed = true;  ///< `viewFrom` is meant for y up, and turns with `upAxis`.
  std::optional<hostkit::UpAxis> upAxis;  ///< Empty: what the model's format says.
  std::optional<float> fieldOfView;       ///< Degrees, vertical; empty: the camera's own or 40.
  bool parallel = false;

  SequenceOptions sequence;
  RunOptions run;

  /// What the repeated recipe tells of its models: a path and a hash each, in their order.
  std::vector<std::string> recipeInputs;
  /// The files in its picture's folder that it has read, still to be told.
  std::vector<std::string> recipeFiles;

  /// Whether each model gets pictures of its own, named after it.
  bool IsEach() const;
  /// Whether pictures go to standard output.
  bool IsStreamed() const { return output == kStandardStream; }
  /// The path of a picture, or of its distances, of a run of one model or a merged one.
  std::string PathOf(const std::string& pattern, int frame, const std::string& camera) const;
};

/// Adds the options to `parser`; parsing fills `*options`, which must live until then.
void AddRenderOptions(const OptionParser& parser, RenderOptions* options);

/// What there is to do once the options are checked, where each model has pictures of its own.
struct EachJob {
  const RenderOptions& options;
  const CommandOfEach& command;  ///< For the pictures' recipes.
};

/// The options of the run that draws one of the models of such options by itself.
RenderOptions OptionsOfOne(const RenderOptions& options, const std::string& model);

/// What no single option can tell: combinations that mean nothing. kWrongUsage with a message, or
/// kDone.
Outcome CheckRenderOptions(const RenderOptions& options);

}  // namespace gl3
