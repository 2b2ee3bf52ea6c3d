// PNG files as pixels.
#pragma once

#include <filesystem>
#include <vector>

/// A picture as 8-bit RGBA, the top row first.
struct Pixels {
  int width = 0, height = 0;
  std::vector<unsigned char> rgba;
  int channels = 4;  ///< That the file has.

  /// Sum of channel `c` over the columns from `left` up to `right`.
  double Sum(int c, int left, int right) const;
  /// The mean column of what is covered, as a share of the width.
  double Middle() const;
  bool IsConstant() const;
};

/// Reads a PNG file; one that is missing or broken fails the test by an exception.
Pixels ReadPng(const std::filesystem::path& path);

/// Writes one, or fails likewise.
void WritePng(const std::filesystem::path& path, const Pixels& pixels);
