// Figures that the reports of all verbs have.
#pragma once

#include <cstdint>

namespace gl3 {

/// Microseconds are as fine as times in milliseconds mean anything.
double Rounded(double milliseconds);

/// The most memory that this process has had, in bytes; 0 when the system does not tell.
std::uint64_t PeakMemory();

}  // namespace gl3
