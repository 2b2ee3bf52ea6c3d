// Models imported by a process of their own.
#include "hostkit/isolated/import_process.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstring>
#include <new>
#include <sstream>
#include <utility>

#include "hostkit/isolated/import_protocol.h"
#include "hostkit/scene/scene_bytes.h"
#include "hostkit/services/process_memory.h"
#include "hostkit/services/without_controls.h"

extern char** environ;

namespace hostkit {
namespace {

constexpr int kTickMilliseconds = 50;
constexpr double kMostFiles = 256;          // open at a time
constexpr std::size_t kLongestText = 4096;  // bytes of an error line

/// The program's path: beside the library that this code is in.
std::string ProgramPath() {
  Dl_info self{};
  const bool isKnown = dladdr(reinterpret_cast<const void*>(&ProgramPath), &self) != 0;
  const std::string library = isKnown && self.dli_fname ? self.dli_fname : "";
  return library.substr(0, library.rfind('/') + 1) + kImportProgram;
}

/// Bytes of a file that are mapped to be read, until this goes.
class Mapping {
 public:
  Mapping(int file, std::size_t size)
      : m_size(size),
        m_at(size > 0 ? mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, file, 0)
                      : MAP_FAILED) {}
  ~Mapping() {
    if (m_at != MAP_FAILED) munmap(m_at, m_size);
  }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;
  const unsigned char* Bytes() const {
    return m_at == MAP_FAILED ? nullptr : static_cast<const unsigned char*>(m_at);
  }

