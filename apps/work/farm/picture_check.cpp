// Whether the pictures of a farm are there, whole, and made alike.
#include "apps/work/farm/picture_check.h"

#include <fmt/format.h>
#include <sched.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <utility>

#include "apps/base/command_words.h"
#include "apps/base/file_checks.h"
#include "apps/base/run_program.h"
#include "apps/base/supervised_child.h"
#include "apps/base/text.h"
#include "apps/work/common/confine_work.h"
#include "apps/work/farm/program_pool.h"
#include "hostkit/pictures/picture_in.h"
#include "hostkit/pictures/picture_recipe.h"

namespace gl3 {
namespace {

/// A command without what chooses among its pictures and changes none of them.
std::string WithoutShares(const std::string& command) {
  std::vector<std::string> words, kept;
  if (!SplitCommand(command, &words)) return command;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--skip-existing" || words[i].starts_with("--chunk=")) continue;
    if (words[i] == "--chunk") {
      ++i;  // its value
      continue;
    }
    kept.push_back(words[i]);
  }
  return JoinCommand(kept);
}

/// What a child tells of its files has to be within what its parent takes.
constexpr std::size_t kFilesOfAChild = 10000;

/// A file to look at.
struct CheckedFile {
  std::size_t picture;
  std::string path;
  bool hasColors;
};

std::vector<CheckedFile> FilesOfPart(const FarmPlan& plan, int part, int parts) {
  std::vector<CheckedFile> files;
  for (std::size_t i = static_cast<std::size_t>(part) - 1; i < plan.pictures.size();
       i += static_cast<std::size_t>(parts)) {
    for (const std::string& path : plan.pictures[i].outputs) files.push_back({i, path, true});
    for (const std::string& path : plan.pictures[i].distances) files.push_back({i, path, false});
  }
  return files;
}

/// "state" (missing, broken or whole), "why", and "recipe" where there is one.
Json Inspect(const CheckedFile& file) {
  Json found = {{"picture", file.picture}, {"file", file.path}, {"state", "whole"}};
  if (!IsThere(file.path)) {
    found["state"] = "missing";
    return found;
  }
  std::string error;
  if (file.hasColors && !hostkit::LoadPicture(file.path, &error)) {
    found["state"] = "broken";
    found["why"] = error;
    return found;
  }
  hostkit::Recipe recipe;
  if (!hostkit::ReadRecipe(file.path, &recipe, &error)) return found;
  for (const auto& [name, value] : recipe) found["recipe"][name] = value;
  return found;
}

Json Broken(const CheckedFile& file, const std::string& why) {
  return {{"picture", file.picture}, {"file", file.path}, {"state", "broken"}, {"why", why}};
}

/// What a child said of a file. A picture may have turned it against us: which file it was, we know
/// better, and a recipe has texts alone.
Json ReadFinding(const std::string& text, const CheckedFile& file) {
  const Json said = ParsedJson(text);
  if (!said.is_object()) return Broken(file, "nothing is known of it");
  Json found = {{"picture", file.picture}, {"file", file.path}};
  for (const char* name : {"state", "why"}) {
    if (said.contains(name) && said[name].is_string()) found[name] = said[name];
  }
  if (!said.contains("recipe") || !said["recipe"].is_object()) return found;
  for (const auto& [name, value] : said["recipe"].items()) {
    if (value.is_string()) found["recipe"][name] = value;
  }
  return found;
}

/// What is found of all of the files. One that the child dies over is broken, and another child
/// goes on behind it.
Json InspectAll(const std::vector<CheckedFile>& files, const RunOptions& run) {
  Json found = Json::array();
  while (found.size() < files.size()) {
    const std::size_t end = std::min(files.size(), found.size() + kFilesOfAChild);
    std::vector<std::string> paths;
    for (std::size_t i = found.size(); i < end; ++i) paths.push_back(files[i].path);
    ChildTold told;
    RunSupervised(
        run.limits, "",
        [&](ParentLine& line, std::string*) -> Outcome {
          Outcome outcome = ConfineToFiles({paths, {}}, run, line);
          for (std::size_t i = found.size(); i < end && outcome.status == kDone; ++i) {
            line.Enter(Phase::kImport, files[i].path);
            line.Progress(i, end, files[i].path);
            line.Tell(JsonLine(Inspect(files[i])));
          }
          return outcome;
        },
        &told);
    for (const std::string& part : told.parts) {
      if (found.size() < end) found.push_back(ReadFinding(part, files[found.size()]));
    }
    if (found.size() < end) found.push_back(Broken(files[found.size()], told.error));
  }
  return found;
}

/// Entries of a recipe that differ from picture to picture.
bool IsOfOnePicture(const std::string& entry, bool hasOwnInput) {
  static constexpr const char* kOfFrames[] = {"gl3:frame", "gl3:time", "gl3:camera",
                                              "gl3:camera-name", "gl3:command"};
  return (hasOwnInput && entry == "gl3:input") ||
         std::find(std::begin(kOfFrames), std::end(kOfFrames), entry) != std::end(kOfFrames);
}

/// The value that most of the recipes have.
std::string MostFrequent(const std::vector<Json>& recipes, const std::string& name) {
  std::map<std::string, std::size_t> counts;
  for (const Json& recipe : recipes) ++counts[recipe.value(name, "")];
  const auto most =
      std::max_element(counts.begin(), counts.end(),
                       [](const auto& a, const auto& b) { return a.second < b.second; });
  return most == counts.end() ? "" : most->first;
}

std::string Difference(const std::string& name, const std::string& value,
                       const std::string& wanted) {
  return fmt::format("its {} is {}, not {}", name.substr(name.find(':') + 1), ShellQuote(value),
                     ShellQuote(wanted));
}

/// Compares recipes with the farm's command, with each other, and with their frames.
class RecipeComparison {
 public:
  RecipeComparison(const FarmPlan& plan, const FarmCommand& command, const Json& found)
      : m_plan(plan), m_command(command) {
    for (const Json& file : found) {
      if (file.contains("recipe")) m_recipes.push_back(file["recipe"]);
    }
    for (const Json& recipe : m_recipes) {
      for (const auto& [name, value] : recipe.items()) {
        if (!IsOfOnePicture(name, command.IsBySize())) m_wanted[name] = "";
      }
    }
    for (auto& [name, value] : m_wanted) value = MostFrequent(m_recipes, name);
    if (plan.options.allowMixed) m_wanted.erase("gl3:renderer");
    m_hasRecipes = !m_recipes.empty() && !command.Recipe(plan.pictures.front()).empty();
  }

