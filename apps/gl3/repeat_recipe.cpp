// `gl3 render --like PICTURE`: the command line that a picture was made with, made anew.
#include "apps/gl3/repeat_recipe.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

#include "apps/base/command_words.h"
#include "apps/base/text.h"

namespace gl3 {
namespace {

using Words = std::vector<std::string>;

// What of a recipe is not repeated. --module would load code that a stranger's picture names; the
// outputs would overwrite files; the rest has no say in the pixels.
constexpr const char* kNotRepeated[] = {
    "--like",  "--help",    "--module",     "--output", "--depth", "--skip-existing",
    "--chunk", "--timeout", "--max-memory", "--json",   "--quiet", "--verbose",
};

bool IsRepeated(const std::string& name) {
  return std::find(std::begin(kNotRepeated), std::end(kNotRepeated), name) ==
         std::end(kNotRepeated);
}

/// Takes --like out of the command line's words.
Words WithoutLike(const Words& words) {
  Words rest;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--like") {
      ++i;
    } else if (words[i].compare(0, 7, "--like=") != 0) {
      rest.push_back(words[i]);
    }
  }
  return rest;
}

/// The command line with the recipe's options after its own, where a model's name cannot be taken
/// for the value of an option that may go without, and with models where it has none.
Words Merge(const Words& command, const Words& options, const Words& models) {
  const auto end = std::find(command.begin() + 2, command.end(), "--");
  Words all = WithoutLike(Words(command.begin() + 2, end));
  all.insert(all.end(), options.begin(), options.end());
  all.insert(all.end(), end, command.end());
  if (!models.empty()) all.emplace_back("--");
  all.insert(all.end(), models.begin(), models.end());
  return all;
}

/// The recipe's part of the command line.
class RecipeOptions {
 public:
  RecipeOptions(const OptionParser& stored, const OptionParser& given)
      : m_given(given.Given()), m_kept(stored.Given()) {
    DropNotRepeated();
    DropOverridden();
    DropLonely();
  }

  bool IsGiven(const std::string& name) const { return m_given.count(name) > 0; }
  /// Sets the option's one value, and keeps it.
  void Replace(const std::string& name, const std::string& value) {
    Drop(name);
    m_words.push_back(name + "=" + value);
  }
  void Drop(const std::string& name) { m_kept.erase(name); }

  Words OptionWords() const;
  Words Models() const {
    const auto models = m_kept.find("");
    return models == m_kept.end() ? Words() : models->second.GivenValues();
  }

 private:
  template <class Condition>
  void DropIf(Condition condition) {
    for (auto at = m_kept.begin(); at != m_kept.end();) {
      at = condition(at->second) ? m_kept.erase(at) : std::next(at);
    }
  }
  void DropNotRepeated() {
    DropIf([](const Option& option) { return !IsRepeated(option.Name()); });
  }
  /// What the command line says itself, or rules out.
  void DropOverridden() {
    DropIf([this](const Option& option) {
      const Words excluded = option.ExcludedNames();
      return IsGiven(option.Name()) ||
             std::any_of(excluded.begin(), excluded.end(),
                         [this](const std::string& other) { return IsGiven(other); });
    });
  }
  /// What needs an option that went: --target without --eye.
  void DropLonely() {
    DropIf([this](const Option& option) {
      const Words needed = option.NeededNames();
      return std::any_of(needed.begin(), needed.end(), [this](const std::string& other) {
        return !IsGiven(other) && m_kept.count(other) == 0;
      });
    });
  }

  std::map<std::string, Option> m_given, m_kept;  // by name, that of the models empty
  Words m_words;
};

Words RecipeOptions::OptionWords() const {
  Words words = m_words;
  for (const auto& [name, option] : m_kept) {
    if (name.empty()) continue;
    if (option.IsFlag()) words.push_back(name);
    for (const std::string& value : option.IsFlag() ? Words() : option.Values()) {
      words.push_back(value.empty() ? name : name + "=" + value);
    }
  }
  return words;
}

