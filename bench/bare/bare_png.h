// Writing PNG with the library's rows alone.
#pragma once

#include <png.h>

#include <functional>

namespace bare {

/// Writes red, green and blue bytes as a PNG of level 1. `row(y)` hands out row y, top row first,
/// and is asked for each once. False when the file cannot be written.
bool WritePng(const char* path, png_uint_32 width, png_uint_32 height,
              const std::function<const png_byte*(png_uint_32 y)>& row);

}  // namespace bare
