// JSON as reports print it and children tell it.
#include "apps/work/common/report_json.h"

namespace gl3 {
namespace {

constexpr auto kReplace = Json::error_handler_t::replace;

}  // namespace

std::string PrintedJson(const Json& json) {
  return json.dump(2, ' ', false, kReplace) + "\n";
}

std::string JsonLine(const Json& json) {
  return json.dump(-1, ' ', false, kReplace);
}

}  // namespace gl3
