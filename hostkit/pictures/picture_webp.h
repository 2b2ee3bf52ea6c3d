// WebP files into host bitmaps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// Whether a file begins as WebP files do.
bool IsWebp(const unsigned char* bytes, std::size_t size);

/// The picture with straight alpha. On failure returns null with the reason and the remedy, without
/// the name, in `*reason`; so for those of more than `mostBytes` once decoded, and for films.
BitmapPtr LoadWebp(const unsigned char* bytes, std::size_t size, std::uint64_t mostBytes,
                   std::string* reason);

}  // namespace hostkit
