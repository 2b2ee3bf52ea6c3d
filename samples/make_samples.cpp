// Writes the sample scenes and small models:
//   make_samples FOLDER
//   make_samples --triangles N FILE.ply|FILE.glb
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

#include "samples/orrery.h"
#include "samples/reed.h"
#include "samples/showroom.h"
#include "samples/small_models.h"
#include "samples/write_file.h"

namespace {

bool WriteAll(const std::string& folder, std::string* error) {
  std::error_code code;
  std::filesystem::create_directories(folder, code);
  if (code) {
    *error = folder + ": the folder cannot be made (" + code.message() + ")";
    return false;
  }
  const std::string showroom = (std::filesystem::path(folder) / "showroom.glb").string();
  const std::string orrery = (std::filesystem::path(folder) / "orrery.glb").string();
  const std::string reed = (std::filesystem::path(folder) / "reed.glb").string();
  return samples::WriteFile(showroom, samples::ToGlb(samples::Showroom()), error) &&
         samples::WriteFile(orrery, samples::ToGlb(samples::Orrery()), error) &&
         samples::WriteFile(reed, samples::ToGlb(samples::Reed()), error) &&
         samples::WriteCubes(folder, error);
}

bool WriteLarge(const char* count, const char* path, std::string* error) {
  constexpr unsigned long kMost = 100'000'000;
  char* end = nullptr;
  const unsigned long triangles = std::strtoul(count, &end, 10);
  if (*end != '\0' || triangles < 1 || triangles > kMost) {
    *error = std::string(count) + ": wants a number of triangles from 1 to 100000000";
    return false;
  }
  return samples::WriteBumpySphere(path, static_cast<std::uint32_t>(triangles), error);
}

}  // namespace

int main(int argc, char** argv) {
  const bool isLarge = argc == 4 && std::strcmp(argv[1], "--triangles") == 0;
  if (!isLarge && (argc != 2 || argv[1][0] == '-')) {
    std::fputs("usage: make_samples FOLDER\n       make_samples --triangles N FILE.ply|FILE.glb\n",
               stderr);
    return 2;
  }
  std::string error;
  if (isLarge ? WriteLarge(argv[2], argv[3], &error) : WriteAll(argv[1], &error)) return 0;
  std::fprintf(stderr, "make_samples: %s\n", error.c_str());
  return 1;
}
