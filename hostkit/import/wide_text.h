// Texts of 16-bit characters.
#pragma once

#include <string>
#include <string_view>

namespace hostkit {

/// Whether a text begins with the mark of such, in either byte order.
bool IsWideText(std::string_view bytes);

/// The same text as one of bytes (UTF-8), without the mark.
std::string NarrowText(std::string_view bytes);

}  // namespace hostkit
