// Copies of ZIP archives with an entry changed.
#include "hostkit/import/archive_copy.h"

#include <minizip/zip.h>
#include <zlib.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <utility>
#include <vector>

namespace hostkit {
namespace {

/// What minizip writes to.
struct ArchiveOutput {
  std::string bytes;
  std::size_t at = 0;
};

void* OpenOutput(void* output, const void*, int) {
  return output;
}

uLong ReadNothing(void*, void*, void*, uLong) {
  return 0;
}

uLong WriteOutput(void*, void* stream, const void* from, uLong size) {
  auto* output = static_cast<ArchiveOutput*>(stream);
  try {
    // Behind the end, or over what was written before.
    output->bytes.replace(output->at, size, static_cast<const char*>(from), size);
  } catch (const std::exception&) {
    return 0;  // the library is C, and hands on that it could not write
  }
  output->at += size;
  return size;
}

ZPOS64_T TellOutput(void*, void* stream) {
  return static_cast<ArchiveOutput*>(stream)->at;
}

long SeekOutput(void*, void* stream, ZPOS64_T offset, int origin) {
  auto* output = static_cast<ArchiveOutput*>(stream);
  const std::size_t start = origin == ZLIB_FILEFUNC_SEEK_SET   ? 0
                            : origin == ZLIB_FILEFUNC_SEEK_CUR ? output->at
                                                               : output->bytes.size();
  if (offset > output->bytes.size() - start) return -1;
  output->at = start + offset;
  return 0;
}

int NoFault(void*, void*) {
  return 0;
}

/// Adds an entry as it is stored, packed by `method` or, if that is 0, plain. `next` hands over its
/// bytes, piece by piece: their count, 0 at the end, below 0 on an error.
template <class Next>
bool AddEntry(zipFile to, const char* name, int method, std::uint64_t size, uLong sum,
              const Next& next) {
  constexpr int kAsStored = 1, kWithLongSizes = 1;
  if (zipOpenNewFileInZip2_64(to, name, nullptr, nullptr, 0, nullptr, 0, nullptr, method, 0,
                              kAsStored, kWithLongSizes) != ZIP_OK) {
    return false;
  }
  const void* piece = nullptr;
  int count = 0;
  while ((count = next(&piece)) > 0) {
    if (zipWriteInFileInZip(to, piece, static_cast<unsigned>(count)) != ZIP_OK) return false;
  }
  return count == 0 && zipCloseFileInZipRaw64(to, size, sum) == ZIP_OK;
}

bool AddText(zipFile to, const char* name, const std::string& bytes) {
  const auto* data = reinterpret_cast<const Bytef*>(bytes.data());
  std::size_t at = 0;
  return AddEntry(to, name, 0, bytes.size(), crc32_z(0, data, bytes.size()),
                  [&](const void** piece) {
                    const std::size_t count = std::min<std::size_t>(bytes.size() - at, INT_MAX);
                    *piece = data + at;
                    at += count;
                    return static_cast<int>(count);
                  });
}

/// Adds the entry that `from` is at.
bool AddCopy(zipFile to, const char* name, const unz_file_info64& info, unzFile from) {
  constexpr int kAsStored = 1;
  int method = 0, level = 0;
  if (unzOpenCurrentFile2(from, &method, &level, kAsStored) != UNZ_OK) return false;
  std::vector<unsigned char> bytes(std::size_t{1} << 18);
  const bool isCopied =
      AddEntry(to, name, method, info.uncompressed_size, info.crc, [&](const void** piece) {
        *piece = bytes.data();
        return unzReadCurrentFile(from, bytes.data(), static_cast<unsigned>(bytes.size()));
      });
  unzCloseCurrentFile(from);
  return isCopied;
}

bool AddAll(zipFile to, unzFile from, const std::string& name, const std::string& bytes) {
  constexpr std::size_t kLongestName = 65535;
  unz64_file_pos changed = {}, at = {};
  constexpr int kWithoutCase = 2;
  if (unzLocateFile(from, name.c_str(), kWithoutCase) != UNZ_OK ||
      unzGetFilePos64(from, &changed) != UNZ_OK) {
    return false;
  }
  int found = unzGoToFirstFile(from);
  for (; found == UNZ_OK; found = unzGoToNextFile(from)) {
    unz_file_info64 info = {};
    std::string entry(kLongestName, '\0');
    if (unzGetCurrentFileInfo64(from, &info, entry.data(), kLongestName, nullptr, 0, nullptr, 0) !=
            UNZ_OK ||
        unzGetFilePos64(from, &at) != UNZ_OK) {
      return false;
    }
    const bool isChanged = at.num_of_file == changed.num_of_file;
    if (isChanged ? !AddText(to, entry.c_str(), bytes) : !AddCopy(to, entry.c_str(), info, from)) {
      return false;
    }
  }
  return found == UNZ_END_OF_LIST_OF_FILE;
}

}  // namespace

std::string CopyArchive(const Archive& from, const std::string& name, const std::string& bytes) {
  ArchiveOutput output;
  zlib_filefunc64_def functions = {OpenOutput, ReadNothing, WriteOutput, TellOutput,
                                   SeekOutput, NoFault,     NoFault,     &output};
  const zipFile to = zipOpen2_64("archive", APPEND_STATUS_CREATE, nullptr, &functions);
  if (!to) return {};
  const bool isCopied = from.IsOpen() && AddAll(to, from.Get(), name, bytes);
  return zipClose(to, nullptr) == ZIP_OK && isCopied ? std::move(output.bytes) : std::string();
}

}  // namespace hostkit
