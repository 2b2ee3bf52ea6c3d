// The command line of gl3-view.
#pragma once

#include <QStringList>
#include <string>
#include <vector>

#include "apps/options/run_options.h"

namespace view {

struct ViewOptions {
  std::vector<std::string> files;  ///< Models, shown as one.
  QStringList models;              ///< The same for the toolkit.
  gl3::RunOptions run;
  bool settings = false;  ///< Only the settings sheet is shown.
};

/// Reads the command line. Returns false when the program is to end with `*status`: help or version
/// were printed, or one line about what is wrong.
bool ReadCommandLine(int argc, char** argv, ViewOptions* options, int* status);

}  // namespace view
