// gl3-import: imports models into one scene, or decodes a picture, for the program that started it,
// and does nothing else.
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
#include "hostkit/pictures/picture_in.h"
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

/// Gives up all but what is to be read, of which `name` is told, and the two descriptors.
void ConfineTo(std::vector<std::string> readable, bool mustBe, const std::string& name) {
  hostkit::Confinement confinement;
  confinement.closeOthers = true;
  confinement.keep = {hostkit::kProgressDescriptor, hostkit::kMemoryDescriptor};
  confinement.readable = std::move(readable);
  const hostkit::ConfineResult lacks = hostkit::Confine(confinement);
  const std::string& lack = lacks.files.empty() ? lacks.calls : lacks.files;
  if (mustBe && !lack.empty()) {
    Leave(hostkit::kIsNotConfined,
          name + ": it is to be read confined, and " + lack +
              "; use a newer kernel, or leave that wish out for files that you trust");
  }
}

/// The models, wherever links lead where that is allowed, and what lies where they may name files.
std::vector<std::string> ReadableOf(const std::vector<std::string>& models,
                                    const hostkit::ImportOptions& options) {
  std::vector<std::string> readable;
  for (const std::string& model : models) {
    if (options.reach != hostkit::FileReach::kFolder) readable.push_back(model);
    for (std::string& folder : hostkit::ReadableFolders(model, options)) {
      readable.push_back(std::move(folder));
    }
  }
  return readable;
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

/// A scene of nothing but the picture.
hostkit::Scene DecodeOne(const std::string& path) {
  hostkit::Scene scene;
  std::string error;
  scene.images.emplace_back().bitmap = hostkit::LoadPicture(path, &error);
  if (!scene.images.front().bitmap) Leave(hostkit::kImportFailed, error);
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

/// The last word of all that goes well; `what` is for messages.
[[noreturn]] void LeaveWith(const hostkit::Scene& scene, const std::string& name,
                            const char* what) {
  if (HandOver(scene)) {
    Tell(hostkit::kSceneIsThere);
    _exit(0);
  }
  Leave(hostkit::kImportFailed, name + ": no memory for its " + what + " (" + std::strerror(errno) +
                                    "); allow more or use a smaller one");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc <= hostkit::kFirstModelArgument) {
    std::fputs("gl3-import: is started by gl3, gl3-view and hosts, not by hand\n", stderr);
    return 2;
  }
  BelongTo(static_cast<pid_t>(std::strtol(argv[1], nullptr, 10)));
  const auto isAskedFor = [&](const char* word) { return std::strcmp(argv[2], word) == 0; };
  if (isAskedFor(hostkit::kKindsWord)) TellKinds();
  const std::vector<std::string> files(argv + hostkit::kFirstModelArgument, argv + argc);
  if (isAskedFor(hostkit::kPictureWord) || isAskedFor(hostkit::kConfinedPictureWord)) {
    ConfineTo(files, isAskedFor(hostkit::kConfinedPictureWord), files.front());
    LeaveWith(DecodeOne(files.front()), files.front(), "pixels");
  }
  const bool isConfined = isAskedFor(hostkit::kConfinedWord);
  hostkit::ImportOptions options;
  options.leavesMemory = true;
  options.scene = argv[hostkit::kSceneArgument];
  if (isConfined) options.reach = hostkit::FileReach::kFolder;
  ConfineTo(ReadableOf(files, options), isConfined, files.front());
  LeaveWith(*ImportAll(files, options), files.front(), "scene");
}
