// Tiny pictures of every kind that the host reads.
#include "tests/fuzz/picture_seeds.h"

#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfStdIO.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <jpeglib.h>

#include "tests/support/common/tiff_file.h"

namespace {

using std::string;

string Big(unsigned value, int bytes) {
  string text;
  for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(i < 4 ? value >> 8 * i : 0);
  return text;
}

string Little(unsigned value, int bytes) {
  const string big = Big(value, bytes);
  return {big.rbegin(), big.rend()};
}

/// Bytes that differ, to fill pictures with.
string Noise(std::size_t size) {
  string text;
  for (std::size_t i = 0; i < size; ++i) text += static_cast<char>(i * 37 + i / 7);
  return text;
}

/// Check sums stay 0: the reader does not look at them.
string PngChunk(const string& type, const string& content) {
  return Big(static_cast<unsigned>(content.size()), 4) + type + content + Big(0, 4);
}

/// `header` from the depth on: depth, colour type, compression, filter, interlacing.
string Png(int width, int height, const string& header, const string& chunks, const string& rows) {
  const auto size = static_cast<unsigned>(rows.size());
  const string stored =
      "\x78\x01\x01" + Little(size, 2) + Little(~size & 0xffff, 2) + rows + Big(0, 4);
  return "\x89PNG\r\n\x1a\n" +
         PngChunk("IHDR", Big(static_cast<unsigned>(width), 4) +
                              Big(static_cast<unsigned>(height), 4) + header) +
         chunks + PngChunk("IDAT", stored) + PngChunk("IEND", "");
}

string Jpeg(int components, bool progressive) {
  jpeg_compress_struct jpeg;
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_compress(&jpeg);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&jpeg, &bytes, &size);
  jpeg.image_width = 9;
  jpeg.image_height = 9;
  jpeg.input_components = components;
  jpeg.in_color_space = components == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&jpeg);
  if (progressive) jpeg_simple_progression(&jpeg);
  jpeg.restart_interval = progressive ? 0 : 1;
  jpeg_start_compress(&jpeg, TRUE);
  string row = Noise(9 * static_cast<std::size_t>(components));
  auto* samples = reinterpret_cast<JSAMPROW>(row.data());
  for (int y = 0; y < 9; ++y) jpeg_write_scanlines(&jpeg, &samples, 1);
  jpeg_finish_compress(&jpeg);
  jpeg_destroy_compress(&jpeg);
  const string text(reinterpret_cast<char*>(bytes), size);
  std::free(bytes);
  return text;
}

string Tga(int kind, int bits, const string& palette, const string& pixels) {
  const auto entries = static_cast<unsigned>(palette.size() / 3);
  return Little(0, 1) + Little(entries ? 1 : 0, 1) + Little(static_cast<unsigned>(kind), 1) +
         Little(0, 2) + Little(entries, 2) + Little(entries ? 24 : 0, 1) + Little(0, 4) +
         Little(3, 2) + Little(2, 2) + Little(static_cast<unsigned>(bits), 1) + Little(0, 1) +
         palette + pixels;
}

string Bmp(int bits, unsigned compression, const string& palette, const string& pixels) {
  const auto start = static_cast<unsigned>(54 + palette.size());
  return "BM" + Little(start + static_cast<unsigned>(pixels.size()), 4) + Little(0, 4) +
         Little(start, 4) + Little(40, 4) + Little(3, 4) + Little(2, 4) + Little(1, 2) +
         Little(static_cast<unsigned>(bits), 2) + Little(compression, 4) + Little(0, 20) + palette +
         pixels;
}

/// With Exif data behind its beginning: an entry of 12 bytes.
string JpegWithExif(const string& entry) {
  const string exif = string("Exif\0\0MM\0*\0\0\0\x08\0\1", 16) + entry + Big(0, 4);
  string file = Jpeg(3, false);
  return file.insert(2, "\xff\xe1" + Big(static_cast<unsigned>(exif.size() + 2), 2) + exif);
}

