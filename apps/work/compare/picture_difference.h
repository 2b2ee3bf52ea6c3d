// How far apart two pictures are.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace gl3 {

/// A picture as bytes: red, green, blue and straight alpha a pixel, top row first.
struct Pixels {
  int width = 0, height = 0;
  std::vector<std::uint8_t> rgba;
};

/// Reads a picture file; false with one line in `*error`.
bool ReadPixels(const std::string& path, Pixels* pixels, std::string* error);

/// What parts two pictures of one size. All but `seen` are parts of 1, over the four channels.
struct PictureDifference {
  bool isEqual = false;
  double seen = 0;     ///< Percent of the pixels with a channel that is apart by more than 1/16.
  double mean = 0;     ///< Of all channels of all pixels.
  double largest = 0;  ///< Of any channel.
  /// The same of the pictures at a quarter of their sides, each pixel the mean of 4 x 4: what is
  /// lost, not what lies a pixel further on.
  double shrunk = 0;
};

/// Compares pictures of the same size.
PictureDifference Compare(const Pixels& one, const Pixels& other);

/// Writes four times the difference, opaque, as the picture `path`; false with one line.
bool WriteDifference(const std::string& path, const Pixels& one, const Pixels& other,
                     std::string* error);

}  // namespace gl3
