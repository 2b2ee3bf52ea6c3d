// The process that decodes pictures, and does nothing else.
#include "apps/work/common/picture_decoder.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <string>

#include "apps/base/child_process.h"
#include "hostkit/confine/confine.h"
#include "hostkit/confine/sanitized.h"
#include "hostkit/pictures/picture_in.h"

namespace gl3 {
namespace {

/// Shared memory of a descriptor, as long as it is needed.
class SharedBytes {
 public:
  SharedBytes(int memory, std::size_t size, int access)
      : m_size(size),
        m_at(size > 0 ? mmap(nullptr, size, access, MAP_SHARED | MAP_POPULATE, memory, 0)
                      : MAP_FAILED) {}
  ~SharedBytes() {
    if (m_at != MAP_FAILED) munmap(m_at, m_size);
  }
  SharedBytes(const SharedBytes&) = delete;
  SharedBytes& operator=(const SharedBytes&) = delete;
  unsigned char* At() const {
    return m_at == MAP_FAILED ? nullptr : static_cast<unsigned char*>(m_at);
  }

 private:
  std::size_t m_size;
  void* m_at;
};

/// More than decoders need, who open nothing.
constexpr std::uint64_t kMostDescriptors = 32;

/// Gives up everything but the lines. Returns what the kernel lacks for that.
std::string GiveUpAllBut(const DecodeLines& lines, std::uint64_t mostBytes) {
  if (kIsSanitized) return "";  // its reports need files
  hostkit::Confinement confinement;
  confinement.closeOthers = true;
  confinement.keep = {lines.asks, lines.answers, lines.file, lines.pixels};
  confinement.fileSize = mostBytes;
  confinement.files = kMostDescriptors;
  const hostkit::ConfineResult lacks = hostkit::Confine(confinement);
  return lacks.files.empty() ? lacks.calls : lacks.files;
}

DecodeAnswer Refuse(DecodeAnswer::Kind kind, const std::string& text) {
  DecodeAnswer answer = {};
  answer.kind = kind;
  std::strncpy(answer.text, text.c_str(), sizeof answer.text - 1);
  return answer;
}

/// Puts the rows into the shared memory, which grows when they need more than there is.
bool HandOver(const HBitmapNode& picture, std::size_t rowBytes, int memory) {
  struct stat status {};
  const std::size_t size = rowBytes * static_cast<std::size_t>(picture.GetHeight());
  if (fstat(memory, &status) != 0) return false;
  if (static_cast<std::size_t>(status.st_size) < size &&
      ftruncate(memory, static_cast<off_t>(size)) != 0) {
    return false;
  }
  const SharedBytes shared(memory, size, PROT_READ | PROT_WRITE);
  if (!shared.At()) return false;
  auto* buffer = static_cast<HRGBABuffer*>(picture.GetBufferHead());
  for (int y = 0; y < picture.GetHeight(); ++y) {
    std::memcpy(shared.At() + rowBytes * static_cast<std::size_t>(y), buffer->GetData(y), rowBytes);
  }
  return true;
}

DecodeAnswer Decode(const DecodeRequest& request, const DecodeLines& lines) {
  constexpr const char* kName = "picture";  // the other side knows a better one
  const SharedBytes file(lines.file, request.size, PROT_READ);
  hostkit::PictureWish wish;
  if (request.halves) wish.kind = hostkit::PixelKind::kHalves;
  std::string error;
  hostkit::PictureFacts facts;
  const hostkit::BitmapPtr picture =
      hostkit::DecodePicture(file.At(), request.size, kName, wish, &error, &facts);
  if (!picture) {
    return Refuse(DecodeAnswer::kRefused,
                  error.substr(std::min(std::strlen(kName) + 2, error.size())));
  }
  DecodeAnswer answer = {};
  answer.width = picture->GetWidth();
  answer.height = picture->GetHeight();
  answer.clipped = facts.clipped;
  answer.wasLinear = facts.wasLinear;
  const std::size_t rowBytes = static_cast<std::size_t>(answer.width) * (request.halves ? 8 : 4);
  if (HandOver(*picture, rowBytes, lines.pixels)) return answer;
  return Refuse(DecodeAnswer::kRefused, "no memory to hand it over; allow more or scale it down");
}

}  // namespace

void DecodePictures(const DecodeLines& lines, pid_t parent, std::uint64_t mostBytes,
                    bool mustBeConfined) noexcept {
  BecomeWorker();
  if (getppid() != parent) _exit(1);  // it has ended in the meantime
  for (const int number : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGXFSZ}) {
    std::signal(number, SIG_DFL);
  }
  const std::string lack = GiveUpAllBut(lines, mostBytes);
  DecodeRequest request;
  while (ReceiveAll(lines.asks, &request, sizeof request)) {
    DecodeAnswer answer;
    if (mustBeConfined && !lack.empty()) {
      answer = Refuse(DecodeAnswer::kNotConfined,
                      lack + "; use a newer kernel, or leave that wish out for files you trust");
    } else {
      answer = Decode(request, lines);
    }
    if (!SendAll(lines.answers, &answer, sizeof answer)) break;
  }
  _exit(0);
}

bool SendAll(int descriptor, const void* bytes, std::size_t size) {
  const auto* next = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t count = write(descriptor, next, size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    next += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

bool ReceiveAll(int descriptor, void* bytes, std::size_t size) {
  auto* next = static_cast<char*>(bytes);
  while (size > 0) {
    const ssize_t count = read(descriptor, next, size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    next += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace gl3
