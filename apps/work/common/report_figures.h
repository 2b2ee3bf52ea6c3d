// Figures that the reports of all verbs have.
#pragma once

#include <cstdint>

namespace gl3 {

/// Milliseconds to whole microseconds.
double Rounded(double milliseconds);

/// The most memory that this process has had, in bytes; 0 when the system does not tell.
std::uint64_t PeakMemory();

}  // namespace gl3
