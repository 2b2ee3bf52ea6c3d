// JSON as reports print it and children tell it.
#include "apps/work/common/report_json.h"

namespace gl3 {
namespace {

constexpr auto kReplace = Json::error_handler_t::replace;

}  // namespace

Json ParsedJson(const std::string& text) {
  return Json::parse(text, nullptr, false);
}

std::string PrintedJson(const Json& json) {
  // In ASCII, so that no name out of a model steers the terminal that shows it.
  return json.dump(2, ' ', true, kReplace) + "\n";
}

std::string JsonLine(const Json& json) {
  return json.dump(-1, ' ', false, kReplace);
}

}  // namespace gl3
