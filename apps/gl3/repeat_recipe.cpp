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
#include "apps/options/background_option.h"
#include "apps/options/drawing_readers.h"

namespace gl3 {
namespace {

using Words = std::vector<std::string>;

// What of a recipe is not repeated. --module would load code that a stranger's picture names; the
// outputs would overwrite files; --recipe is about whoever makes the picture; the rest has no say
// in the pixels.
constexpr const char* kNotRepeated[] = {
    "--like",          "--help",    "--module",  "--output",       "--depth",    "--recipe",
    "--skip-existing", "--chunk",   "--timeout", "--max-memory",   "--confined", "--json",
    "--quiet",         "--verbose", "--format",  "--model-format",
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
  bool IsKept(const std::string& name) const { return m_kept.count(name) > 0; }
  /// Sets the option's values, and keeps them.
  void Replace(const std::string& name, const Words& values) {
    Drop(name);
    for (const std::string& value : values) m_words.push_back(name + "=" + value);
  }
  void Drop(const std::string& name) { m_kept.erase(name); }
  /// One without a value.
  void AddFlag(const std::string& name) {
    if (!IsGiven(name)) m_words.push_back(name);
  }

  Words OptionWords() const;
  /// Those of the arguments without a name are the models.
  Words Values(const std::string& name) const {
    const auto option = m_kept.find(name);
    return option == m_kept.end() ? Words() : option->second.GivenValues();
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
    kept->Replace("--frames", {frame->second});
  }
  const auto camera = entries.find("gl3:camera-name");
  const char* kChoices[] = {"--camera", "--eye", "--view", "--azimuth", "--elevation", "--margin"};
  const bool isChosen = std::any_of(std::begin(kChoices), std::end(kChoices),
                                    [&](const char* name) { return kept->IsGiven(name); });
  if (camera != entries.end() && !isChosen) kept->Replace("--camera", {camera->second});
}

/// The command line's mode comes without what only the recipe's mode makes use of.
void DropOfOtherModes(hostkit::DrawMode mode, RecipeOptions* kept) {
  if (!kept->IsGiven("--mode")) return;
  if (!HasCreases(mode)) kept->Drop("--crease");
  if (!HasSurfaces(mode)) kept->Drop("--edges");
  if (!HasLineColor(mode) && !kept->IsKept("--edges")) kept->Drop("--line-color");
  if (HasOverlays(mode)) return;
  kept->Drop("--overlay");
  kept->Drop("--scale-bar");
}

std::vector<std::string> InputsOf(const std::map<std::string, std::string>& entries) {
  std::vector<std::string> inputs;
  for (int i = 1;; ++i) {
    const auto input = entries.find("gl3:input" + (i == 1 ? std::string() : std::to_string(i)));
    if (input == entries.end()) return inputs;
    inputs.push_back(input->second);
  }
}

Words FindModels(const Words& models, const std::vector<std::string>& inputs, RecipeFiles* files) {
  Words found;
  for (std::size_t i = 0; i < models.size(); ++i) {
    const std::string input = i < inputs.size() ? inputs[i] : "";
    found.push_back(files->Find(models[i], input.substr(input.rfind(' ') + 1), "MODEL"));
  }
  return found;
}

/// Their places on the picture stay.
Words FindOverlays(const Words& overlays, RecipeFiles* files) {
  Words found;
  for (const std::string& text : overlays) {
    OverlayOption overlay;
    std::string error;
    ReadOverlay(text, &overlay, &error);  // as before
    found.push_back(files->Find(overlay.path, "", "--overlay") + text.substr(overlay.path.size()));
  }
  return found;
}

/// The last one counts; colours stay.
Words FindBackground(const Words& backgrounds, RecipeFiles* files) {
  if (backgrounds.empty()) return {};
  BackgroundOption background;
  std::string error;
  ReadBackground(backgrounds.back(), &background, &error);  // as before
  if (background.picture.empty()) return {backgrounds.back()};
  return {files->Find(background.picture, "", "--background")};
}

}  // namespace

Outcome RepeatRecipe(const OptionParser& given, const std::string& recipe, FileHash hash,
                     RenderOptions* options, std::vector<std::string>* words) {
  const std::string picture = options->like;
  const auto refuse = [&](const std::string& why) -> Outcome {
    return {kUnreadableInput, picture + ": " + why};
  };
  std::map<std::string, std::string> entries;
  Words stored;
  // EXR files tell their colour encoding whether they have a recipe or not.
  if (!ReadEntries(recipe, &entries)) {
    return refuse("it does not tell how it was made; give the options yourself");
  }
  if (!SplitCommand(entries["gl3:command"], &stored)) {
    return refuse("its recipe is damaged; give the options yourself");
  }
  if (stored.size() < 2 || stored[0] != "gl3" || stored[1] != "render") {
    return refuse("it was not made by gl3 render, which alone can be repeated; name another");
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
  RecipeFiles files(picture, options->run.confined, hash);
  const Words models = FindModels(kept.Values(""), InputsOf(entries), &files);
  // A picture of several models shows them in one scene, whatever its command says of that; models
  // that come in their place are as the command line says.
  kept.Drop("--merge");
  if (models.size() > 1) kept.AddFlag("--merge");
  kept.Replace("--overlay", FindOverlays(kept.Values("--overlay"), &files));
  kept.Replace("--background", FindBackground(kept.Values("--background"), &files));
  Outcome judged = files.Judge();
  if (judged.status != kDone) return judged;
  Words all = Merge(*words, kept.OptionWords(), models);
  if (!parser.Parse(all, &error)) {
    return refuse("its recipe does not go with the command line (" + error +
                  "); give the options yourself");
  }
  if (wanted.models.empty()) return refuse("its recipe names no model; give one yourself");
  wanted.like = picture;
  wanted.recipeFiles = files.Near();
  wanted.recipeInputs = InputsOf(entries);
  *options = std::move(wanted);
  *words = {"gl3", "render"};
  words->insert(words->end(), all.begin(), all.end());
  return {};
}

}  // namespace gl3