  std::string Renderer() const { return MostFrequent(m_recipes, "gl3:renderer"); }

  /// What of a whole picture differs; empty: nothing.
  std::string Compare(const Json& file) const {
    if (!m_hasRecipes) return "";
    if (!file.contains("recipe")) return "it has no recipe";
    const Json& recipe = file["recipe"];
    for (const auto& [name, wanted] : m_wanted) {
      const std::string value = recipe.value(name, "");
      if (value != wanted) return Difference(name, value, wanted);
    }
    const FarmPicture& picture = m_plan.pictures[file["picture"].get<std::size_t>()];
    const std::string command = WithoutShares(recipe.value("gl3:command", ""));
    const std::string own = WithoutShares(m_command.Recipe(picture));
    if (command != own) return Difference("gl3:command", command, own);
    // One that stands for all frames of a model does not tell which file has which.
    const std::string frame = recipe.value("gl3:frame", "0");
    if (picture.frame == 0 || frame == std::to_string(picture.frame)) return "";
    return Difference("gl3:frame", frame, std::to_string(picture.frame));
  }

 private:
  const FarmPlan& m_plan;
  const FarmCommand& m_command;
  std::vector<Json> m_recipes;
  std::map<std::string, std::string> m_wanted;
  bool m_hasRecipes = false;
};

FarmFindings Sort(const FarmPlan& plan, const FarmCommand& command, const Json& found) {
  FarmFindings findings;
  RecipeComparison comparison(plan, command, found);
  findings.renderer = comparison.Renderer();
  std::vector<bool> isFaulty(plan.pictures.size());
  const auto add = [&](std::vector<PictureFault>* faults, const Json& file, std::string why) {
    const std::size_t picture = file["picture"];
    faults->push_back({picture, file["file"], std::move(why)});
    isFaulty[picture] = true;
  };
  for (const Json& file : found) {
    const std::string state = file.value("state", "");
    if (state == "missing") add(&findings.missing, file, "it is not there");
    if (state == "broken") add(&findings.broken, file, file.value("why", ""));
    const std::string differs = state == "whole" ? comparison.Compare(file) : "";
    if (!differs.empty()) add(&findings.differing, file, differs);
  }
  findings.whole = static_cast<std::size_t>(std::count(isFaulty.begin(), isFaulty.end(), false));
  return findings;
}

}  // namespace

