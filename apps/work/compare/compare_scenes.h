// What is drawn to compare drivers: the gallery's pictures, from sample models made on the spot.
#pragma once

#include <string>
#include <vector>

namespace gl3 {

/// How far from the kept picture one may be on another driver: see PictureDifference.
struct PictureBounds {
  double seen = 0, mean = 0, shrunk = 0;
};

/// One picture.
struct CompareScene {
  std::string name;
  std::string model;                   ///< A file of WriteCompareModels.
  std::vector<std::string> arguments;  ///< Of gl3 render, besides model, output and size.
  PictureBounds bounds;
};

/// The folder of the scenes' table, bounds and kept pictures, where the program was
/// installed with it. Empty, with one line in `*error`, when it is not there.
std::string GalleryFolder(std::string* error);

/// Reads the table, and the bounds for those that have none of their own. Empty with one line when
/// either cannot be read or says what nobody knows.
std::vector<CompareScene> ReadScenes(const std::string& folder, std::string* error);

/// Writes the models that scenes name; false with one line.
bool WriteCompareModels(const std::string& folder, std::string* error);

}  // namespace gl3
