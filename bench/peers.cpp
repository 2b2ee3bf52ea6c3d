// gl3 beside other programs that people use for the same, where they are installed: the same task
// for each, and a floor that does the least. Each program is a row; "ours" is what it took.
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "apps/base/run_program.h"
#include "apps/base/x_server.h"
#include "bench/support/child_process.h"
#include "bench/support/harness.h"
#include "bench/support/peer_program.h"
#include "bench/support/png_file.h"

namespace bench {
namespace {

constexpr double kMostApart = 8;  // of 255: filters and lights are each program's own

constexpr Peer kPeers[] = {{"f3d", "--version", "Version:"},
                           {"convert", "-version", "Version: ImageMagick"},
                           {"oiiotool", "--version", "."}};

/// A command of a task; `program` is gl3's or a peer's name, or empty for the floor.
struct Way {
  std::string program;
  std::vector<std::string> words;
};

/// The same work for all; each leaves the PNG file `@`.
struct Task {
  std::string work, size;
  std::vector<Way> ways;  ///< The floor comes first.
};

/// Whether a program does it once; it may be of another version than its words are for.
bool Works(const std::vector<std::string>& words) {
  try {
    RunProcess(words);
    return true;
  } catch (const std::runtime_error&) {
    return false;
  }
}

class Peers {
 public:
  Peers(const Options& options, Report& report) : m_options(options), m_report(report) {
    for (const Peer& peer : kPeers) {
      const std::string version = VersionOf(peer);
      const bool isThere = !version.empty();
      m_report.Note(fmt::format("{}: {}", peer.name, isThere ? version : "not installed here"));
      if (isThere) m_there.emplace_back(peer.name);
    }
  }

  void Measure(const Task& task) const;

 private:
  bool IsThere(const std::string& program) const {
    if (program.empty() || program == "gl3") return true;
    return std::find(m_there.begin(), m_there.end(), program) != m_there.end();
  }

  const Options& m_options;
  Report& m_report;
  std::vector<std::string> m_there;
  const TemporaryFolder m_folder;
};

/// The commands that can be run here, each with a program's path and an output of its own.
void Peers::Measure(const Task& task) const {
  std::vector<std::string> names, outputs;
  std::vector<std::function<Figure()>> runs;
  for (const Way& way : task.ways) {
    if (!IsThere(way.program)) continue;
    std::vector<std::string> words = way.words;
    const std::string output = m_folder.File(fmt::format("{}.png", names.size()));
    for (std::string& word : words) {
      if (const std::size_t at = word.find('@'); at != word.npos) word.replace(at, 1, output);
    }
    if (words[0][0] != '/') {
      words[0] = gl3::FindProgram(words[0]);
      if (!Works(words)) {
        m_report.Note(fmt::format("{}: {} cannot do it", task.work, way.program));
        continue;
      }
    }
    names.push_back(way.program);
    outputs.push_back(output);
    runs.emplace_back([words] { return RunProcess(words).time; });
  }
  const std::vector<Figure> figures = MedianInTurn(runs, m_options);
  for (std::size_t i = 1; i < figures.size(); ++i) {
    Row row;
    row.work = fmt::format("{}: {}", task.work, names[i]);
    row.sizeText = task.size;
    row.floor = figures[0];
    row.ours = figures[i];
    m_report.Add(row);
    const std::string problem =
        ComparePictures(ReadPng(outputs[0]), ReadPng(outputs[i]), kMostApart);
    if (!problem.empty()) m_report.Note(fmt::format("{}: {}", row.work, problem));
  }
}

/// A model as a picture of one sample a pixel. f3d has a camera and lights of its own.
Task Render(const TemporaryFolder& folder, const std::string& suffix, int triangles) {
  const std::string bin = ProgramFolder(), model = folder.File("sphere" + suffix);
  const std::string picture = folder.File("camera.png");
  RunProcess({bin + "/make_samples", "--triangles", std::to_string(triangles), model});
  const std::vector<std::string> ours = {bin + "/gl3", "render",    model,         "-o", "@",
                                         "--size",     "1920x1080", "--antialias", "1"};
  std::vector<std::string> once = ours;
  once[4] = picture;
  RunProcess(once);
  const std::string camera = ReadPng(picture).camera;
  return {fmt::format("render {}", suffix.substr(1)),
          std::to_string(triangles),
          {{"", {bin + "/bare_render", model, "@", "1920", "1080", "1", camera}},
           {"gl3", ours},
           {"f3d", {"f3d", "--quiet", "--resolution=1920,1080", "--output=@", model}}}};
}

/// What is done with pictures, of one that shows the sample scene.
std::vector<Task> PictureTasks(const TemporaryFolder& folder) {
  const std::string bin = ProgramFolder(), large = folder.File("large.png");
  const std::string small = folder.File("small.png");
  RunProcess({bin + "/make_samples", folder.File("")});
  for (const auto& [picture, size] : {std::pair(large, "3840x2160"), std::pair(small, "1920x1080")})
    RunProcess({bin + "/gl3", "render", folder.File("showroom.glb"), "--camera", "hero", "-o",
                picture, "--size", size});
  return {{"halve a PNG",
           "3840x2160",
           {{"", {bin + "/bare_picture", large, "@", "2"}},
            {"gl3", {bin + "/gl3", "filter", large, "-o", "@", "--size", "1920x1080"}},
            {"convert", {"convert", large, "-scale", "1920x1080", "@"}},
            {"oiiotool", {"oiiotool", large, "--resize:filter=box", "1920x1080", "-o", "@"}}}},
          {"blur a PNG",
           "1920x1080",
           {{"", {bin + "/bare_picture", small, "@", "1"}},
            {"gl3", {bin + "/gl3", "filter", small, "-o", "@", "--effect", "blur:radius=10"}},
            {"convert", {"convert", small, "-blur", "10x6", "@"}},
            {"oiiotool", {"oiiotool", small, "--blur:kernel=box", "21x21", "-o", "@"}}}}};
}

void Run(const Options& options, Report& report) {
  const TemporaryFolder folder;
  setenv("GL3_REGISTRY", folder.File("registry.ini").c_str(), 1);
  gl3::XServer server;  // f3d draws on windows
  if (const std::string display = server.Start(1920, 1080); !display.empty()) {
    setenv("DISPLAY", display.c_str(), 1);
    setenv("GL3_PLATFORM", "surfaceless", 1);
  }
  const Peers peers(options, report);
  peers.Measure(Render(folder, ".glb", 1000));
  peers.Measure(Render(folder, ".ply", options.quick ? 100'000 : 1'000'000));
  for (const Task& task : PictureTasks(folder)) peers.Measure(task);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "peers", bench::Run);
}
