// Reports of gl3 as texts that do not depend on the machine.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// Every value by its path, a line each. Of times and bytes it tells whether they are above 0, of
/// the machine's own names whether they are there.
inline std::string Outline(const nlohmann::json& report) {
  std::string text;
  const nlohmann::json flat = report.flatten();
  for (const auto& [path, value] : flat.items()) {
    const bool isMeasured = value.is_number() && (path.find("milliseconds") != std::string::npos ||
                                                  path == "/peakMemoryBytes");
    const bool isMachine = path == "/renderer" || path == "/platform" || path == "/device";
    text += path.substr(1) + ' ';
    text += isMeasured                 ? (value > 0 ? "> 0" : "= 0")
            : isMachine && value != "" ? "there"
                                       : value.dump();
    text += '\n';
  }
  return text;
}
