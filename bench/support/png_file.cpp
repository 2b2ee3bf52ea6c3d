// Reading PNG files, and telling pictures apart.
#include "bench/support/png_file.h"

#include <fmt/format.h>
#include <png.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace bench {

PngContent ReadPng(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             std::fclose);
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  if (!file || !info) throw std::runtime_error(path + ": cannot be read");
  png_init_io(png, file.get());
  png_read_png(png, info, PNG_TRANSFORM_STRIP_ALPHA | PNG_TRANSFORM_STRIP_16, nullptr);
  PngContent content;
  content.width = static_cast<int>(png_get_image_width(png, info));
  content.height = static_cast<int>(png_get_image_height(png, info));
  const std::size_t rowBytes = png_get_rowbytes(png, info);
  for (int y = 0; y < content.height; ++y) {
    const png_byte* row = png_get_rows(png, info)[y];
    content.pixels.insert(content.pixels.end(), row, row + rowBytes);
  }
  png_textp texts = nullptr;
  for (int i = 0, count = png_get_text(png, info, &texts, nullptr); i < count; ++i) {
    if (std::string(texts[i].key) == "gl3:camera") content.camera = texts[i].text;
  }
  png_destroy_read_struct(&png, &info, nullptr);
  return content;
}

std::string ComparePictures(const PngContent& floor, const PngContent& ours, double most) {
  if (floor.width != ours.width || floor.pixels.size() != ours.pixels.size()) {
    return "the pictures have different sizes";
  }
  double difference = 0;
  std::size_t shown = 0;
  for (std::size_t i = 0; i < ours.pixels.size(); ++i) {
    difference += std::abs(floor.pixels[i] - ours.pixels[i]);
    shown += ours.pixels[i] != ours.pixels[i % 3];  // other than in the first corner
  }
  if (shown * 30 < ours.pixels.size()) return "the picture is all but empty";
  difference /= static_cast<double>(ours.pixels.size());
  if (difference <= most) return "";
  return fmt::format("the pictures differ by {:.1f} of 255 in the mean", difference);
}

}  // namespace bench
