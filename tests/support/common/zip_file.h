// ZIP archives, for tests to break.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// So many bytes of a number, the lowest first.
inline std::string Little(std::uint64_t value, int count) {
  std::string bytes;
  for (int i = 0; i < count; ++i, value >>= 8) bytes += static_cast<char>(value);
  return bytes;
}

/// An archive of these names and contents. Packed contents are told to unpack to `told` bytes.
inline std::string Zip(const std::vector<std::pair<std::string, std::string>>& entries,
                       std::uint32_t told = 0) {
  std::string files, list;
  for (const auto& [name, bytes] : entries) {
    const auto* const data = reinterpret_cast<const Bytef*>(bytes.data());
    const uLong sum = told > 0 ? 0 : crc32(0, data, static_cast<uInt>(bytes.size()));
    const std::string facts = Little(20, 4) + Little(told > 0 ? 8 : 0, 6) + Little(sum, 4) +
                              Little(bytes.size(), 4) + Little(told > 0 ? told : bytes.size(), 4) +
                              Little(name.size(), 4);
    list += "PK\1\2" + Little(20, 2) + facts + Little(0, 10) + Little(files.size(), 4) + name;
    files += "PK\3\4" + facts + name + bytes;
  }
  return files + list + "PK\5\6" + Little(0, 4) + Little(entries.size(), 2) +
         Little(entries.size(), 2) + Little(list.size(), 4) + Little(files.size(), 6);
}
