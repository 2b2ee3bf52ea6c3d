// Pictures that are named on the command line, decoded by a process of their own: the process that
// wants them.
#include "apps/work/common/picture_reader.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "apps/base/file_checks.h"
#include "apps/work/common/picture_decoder.h"
#include "hostkit/pictures/picture_guards.h"

namespace gl3 {
namespace {

/// Pixels that stay in the shared memory for the next picture; of more, the memory is given back.
constexpr std::size_t kMostKept = std::size_t{64} << 20;

std::size_t SizeOf(int file) {
  struct stat status {};
  return fstat(file, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

/// Shared memory that only grows: whoever has mapped it is not left with a hole.
int NewMemory(const char* name) {
  const int memory = memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING);
  if (memory >= 0) fcntl(memory, F_ADD_SEALS, F_SEAL_SHRINK);
  return memory;
}

void CloseIfOpen(int descriptor) {
  if (descriptor >= 0) close(descriptor);
}

/// What a decoder says may be about the file, but is one decent line.
std::string Decent(std::string text) {
  for (char& c : text) {
    if (c < ' ' || c > '~') c = '?';
  }
  return text;
}

}  // namespace

std::unique_ptr<PictureReader> PictureReader::Start(const RunOptions& run, ParentLine& line,
                                                    Outcome* outcome) {
  std::unique_ptr<PictureReader> reader(new PictureReader(run, line));
  int asks[2] = {-1, -1}, answers[2] = {-1, -1};
  reader->m_file = NewMemory("gl3-picture");
  reader->m_pixels = NewMemory("gl3-pixels");
  const bool isReady = reader->m_file >= 0 && reader->m_pixels >= 0 &&
                       pipe2(asks, O_CLOEXEC) == 0 && pipe2(answers, O_CLOEXEC) == 0;
  const pid_t parent = getpid();
  reader->m_process = isReady ? fork() : -1;
  if (reader->m_process == 0) {
    close(asks[1]);  // else it would never see that nobody asks any more
    close(answers[0]);
    DecodePictures({asks[0], answers[1], reader->m_file, reader->m_pixels}, parent,
                   run.limits.maxMemory, run.confined);
  }
  const int error = errno;
  CloseIfOpen(asks[0]);
  CloseIfOpen(answers[1]);
  reader->m_asks = asks[1];
  reader->m_answers = answers[0];
  if (reader->m_process > 0) return reader;
  *outcome = {kRunFailed, fmt::format("the process that decodes pictures cannot be started: {}; "
                                      "close other programs",
                                      std::strerror(error))};
  return nullptr;
}

PictureReader::~PictureReader() {
  for (const int descriptor : {m_asks, m_answers, m_file, m_pixels}) CloseIfOpen(descriptor);
  if (m_process <= 0) return;
  kill(m_process, SIGKILL);
  waitpid(m_process, nullptr, 0);
}

Outcome PictureReader::Read(const std::string& path, hostkit::PixelKind kind,
                            hostkit::BitmapPtr* picture, hostkit::PictureFacts* facts) {
  m_line.Enter(Phase::kImport, path);
  Outcome reach = m_isConfined ? CheckReach(path) : Outcome();
  if (reach.status != kDone) return reach;
  std::vector<unsigned char> bytes;
  std::string error;
  if (!hostkit::ReadPictureFile(path, &bytes, &error)) return {kUnreadableInput, error};
  for (std::size_t at = 0; at < bytes.size();) {
    const ssize_t count =
        pwrite(m_file, bytes.data() + at, bytes.size() - at, static_cast<off_t>(at));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return {kRunFailed, path + ": no memory to hand it over; allow more"};
    at += static_cast<std::size_t>(count);
  }
  return Ask(path, bytes.size(), kind, picture, facts);
}

Outcome PictureReader::Ask(const std::string& path, std::size_t size, hostkit::PixelKind kind,
                           hostkit::BitmapPtr* picture, hostkit::PictureFacts* facts) {
  const DecodeRequest request = {size, kind == hostkit::PixelKind::kHalves};
  DecodeAnswer answer = {};
  if (!IsAlive() || !SendAll(m_asks, &request, sizeof request) ||
      !ReceiveAll(m_answers, &answer, sizeof answer)) {
    return Bury(path);
  }
  answer.text[sizeof answer.text - 1] = '\0';
  if (answer.kind == DecodeAnswer::kNotConfined) {
    return {kRunFailed, "--confined: " + Decent(answer.text)};
  }
  if (answer.kind != DecodeAnswer::kPixels) {
    return {kUnreadableInput, path + ": " + Decent(answer.text)};
  }
  *facts = {};
  facts->clipped = answer.clipped != 0;
  facts->wasLinear = answer.wasLinear != 0;
  return TakePixels(path, answer.width, answer.height, kind, picture);
}

Outcome PictureReader::TakePixels(const std::string& path, int width, int height,
                                  hostkit::PixelKind kind, hostkit::BitmapPtr* picture) const {
  const bool areHalves = kind == hostkit::PixelKind::kHalves;
  const std::size_t rowBytes = static_cast<std::size_t>(std::max(width, 0)) * (areHalves ? 8 : 4);
  const std::size_t size = rowBytes * static_cast<std::size_t>(std::max(height, 0));
  if (width < 1 || height < 1 || !hostkit::SizeRefusal(width, height, UINT64_MAX).empty() ||
      SizeOf(m_pixels) < size) {
    return {kUnreadableInput, path + ": decoding it left no sound picture; do not trust the file"};
  }
  *picture =
      areHalves ? hostkit::NewHalfBitmap(width, height) : hostkit::NewByteBitmap(width, height);
  if (!*picture) return {kUnreadableInput, path + ": " + hostkit::NoMemoryText(width, height)};
  auto* buffer = static_cast<HRGBABuffer*>((*picture)->GetBufferHead());
  for (int y = 0; y < height; ++y) {
    auto* row = static_cast<unsigned char*>(buffer->GetData(y));
    for (std::size_t at = 0; at < rowBytes;) {
      const ssize_t count = pread(m_pixels, row + at, rowBytes - at,
                                  static_cast<off_t>(static_cast<std::size_t>(y) * rowBytes + at));
      if (count <= 0) return {kRunFailed, path + ": its pixels cannot be had; try again"};
      at += static_cast<std::size_t>(count);
    }
  }
  if (size > kMostKept) {
    fallocate(m_pixels, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size));
  }
  return {};
}

/// What became of a process that does not answer.
Outcome PictureReader::Bury(const std::string& path) {
  int status = 0;
  const bool isOver = m_process > 0 && waitpid(m_process, &status, 0) == m_process;
  m_process = -1;
  const int signal = isOver && WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  switch (signal) {
    case 0:
      return {kRunFailed, path + ": the process that decodes pictures has gone; try again"};
    case SIGKILL:
    case SIGTERM:
      return {kRunFailed, path + ": decoding it was killed from outside; is there memory enough?"};
    case SIGSYS:
      return {kUnreadableInput, path +
                                    ": decoding it called what no decoder needs, and was ended; do "
                                    "not trust the file"};
    case SIGXFSZ:
      return {kUnreadableInput,
              path +
                  ": decoding it took more memory than is allowed; raise --max-memory, or scale "
                  "it down"};
    default:
      return {kUnreadableInput,
              fmt::format("{}: decoding it crashed ({}); the file is damaged or of a kind that "
                          "cannot be read; write it anew",
                          path, strsignal(signal))};
  }
}

}  // namespace gl3
