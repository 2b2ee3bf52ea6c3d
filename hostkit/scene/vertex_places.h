// Which vertices lie at one place.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace hostkit {

/// For each vertex the number of its place, from 0 to `*count`, equal positions having equal
/// numbers.
std::vector<std::uint32_t> NumberPlaces(const std::vector<Imath::V3f>& positions,
                                        std::size_t* count);

}  // namespace hostkit
