// Archives that models come in, looked at before the import library unpacks them.
//
// The list of entries is read by the same library that the import library unpacks with, so that
// both mean the same by an archive that can be read in two ways.
#include "hostkit/import/archive_check.h"

#include <fmt/format.h>
#include <minizip/unzip.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <memory>

#include "hostkit/import/model_files.h"

namespace hostkit {
namespace {

/// minizip's input: a file that stays its owner's.
struct Input {
  int file;
  std::uint64_t size;
  std::uint64_t at = 0;
};

void* OpenInput(void* input, const void*, int) {
  return input;
}

uLong ReadInput(void*, void* stream, void* to, uLong size) {
  auto* input = static_cast<Input*>(stream);
  const ssize_t count = pread(input->file, to, size, static_cast<off_t>(input->at));
  if (count > 0) input->at += static_cast<std::uint64_t>(count);
  return count > 0 ? static_cast<uLong>(count) : 0;
}

uLong WriteNothing(void*, void*, const void*, uLong) {
  return 0;
}

ZPOS64_T TellInput(void*, void* stream) {
  return static_cast<Input*>(stream)->at;
}

long SeekInput(void*, void* stream, ZPOS64_T offset, int origin) {
  auto* input = static_cast<Input*>(stream);
  const std::uint64_t start = origin == ZLIB_FILEFUNC_SEEK_SET   ? 0
                              : origin == ZLIB_FILEFUNC_SEEK_CUR ? input->at
                                                                 : input->size;
  if (offset > input->size - start) return -1;
  input->at = start + offset;
  return 0;
}

int NoError(void*, void*) {
  return 0;
}

/// Whether a name leads out of the folder that it would be unpacked into.
bool LeadsOut(std::string name) {
  std::replace(name.begin(), name.end(), '\\', '/');
  const bool hasDrive = name.size() > 1 && name[1] == ':';
  return name.starts_with('/') || hasDrive || ("/" + name + "/").find("/../") != std::string::npos;
}

std::string EntriesFault(unzFile archive, std::uint64_t size) {
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
  if (unpacked <= kMostUnpackedBytes || unpacked / kMostUnpackedTimes <= size) return {};
  return fmt::format(
      "it unpacks to {:.1f} GiB, over {} times its size; unpack it and name what is "
      "in it",
      static_cast<double>(unpacked) / (1 << 30), kMostUnpackedTimes);
}

}  // namespace

std::string ArchiveFault(int file, std::uint64_t size) {
  Input input{file, size};
  zlib_filefunc64_def functions = {OpenInput, ReadInput, WriteNothing, TellInput,
                                   SeekInput, NoError,   NoError,      &input};
  const std::unique_ptr<void, int (*)(unzFile)> archive(unzOpen2_64("archive", &functions),
                                                        unzClose);
  return archive ? EntriesFault(archive.get(), size) : std::string();
}

}  // namespace hostkit
