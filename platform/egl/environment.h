// The environment of the process.
#pragma once

#include <cstdlib>
#include <string>

namespace platform {

/// The value of an environment variable; empty when it is not set.
inline std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace platform