/// False when the command is not among the entries.
bool ReadEntries(const std::string& recipe, std::map<std::string, std::string>* entries) {
  Words words;
  if (!SplitCommand(recipe, &words)) return false;
  for (std::size_t i = 0; i + 1 < words.size(); i += 2) entries->emplace(words[i], words[i + 1]);
  return entries->count("gl3:command") > 0;
}

/// A picture out of a sequence stands for itself alone, unless the command line asks for more.
void TakeOnePicture(const std::map<std::string, std::string>& entries, RecipeOptions* kept) {
  const auto frame = entries.find("gl3:frame");
  if (kept->IsGiven("--turntable")) kept->Drop("--frames");
  if (frame != entries.end() && !kept->IsGiven("--frames") && !kept->IsGiven("--turntable")) {
    kept->Replace("--frames", frame->second);
  }
  const auto camera = entries.find("gl3:camera-name");
  const bool isChosen =
      kept->IsGiven("--camera") || kept->IsGiven("--eye") || kept->IsGiven("--view");
  if (camera != entries.end() && !isChosen) kept->Replace("--camera", camera->second);
}

/// The command line's mode comes without what only the recipe's mode makes use of.
void DropOfOtherModes(hostkit::DrawMode mode, RecipeOptions* kept) {
  if (!kept->IsGiven("--mode")) return;
  if (!HasCreases(mode)) kept->Drop("--crease");
  if (!HasLineColor(mode)) kept->Drop("--line-color");
  if (!HasOverlays(mode)) kept->Drop("--overlay");
}

std::vector<std::string> InputsOf(const std::map<std::string, std::string>& entries) {
  std::vector<std::string> inputs;
  for (int i = 1;; ++i) {
    const auto input = entries.find("gl3:input" + (i == 1 ? std::string() : std::to_string(i)));
    if (input == entries.end()) return inputs;
    inputs.push_back(input->second);
  }
}

}  // namespace

Outcome RepeatRecipe(const OptionParser& given, const std::string& command,
                     const std::string& recipe, RenderOptions* options, std::string* repeated) {
  const std::string picture = options->like;
  const auto refuse = [&](const std::string& why) -> Outcome {
    return {kUnreadableInput, picture + ": " + why};
  };
  std::map<std::string, std::string> entries;
  Words words, stored;
  if (!ReadEntries(recipe, &entries) || !SplitCommand(entries["gl3:command"], &stored)) {
    return refuse("its recipe is damaged; give the options yourself");
  }
  if (stored.size() < 2 || stored[0] != "gl3" || stored[1] != "render") {
    return refuse("it was not made by gl3 render, which alone can be repeated; name another");
  }
  if (!SplitCommand(command, &words)) {
    return {kWrongUsage, "--like: the command line is too long to go with it; name fewer models"};
  }
  const OptionParser storedParser, parser;
  RenderOptions storedOptions, wanted;
  AddRenderOptions(storedParser, &storedOptions);
  AddRenderOptions(parser, &wanted);
  std::string error;
  if (!storedParser.Parse(Words(stored.begin() + 2, stored.end()), &error)) {
    return refuse("its recipe cannot be repeated (" + error + "); give the options yourself");
  }
  RecipeOptions kept(storedParser, given);
  TakeOnePicture(entries, &kept);
  DropOfOtherModes(options->drawing.mode, &kept);
  const Words all = Merge(words, kept.OptionWords(), kept.Models());
  if (!parser.Parse(all, &error)) {
    return refuse("its recipe does not go with the command line (" + error +
                  "); give the options yourself");
  }
  wanted.like = picture;
  wanted.recipeInputs = InputsOf(entries);
  *options = std::move(wanted);
  *repeated = "gl3 render " + JoinCommand(all);
  return {};
}

}  // namespace gl3
