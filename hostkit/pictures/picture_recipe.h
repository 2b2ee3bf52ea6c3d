// Recipes out of picture files.
#pragma once

#include <string>

#include "hostkit/pictures/picture.h"

namespace hostkit {

/// Reads what WritePicture left in a file of any kind (told by its bytes, not by its name) beside
/// the pixels: the entries whose names begin with "gl3:". The values are whatever the file
/// has there. On failure, which includes a picture without such entries, returns false and `*error`
/// names the file, the reason and the remedy.
bool ReadRecipe(const std::string& path, Recipe* recipe, std::string* error);

}  // namespace hostkit
