// The part of gl3 that needs OpenGL, importers and picture libraries, loaded when a verb needs it.
//
// Linked to the program itself, those libraries cost every start 7 ms, `gl3 --help` and a mistyped
// option included; without them a start takes 2 ms.
#pragma once

#include <string>

#include "apps/gl3/filter_options.h"
#include "apps/gl3/info_options.h"
#include "apps/gl3/messages.h"
#include "apps/gl3/render_options.h"
#include "apps/gl3/settings_options.h"
#include "apps/gl3/supervised_child.h"

namespace gl3 {

/// The library's functions; what they do stands in the headers of apps/gl3/work/.
struct WorkTable {
  Outcome (*checkOutput)(const std::string& path);
  Outcome (*render)(const RenderOptions& options, const std::string& command, ParentLine& line,
                    std::string* result);
  Outcome (*info)(const InfoOptions& options, std::string* result);
  Outcome (*settings)(const SettingsOptions& options, std::string* result);
  int (*filter)(const FilterJob& job);
  Outcome (*storedRecipe)(const std::string& path, ParentLine& line, std::string* result);
};

/// The library, loaded for as long as the process lives. Null with kNoOpenGl and a message in
/// `*outcome` when it, or a library that it needs, is not there.
const WorkTable* LoadWork(Outcome* outcome);

}  // namespace gl3

/// What the library exports.
extern "C" const gl3::WorkTable kGl3Work;
