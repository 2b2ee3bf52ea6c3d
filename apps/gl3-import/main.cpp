// gl3-import: imports models into one scene for the program that started it, and does nothing else.
// See hostkit/isolated, which starts it.
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/confine/confine.h"
#include "hostkit/import/model_import.h"
#include "hostkit/isolated/import_protocol.h"
#include "hostkit/scene/scene_bytes.h"
#include "hostkit/scene/scene_merge.h"

namespace {

/// One of the letters of the protocol.
void Tell(char letter) {
  while (write(hostkit::kProgressDescriptor, &letter, 1) < 0 && errno == EINTR) {
  }
}

/// The last word with a line of text. Without clean-up: what an importer has damaged is not touched
/// again, and memory goes with the process.
[[noreturn]] void Leave(char letter, const std::string& text) {
  const bool isWritten = ftruncate(hostkit::kMemoryDescriptor, 0) == 0 &&
                         pwrite(hostkit::kMemoryDescriptor, text.data(), text.size(), 0) >= 0;
  if (isWritten) Tell(letter);
  _exit(1);
}

/// It ends with the process that started it.
void BelongTo(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(1);  // it has ended in the meantime
}

/// What there is to know of all kinds of models.
[[noreturn]] void TellKinds() {
  std::string lines;
  for (const hostkit::ModelKind& kind : hostkit::ModelKinds()) {
    lines += kind.suffix + " " + kind.format + "\n";
  }
  Leave(hostkit::kSceneIsThere, lines);
}

/// Gives up all but the models, what lies where they may name files, and the two descriptors.
void ConfineTo(const std::vector<std::string>& models, bool mustBe,
               const hostkit::ImportOptions& options) {
  hostkit::Confinement confinement;
  confinement.closeOthers = true;
  confinement.keep = {hostkit::kProgressDescriptor, hostkit::kMemoryDescriptor};
  for (const std::string& model : models) {
    confinement.readable.push_back(model);
    for (std::string& folder : hostkit::ReadableFolders(model, options)) {
      confinement.readable.push_back(std::move(folder));
    }
  }
  const hostkit::ConfineResult lacks = hostkit::Confine(confinement);
  const std::string& lack = lacks.files.empty() ? lacks.calls : lacks.files;
  if (mustBe && !lack.empty()) {
    Leave(hostkit::kIsNotConfined,
          models.front() + ": it is to be imported confined, and " + lack +
              "; use a newer kernel, or leave that wish out for files that you trust");
  }
}

std::unique_ptr<hostkit::Scene> ImportAll(const std::vector<std::string>& models,
                                          const hostkit::ImportOptions& options) {
  std::unique_ptr<hostkit::Scene> scene;
  for (const std::string& model : models) {
    Tell(hostkit::kModelBegins);
    std::string error;
    std::unique_ptr<hostkit::Scene> next = hostkit::ImportModel(model, &error, options);
    if (!next) Leave(hostkit::kImportFailed, error);
    if (scene) {
      hostkit::AppendScene(*scene, std::move(*next));
    } else {
      scene = std::move(next);
    }
  }
  return scene;
}

/// Puts the scene into the shared memory; false when there is no room for it.
bool HandOver(const hostkit::Scene& scene) {
  const std::size_t size = hostkit::CountSceneBytes(scene);
  if (ftruncate(hostkit::kMemoryDescriptor, static_cast<off_t>(size)) != 0) return false;
  void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE,
                            hostkit::kMemoryDescriptor, 0);
  if (memory == MAP_FAILED) return false;
  hostkit::WriteScene(scene, static_cast<unsigned char*>(memory));
  munmap(memory, size);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc <= hostkit::kFirstModelArgument) {
    std::fputs("gl3-import: is started by gl3, gl3-view and hosts, not by hand\n", stderr);
    return 2;
  }
  BelongTo(static_cast<pid_t>(std::strtol(argv[1], nullptr, 10)));
  if (std::strcmp(argv[2], hostkit::kKindsWord) == 0) TellKinds();
  const std::vector<std::string> models(argv + hostkit::kFirstModelArgument, argv + argc);
  const bool isConfined = std::strcmp(argv[2], hostkit::kConfinedWord) == 0;
  hostkit::ImportOptions options;
  options.leavesMemory = true;
  options.scene = argv[hostkit::kSceneArgument];
  if (isConfined) options.reach = hostkit::FileReach::kFolder;
  ConfineTo(models, isConfined, options);
  const std::unique_ptr<hostkit::Scene> scene = ImportAll(models, options);
  if (!HandOver(*scene)) {
    Leave(hostkit::kImportFailed, models.front() + ": no memory for its scene (" +
                                      std::strerror(errno) +
                                      "); allow more or use a smaller model");
  }
  Tell(hostkit::kSceneIsThere);
  _exit(0);
}
