// What glTF's JSON says, with an answer for what is missing or of another kind.
#include "hostkit/import/gltf/gltf_json.h"

#include <climits>

namespace hostkit::gltf {
namespace {

const Json kNothing;

}  // namespace

const Json& Member(const Json& object, const char* key) {
  if (!object.is_object()) return kNothing;
  const auto found = object.find(key);
  return found == object.end() ? kNothing : *found;
}

const Json& Extension(const Json& object, const char* name) {
  return Member(Member(object, "extensions"), name);
}

const Json& Entry(const Json& list, int index) {
  const bool isThere = index >= 0 && static_cast<std::size_t>(index) < Length(list);
  return isThere ? list[static_cast<std::size_t>(index)] : kNothing;
}

std::size_t Length(const Json& list) {
  return list.is_array() ? list.size() : 0;
}

int IndexFrom(const Json& value) {
  // Some writers put whole numbers as 1.0.
  const double number = value.is_number() ? value.get<double>() : -1;
  return number >= 0 && number <= INT_MAX && number == std::floor(number) ? static_cast<int>(number)
                                                                          : -1;
}

int IndexOf(const Json& object, const char* key) {
  return IndexFrom(Member(object, key));
}

std::uint64_t CountOf(const Json& object, const char* key, std::uint64_t fallback) {
  constexpr double kMost = 1e15;  // whole numbers are exact up to here, and no file is as large
  const Json& value = Member(object, key);
  const double number = value.is_number() ? value.get<double>() : -1;
  return number >= 0 && number <= kMost ? static_cast<std::uint64_t>(number) : fallback;
}

float NumberOf(const Json& object, const char* key, float fallback) {
  const Json& value = Member(object, key);
  const float number = value.is_number() ? ToFloat(value.get<double>()) : fallback;
  return std::isfinite(number) ? number : fallback;
}

bool FlagOf(const Json& object, const char* key) {
  const Json& value = Member(object, key);
  return value.is_boolean() && value.get<bool>();
}

std::string TextOf(const Json& object, const char* key) {
  const Json& value = Member(object, key);
  return value.is_string() ? value.get<std::string>() : std::string();
}

}  // namespace hostkit::gltf