Outcome FarmFindings::Judge(const FarmFolder& folder) const {
  const auto tell = [&](const std::vector<PictureFault>& faults, const char* what,
                        const char* remedy) {
    return fmt::format("{}: {} of the pictures {}: {}{}; {}; {} has the rest", folder.Path(),
                       faults.size(), what, faults.front().file,
                       faults.front().why.empty() ? "" : " (" + faults.front().why + ")", remedy,
                       folder.File("report.json"));
  };
  if (!missing.empty()) {
    return {kRunFailed, tell(missing, "are missing", "repeat the command, which goes on")};
  }
  if (!broken.empty()) {
    return {kRunFailed, tell(broken, "are broken", "remove them and repeat the command")};
  }
  if (differing.empty()) return {};
  return {kMismatch, tell(differing, "are not made alike", "remove them and repeat the command")};
}

int RunFarmVerify(const std::string& path, int part, int parts) {
  const FarmFolder folder(path);
  FarmPlan plan;
  Outcome outcome = folder.EnterPlan(&plan);
  std::unique_ptr<FarmCommand> command;
  if (outcome.status == kDone) command = FarmCommand::Read(plan.words, folder.Path(), &outcome);
  if (command) {
    const Json found = InspectAll(FilesOfPart(plan, part, parts), command->Run());
    outcome = folder.Write(fmt::format("checks/{}-{}.json", parts, part), {{"files", found}});
  }
  if (outcome.status != kDone) PrintError(outcome.message);
  return outcome.status;
}

Outcome CheckPictures(const FarmFolder& folder, const FarmPlan& plan, FarmFindings* findings) {
  Outcome outcome;
  const auto command = FarmCommand::Read(plan.words, folder.Path(), &outcome);
  if (!command) return outcome;
  // No more than there is work for: a process looks at some hundred small pictures a second.
  const int parts = std::clamp(static_cast<int>(plan.pictures.size() / 16), 1, UsableProcessors());
  std::vector<PoolProgram> programs;
  for (int part = 1; part <= parts; ++part) {
    programs.push_back({{OwnProgram(), "farm", "verify", folder.Path(), std::to_string(part),
                         std::to_string(parts)},
                        folder.Log(0, fmt::format("check-{}", part))});
  }
  RunPool(
      programs, parts, [] {}, [] {});
  Json found = Json::array();
  for (int part = 1; part <= parts; ++part) {
    const Json checked = folder.Read(fmt::format("checks/{}-{}.json", parts, part));
    if (checked.is_object()) {
      for (const Json& file : checked.value("files", Json::array())) {
        if (file.value("picture", plan.pictures.size()) < plan.pictures.size())
          found.push_back(file);
      }
      continue;
    }
    for (const CheckedFile& file : FilesOfPart(plan, part, parts)) {
      found.push_back(Broken(file, "the check of it failed"));
    }
  }
  *findings = Sort(plan, *command, found);
  return {};
}

int UsableProcessors() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  if (sched_getaffinity(0, sizeof processors, &processors) != 0) return 1;
  return std::max(1, CPU_COUNT(&processors));
}

}  // namespace gl3
