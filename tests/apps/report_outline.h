// Reports of gl3 without what depends on the machine.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// The report with whether they are above 0 in place of times and bytes, and whether they are there
/// in place of the machine's own names. Empty lists become null.
inline nlohmann::json Outline(const nlohmann::json& report) {
  nlohmann::json flat = report.flatten();
  for (auto& [path, value] : flat.items()) {
    if (path.find("milliseconds") != std::string::npos || path == "/peakMemoryBytes") {
      value = value > 0;
    }
    if (path == "/renderer" || path == "/platform" || path == "/device") value = value != "";
  }
  return flat.unflatten();
}
