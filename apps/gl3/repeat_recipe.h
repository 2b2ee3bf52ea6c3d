// `gl3 render --like PICTURE`: the command line that a picture was made with, made anew.
#pragma once

#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/gl3/recipe_files.h"
#include "apps/options/option_parser.h"
#include "apps/options/render_options.h"

namespace gl3 {

/// Puts together what the recipe in picture `options->like` and the command line ask for.
///
/// `given` is the parser that read `*words`, the command line. `recipe` is the recipe's entries as
/// JoinCommand writes them, name and value in turn; it is foreign text: it is parsed as options and
/// nothing else, and what would write files or load code is left out of it. What it would have read
/// is looked for and judged as RecipeFiles says. On success `*options` is what is to be drawn, and
/// `*words` the command line that asks for just that without the picture. kUnreadableInput with a
/// message for a recipe that cannot be repeated.
Outcome RepeatRecipe(const OptionParser& given, const std::string& recipe, FileHash hash,
                     RenderOptions* options, std::vector<std::string>* words);

}  // namespace gl3
