// Which vertices lie at one place.
#include "hostkit/scene/vertex_places.h"

#include <bit>
#include <cstring>

namespace hostkit {
namespace {

using Imath::V3f;

std::size_t HashOf(const V3f& position) {
  std::uint32_t bits[3];
  std::memcpy(bits, &position, sizeof bits);
  std::uint64_t hash = 0;
  for (std::uint32_t part : bits) hash = (hash ^ part) * 0x9e3779b97f4a7c15u;
  return hash ^ (hash >> 29);
}

}  // namespace

// A table of at least twice as many slots as vertices, each with the number of a place or none; the
// next free slot is taken.
std::vector<std::uint32_t> NumberPlaces(const std::vector<V3f>& positions, std::size_t* count) {
  constexpr std::uint32_t kNone = 0xffffffff;
  const std::size_t mask = std::bit_ceil(2 * positions.size() + 1) - 1;
  std::vector<std::uint32_t> slots(mask + 1, kNone);
  std::vector<V3f> found;
  std::vector<std::uint32_t> places;
  places.reserve(positions.size());
  for (const V3f& position : positions) {
    // Adding zero makes -0 the 0 that it compares equal to.
    const V3f key = position + V3f(0.0f);
    std::size_t slot = HashOf(key) & mask;
    while (slots[slot] != kNone && found[slots[slot]] != key) slot = (slot + 1) & mask;
    if (slots[slot] == kNone) {
      slots[slot] = static_cast<std::uint32_t>(found.size());
      found.push_back(key);
    }
    places.push_back(slots[slot]);
  }
  *count = found.size();
  return places;
}

}  // namespace hostkit
