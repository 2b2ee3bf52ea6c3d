// Units of length by their names.
#pragma once

#include <string_view>

namespace hostkit {

/// A unit of 3MF or AMF, in metres. Without a name, or a known one, it is the millimetre in both.
double MetersOf(std::string_view unit);

}  // namespace hostkit
