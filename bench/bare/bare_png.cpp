// Writing PNG with the library's rows alone.
#include "bench/bare/bare_png.h"

#include <cstdio>

namespace bare {

bool WritePng(const char* path, png_uint_32 width, png_uint_32 height,
              const std::function<const png_byte*(png_uint_32 y)>& row) {
  std::FILE* file = std::fopen(path, "wb");
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  if (!file || !info || setjmp(png_jmpbuf(png))) return false;
  png_init_io(png, file);
  png_set_compression_level(png, 1);
  png_set_compression_buffer_size(png, 1 << 16);
  png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
  png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (png_uint_32 y = 0; y < height; ++y) png_write_row(png, row(y));
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return std::fclose(file) == 0;
}

}  // namespace bare
