// The recipe in a picture, for whoever repeats it.
#include "apps/work/render/stored_recipe.h"

#include <vector>

#include "apps/base/command_words.h"
#include "apps/base/file_checks.h"
#include "apps/work/common/confine_work.h"
#include "hostkit/pictures/picture_recipe.h"

namespace gl3 {

Outcome StoredRecipe(const std::string& path, const RunOptions& run, ParentLine& line,
                     std::string* result) {
  line.Enter(Phase::kImport, path);
  Outcome outcome = run.confined ? CheckReach(path) : Outcome();
  if (outcome.status == kDone) outcome = ConfineToFiles({{path}, {}}, run, line);
  if (outcome.status != kDone) return outcome;
  hostkit::Recipe recipe;
  std::string error;
  if (!hostkit::ReadRecipe(path, &recipe, &error)) return {kUnreadableInput, error};
  std::vector<std::string> words;
  for (const auto& [name, value] : recipe) words.insert(words.end(), {name, value});
  *result = JoinCommand(words);
  return {};
}

}  // namespace gl3