 private:
  std::size_t m_size;
  void* m_at;
};

std::size_t SizeOf(int file) {
  struct stat status {};
  return fstat(file, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

std::string SystemError(const char* what, int code) {
  return fmt::format("{}: {}; close other programs", what, std::strerror(code));
}

/// Starts the program with these descriptors at their places and no others; 0 or an error number.
int Spawn(const std::vector<std::string>& words, int progress, int memory, bool showsMessages,
          pid_t* process) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const int quiet = showsMessages ? 1 : 2;  // the last of the standard descriptors that go nowhere
  for (int standard = 0; standard <= quiet; ++standard) {
    posix_spawn_file_actions_addopen(&actions, standard, "/dev/null", O_RDWR, 0);
  }
  posix_spawn_file_actions_adddup2(&actions, progress, kProgressDescriptor);
  posix_spawn_file_actions_adddup2(&actions, memory, kMemoryDescriptor);
  posix_spawn_file_actions_addclosefrom_np(&actions, kMemoryDescriptor + 1);
  // Signals as in a fresh process: those that a supervisor blocks or ignores are not for it.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none, all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  const int failure =
      posix_spawn(process, words[0].c_str(), &actions, &attributes, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  return failure;
}

/// Sets what the kernel itself keeps. Not the memory by addresses: see MemoryOf.
void SetLimits(pid_t process, const ImportLimits& limits) {
  const auto set = [process](auto resource, double amount) {
    const auto whole = static_cast<rlim_t>(std::ceil(amount));
    const rlimit limit = {whole, whole + 1};  // at the upper one of processor time it is killed
    prlimit(process, resource, &limit, nullptr);
  };
  set(RLIMIT_CORE, 0);
  set(RLIMIT_NOFILE, kMostFiles);
  if (limits.processorSeconds > 0) set(RLIMIT_CPU, limits.processorSeconds);
  // Of the shared memory: it can write no other file.
  if (limits.memory > 0) set(RLIMIT_FSIZE, static_cast<double>(limits.memory));
}

/// A descriptor above those that the program has at fixed places, so that none is overwritten
/// before it is moved; -1 without one.
int LiftedAbove(int descriptor) {
  if (descriptor < 0 || descriptor > kMemoryDescriptor) return descriptor;
  const int lifted = fcntl(descriptor, F_DUPFD_CLOEXEC, kMemoryDescriptor + 1);
  close(descriptor);
  return lifted;
}

}  // namespace

const ImportProcess::Wording ImportProcess::kOfModels = {
    "importing it", "model", "importer", "scene",
    "the file is damaged or of a kind that cannot be read; export it anew or in another format"};
const ImportProcess::Wording ImportProcess::kOfPictures = {
    "decoding it", "picture", "decoder", "picture",
    "the file is damaged or of a kind that cannot be read; write it anew"};

ImportProcess::ImportProcess(std::vector<std::string> models, const ImportLimits& limits,
                             std::string scene)
    : ImportProcess(limits.confined ? kConfinedWord : kOpenWord, kOfModels, std::move(models),
                    limits, std::move(scene)) {}

ImportProcess::ImportProcess(const char* work, const Wording& wording,
                             std::vector<std::string> models, const ImportLimits& limits,
                             std::string scene)
    : m_wording(wording), m_models(std::move(models)), m_limits(limits), m_scene(std::move(scene)) {
  m_why = Start(work);
  if (!m_why.empty()) m_end = ImportEnd::kFailed;
}

ImportProcess::~ImportProcess() {
  if (m_process > 0) {
    kill(m_process, SIGKILL);
    while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  if (m_progress >= 0) close(m_progress);
  if (m_memory >= 0) close(m_memory);
}

/// What prevents it, or an empty text.
std::string ImportProcess::Start(const char* work) {
  std::array<int, 2> line{};
  if (pipe2(line.data(), O_CLOEXEC) != 0) return SystemError("no pipe can be made", errno);
  m_progress = line[0];
  const int progress = LiftedAbove(line[1]);
  m_memory = LiftedAbove(memfd_create("scene", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (progress < 0 || m_memory < 0) {
    std::string why = SystemError("no shared memory can be made", errno);
    if (progress >= 0) close(progress);
    return why;
  }
  std::vector<std::string> words = {ProgramPath(), std::to_string(getpid()), work, m_scene};
  words.insert(words.end(), m_models.begin(), m_models.end());
  const int failure = Spawn(words, progress, m_memory, m_limits.showsMessages, &m_process);
  close(progress);
  if (failure == 0) {
    SetLimits(m_process, m_limits);
    return "";
  }
  m_process = -1;
  return failure == ENOENT ? words[0] + ": is not there; install or build it again"
                           : SystemError((words[0] + " cannot be started").c_str(), failure);
}

/// Reads what there is; false at the end, when the process is gone.
bool ImportProcess::ReadProgress(const Begins& begins) {
  std::array<char, 64> letters{};
  const ssize_t count = read(m_progress, letters.data(), letters.size());
  if (count < 0) return errno == EINTR;
  for (ssize_t i = 0; i < count; ++i) {
    const char letter = letters[static_cast<std::size_t>(i)];
    if (letter != kModelBegins) {
      m_lastWord = letter;
    } else if (m_begun < m_models.size()) {
      if (++m_begun > 1 && begins) begins(Model());  // the first was told before
    }
  }
  return count > 0;
}

void ImportProcess::Kill(ImportEnd end, const std::string& why) {
  if (m_end != ImportEnd::kDone) return;
  m_end = end;
  m_why = why;
  kill(m_process, SIGKILL);
}

void ImportProcess::KeepLimits() {
  const std::string doing = fmt::format("{}: {} ", Model(), m_wording.doing);
  if (m_limits.cancelled && *m_limits.cancelled) {
    return Kill(ImportEnd::kCancelled, doing + "was stopped");
  }
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - m_start;
  if (m_limits.seconds > 0 && taken.count() > m_limits.seconds) {
    return Kill(ImportEnd::kLate, fmt::format("{}took beyond {} s; allow more or use a smaller {}",
                                              doing, m_limits.seconds, m_wording.subject));
  }
  if (m_limits.memory > 0 && !Fits()) {
    Kill(ImportEnd::kUnreadable,
         fmt::format("{}took more than {:.1f} GiB of memory; allow more or use a smaller {}", doing,
                     static_cast<double>(m_limits.memory) / (1 << 30), m_wording.subject));
  }
}

bool ImportProcess::Fits() const {
  const std::uint64_t held = HeldMemory();
  return m_limits.fits ? m_limits.fits(held) : held <= m_limits.memory;
}

std::uint64_t ImportProcess::HeldMemory() const {
  return m_process > 0 ? MemoryOf({m_process}) : 0;
}

/// Until the process has closed its line.
void ImportProcess::Follow(const Begins& begins) {
  if (begins) begins(Model());
  for (bool open = true; open;) {
    pollfd source = {m_progress, POLLIN, 0};
    poll(&source, 1, kTickMilliseconds);
    if (source.revents != 0) open = ReadProgress(begins);
    KeepLimits();
  }
}

ImportEnd ImportProcess::Finish(const Begins& begins, std::unique_ptr<Scene>* scene,
                                std::string* error) {
  ImportEnd end = Wait(begins, error);
  if (end == ImportEnd::kDone) end = TakeAs(m_wording, m_memory, Model(), scene, error);
  m_milliseconds =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - m_start).count();
  return end;
}

ImportEnd ImportProcess::Wait(const Begins& begins, std::string* error) {
  if (m_process < 0) {
    *error = m_why;
    return m_end;
  }
  Follow(begins);
  int status = 0;
  while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
  }
  m_process = -1;
  return Judge(status, error);
}

ImportEnd ImportProcess::Judge(int status, std::string* error) const {
  if (m_end != ImportEnd::kDone) {
    *error = m_why;
    return m_end;
  }
  switch (m_lastWord) {
    case kSceneIsThere:
      return ImportEnd::kDone;
    case kImportFailed:
      *error = TakeText();
      return ImportEnd::kUnreadable;
    case kIsNotConfined:
      *error = TakeText();
      return ImportEnd::kNotConfined;
  }
  ImportEnd end = ImportEnd::kUnreadable;
  *error = DeathText(status, &end);
  return end;
}

/// Why the process ended without a last word.
std::string ImportProcess::DeathText(int status, ImportEnd* end) const {
  const auto& [doing, subject, worker, result, remedy] = m_wording;
  const std::string it = fmt::format("{}: {} ", Model(), doing);
  if (!WIFSIGNALED(status)) return fmt::format("{}ended without a word; {}", it, remedy);
  switch (const int number = WTERMSIG(status)) {
    case SIGKILL:
      *end = ImportEnd::kFailed;
      return fmt::format(
          "{}was killed from outside, as a system does that is out of memory; close other programs "
          "or use a smaller {}",
          it, subject);
    case SIGTERM:
    case SIGINT:
    case SIGHUP:
      *end = ImportEnd::kFailed;
      return fmt::format("{}was ended from outside ({}); try again", it, strsignal(number));
    case SIGXCPU:
      *end = ImportEnd::kLate;
      return fmt::format(
          "{}took more than {:.0f} s of processor time; allow more or use a smaller {}", it,
          m_limits.processorSeconds, subject);
    case SIGXFSZ:
      return fmt::format(
          "{}made a {} larger than the memory allowed; allow more or use a smaller {}", it, result,
          subject);
    case SIGSYS:
      return fmt::format("{}called what no {} needs, and was ended; do not trust the file", it,
                         worker);
    default:
      return fmt::format("{}crashed ({}); {}", it, strsignal(number), remedy);
  }
}

/// The line that the process left.
std::string ImportProcess::TakeText() const {
  std::string text(std::min(SizeOf(m_memory), kLongestText), '\0');
  const ssize_t count = pread(m_memory, text.data(), text.size(), 0);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  text = WithoutControls(text, ' ');
  if (!text.empty()) return text;
  return fmt::format("{}: {} failed without a reason; {}", Model(), m_wording.doing,
                     m_wording.remedy);
}

ImportEnd TakeScene(int memory, const std::string& model, std::unique_ptr<Scene>* scene,
                    std::string* error) {
  return ImportProcess::TakeAs(ImportProcess::kOfModels, memory, model, scene, error);
}

ImportEnd ImportProcess::TakeAs(const Wording& wording, int memory, const std::string& model,
                                std::unique_ptr<Scene>* scene, std::string* error) {
  // Whoever still could write to it would change it between the look and the use.
  if (fcntl(memory, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE) != 0) {
    *error = fmt::format("{}: what {} left is still in use; do not trust the file", model,
                         wording.doing);
    return ImportEnd::kUnreadable;
  }
  const std::size_t size = SizeOf(memory);
  const Mapping mapping(memory, size);
  if (!mapping.Bytes()) {
    *error = SystemError(
        fmt::format("{}: what {} left cannot be had", model, wording.doing).c_str(), errno);
    return ImportEnd::kFailed;
  }
  std::string why;
  std::unique_ptr<Scene> taken = ReadScene(mapping.Bytes(), size, &why);
  if (!taken) {
    *error = fmt::format("{}: {} left no sound {} ({}); {}", model, wording.doing, wording.result,
                         why, wording.remedy);
    return ImportEnd::kUnreadable;
  }
  *scene = std::move(taken);
  return ImportEnd::kDone;
}

bool ListImportKinds(std::vector<ImportKind>* kinds, std::string* error) {
  ImportProcess process(kKindsWord, ImportProcess::kOfModels, {kImportProgram}, {}, {});
  if (process.Wait({}, error) != ImportEnd::kDone) return false;
  std::string text(SizeOf(process.Memory()), '\0');
  if (pread(process.Memory(), text.data(), text.size(), 0) < 0) {
    *error = SystemError("what can be imported cannot be read", errno);
    return false;
  }
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t blank = line.find(' ');
    if (blank != std::string::npos)
      kinds->push_back({line.substr(0, blank), line.substr(blank + 1)});
  }
  return true;
}

ImportEnd DecodeApart(const std::string& path, const ImportLimits& limits, BitmapPtr* picture,
                      std::string* error) {
  const ImportProcess::Wording& wording = ImportProcess::kOfPictures;
  ImportProcess process(limits.confined ? kConfinedPictureWord : kPictureWord, wording, {path},
                        limits, {});
  std::unique_ptr<Scene> scene;
  ImportEnd end = ImportEnd::kFailed;
  try {
    end = process.Finish({}, &scene, error);
  } catch (const std::bad_alloc&) {
    *error = path + ": no memory for the picture; close other programs or scale it down";
  }
  if (end != ImportEnd::kDone) return end;
  if (scene->images.size() != 1) {
    *error = fmt::format("{}: {} left no picture; {}", path, wording.doing, wording.remedy);
    return ImportEnd::kUnreadable;
  }
  *picture = std::move(scene->images.front().bitmap);
  return end;
}

}  // namespace hostkit
