// ZIP archives.
#include "hostkit/import/archive.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>

namespace hostkit {
namespace {

void* OpenInput(void* input, const void*, int) {
  return input;
}

uLong ReadInput(void*, void* stream, void* to, uLong size) {
  auto* input = static_cast<ArchiveInput*>(stream);
  const ssize_t count = pread(input->file, to, size, static_cast<off_t>(input->at));
  if (count > 0) input->at += static_cast<std::uint64_t>(count);
  return count > 0 ? static_cast<uLong>(count) : 0;
}

uLong WriteNothing(void*, void*, const void*, uLong) {
  return 0;
}

ZPOS64_T TellInput(void*, void* stream) {
  return static_cast<ArchiveInput*>(stream)->at;
}

long SeekInput(void*, void* stream, ZPOS64_T offset, int origin) {
  auto* input = static_cast<ArchiveInput*>(stream);
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

unzFile Open(ArchiveInput* input) {
  zlib_filefunc64_def functions = {OpenInput, ReadInput, WriteNothing, TellInput,
                                   SeekInput, NoError,   NoError,      input};
  return unzOpen2_64("archive", &functions);
}

}  // namespace

// Archives are told by their ends, and may begin with anything.
Archive::Archive(int file, std::uint64_t size)
    : m_input{file, size}, m_archive(Open(&m_input), unzClose) {}

bool Archive::Read(const std::string& name, std::uint64_t mostBytes, std::string* bytes) const {
  constexpr int kWithoutCase = 2;
  constexpr std::size_t kStep = std::size_t{1} << 18;
  if (!IsOpen() || unzLocateFile(Get(), name.c_str(), kWithoutCase) != UNZ_OK ||
      unzOpenCurrentFile(Get()) != UNZ_OK) {
    return false;
  }
  bytes->clear();
  int count = 0;
  do {
    const std::size_t size = bytes->size();
    bytes->resize(size + kStep);
    count = unzReadCurrentFile(Get(), bytes->data() + size, static_cast<unsigned>(kStep));
    bytes->resize(size + static_cast<std::size_t>(count > 0 ? count : 0));
  } while (count > 0 && bytes->size() <= mostBytes);
  return unzCloseCurrentFile(Get()) == UNZ_OK && count == 0;  // a sum that differs, too
}

std::string Archive::FirstWithEnding(const std::string& ending) const {
  if (!IsOpen()) return {};
  for (int found = unzGoToFirstFile(Get()); found == UNZ_OK; found = unzGoToNextFile(Get())) {
    char name[4096];  // what is longer is cut
    unz_file_info64 info = {};
    if (unzGetCurrentFileInfo64(Get(), &info, name, sizeof name, nullptr, 0, nullptr, 0) !=
        UNZ_OK) {
      break;
    }
    const std::size_t length = std::min<std::size_t>(info.size_filename, sizeof name);
    if (length >= ending.size() &&
        strncasecmp(name + length - ending.size(), ending.c_str(), ending.size()) == 0) {
      return {name, length};
    }
  }
  return {};
}

}  // namespace hostkit
