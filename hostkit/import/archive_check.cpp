// Archives that models come in, looked at before the import library unpacks them.
//
// The list of entries is read by the same library that the import library unpacks with, so that
// both mean the same by an archive that can be read in two ways.
#include "hostkit/import/archive_check.h"

#include <fmt/format.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "hostkit/import/archive.h"
#include "hostkit/import/model_files.h"

namespace hostkit {
namespace {

/// Whether a name leads out of the folder that it would be unpacked into.
bool LeadsOut(std::string name) {
  std::replace(name.begin(), name.end(), '\\', '/');
  const bool hasDrive = name.size() > 1 && name[1] == ':';
  return name.starts_with('/') || hasDrive || ("/" + name + "/").find("/../") != std::string::npos;
}

/// The archive's own size, and what it may unpack to whatever that is.
struct Limits {
  std::uint64_t size, mostBytes;

  bool AreBroken(std::uint64_t unpacked) const {
    return unpacked > mostBytes && unpacked / kMostUnpackedTimes > size;
  }
};

bool IsGzip(int file) {
  unsigned char magic[2] = {};
  return pread(file, magic, sizeof magic, 0) == 2 && magic[0] == 0x1f && magic[1] == 0x8b;
}

/// Unpacks a gzip stream, keeping nothing, for as long as it is not too much. What it says of its
/// own length need not be so.
bool IsGzipTooMuch(int file, const Limits& limits) {
  z_stream stream = {};
  if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK) return false;  // 16: gzip's header
  std::vector<unsigned char> packed(1 << 16), plain(1 << 18);
  std::uint64_t read = 0, unpacked = 0;
  int state = Z_OK;
  while (state == Z_OK && !limits.AreBroken(unpacked)) {
    if (stream.avail_in == 0) {
      const ssize_t count = pread(file, packed.data(), packed.size(), static_cast<off_t>(read));
      stream.next_in = packed.data();
      stream.avail_in = static_cast<uInt>(std::max<ssize_t>(count, 0));
      read += stream.avail_in;
    }
    stream.next_out = plain.data();
    stream.avail_out = static_cast<uInt>(plain.size());
    state = inflate(&stream, Z_NO_FLUSH);  // Z_BUF_ERROR at the end of a cut file
    unpacked += plain.size() - stream.avail_out;
  }
  inflateEnd(&stream);
  return limits.AreBroken(unpacked);
}

std::string EntriesFault(unzFile archive, const Limits& limits) {
  constexpr std::size_t kLongestName = 4096;  // bytes; what is longer is cut
  std::uint64_t unpacked = 0;
  for (int found = unzGoToFirstFile(archive); found == UNZ_OK; found = unzGoToNextFile(archive)) {
    unz_file_info64 info = {};
    std::string name(kLongestName, '\0');
    if (unzGetCurrentFileInfo64(archive, &info, name.data(), kLongestName, nullptr, 0, nullptr,
                                0) != UNZ_OK) {
      break;
    }
    name.resize(std::min<std::size_t>(info.size_filename, kLongestName));
    if (LeadsOut(name)) {
      return fmt::format("it holds {}, which leads out of it; pack it again", NameForMessage(name));
    }
    unpacked += std::min<std::uint64_t>(info.uncompressed_size, UINT64_MAX - unpacked);
  }
  if (!limits.AreBroken(unpacked)) return {};
  return fmt::format("it unpacks to {:.1f} GiB, over {} times its size; pack smaller files",
                     static_cast<double>(unpacked) / (1 << 30), kMostUnpackedTimes);
}

}  // namespace

std::string ArchiveFault(int file, std::uint64_t size, std::uint64_t mostBytes) {
  const Limits limits{size, mostBytes};
  if (IsGzip(file) && IsGzipTooMuch(file, limits)) {
    return fmt::format("it unpacks to over {} MiB and {} times its size; save it uncompressed",
                       mostBytes >> 20, kMostUnpackedTimes);
  }
  const Archive archive(file, size);
  return archive.IsOpen() ? EntriesFault(archive.Get(), limits) : std::string();
}

}  // namespace hostkit
