// Writing sample files.
#pragma once

#include <string>

namespace samples {

/// Writes `bytes` to `path`. False with one line in `*error` when that fails.
bool WriteFile(const std::string& path, const std::string& bytes, std::string* error);

}  // namespace samples
