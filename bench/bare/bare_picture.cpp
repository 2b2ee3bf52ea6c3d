// The least that a picture made of another can cost as a process: PNG in, as bytes without alpha;
// means of FACTOR x FACTOR of its pixels; PNG out at level 1.
//
//   bare_picture IN.png OUT.png FACTOR
#include <png.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bench/bare/bare_png.h"

namespace {

/// Sums of `factor` x `factor` pixels of red, green, blue bytes from `first` on, divided.
void Average(png_bytepp first, std::size_t width, unsigned factor, png_bytep to) {
  for (std::size_t x = 0; x < width; ++x) {
    unsigned sum[3] = {};
    for (unsigned j = 0; j < factor; ++j) {
      const png_byte* from = first[j] + x * factor * 3;
      for (unsigned i = 0; i < factor; ++i, from += 3) {
        for (int c = 0; c < 3; ++c) sum[c] += from[c];
      }
    }
    for (const unsigned channel : sum) *to++ = static_cast<png_byte>(channel / (factor * factor));
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int factor = argc == 4 ? std::atoi(argv[3]) : 0;
  if (factor < 1) {
    std::fputs("usage: bare_picture IN.png OUT.png FACTOR\n", stderr);
    return 2;
  }
  std::FILE* file = std::fopen(argv[1], "rb");
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  if (!file || !info || setjmp(png_jmpbuf(png))) return 3;
  png_init_io(png, file);
  png_read_png(png, info, PNG_TRANSFORM_STRIP_ALPHA, nullptr);
  const png_bytepp rows = png_get_rows(png, info);
  const auto divisor = static_cast<png_uint_32>(factor);
  const png_uint_32 width = png_get_image_width(png, info) / divisor;
  std::vector<png_byte> row(std::size_t{3} * width);
  const auto averaged = [&](png_uint_32 y) {
    Average(rows + y * divisor, width, divisor, row.data());
    return row.data();
  };
  const png_uint_32 height = png_get_image_height(png, info) / divisor;
  return bare::WritePng(argv[2], width, height, averaged) ? 0 : 5;
}
