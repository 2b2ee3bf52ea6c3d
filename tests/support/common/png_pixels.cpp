// PNG files as pixels.
#include "tests/support/common/png_pixels.h"

#include <png.h>

#include <cstddef>
#include <stdexcept>
#include <string>

double Pixels::Sum(int c, int left, int right) const {
  double sum = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = left; x < right; ++x) {
      const std::size_t pixel = static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                static_cast<std::size_t>(x);
      sum += rgba[pixel * 4 + static_cast<std::size_t>(c)];
    }
  }
  return sum;
}

double Pixels::Middle() const {
  double sum = 0, weight = 0;
  for (std::size_t i = 0; i < rgba.size(); i += 4) {
    sum += rgba[i + 3] * (static_cast<double>(i / 4 % static_cast<std::size_t>(width)) + 0.5);
    weight += rgba[i + 3];
  }
  return sum / weight / width;
}

bool Pixels::IsConstant() const {
  for (std::size_t i = 4; i < rgba.size(); ++i) {
    if (rgba[i] != rgba[i % 4]) return false;
  }
  return true;
}

Pixels ReadPng(const std::filesystem::path& path) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) {
    throw std::runtime_error(path.string() + " is no PNG file");
  }
  Pixels pixels{static_cast<int>(image.width),
                static_cast<int>(image.height),
                {},
                static_cast<int>(PNG_IMAGE_SAMPLE_CHANNELS(image.format))};
  image.format = PNG_FORMAT_RGBA;
  pixels.rgba.resize(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, pixels.rgba.data(), 0, nullptr)) {
    throw std::runtime_error(path.string() + " is not whole");
  }
  return pixels;
}

void WritePng(const std::filesystem::path& path, const Pixels& pixels) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(pixels.width);
  image.height = static_cast<png_uint_32>(pixels.height);
  image.format = PNG_FORMAT_RGBA;
  if (!png_image_write_to_file(&image, path.c_str(), 0, pixels.rgba.data(), 0, nullptr)) {
    throw std::runtime_error(path.string() + " cannot be written");
  }
}
