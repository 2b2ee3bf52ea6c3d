// What comparing drivers found, as JSON and as a table.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/work/common/report_json.h"
#include "apps/work/compare/compare_drivers.h"
#include "apps/work/compare/compare_scenes.h"
#include "apps/work/compare/picture_difference.h"

namespace gl3 {

/// One scene on one driver.
struct ComparedPicture {
  CompareScene scene;
  std::string refusal;  ///< Why there is no picture, in gl3's own words.
  std::string trouble;  ///< What else went wrong: a crash, or nothing is kept to compare with.
  std::optional<PictureDifference> kept, first;  ///< None: nothing to compare with.
};

/// One driver.
// NOLINTNEXTLINE(bugprone-exception-escape): a JSON value is moved without one
struct ComparedDriver {
  CompareDriver driver;
  Json facts;            ///< "display", "opengl" and "limits" of `gl3 info --json`.
  std::string problem;   ///< Why nothing was drawn.
  bool crashed = false;  ///< Because gl3, or its child that asks OpenGL, came to no end.
  std::vector<ComparedPicture> pictures;
};

/// Whether the picture lies within its scene's bounds.
bool IsWithin(const ComparedPicture& picture);

/// All that was found.
Json CompareJson(const std::vector<ComparedDriver>& drivers);

/// A line a driver, then a line for each picture that is not as it should be.
std::string CompareTable(const std::vector<ComparedDriver>& drivers);

}  // namespace gl3
