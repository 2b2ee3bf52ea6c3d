// What a written picture tells about how it was made.
#include "apps/options/recipe_option.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "apps/base/command_words.h"
#include "apps/options/option_readers.h"
#include "apps/options/standard_stream.h"

namespace gl3 {
namespace {

constexpr Choice<RecipeKind> kKinds[] = {
    {"full", RecipeKind::kFull}, {"names", RecipeKind::kNames}, {"none", RecipeKind::kNone}};

/// Options of all verbs whose values are files. What --overlay has behind its file has no
/// slash, nor have the colours of --background.
constexpr const char* kOfFiles[] = {"--output",  "--like",       "--depth", "--module",
                                    "--overlay", "--background", "--json"};

bool IsFile(const std::string& option) {
  return option.empty() ||
         std::find(std::begin(kOfFiles), std::end(kOfFiles), option) != std::end(kOfFiles);
}

}  // namespace

void AddRecipeOption(const OptionParser& parser, RecipeKind* kind) {
  parser.Add("--recipe", "WHAT",
             "What pictures tell about how they were made: full, names (default:\n"
             "files without their folders) or none",
             ChoiceReader(kKinds, "a kind of recipe", kind));
}

std::string RecipePath(const std::string& file, RecipeKind kind) {
  std::string path = ShownPath(file);
  if (path == kStandardStream) return path;
  const std::size_t end = path.find_last_not_of('/');
  if (kind == RecipeKind::kFull || end == std::string::npos) return path;
  const std::string whole = path.substr(0, end + 1);
  const std::string name = whole.substr(whole.rfind('/') + 1);
  return name[0] == '-' ? "./" + name : name;
}

std::string CommandOfEach::Of(const std::string& model) const {
  if (kind == RecipeKind::kNone) return "";
  return before + " " + JoinCommand({RecipePath(model, kind)}) + (after.empty() ? "" : " " + after);
}

CommandOfEach RecipeCommandOfEach(const OptionParser& parser, const std::vector<std::string>& words,
                                  RecipeKind kind) {
  CommandOfEach command;
  command.kind = kind;
  const auto map = [&](const char* model) {
    return parser.MapValues(words, [=](const std::string& option, const std::string& value) {
      if (option.empty()) return std::string(model);
      return IsFile(option) ? RecipePath(value, kind) : value;
    });
  };
  // The words that differ are the models.
  const std::vector<std::string> one = map("1"), other = map("2");
  std::vector<std::string> before, after;
  bool isBehind = false;
  for (std::size_t i = 0; i < one.size(); ++i) {
    if (one[i] == other[i]) (isBehind ? after : before).push_back(one[i]);
    isBehind = isBehind || one[i] != other[i];
  }
  command.before = JoinCommand(before);
  command.after = JoinCommand(after);
  return command;
}

std::string RecipeCommand(const OptionParser& parser, const std::vector<std::string>& words,
                          RecipeKind kind) {
  if (kind == RecipeKind::kNone) return "";
  return JoinCommand(
      parser.MapValues(words, [=](const std::string& option, const std::string& value) {
        return IsFile(option) ? RecipePath(value, kind) : value;
      }));
}

}  // namespace gl3
