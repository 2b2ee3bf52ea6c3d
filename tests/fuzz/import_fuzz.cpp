// Fuzzes the import of model files by a process of its own. That the import library crashes, hangs
// or takes all memory is told as a fault of the file; nothing else of the process may go wrong, and
// a sanitizer that watches it may find nothing in our code.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/isolated/import_process.h"
#include "hostkit/scene/scene_bytes.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/model_seeds.h"
#include "tests/support/common/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using hostkit::ImportEnd;

/// All that can be imported. The first byte of an input chooses one; the rest is the file.
const std::vector<std::string>& Kinds() {
  static const std::vector<std::string> kinds = [] {
    std::vector<hostkit::ImportKind> known;
    std::string error;
    Require(hostkit::ListImportKinds(&known, &error), error);
    std::vector<std::string> suffixes;
    for (const hostkit::ImportKind& kind : known) suffixes.push_back(kind.suffix);
    return KindsToFuzz(suffixes);
  }();
  return kinds;
}

constexpr const char* kReport = "report.txt";

#ifdef GL3_FUZZ
// What libFuzzer takes for coverage beside its own, which does not see into the other process.
__attribute__((section("__libfuzzer_extra_counters"))) std::uint8_t g_seen[1 << 14];
void Tell(const std::string& event) {
  g_seen[std::hash<std::string>{}(event) % std::size(g_seen)] = 1;
}

/// What came of the inputs of each kind, told when the process ends.
class Tally {
 public:
  Tally() = default;
  ~Tally() {
    for (const auto& [kind, ends] : m_ends) {
      std::fprintf(stderr, "%s:", kind.c_str());
      for (const auto& [end, count] : ends) std::fprintf(stderr, " %d %s", count, end.c_str());
      std::fprintf(stderr, "\n");
    }
  }
  Tally(const Tally&) = delete;
  Tally& operator=(const Tally&) = delete;

  void Count(const std::string& kind, const std::string& end) { ++m_ends[kind][end]; }

 private:
  std::map<std::string, std::map<std::string, int>> m_ends;
};
#else
void Tell(const std::string&) {}

struct Tally {
  void Count(const std::string&, const std::string&) {}
};
#endif

/// Whether a sanitizer tells of a fault of ours: the first of the libraries on its stack is. Of MD5
/// the library hands out more weights than there are, which nobody can see who follows them.
bool IsOurFault(const std::string& suffix, const std::string& report) {
  if (suffix.starts_with(".md5")) return false;
  const std::size_t ours = report.find("libgl3"), theirs = report.find("libassimp");
  return report.find("runtime error: ") != std::string::npos ||
         (report.find("ERROR: AddressSanitizer") != std::string::npos && ours < theirs);
}

/// One word for how an import of that file ended.
const char* WordFor(ImportEnd end, const std::string& error, const std::string& path) {
  if (end == ImportEnd::kDone) return "imported";
  if (end == ImportEnd::kLate) return "late";
  // Whatever stands further on may be out of the file.
  if (error.starts_with(path + ": importing it crashed (")) return "crashed";
  if (error.starts_with(path + ": importing it took more than ")) return "large";
  return "refused";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static TempFolder folder;
  static Tally tally;
  Input input(data, size);
  const std::string& suffix = Kinds()[input.Byte() % Kinds().size()];
  const std::string name = "model" + suffix;
  folder.Write(name, input.Rest());
  hostkit::ImportLimits limits;
  limits.seconds = 3;  // small as the models are; a library that hangs should not take all the time
  limits.memory = 2ull << 30;
  limits.showsMessages = true;
  // The process has this one's standard error, which goes into a file meanwhile.
  const int errors = fcntl(2, F_DUPFD_CLOEXEC, 3);
  const int file =
      open(folder.Path(kReport).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  Require(errors >= 0 && file >= 0 && dup2(file, 2) == 2, "errors cannot be kept");
  hostkit::ImportProcess process({folder.Path(name)}, limits);
  std::unique_ptr<hostkit::Scene> scene;
  std::string error;
  const ImportEnd end = process.Finish({}, &scene, &error);
  dup2(errors, 2);
  close(errors);
  close(file);
  const std::string report = folder.Read(kReport);
  fs::remove(folder.Path(name));
  Require(!IsOurFault(suffix, report), report);
  Require(process.Milliseconds() < 2000 * limits.seconds, "it went on beyond its limit");
  Require(end == ImportEnd::kDone || end == ImportEnd::kUnreadable || end == ImportEnd::kLate,
          "it failed: " + error);
  Require((end == ImportEnd::kDone) == (scene != nullptr), "no scene, or one with an error");
  tally.Count(suffix, WordFor(end, error, folder.Path(name)));
  if (scene) {
    Tell(suffix + std::to_string(hostkit::CountSceneBytes(*scene) / 64));
    return 0;
  }
  RequireOneLine(error);
  Require(error.starts_with(folder.Path(name) + ": "), "a message without the name: " + error);
  Tell(suffix + error.substr(folder.Path(name).size(), 24));
  return 0;
}

Inputs Seeds() {
  return ModelSeeds(Kinds());
}

Inputs Regressions() {
  return {};
}
