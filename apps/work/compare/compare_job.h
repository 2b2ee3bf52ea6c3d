// The work of `gl3 info --compare`.
#pragma once

#include <string>

#include "apps/base/messages.h"
#include "apps/options/info_options.h"

namespace gl3 {

/// Draws the gallery in every way that ListCompareDrivers knows, by gl3 processes of their own, and
/// compares each picture with the kept one and with that of the first way. Pictures, differences
/// and compare.json go into `options.compareFolder`, which is made; the table, or the JSON where
/// options ask for that, into `*result`. kMismatch when a picture is further from the kept one than
/// its bounds allow, or a driver crashed; kNoOpenGl when the first way draws nothing. Call with one
/// thread. `devices` is how many EGL lists.
Outcome CompareDrivers(const InfoOptions& options, int devices, std::string* result);

}  // namespace gl3
