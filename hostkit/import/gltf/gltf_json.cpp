// What glTF's JSON says, with an answer for what is missing or of another kind.
#include "hostkit/import/gltf/gltf_json.h"

#include <climits>
#include <nlohmann/json.hpp>

namespace hostkit::gltf {
namespace {

using Value = nlohmann::json;

const Value& ValueOf(const void* value) {
  static const Value kNothing;
  return value ? *static_cast<const Value*>(value) : kNothing;
}

}  // namespace

bool Json::IsNull() const {
  return ValueOf(m_value).is_null();
}
bool Json::IsObject() const {
  return ValueOf(m_value).is_object();
}
bool Json::IsList() const {
  return ValueOf(m_value).is_array();
}
bool Json::IsNumber() const {
  return ValueOf(m_value).is_number();
}
bool Json::IsText() const {
  return ValueOf(m_value).is_string();
}
bool Json::IsFlag() const {
  return ValueOf(m_value).is_boolean();
}

double Json::Number() const {
  return IsNumber() ? ValueOf(m_value).get<double>() : 0;
}

const std::string& Json::Text() const {
  static const std::string kNone;
  return IsText() ? ValueOf(m_value).get_ref<const std::string&>() : kNone;
}

bool Json::Flag() const {
  return IsFlag() && ValueOf(m_value).get<bool>();
}

std::size_t Json::Size() const {
  const Value& value = ValueOf(m_value);
  return value.is_structured() ? value.size() : 0;
}

Json Json::operator[](std::size_t index) const {
  return IsList() && index < Size() ? Json(&ValueOf(m_value)[index]) : Json();
}

Json Json::Find(const char* key) const {
  const Value& value = ValueOf(m_value);
  if (!value.is_object()) return {};
  const auto found = value.find(key);
  return found == value.end() ? Json() : Json(&*found);
}

void Json::ForEach(const std::function<void(const std::string& name, Json value)>& visit) const {
  const Value& value = ValueOf(m_value);
  if (!value.is_structured()) return;
  const std::string none;
  for (auto item = value.begin(); item != value.end(); ++item) {
    visit(value.is_object() ? item.key() : none, Json(&*item));
  }
}

// NOLINTNEXTLINE(bugprone-exception-escape): an empty value is made without one
struct JsonText::State {
  Value root;
};

JsonText::JsonText() : m_state(std::make_unique<State>()) {}
JsonText::~JsonText() = default;

JsonText::Fault JsonText::Read(std::string_view text, std::size_t* at) {
  try {
    m_state->root = Value::parse(text.begin(), text.end());
    return Fault::kNone;
  } catch (const Value::parse_error& problem) {
    *at = problem.byte;
    return Fault::kNotJson;
  } catch (const Value::exception&) {
    return Fault::kHugeNumber;
  }
}

Json JsonText::Root() const {
  return Json(&m_state->root);
}

Json Entry(Json list, int index) {
  return index < 0 ? Json() : list[static_cast<std::size_t>(index)];
}

std::size_t Length(Json list) {
  return list.IsList() ? list.Size() : 0;
}

int IndexFrom(Json value) {
  // Some writers put whole numbers as 1.0.
  const double number = value.IsNumber() ? value.Number() : -1;
  return number >= 0 && number <= INT_MAX && number == std::floor(number) ? static_cast<int>(number)
                                                                          : -1;
}

int IndexOf(Json object, const char* key) {
  return IndexFrom(object.Find(key));
}

std::uint64_t CountOf(Json object, const char* key, std::uint64_t fallback) {
  constexpr double kMost = 1e15;  // whole numbers are exact up to here, and no file is as large
  const Json value = object.Find(key);
  const double number = value.IsNumber() ? value.Number() : -1;
  return number >= 0 && number <= kMost ? static_cast<std::uint64_t>(number) : fallback;
}

float NumberOf(Json object, const char* key, float fallback) {
  const Json value = object.Find(key);
  const float number = value.IsNumber() ? ToFloat(value.Number()) : fallback;
  return std::isfinite(number) ? number : fallback;
}

}  // namespace hostkit::gltf
