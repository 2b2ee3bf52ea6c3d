// What a written picture tells about how it was made.
#pragma once

#include <string>
#include <vector>

#include "apps/options/option_parser.h"

namespace gl3 {

enum class RecipeKind {
  kFull,   ///< The command line with its paths.
  kNames,  ///< The same, of files their names alone: a picture goes farther than its folders
           ///< should.
  kNone,
};

/// Adds --recipe to `parser`; parsing fills `*kind`, which must live until then.
void AddRecipeOption(const OptionParser& parser, RecipeKind* kind);

/// A file's path as recipes of this kind have it. Names that begin with a dash get "./" before
/// them, so that no command line takes them for options. Standard input stays "-".
std::string RecipePath(const std::string& file, RecipeKind kind);

/// The command lines of runs that draw each of several models by itself, one for each model.
struct CommandOfEach {
  RecipeKind kind = RecipeKind::kNone;
  std::string before, after;  ///< What stands around the model.

  /// As RecipeCommand, with this model alone.
  std::string Of(const std::string& model) const;
};

/// `words` as for RecipeCommand; all arguments without an option are models.
CommandOfEach RecipeCommandOfEach(const OptionParser& parser, const std::vector<std::string>& words,
                                  RecipeKind kind);

/// A command line as recipes of this kind have it, quoted for a shell. `words` begin with program
/// and verb, whose options `parser` has; it need not have parsed them.
std::string RecipeCommand(const OptionParser& parser, const std::vector<std::string>& words,
                          RecipeKind kind);

}  // namespace gl3
