// Pictures that go one after another through a pipe or to a file that is open already.
#include "hostkit/pictures/picture_stream.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/pictures/picture_file.h"

namespace hostkit {
namespace {

using Row = void (*)(const PicturePixels& pixels, int y, unsigned char* row);

/// A kind of rows without a header.
struct RawKind {
  const char* name;
  int channels;
  Row row;
};
constexpr RawKind kRawKinds[] = {{"rgb24", 3, RowToRgb}, {"rgba", 4, RowToStraightRgba}};

const RawKind* FindRaw(const std::string& kind) {
  for (const RawKind& raw : kRawKinds) {
    if (kind == raw.name) return &raw;
  }
  return nullptr;
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

/// Memory as a file that can seek, which encoders need and pipes do not.
File MemoryFile() {
  const int memory = memfd_create("picture", MFD_CLOEXEC);
  std::FILE* const file = memory < 0 ? nullptr : fdopen(memory, "w+");
  if (!file && memory >= 0) close(memory);
  return {file, std::fclose};
}

/// False with errno.
bool WriteAll(int descriptor, const unsigned char* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t count = write(descriptor, bytes, size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

bool CopyAll(std::FILE* from, int descriptor) {
  if (std::fflush(from) != 0) return false;
  std::rewind(from);
  std::array<unsigned char, 1 << 16> block{};
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), from)) {
    if (!WriteAll(descriptor, block.data(), count)) return false;
  }
  return std::ferror(from) == 0;
}

bool WriteRawRows(const RawKind& raw, const PicturePixels& pixels, int descriptor) {
  std::vector<unsigned char> row(static_cast<std::size_t>(pixels.width) *
                                 static_cast<std::size_t>(raw.channels));
  for (int y = 0; y < pixels.height; ++y) {
    raw.row(pixels, y, row.data());
    if (!WriteAll(descriptor, row.data(), row.size())) return false;
  }
  return true;
}

std::string StreamErrorText(const StreamTarget& target, int code) {
  if (code == EPIPE && !target.whenGone.empty()) return target.whenGone;
  if (code == EPIPE) return "its reader has gone; keep it until the last picture";
  if (code == EBADF) return "it is closed; send it to a file or a program";
  return WriteErrorText(code);
}

}  // namespace

bool IsStreamKindKnown(const std::string& kind, std::string* error) {
  std::string raw;
  for (const RawKind& one : kRawKinds) raw += std::string(", ") + one.name;
  if (FindRaw(kind) || IsPictureSuffixKnown("x." + kind, error)) return true;
  const std::string known = error->substr(error->find("; "));
  *error = fmt::format("'{}' is no kind of pictures{}{}", kind, known, raw);
  return false;
}

bool StreamPicture(const StreamTarget& target, const Picture& picture, const Recipe& recipe,
                   const PictureOptions& options, std::string* error) {
  const auto fail = [&](const std::string& reason) {
    *error = fmt::format("{}: cannot be written: {}", target.name, reason);
    return false;
  };
  if (const RawKind* raw = FindRaw(target.kind)) {
    PicturePixels pixels;
    if (!DescribePixels(picture, options, &pixels)) {
      return fail("the picture is empty; render it again");
    }
    return WriteRawRows(*raw, pixels, target.descriptor) || fail(StreamErrorText(target, errno));
  }
  const File file = MemoryFile();
  if (!file) return fail(StreamErrorText(target, errno));
  std::string reason;
  if (!EncodePicture(file.get(), "x." + target.kind, picture, recipe, options, &reason)) {
    return fail(reason);
  }
  return CopyAll(file.get(), target.descriptor) || fail(StreamErrorText(target, errno));
}

}  // namespace hostkit
