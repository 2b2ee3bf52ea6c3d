// `gl3 render --like PICTURE`: the command line that a picture was made with, made anew.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/options/option_parser.h"
#include "apps/options/render_options.h"

namespace gl3 {

/// Puts together what the recipe in picture `options->like` and the command line ask for.
///
/// `given` is the parser that read `command`, the command line. `recipe` is the recipe's entries as
/// JoinCommand writes them, name and value in turn; it is foreign text: it is parsed as options and
/// nothing else, and what would write files or load code is left out of it. On success `*options`
/// is what is to be drawn, and `*repeated` the command line that asks for just that without the
/// picture. kUnreadableInput with a message for a recipe that cannot be repeated.
Outcome RepeatRecipe(const OptionParser& given, const std::string& command,
                     const std::string& recipe, RenderOptions* options, std::string* repeated);

}  // namespace gl3
