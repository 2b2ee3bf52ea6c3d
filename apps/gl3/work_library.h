// The part of gl3 that needs OpenGL, importers and picture libraries, loaded when a verb needs it.
//
// Linked to the program itself, those libraries cost every start 7 ms, `gl3 --help` and a mistyped
// option included; without them a start takes 3 ms.
#pragma once

#include "apps/base/messages.h"
#include "apps/work/work_table.h"

namespace gl3 {

/// The library, loaded for as long as the process lives. Null with kNoOpenGl and a message in
/// `*outcome` when it, or a library that it needs, is not there.
const WorkTable* LoadWork(Outcome* outcome);

}  // namespace gl3
