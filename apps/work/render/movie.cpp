// Movies of `gl3 render`: its frames, made into a file by ffmpeg.
#include "apps/work/render/movie.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sstream>
#include <utility>
#include <vector>

#include "apps/base/file_checks.h"
#include "apps/base/run_program.h"
#include "apps/base/supervised_child.h"
#include "apps/options/movie_kinds.h"
#include "apps/work/common/confine_work.h"
#include "apps/work/common/stopwatch.h"
#include "apps/work/render/render_job.h"
#include "hostkit/effects/byte_image.h"
#include "hostkit/pictures/picture_file.h"
#include "hostkit/pictures/picture_in.h"

extern char** environ;

namespace gl3 {
namespace {

constexpr int kMovieDescriptor = 3;  // of ffmpeg: the file that it writes
constexpr const char* kFrameKind = "rgb24";
constexpr const char* kGaveUp =
    "ffmpeg gave up; look whether the disk is full, and with -v what it says";

std::vector<std::string> MovieWords(const std::string& program, const RenderOptions& options,
                                    const std::string& command) {
  const MovieKind& kind = *FindMovieKind(options.output);
  std::vector<std::string> words = {program,
                                    "-hide_banner",
                                    "-nostdin",
                                    "-loglevel",
                                    "error",
                                    "-xerror",
                                    "-f",
                                    "rawvideo",
                                    "-pixel_format",
                                    kFrameKind,
                                    "-video_size",
                                    fmt::format("{}x{}", options.width, options.height),
                                    "-framerate",
                                    fmt::format("{}", options.sequence.framesPerSecond),
                                    "-i",
                                    "pipe:0"};
  std::istringstream arguments(kind.arguments);
  for (std::string word; arguments >> word;) words.push_back(word);
  if (!command.empty()) words.insert(words.end(), {"-metadata", "comment=" + command});
  words.insert(words.end(),
               {"-f", kind.container, "-y", fmt::format("/proc/self/fd/{}", kMovieDescriptor)});
  return words;
}

/// The program that makes a movie of frames.
class MovieMaker {
 public:
  explicit MovieMaker(const RenderOptions& options) : m_options(options) {}
  ~MovieMaker() { Abandon(); }
  MovieMaker(const MovieMaker&) = delete;
  MovieMaker& operator=(const MovieMaker&) = delete;

  Outcome Start(const std::string& command);
  /// Where the frames go.
  int Input() const { return m_input; }
  /// After the last frame: puts the movie in its place.
  Outcome Finish();
  /// Ends the program; nothing stays of the movie.
  void Abandon();

 private:
  int Spawn(const std::vector<std::string>& words, int input);
  bool Wait(int* status);
  void CloseInput();
  Outcome Fail(const std::string& why) const { return {kUnwritableOutput, m_path + ": " + why}; }

  const RenderOptions& m_options;
  std::string m_path;
  hostkit::PictureFile m_file;
  int m_input = -1;
  pid_t m_process = -1;
};

Outcome MovieMaker::Start(const std::string& command) {
  m_path = m_options.PathOf(m_options.output, 1, "");
  Outcome found = CheckMovieProgram(m_path);
  if (found.status != kDone) return found;
  const std::string program = FindProgram(kMovieProgram);
  std::string reason;
  if (!m_file.Open(m_path, &reason)) return Fail("cannot be written: " + reason);
  std::array<int, 2> line{};
  if (pipe2(line.data(), O_CLOEXEC) != 0) {
    return {kRunFailed, std::string("system: ") + std::strerror(errno) + "; close other programs"};
  }
  m_input = line[1];
  const int failure = Spawn(MovieWords(program, m_options, command), line[0]);
  close(line[0]);
  if (failure == 0) return {};
  m_process = -1;
  return {kNoOpenGl, program + ": " + std::strerror(failure) + "; install ffmpeg anew"};
}

/// 0 or an error number.
int MovieMaker::Spawn(const std::vector<std::string>& words, int input) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, fileno(m_file.Stream()), kMovieDescriptor);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  if (CurrentVerbosity() != Verbosity::kVerbose) {
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  }
  posix_spawn_file_actions_addclosefrom_np(&actions, kMovieDescriptor + 1);
  // Signals as in a fresh process. Of those from the keyboard, which reach it too, its end of the
  // pipe tells it.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t all;
  sigfillset(&all);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  const int failure = posix_spawn(&m_process, words.front().c_str(), &actions, &attributes,
                                  arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  return failure;
}

/// Until it has ended; false when that takes beyond the time limit.
bool MovieMaker::Wait(int* status) {
  constexpr useconds_t kTick = 10'000;
  const double limit = m_options.run.limits.timeoutSeconds * 1000;
  for (const Stopwatch watch; limit == 0 || watch.Milliseconds() < limit; usleep(kTick)) {
    const pid_t ended = waitpid(m_process, status, WNOHANG);
    if (ended == 0 || (ended < 0 && errno == EINTR)) continue;
    m_process = -1;
    return true;
  }
  return false;
}

void MovieMaker::CloseInput() {
  if (m_input >= 0) close(std::exchange(m_input, -1));
}

Outcome MovieMaker::Finish() {
  CloseInput();
  int status = 0;
  if (!Wait(&status)) {
    return {kRunFailed, fmt::format("{}: ffmpeg took beyond {} s to finish it; raise --timeout",
                                    m_path, m_options.run.limits.timeoutSeconds)};
  }
  struct stat movie {};
  const bool isMade = fstat(fileno(m_file.Stream()), &movie) == 0 && movie.st_size > 0;
  if (!isMade || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    return Fail(std::string("cannot be written: ") + kGaveUp);
  }
  std::string reason;
  return m_file.Commit(&reason) ? Outcome() : Fail("cannot be written: " + reason);
}

void MovieMaker::Abandon() {
  CloseInput();
  if (m_process < 0) return;
  kill(m_process, SIGKILL);
  while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
  }
  m_process = -1;
}

