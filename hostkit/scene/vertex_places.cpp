// Which vertices lie at one place.
#include "hostkit/scene/vertex_places.h"

#include <cstring>
#include <unordered_map>

namespace hostkit {
namespace {

using Imath::V3f;

struct PositionHash {
  std::size_t operator()(const V3f& position) const {
    std::uint32_t bits[3];
    std::memcpy(bits, &position, sizeof bits);
    std::uint64_t hash = 0;
    for (std::uint32_t part : bits) hash = (hash ^ part) * 0x9e3779b97f4a7c15u;
    return hash ^ (hash >> 29);
  }
};

}  // namespace

std::vector<std::uint32_t> NumberPlaces(const std::vector<V3f>& positions, std::size_t* count) {
  std::unordered_map<V3f, std::uint32_t, PositionHash> numbers;
  numbers.reserve(positions.size());
  std::vector<std::uint32_t> places;
  places.reserve(positions.size());
  for (const V3f& position : positions) {
    // Adding zero makes -0 the 0 that it compares equal to.
    const V3f key = position + V3f(0.0f);
    places.push_back(
        numbers.try_emplace(key, static_cast<std::uint32_t>(numbers.size())).first->second);
  }
  *count = numbers.size();
  return places;
}

}  // namespace hostkit
