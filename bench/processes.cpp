// `gl3` as a process: from model files to PNG pictures, against a program that does the least
// (bench/bare/bare_render.cpp) with the same camera; and its start.
#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/support/child_process.h"
#include "bench/support/harness.h"
#include "bench/support/png_file.h"

namespace bench {
namespace {

constexpr int kWidth = 1920, kHeight = 1080;
constexpr double kMostMemory = 1.5, kMostStart = 15;

struct Case {
  const char* work;
  const char* suffix;
  int triangles;
  int samples;                  // a side: 1 without anti-aliasing, 2 as gl3 does it unasked
  double mostTime, mostMemory;  // ratios; 0 without a target
  bool alsoQuick;
  enum { kImported, kBytes, kPositionsAlone } kind = kImported;  // how the floor reads; the model
  bool hasPlainFloor = false;  // without anti-aliasing, whatever there is of it
};
constexpr Case kCases[] = {
    {"render small model", ".glb", 1000, 1, 1.5, kMostMemory, true},
    {"render small model, 2x2", ".glb", 1000, 2, 1.5, kMostMemory, true},
    {"render PLY", ".ply", 100'000, 1, 0, 0, true},
    {"render PLY", ".ply", 1'000'000, 1, 1.4, kMostMemory, true},
    {"render PLY, 2x2", ".ply", 100'000, 2, 0, 0, false},
    {"render PLY, 2x2", ".ply", 1'000'000, 2, 1.4, kMostMemory, false},
    {"render small model, 2x2 by 1x1", ".glb", 1000, 2, 2, 0, true, Case::kImported, true},
    {"render OBJ", ".obj", 1'000'000, 1, 0.8, kMostMemory, false},
    {"render OBJ, positions", ".obj", 1'000'000, 1, 0.8, kMostMemory, false, Case::kPositionsAlone},
    {"render glTF by its bytes", ".glb", 1'000'000, 1, 1.3, 0, false, Case::kBytes},
};

struct Costs {
  Figure floor, ours, floorMemory, oursMemory;
};

/// Runs two commands in turn and gives medians of their time and memory.
Costs Measure(const std::vector<std::string>& floor, const std::vector<std::string>& ours,
              const Options& options) {
  // Time and memory come from the same runs: the second pair only repeats what the first measured.
  ProcessCost last[2];
  const auto run = [&last](int which, const std::vector<std::string>& command) {
    last[which] = command.empty() ? ProcessCost{} : RunProcess(command);
    return last[which].time;
  };
  const std::vector<std::string> none;
  const std::vector<std::string>& first = options.oursOnly ? none : floor;
  const std::vector<Figure> medians =
      MedianInTurn({[&] { return run(0, first); }, [&] { return run(1, ours); },
                    [&] {
                      return Figure{last[0].megabytes, 0};
                    },
                    [&] {
                      return Figure{last[1].megabytes, 0};
                    }},
                   options);
  return {medians[0], medians[1], medians[2], medians[3]};
}

void MeasureRender(const Case& each, const TemporaryFolder& folder, const Options& options,
                   Report& report) {
  const std::string bin = ProgramFolder();
  const std::string model = folder.File(fmt::format("sphere{}{}", each.triangles, each.suffix));
  const std::string picture = folder.File("ours.png"), barePicture = folder.File("floor.png");
  RunProcess({bin + "/make_samples", "--triangles", std::to_string(each.triangles), model});
  if (each.kind == Case::kPositionsAlone) {
    RunProcess({"sed", "-i", "-e", "/^vn/d", "-e", "s#//[0-9]*##g", model});
  }
  const std::string size = fmt::format("{}x{}", kWidth, kHeight);
  const std::string samples = std::to_string(each.samples);
  const std::vector<std::string> ours = {bin + "/gl3", "render", model,         "-o",   picture,
                                         "--size",     size,     "--antialias", samples};
  RunProcess(ours);
  const std::string camera = ReadPng(picture).camera;
  std::vector<std::string> floor = {bin + "/bare_render",
                                    model,
                                    barePicture,
                                    std::to_string(kWidth),
                                    std::to_string(kHeight),
                                    each.hasPlainFloor ? "1" : samples,
                                    camera};
  if (each.kind == Case::kBytes) floor.push_back("bytes");
  const Costs costs = Measure(floor, ours, options);
  Row row;
  row.work = each.work;
  row.size = each.triangles;
  row.floor = costs.floor;
  row.ours = costs.ours;
  row.mostRatio = each.mostTime;
  report.Add(row);
  row.unit = "MiB";
  row.floor = costs.floorMemory;
  row.ours = costs.oursMemory;
  row.mostRatio = each.mostMemory;
  report.Add(row);
  if (options.oursOnly) return;
  const std::string problem = ComparePictures(ReadPng(barePicture), ReadPng(picture));
  if (!problem.empty()) report.Fail(model + ": " + problem);
}

void MeasureStart(const std::string& work, const std::vector<std::string>& arguments,
                  const Options& options, Report& report) {
  std::vector<std::string> command = {ProgramFolder() + "/gl3"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  const Costs costs = Measure({ProgramFolder() + "/bare_start"}, command, options);
  Row row;
  row.work = work;
  row.sizeText = "-";
  row.floor = costs.floor;
  row.ours = costs.ours;
  row.most = kMostStart;
  report.Add(row);
}

/// A picture of many small models in one run, against a run of gl3 for each picture.
void MeasureMany(const TemporaryFolder& folder, const Options& options, Report& report) {
  const std::size_t count = options.quick ? 50 : 500;
  const std::string model = folder.File("small0.glb");
  RunProcess({ProgramFolder() + "/make_samples", "--triangles", "1000", model});
  const std::vector<std::string> how = {"--size", "256x256", "-o", folder.File("%n.png")};
  std::vector<std::string> one = {ProgramFolder() + "/gl3", "render", model}, many = one;
  for (std::size_t i = 1; i < count; ++i) {
    many.push_back(folder.File(fmt::format("small{}.glb", i)));
    std::filesystem::copy(model, many.back());
  }
  one.insert(one.end(), how.begin(), how.end());
  many.insert(many.end(), how.begin(), how.end());
  const auto pictureOf = [count](const std::vector<std::string>& command, bool isMany) {
    const Figure time = RunProcess(command).time;
    const double pictures = isMany ? static_cast<double>(count) : 1;
    return Figure{time.wall / pictures, time.cpu / pictures};
  };
  Options few = options;  // each round is many pictures
  few.rounds = 3;
  const std::vector<Figure> medians = MedianInTurn(
      {[&] { return pictureOf(one, false); }, [&] { return pictureOf(many, true); }}, few);
  Row row;
  row.work = "a picture of many models";
  row.sizeText = fmt::format("{} models", count);
  row.floor = medians[0];
  row.ours = medians[1];
  report.Add(row);
  const std::string last = folder.File(fmt::format("small{}.png", count - 1));
  const std::string problem = ComparePictures(ReadPng(folder.File("small0.png")), ReadPng(last));
  if (!problem.empty()) report.Fail(last + ": " + problem);
}

void Run(const Options& options, Report& report) {
  const TemporaryFolder folder;
  setenv("GL3_REGISTRY", folder.File("registry.ini").c_str(), 1);
  MeasureStart("gl3 --help", {"--help"}, options, report);
  MeasureStart("gl3 render --help", {"render", "--help"}, options, report);
  for (const Case& each : kCases) {
    if (each.alsoQuick || !options.quick) MeasureRender(each, folder, options, report);
  }
  MeasureMany(folder, options, report);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "processes", bench::Run);
}