string Tiff(TiffFile file, const string& block, std::size_t blocks) {
  file.blocks.assign(blocks, block);
  return TiffBytes(file);
}

string Hdr(int width, const string& pixels) {
  return "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X " + std::to_string(width) + "\n" + pixels;
}

string Exr(Imf::RgbaChannels channels, Imf::Compression compression) {
  Imf::StdOSStream stream;
  {
    // The data window reaches over the display window on one side, and leaves room on the other.
    const Imf::Header header(9, 5, Imath::Box2i({-2, 1}, {6, 5}), 1, {0, 0}, 1, Imf::INCREASING_Y,
                             compression);
    Imf::RgbaOutputFile file(stream, header, channels);
    Imf::Rgba row[9];
    for (int x = 0; x < 9; ++x) row[x] = {0.3f * static_cast<float>(x), 1, 0.2f, 0.5f};
    file.setFrameBuffer(row + 2, 1, 0);
    file.writePixels(5);
  }
  return stream.str();
}

}  // namespace

Inputs PictureSeeds() {
  const string rgb("\x08\x02\0\0\0", 5), rgba("\x08\x06\0\0\0", 5), wide("\x10\x06\0\0\x01", 5),
      palette("\x02\x03\0\0\0", 5), gray("\x01\0\0\0\x01", 5);
  const string run = string("\x02\x02\0\x08", 4) + "\x84\x11\x04" + Noise(4);
  return {Png(3, 2, rgb, "", "\x01" + Noise(9) + "\x04" + Noise(9)),
          Png(2, 2, rgba, PngChunk("tEXt", "a"), "\x02" + Noise(8) + "\x03" + Noise(8)),
          Png(3, 3, wide, "", Noise(120)),
          Png(5, 2, palette, PngChunk("PLTE", Noise(12)) + PngChunk("tRNS", Noise(4)), Noise(6)),
          Png(9, 9, gray, PngChunk("tRNS", Noise(2)), string(60, '\x02')),
          Jpeg(3, false),
          Jpeg(3, true),
          Jpeg(1, false),
          Tga(2, 24, "", Noise(18)),
          Tga(10, 32, "", "\x83" + Noise(4) + "\x01" + Noise(8)),
          Tga(1, 8, Noise(12), string("\0\1\2\3\0\1", 6)),
          Tga(3, 16, "", Noise(12)),
          Bmp(24, 0, "", Noise(24)),
          Bmp(4, 0, Noise(64), Noise(8)),
          Bmp(16, 3, Noise(12), Noise(16)),
          Bmp(32, 0, "", Noise(24)),
          JpegWithExif(string("\1\x12\0\3\0\0\0\1\0\6\0\0", 12)),
          Tiff({.width = 3, .height = 2, .samples = 3, .photometric = 2, .orientation = 6},
               Noise(18), 1),
          Tiff({.width = 3,
                .height = 3,
                .bits = 16,
                .samples = 2,
                .rows = 2,
                .extra = 1,
                .isSeparate = true},
               Noise(12), 4),
          Tiff({.width = 17, .height = 2, .bits = 32, .format = 3, .tile = 16}, Noise(1024), 2),
          Tiff({.width = 5, .height = 2, .bits = 4, .photometric = 3, .palette = Noise(96)},
               Noise(6), 1),
          "P1 3 2\n# a\n01 1\n110",
          "P4 9 2\n" + Noise(4),
          "P3\n2 1 9 1 2 3 4 5 6",
          "P5 2 2 300\n" + string(8, '\1'),
          "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nENDHDR\n" + Noise(8),
          Hdr(2, Noise(16)),
          Hdr(8, run + run),
          Exr(Imf::WRITE_RGBA, Imf::ZIP_COMPRESSION),
          Exr(Imf::WRITE_RGB, Imf::PIZ_COMPRESSION),
          Exr(Imf::WRITE_Y, Imf::RLE_COMPRESSION)};
}
