// JSON as reports print it and children tell it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace gl3 {

/// A value whose members keep their order.
using Json = nlohmann::ordered_json;

/// Of a text; discarded (Json::is_discarded) where it is none. A function of its own, since each
/// source that parses by itself takes two seconds more to compile.
Json ParsedJson(const std::string& text);

/// For `--json`: two blanks a level, and a line's end. What is no UTF-8 becomes U+FFFD.
std::string PrintedJson(const Json& json);

/// The same on one line, without its end: what a child tells its parent.
std::string JsonLine(const Json& json);

}  // namespace gl3
