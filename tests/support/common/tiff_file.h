// TIFF files made by hand: little-endian, uncompressed.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// What a file says about itself, and its strips or tiles in their order.
struct TiffFile {
  unsigned width = 1, height = 1, bits = 8, samples = 1;
  unsigned photometric = 1;     ///< 0: 0 is white, 1: 0 is black, 2: RGB, 3: palette.
  unsigned format = 1;          ///< 1: whole numbers, 3: floats.
  unsigned orientation = 0;     ///< 0: none is told.
  unsigned rows = 0, tile = 0;  ///< Of a strip; a tile's side.
  int extra = -1;               ///< Kind of the sample behind the colours; -1: not told.
  bool isSeparate = false;
  std::string palette = {};  ///< 16 bits a value.
  std::vector<std::string> blocks = {};
};

inline std::string TiffNumber(std::size_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> 8 * i & 0xff);
  return text;
}

/// The file's bytes.
inline std::string TiffBytes(const TiffFile& file) {
  std::string data, entries, offsets, counts, bits;
  unsigned count = 0;
  // Values of more than four bytes lie before the directory.
  const auto add = [&](unsigned tag, unsigned type, const std::string& values) {
    const unsigned size = type == 3 ? 2 : 4;
    std::string place = values;
    if (values.size() > 4) {
      place = TiffNumber(8 + data.size(), 4);
      data += values;
    }
    place.resize(4, '\0');
    entries +=
        TiffNumber(tag, 2) + TiffNumber(type, 2) + TiffNumber(values.size() / size, 4) + place;
    ++count;
  };
  const auto add16 = [&](unsigned tag, std::size_t value) { add(tag, 3, TiffNumber(value, 2)); };
  for (const std::string& block : file.blocks) {
    offsets += TiffNumber(8 + data.size(), 4);
    counts += TiffNumber(block.size(), 4);
    data += block;
  }
  for (unsigned i = 0; i < file.samples; ++i) bits += TiffNumber(file.bits, 2);
  add(256, 4, TiffNumber(file.width, 4));
  add(257, 4, TiffNumber(file.height, 4));
  add(258, 3, bits);
  add16(259, 1);
  add16(262, file.photometric);
  if (!file.tile) add(273, 4, offsets);
  if (file.orientation) add16(274, file.orientation);
  add16(277, file.samples);
  if (!file.tile) add16(278, file.rows ? file.rows : file.height);
  if (!file.tile) add(279, 4, counts);
  add16(284, file.isSeparate ? 2 : 1);
  if (!file.palette.empty()) add(320, 3, file.palette);
  if (file.tile) add16(322, file.tile);
  if (file.tile) add16(323, file.tile);
  if (file.tile) add(324, 4, offsets);
  if (file.tile) add(325, 4, counts);
  if (file.extra >= 0) add16(338, static_cast<std::size_t>(file.extra));
  std::string formats;
  for (unsigned i = 0; i < file.samples; ++i) formats += TiffNumber(file.format, 2);
  add(339, 3, formats);
  return "II*" + TiffNumber(0, 1) + TiffNumber(8 + data.size(), 4) + data + TiffNumber(count, 2) +
         entries + TiffNumber(0, 4);
}
