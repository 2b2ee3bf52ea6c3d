// Writing sample files.
#include "samples/write_file.h"

#include <fmt/format.h>

#include <fstream>

namespace samples {

bool WriteFile(const std::string& path, const std::string& bytes, std::string* error) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (file) return true;
  *error = fmt::format("{}: cannot be written; check the folder and the disk", path);
  return false;
}

}  // namespace samples
