// Fuzzes the import of model files by a process of its own. That the import library crashes, hangs
// or takes all memory is told as a fault of the file; nothing else of the process may go wrong, and
// a sanitizer that watches it may find nothing in our code.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>

#include "hostkit/isolated/import_process.h"
#include "samples/small_models.h"
#include "tests/fuzz/input.h"
#include "tests/support/common/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using hostkit::ImportEnd;

// The first byte of an input chooses one; the rest is the file. New ones go to the end.
constexpr const char* kSuffixes[] = {".ply", ".obj", ".stl", ".gltf", ".glb", ".dae",
                                     ".3ds", ".fbx", ".off", ".3mf",  ".x"};
constexpr const char* kReport = "report.txt";

#ifdef GL3_FUZZ
// What libFuzzer takes for coverage beside its own, which does not see into the other process.
__attribute__((section("__libfuzzer_extra_counters"))) std::uint8_t g_seen[1 << 14];
void Tell(const std::string& event) {
  g_seen[std::hash<std::string>{}(event) % std::size(g_seen)] = 1;
}
#else
void Tell(const std::string&) {}
#endif

/// Standard error of this process, and of those that it starts, goes into a file meanwhile.
class ErrorsInto {
 public:
  explicit ErrorsInto(const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    Require(file >= 0 && m_errors >= 0 && dup2(file, 2) == 2, "errors cannot be kept");
    close(file);
  }
  ~ErrorsInto() {
    dup2(m_errors, 2);
    close(m_errors);
  }
  ErrorsInto(const ErrorsInto&) = delete;
  ErrorsInto& operator=(const ErrorsInto&) = delete;

 private:
  const int m_errors = fcntl(2, F_DUPFD_CLOEXEC, 3);
};

/// Whether a sanitizer tells of a fault of ours: the first of the libraries on its stack is.
bool IsOurFault(const std::string& report) {
  const std::size_t ours = report.find("libgl3"), theirs = report.find("libassimp");
  return report.find("runtime error: ") != std::string::npos ||
         (report.find("ERROR: AddressSanitizer") != std::string::npos && ours < theirs);
}

void TellOf(const hostkit::Scene& scene, const std::string& suffix) {
  const std::size_t counts[] = {
      scene.meshes.size(),       scene.instances.size(),
      scene.images.size(),       scene.cameras.size() + scene.lights.size(),
      scene.motion.nodes.size(), scene.warnings.size(),
      scene.TriangleCount()};
  std::string event = suffix;
  for (const std::size_t count : counts)
    Tell(event += static_cast<char>('a' + std::bit_width(count)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static TempFolder folder;
  Input input(data, size);
  const std::string suffix = input.OneOf(kSuffixes), name = "model" + suffix;
  folder.Write(name, input.Rest());
  hostkit::ImportLimits limits;
  limits.seconds = 20;
  limits.memory = 2ull << 30;
  limits.showsMessages = true;
  std::unique_ptr<hostkit::Scene> scene;
  std::string error;
  ImportEnd end = ImportEnd::kFailed;
  double milliseconds = 0;
  {
    const ErrorsInto report(folder.Path(kReport));
    hostkit::ImportProcess process({folder.Path(name)}, limits);
    end = process.Finish({}, &scene, &error);
    milliseconds = process.Milliseconds();
  }
  const std::string report = folder.Read(kReport);
  fs::remove(folder.Path(name));
  Require(!IsOurFault(report), report);
  Require(milliseconds < 2000 * limits.seconds, "it went on beyond its limit");
  Require(end == ImportEnd::kDone || end == ImportEnd::kUnreadable, "it failed: " + error);
  Require((end == ImportEnd::kDone) == (scene != nullptr), "no scene, or one with an error");
  if (scene) {
    TellOf(*scene, suffix);
    return 0;
  }
  RequireOneLine(error);
  Require(error.starts_with(folder.Path(name) + ": "), "a message without the name: " + error);
  // Without names and numbers out of the file.
  std::replace_if(
      error.begin(), error.end(),
      [](char c) { return !std::isalpha(static_cast<unsigned char>(c)); }, ' ');
  Tell(suffix + error.substr(folder.Path(name).size(), 60));
  return 0;
}

Inputs Seeds() {
  const TempFolder folder;
  std::string error;
  Require(samples::WriteCubes(folder.Path(""), &error) &&
              samples::WriteBumpySphere(folder.Path("sphere.glb"), 8, &error),
          error);
  std::vector<fs::path> places = {folder.Path("")};
#ifdef GL3_FUZZ
  places.emplace_back("/usr/share/assimp/models");
#endif
  constexpr std::size_t kLargest = 20 << 10;
  Inputs seeds;
  for (const fs::path& place : places) {
    if (!fs::exists(place)) continue;
    for (const fs::directory_entry& file : fs::recursive_directory_iterator(place)) {
      const auto* suffix =
          std::find(std::begin(kSuffixes), std::end(kSuffixes), file.path().extension().string());
      if (suffix == std::end(kSuffixes) || file.file_size() > kLargest) continue;
      std::ifstream stream(file.path(), std::ios::binary);
      seeds.push_back(static_cast<char>(suffix - kSuffixes) +
                      std::string(std::istreambuf_iterator<char>(stream), {}));
    }
  }
  return seeds;
}

Inputs Regressions() {
  return {};
}
