// The ways to draw that are compared: devices, and software rendering set up in several ways.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace gl3 {

/// One way to draw.
struct CompareDriver {
  std::string name;    ///< For people: "device 0", "cpu, 8 threads", …
  std::string folder;  ///< The same for files.
  std::map<std::string, std::string> environment;  ///< What makes it so; empty: not set.
};

/// As gl3 draws here by itself comes first; then each of so many EGL devices; Mesa's two software
/// renderers, with vectors and threads of several sizes, and, by Mesa's overrides, an older OpenGL
/// and one without what the module can use; the X server called `display` (none where empty), into
/// pbuffers and into windows.
std::vector<CompareDriver> ListCompareDrivers(int devices, const std::string& display);

}  // namespace gl3
