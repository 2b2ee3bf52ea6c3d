// What glTF's JSON says, with an answer for what is missing or of another kind.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

namespace hostkit::gltf {

using Json = nlohmann::json;

/// The member of that name; a null value where `object` is no object or lacks it.
const Json& Member(const Json& object, const char* key);

/// What an extension says of an object; a null value where it says nothing.
const Json& Extension(const Json& object, const char* name);

/// The entry of a list; a null value where `list` is no list or shorter.
const Json& Entry(const Json& list, int index);

/// How many entries a list has; 0 of what is no list.
std::size_t Length(const Json& list);

/// An index, 0 or above; -1 where there is none.
int IndexOf(const Json& object, const char* key);
int IndexFrom(const Json& value);

/// A whole number from 0; `fallback` where there is none.
std::uint64_t CountOf(const Json& object, const char* key, std::uint64_t fallback);

/// A finite number.
float NumberOf(const Json& object, const char* key, float fallback);

bool FlagOf(const Json& object, const char* key);

/// "" where there is no text.
std::string TextOf(const Json& object, const char* key);

/// As a float; infinite beyond the range of one.
inline float ToFloat(double value) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  if (std::abs(value) <= double{std::numeric_limits<float>::max()}) {
    return static_cast<float>(value);
  }
  return value < 0 ? -kInfinity : kInfinity;
}

/// A list of that many numbers; `fallback` where it is missing, or another kind of list.
template <std::size_t kCount>
std::array<double, kCount> NumbersOf(const Json& object, const char* key,
                                     const std::array<double, kCount>& fallback) {
  const Json& list = Member(object, key);
  if (Length(list) != kCount) return fallback;
  std::array<double, kCount> numbers;
  for (std::size_t i = 0; i < kCount; ++i) {
    if (!list[i].is_number()) return fallback;
    numbers[i] = list[i].get<double>();
  }
  return numbers;
}

}  // namespace hostkit::gltf
