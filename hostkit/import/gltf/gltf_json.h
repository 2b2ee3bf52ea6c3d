// What glTF's JSON says, with an answer for what is missing or of another kind.
//
// The JSON library is included by gltf_json.cpp alone: its header takes a compiler seconds.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace hostkit::gltf {

/// A value in a JsonText, which must outlive it; copied as a pointer is.
class Json {
 public:
  /// A null value.
  Json() = default;

  bool IsNull() const;
  bool IsObject() const;
  bool IsList() const;
  bool IsNumber() const;
  bool IsText() const;
  bool IsFlag() const;

  /// Of a number, a text and a flag; what is of another kind gives 0, "" and false.
  double Number() const;
  const std::string& Text() const;
  bool Flag() const;

  /// How many entries a list has, or members an object; 0 of others.
  std::size_t Size() const;
  /// An entry of a list; a null value where `list` is no list or shorter.
  Json operator[](std::size_t index) const;
  /// A member of an object; a null value where there is none.
  Json Find(const char* key) const;

  /// What tells it from all other values of its text.
  const void* Key() const { return m_value; }

  /// Calls `visit` for each entry of a list, with "", or member of an object, with its name.
  void ForEach(const std::function<void(const std::string& name, Json value)>& visit) const;

 private:
  friend class JsonText;
  explicit Json(const void* value) : m_value(value) {}

  const void* m_value = nullptr;
};

/// A text of JSON, read.
class JsonText {
 public:
  enum class Fault {
    kNone,
    kNotJson,     ///< At `*at`, counted in bytes from 1; behind the text where it ends too early.
    kHugeNumber,  ///< A number beyond all numbers.
  };

  JsonText();
  ~JsonText();

  /// On a fault there is nothing but a null value.
  Fault Read(std::string_view text, std::size_t* at);
  Json Root() const;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

/// The member of that name; a null value where `object` is no object or lacks it.
inline Json Member(Json object, const char* key) {
  return object.Find(key);
}

/// What an extension says of an object; a null value where it says nothing.
inline Json Extension(Json object, const char* name) {
  return object.Find("extensions").Find(name);
}

/// The entry of a list; a null value where `list` is no list or shorter.
Json Entry(Json list, int index);

/// How many entries a list has; 0 of what is no list.
std::size_t Length(Json list);

/// An index, 0 or above; -1 where there is none.
int IndexOf(Json object, const char* key);
int IndexFrom(Json value);

/// A whole number from 0; `fallback` where there is none.
std::uint64_t CountOf(Json object, const char* key, std::uint64_t fallback);

/// A finite number.
float NumberOf(Json object, const char* key, float fallback);

inline bool FlagOf(Json object, const char* key) {
  return object.Find(key).Flag();
}

/// "" where there is no text.
inline std::string TextOf(Json object, const char* key) {
  return object.Find(key).Text();
}

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
std::array<double, kCount> NumbersOf(Json object, const char* key,
                                     const std::array<double, kCount>& fallback) {
  const Json list = object.Find(key);
  if (Length(list) != kCount) return fallback;
  std::array<double, kCount> numbers;
  for (std::size_t i = 0; i < kCount; ++i) {
    if (!list[i].IsNumber()) return fallback;
    numbers[i] = list[i].Number();
  }
  return numbers;
}

}  // namespace hostkit::gltf
