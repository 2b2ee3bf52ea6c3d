// The gallery's tables, and the models that its pictures show.
#include "apps/work/compare/compare_scenes.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <system_error>

#include "apps/base/run_program.h"
#include "samples/orrery.h"
#include "samples/red_cube.h"
#include "samples/showroom.h"
#include "samples/write_file.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

/// The fields of a line "a | b | c", without the blanks around them. None of comments.
std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields;
  if (line.empty() || line[0] == '#') return fields;
  std::istringstream stream(line);
  for (std::string field; std::getline(stream, field, '|');) {
    const std::size_t first = field.find_first_not_of(' ');
    const std::size_t last = field.find_last_not_of(' ');
    fields.push_back(first == std::string::npos ? "" : field.substr(first, last - first + 1));
  }
  return fields;
}

/// Calls `take` with the fields of each line; it returns false for what it cannot read.
template <class Take>
bool ReadTable(const fs::path& path, std::string* error, Take take) {
  std::ifstream file(path);
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    const std::vector<std::string> fields = Fields(line);
    if (fields.empty() || take(fields)) continue;
    *error = fmt::format("{}: line {} cannot be read; install gl3 anew", path.string(), number);
    return false;
  }
  if (number > 0) return true;
  *error = path.string() + ": cannot be read; install gl3 anew";
  return false;
}

/// The bounds by the scenes' names; those of "*" are for all others.
bool ReadBounds(const fs::path& path, std::map<std::string, PictureBounds>* bounds,
                std::string* error) {
  const auto take = [bounds](const std::vector<std::string>& fields) {
    if (fields.size() < 4) return false;
    PictureBounds& mine = (*bounds)[fields[0]];
    std::istringstream numbers(fields[1] + ' ' + fields[2] + ' ' + fields[3]);
    numbers.imbue(std::locale::classic());
    return static_cast<bool>(numbers >> mine.seen >> mine.mean >> mine.shrunk);
  };
  if (!ReadTable(path, error, take)) return false;
  if (bounds->count("*")) return true;
  *error = path.string() + ": lacks the line \"*\"; install gl3 anew";
  return false;
}

}  // namespace

std::string GalleryFolder(std::string* error) {
  const fs::path folder =
      (fs::path(OwnProgram()).parent_path() / GL3_GALLERY_FROM_PROGRAMS).lexically_normal();
  std::error_code code;
  if (fs::exists(folder / "pictures.txt", code)) return folder.string();
  *error = folder.string() + ": the pictures to compare with are not there; install gl3 anew";
  return "";
}

std::vector<CompareScene> ReadScenes(const std::string& folder, std::string* error) {
  std::map<std::string, PictureBounds> bounds;
  if (!ReadBounds(fs::path(folder) / "bounds.txt", &bounds, error)) return {};
  std::vector<CompareScene> scenes;
  const bool read = ReadTable(fs::path(folder) / "pictures.txt", error,
                              [&](const std::vector<std::string>& fields) {
                                if (fields.size() != 3) return false;
                                CompareScene& scene = scenes.emplace_back();
                                scene.name = fields[0];
                                scene.model = fields[1];
                                std::istringstream words(fields[2]);
                                for (std::string word; words >> word;) {
                                  scene.arguments.push_back(word);
                                }
                                const auto own = bounds.find(scene.name);
                                scene.bounds = own == bounds.end() ? bounds["*"] : own->second;
                                return true;
                              });
  return read ? scenes : std::vector<CompareScene>();
}

bool WriteCompareModels(const std::string& folder, std::string* error) {
  const fs::path in = folder;
  return samples::WriteFile(in / "showroom.glb", samples::ToGlb(samples::Showroom()), error) &&
         samples::WriteFile(in / "orrery.glb", samples::ToGlb(samples::Orrery()), error) &&
         samples::WriteRedCubeObj(folder, error);
}

}  // namespace gl3
