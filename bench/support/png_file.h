// Pictures that processes leave.
#pragma once

#include <string>
#include <vector>

namespace bench {

/// A PNG file as red, green, blue bytes with the text of its `gl3:camera`.
struct PngContent {
  int width = 0, height = 0;
  std::vector<unsigned char> pixels;
  std::string camera;
};

/// Throws std::runtime_error when it cannot be read.
PngContent ReadPng(const std::string& path);

/// Empty when two pictures are the same but for rounding and edges, and show something; `most` is
/// how far apart they may be in the mean, of 255.
std::string ComparePictures(const PngContent& floor, const PngContent& ours, double most = 2);

}  // namespace bench