int TellEnd(const Outcome& outcome) {
  if (outcome.status != kDone) PrintError(outcome.message);
  return outcome.status;
}

}  // namespace

std::string OddSides(const std::string& path, int width, int height) {
  const MovieKind* const kind = FindMovieKind(path);
  const int across = width + width % 2, down = height + height % 2;
  if (!kind || !kind->hasEvenSides || (across == width && down == height)) return "";
  return fmt::format(
      "{}: {} has even sides, so it is {}x{}, with a black edge; give an even --size to do without",
      path, kind->name, across, down);
}

Outcome CheckMovieProgram(const std::string& path) {
  if (!FindProgram(kMovieProgram).empty()) return {};
  return {kNoOpenGl, path + ": ffmpeg, which makes movies, is not on PATH; install ffmpeg"};
}

int RenderMovie(const RenderOptions& options, const std::string& command) {
  const std::string path = options.PathOf(options.output, 1, "");
  const bool isThere = options.sequence.skipExisting && IsThere(path);
  MovieMaker maker(options);
  if (!isThere) {
    const Outcome started = maker.Start(command);
    if (started.status != kDone) return TellEnd(started);
  }
  RenderOptions own = options;
  if (!isThere) own.stream = {maker.Input(), path, kFrameKind, kGaveUp};
  ChildTold told;
  int status = RunSupervised(
      own.run.limits, "",
      [&](ParentLine& line, std::string* result) { return Render(own, command, line, result); },
      &told);
  if (status == kDone && !isThere) status = TellEnd(maker.Finish());
  if (status != kDone || told.result.empty()) return status;
  return PrintResult(told.result);
}

namespace {

/// Writes the pixels of a file as rows of red, green, blue bytes.
Outcome PipePicture(const std::string& path, const RenderOptions& options, int descriptor) {
  std::string error;
  const hostkit::BitmapPtr bitmap = hostkit::LoadPicture(path, &error);
  if (!bitmap) return {kUnreadableInput, error};
  if (bitmap->GetWidth() != options.width || bitmap->GetHeight() != options.height) {
    return {kUnreadableInput, path + ": has another size than the movie; remove it"};
  }
  std::string rows;
  for (int y = 0; y < options.height; ++y) {
    const unsigned char* pixel = hostkit::ByteRow(*bitmap, y);
    for (int x = 0; x < options.width; ++x, pixel += 4) {
      rows.append(reinterpret_cast<const char*>(pixel), 3);
    }
  }
  for (std::size_t sent = 0; sent < rows.size();) {
    const ssize_t count = write(descriptor, rows.data() + sent, rows.size() - sent);
    if (count > 0) sent += static_cast<std::size_t>(count);
    if (count > 0 || errno == EINTR) continue;
    return {kUnwritableOutput, options.output + ": cannot be written: " + kGaveUp};
  }
  return {};
}

}  // namespace

int MovieOfPictures(const RenderOptions& options, const std::string& command,
                    const std::vector<std::string>& pictures) {
  MovieMaker maker(options);
  const Outcome started = maker.Start(command);
  if (started.status != kDone) return TellEnd(started);
  const std::string odd = OddSides(options.output, options.width, options.height);
  if (!odd.empty()) PrintWarning(odd);
  ChildTold told;
  const int status = RunSupervised(
      options.run.limits, "",
      [&](ParentLine& line, std::string*) -> Outcome {
        Outcome outcome = ConfineToFiles({pictures, {}}, options.run, line, maker.Input());
        for (std::size_t i = 0; i < pictures.size() && outcome.status == kDone; ++i) {
          line.Enter(Phase::kImport, pictures[i]);
          line.Progress(i, pictures.size(), pictures[i]);
          outcome = PipePicture(pictures[i], options, maker.Input());
        }
        return outcome;
      },
      &told);
  return status == kDone ? TellEnd(maker.Finish()) : status;
}

}  // namespace gl3
