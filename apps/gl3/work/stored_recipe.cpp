// The recipe in a picture, for whoever repeats it.
#include "apps/gl3/work/stored_recipe.h"

#include "apps/gl3/text.h"
#include "hostkit/scene/picture_recipe.h"

namespace gl3 {

Outcome StoredRecipe(const std::string& path, ParentLine& line, std::string* result) {
  line.Enter(Phase::kImport, path);
  hostkit::Recipe recipe;
  std::string error;
  if (!hostkit::ReadRecipe(path, &recipe, &error)) return {kUnreadableInput, error};
  for (const auto& [name, value] : recipe) {
    *result += (result->empty() ? "" : " ") + ShellQuote(name) + " " + ShellQuote(value);
  }
  return {};
}

}  // namespace gl3
