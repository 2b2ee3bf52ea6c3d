// Archives that models come in, looked at before the import library unpacks them.
#pragma once

#include <cstdint>
#include <string>

namespace hostkit {

/// An archive is refused when its entries unpack to more than both of these together.
constexpr std::uint64_t kMostUnpackedBytes = std::uint64_t{1} << 30;
constexpr std::uint64_t kMostUnpackedTimes = 100;  ///< Times the archive's own size.

/// What is wrong, with the remedy, of a file of `size` bytes that is a ZIP archive or a gzip
/// stream: that it unpacks to far more than it is, or that an entry's name leads out of it. "" when
/// nothing is, or when it is neither. Of archives only the list of entries is read; streams are
/// unpacked.
std::string ArchiveFault(int file, std::uint64_t size,
                         std::uint64_t mostBytes = kMostUnpackedBytes);

}  // namespace hostkit
