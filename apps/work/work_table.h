// What gl3work exports: the part of the programs that needs OpenGL, importers and picture
// libraries.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/options/farm_options.h"
#include "apps/options/filter_options.h"
#include "apps/options/info_options.h"
#include "apps/options/render_options.h"
#include "apps/options/run_options.h"
#include "apps/options/settings_options.h"

namespace gl3 {

/// The library's functions; what they do stands in the headers of the folders below this one.
struct WorkTable {
  Outcome (*checkOutput)(const std::string& path);
  Outcome (*checkStream)(const std::string& kind);
  Outcome (*checkReport)(const std::string& path);
  Outcome (*writeReport)(const std::string& path, const std::string& text);
  Outcome (*render)(const RenderOptions& options, const std::string& command, ParentLine& line,
                    std::string* result);
  int (*renderEach)(const EachJob& job);
  int (*renderMovie)(const RenderOptions& options, const std::string& command);
  Outcome (*info)(const InfoOptions& options, std::string* result);
  Outcome (*settings)(const SettingsOptions& options, std::string* result);
  int (*filter)(const FilterJob& job);
  Outcome (*storedRecipe)(const std::string& path, const RunOptions& run, ParentLine& line,
                          std::string* result);
  std::string (*hashFile)(const std::string& path);
  int (*farm)(const FarmOptions& options);
};

}  // namespace gl3

extern "C" const gl3::WorkTable kGl3Work;
