// `gl3 farm --local`: a sequence on two cores against one, beside what two renders of half of it
// each make of two cores, and what the farm itself costs. Floors are `gl3 render` on one core;
// pictures must have the same bytes.
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "bench/support/child_process.h"
#include "bench/support/harness.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr double kMostOfOneCore = 1 / 1.8, kMostOverhead = 1.1;
constexpr int kQuickRounds = 1, kMostRounds = 3;

struct Case {
  int width, height, frames;
  bool alsoQuick;
};
constexpr Case kCases[] = {{640, 360, 240, true}, {1920, 1080, 240, false}};

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Empty when both folders hold the same pictures.
std::string CompareFolders(const fs::path& floor, const fs::path& ours) {
  int count = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(floor)) {
    if (entry.path().extension() != ".png") continue;
    ++count;
    if (ReadFile(entry.path()) == ReadFile(ours / entry.path().filename())) continue;
    return entry.path().filename().string() + ": differs";
  }
  return count > 1 ? "" : "there are no pictures";
}

/// Runs a command whose pictures go to a folder that is empty before.
Figure RunInto(const fs::path& folder, const std::vector<std::string>& command) {
  fs::remove_all(folder);
  fs::create_directory(folder);
  return RunProcess(command).time;
}

class SequenceCase {
 public:
  SequenceCase(const Case& each, const TemporaryFolder& folder, const std::string& model)
      : m_case(each), m_floor(folder.File("floor")), m_ours(folder.File("ours")), m_model(model) {}

  /// `ours` beside one render on one core. `mostRatio` is the target, 0 for none.
  void Measure(const std::string& work, const std::vector<std::string>& ours, double mostRatio,
               const Options& options, Report& report) const {
    std::vector<std::string> floor = OneCore();
    floor.push_back(Gl3());
    Append(m_floor, &floor);
    Options few = options;
    few.rounds = std::min(options.rounds, options.quick ? kQuickRounds : kMostRounds);
    const std::vector<Figure> medians =
        MedianInTurn({[&] { return options.oursOnly ? Figure() : RunInto(m_floor, floor); },
                      [&] { return RunInto(m_ours, ours); }},
                     few);
    Row row;
    row.work = work;
    row.sizeText = fmt::format("{} of {}x{}", m_case.frames, m_case.width, m_case.height);
    row.floor = medians[0];
    row.ours = medians[1];
    row.mostRatio = mostRatio;
    report.Add(row);
    const std::string problem = options.oursOnly ? "" : CompareFolders(m_floor, m_ours);
    if (!problem.empty()) report.Fail(work + ": " + problem);
  }

  /// The farm, with `before` ahead of gl3: an option of the system's, or nothing.
  std::vector<std::string> Farm(const std::vector<std::string>& before,
                                const std::string& tasks) const {
    std::vector<std::string> words = before;
    const std::vector<std::string> farm = {Gl3(), "farm", "--local", "--tasks", tasks, "--"};
    words.insert(words.end(), farm.begin(), farm.end());
    Append(m_ours, &words);
    return words;
  }

  /// What the machine itself makes of a second core: two renders of half of it, a core each.
  std::vector<std::string> Halves() const {
    std::vector<std::string> words = {Gl3()};
    Append(m_ours, &words);
    std::string line;
    for (int core = 0; core < 2; ++core) {
      line += fmt::format("/usr/bin/taskset -c {} '{}' --chunk {}/2 & ", core,
                          fmt::join(words, "' '"), core + 1);
    }
    return {"/bin/sh", "-c", line + "wait"};
  }

  static std::vector<std::string> OneCore() { return {"/usr/bin/taskset", "-c", "0"}; }

 private:
  static std::string Gl3() { return ProgramFolder() + "/gl3"; }

  void Append(const fs::path& folder, std::vector<std::string>* words) const {
    const std::vector<std::string> render = {
        "render",      m_model,
        "-o",          (folder / "t####.png").string(),
        "--size",      fmt::format("{}x{}", m_case.width, m_case.height),
        "--turntable", std::to_string(m_case.frames),
        "--recipe",    "none"};  // which would hold the command
    words->insert(words->end(), render.begin(), render.end());
  }

  const Case& m_case;
  fs::path m_floor, m_ours;
  std::string m_model;
};

void Run(const Options& options, Report& report) {
  const TemporaryFolder folder;
  setenv("GL3_REGISTRY", folder.File("registry.ini").c_str(), 1);
  const std::string model = folder.File("sphere.glb");
  RunProcess({ProgramFolder() + "/make_samples", "--triangles", "100000", model});
  for (const Case& each : kCases) {
    if (options.quick && !each.alsoQuick) continue;
    const SequenceCase sequence(each, folder, model);
    sequence.Measure("two renders at once", sequence.Halves(), 0, options, report);
    sequence.Measure("two cores against one", sequence.Farm({}, "2"), kMostOfOneCore, options,
                     report);
    sequence.Measure("the farm itself", sequence.Farm(SequenceCase::OneCore(), "1"), kMostOverhead,
                     options, report);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "farm", bench::Run);
}
