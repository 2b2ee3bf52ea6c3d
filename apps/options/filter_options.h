// What `gl3 filter` can be told, and reading it from the command line.
#pragma once

#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/effect_options.h"
#include "apps/options/option_parser.h"
#include "apps/options/recipe_option.h"
#include "apps/options/run_options.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/pictures/picture_stream.h"

namespace gl3 {

struct FilterOptions {
  std::vector<std::string> inputs;
  std::string output;  ///< As given: a file, a pattern or a folder; empty with `verify` alone.
  hostkit::StreamTarget stream;  ///< In place of `output` where it is open.
  std::string format;            ///< Kind of what goes to standard output; empty: PNG.
  /// Pixels that pictures are scaled to first; 0: in proportion to the other, or both as they are.
  int width = 0, height = 0;
  EffectOptions effects;  ///< None: pictures are converted.
  bool verify = false;
  bool skipExisting = false;  ///< Pictures whose output is there are left out.
  int threads = 0;            ///< Of merging; 0: as the settings say.
  int jpegQuality = 92;       ///< Of WebP, too.
  hostkit::ExrEncoding exrEncoding = hostkit::ExrEncoding::kLinear;
  RecipeKind recipe = RecipeKind::kNames;
  RunOptions run;
};

/// What there is to do once the options are checked.
struct FilterJob {
  const FilterOptions& options;
  const std::vector<std::string>& outputs;  ///< One an input, or none: nothing is written.
  const CommandOfEach& command;             ///< For the pictures' recipes.
};

/// Adds the options to `parser`; parsing fills `*options`, which must live until then.
void AddFilterOptions(const OptionParser& parser, FilterOptions* options);

/// Combinations that mean nothing: kWrongUsage with a message, or kDone.
Outcome CheckFilterOptions(const FilterOptions& options);

/// The output file of each input, in their order ("-" for standard output); none when nothing is to
/// be written. kWrongUsage with a message when there is no clear answer: several inputs and one
/// name, two that would get the same one, or an output that is one of the inputs. A single input
/// may be replaced when it is named as the output.
Outcome NameOutputs(const FilterOptions& options, std::vector<std::string>* outputs);

}  // namespace gl3
