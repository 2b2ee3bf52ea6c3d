// TIFF and PNM files, orientations, and pictures that are written and read again.
#include <Imath/half.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "hostkit/pictures/picture.h"
#include "hostkit/pictures/picture_formats.h"
#include "hostkit/pictures/picture_in.h"
#include "hostkit/pictures/picture_recipe.h"
#include "hostkit/pictures/picture_scale.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/temp_folder.h"
#include "tests/support/common/tiff_file.h"

namespace {

using Rgba = std::vector<int>;

constexpr unsigned kStripWidth = 21, kStripHeight = 3;

const unsigned char* Bytes(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

/// IEC 61966-2-1.
double Encoded(double linear) {
  return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}
double Decoded(double shown) {
  return shown <= 0.04045 ? shown / 12.92 : std::pow((shown + 0.055) / 1.055, 2.4);
}

class PictureKinds : public testing::Test {
 protected:
  /// Pixels of a file; empty with m_error for a refusal, which has to be one line.
  Rgba Load(const std::string& bytes, bool upright = true) {
    m_error.clear();
    const hostkit::BitmapPtr bitmap =
        hostkit::DecodePicture(Bytes(bytes), bytes.size(), "a", {.upright = upright}, &m_error);
    if (bitmap) return PixelsOf(*bitmap);
    EXPECT_TRUE(m_error.starts_with("a: ")) << m_error;
    for (const char c : m_error) EXPECT_TRUE(c >= ' ' && c <= '~') << m_error;
    return {};
  }
  static Rgba PixelsOf(const HBitmapNode& bitmap) {
    const auto* bytes = static_cast<const unsigned char*>(bitmap.GetBufferHead()->Data());
    return {bytes, bytes + 4 * bitmap.GetWidth() * bitmap.GetHeight()};
  }
  void ExpectRefused(const std::string& bytes, const std::string& reason) {
    EXPECT_TRUE(Load(bytes).empty()) << reason;
    EXPECT_TRUE(Holds(m_error, {reason, "; "}));
  }
  std::string m_error;
};

/// 8 bits of channel `c` of a pixel; no two neighbours are alike.
int Value(unsigned x, unsigned y, unsigned c) {
  return static_cast<int>((x * 11 + y * 70 + c * 37 + 5) % 256);
}

std::string Sample(int value, unsigned bits, bool isFloat) {
  if (isFloat) return TiffNumber(std::bit_cast<std::uint32_t>(float(Decoded(value / 255.0))), 4);
  return bits == 8 ? TiffNumber(value, 1) : TiffNumber(value * 257u, 2);
}

/// Cuts a picture into its strips or tiles, for each kind of sample where they are separate.
void AddBlocks(TiffFile* file) {
  const unsigned width = file->tile ? file->tile : file->width;
  const unsigned height = file->tile ? file->tile : file->rows;
  for (unsigned plane = 0; plane < (file->isSeparate ? file->samples : 1); ++plane) {
    for (unsigned top = 0; top < file->height; top += height) {
      for (unsigned left = 0; left < file->width; left += width) {
        std::string block;
        const unsigned end = file->tile ? top + height : std::min(top + height, file->height);
        for (unsigned y = top; y < end; ++y) {
          for (unsigned i = 0; i < width * (file->isSeparate ? 1 : file->samples); ++i) {
            const unsigned x = left + (file->isSeparate ? i : i / file->samples);
            const unsigned c = file->isSeparate ? plane : i % file->samples;
            block += Sample(Value(x, y, c), file->bits, file->format == 3);
          }
        }
        file->blocks.push_back(block);
      }
    }
  }
}

TEST_F(PictureKinds, TiffIsReadInEveryLayout) {
  for (const auto& [bits, format] : {std::pair(8u, 1u), {16u, 1u}, {32u, 3u}}) {
    for (unsigned samples = 1; samples <= 4; ++samples) {
      for (const unsigned tile : {0u, 16u}) {
        for (const bool isSeparate : {false, true}) {
          const bool hasAlpha = samples % 2 == 0;
          TiffFile file = {.width = kStripWidth,
                           .height = kStripHeight,
                           .bits = bits,
                           .samples = samples,
                           .photometric = samples < 3 ? 1u : 2u,
                           .format = format,
                           .rows = 2,
                           .tile = tile,
                           .extra = hasAlpha ? 2 : -1,
                           .isSeparate = isSeparate};
          AddBlocks(&file);
          const Rgba seen = Load(TiffBytes(file));
          ASSERT_EQ(seen.size(), 4 * kStripWidth * kStripHeight) << m_error;
          for (unsigned i = 0; i < seen.size(); ++i) {
            const unsigned x = i / 4 % kStripWidth, y = i / 4 / kStripWidth, c = i % 4;
            int wanted = Value(x, y, c == 3 ? samples - 1 : samples < 3 ? 0 : c);
            if (c == 3 && !hasAlpha) wanted = 255;
            if (c == 3 && format == 3 && hasAlpha) {  // alpha is no light
              wanted = static_cast<int>(std::lround(Decoded(wanted / 255.0) * 255));
            }
            ASSERT_NEAR(seen[i], wanted, format == 3 ? 1 : 0)
                << bits << " bits, samples " << samples << ", tile " << tile << ", separate "
                << isSeparate << ", " << x << " " << y << " " << c;
          }
        }
      }
    }
  }
}

TEST_F(PictureKinds, TiffKindsOfAlphaPalettesAndInk) {
  using namespace std::string_literals;
  const std::string pixel = "\x40\x20\x10\x80";
  const auto load = [&](int extra) {
    return Load(TiffBytes({.samples = 4, .photometric = 2, .extra = extra, .blocks = {pixel}}));
  };
  EXPECT_EQ(load(0), (Rgba{64, 32, 16, 255})) << "not said to be alpha";
  EXPECT_EQ(load(1), (Rgba{128, 64, 32, 128})) << "multiplied by alpha";
  EXPECT_EQ(load(2), (Rgba{64, 32, 16, 128}));
  EXPECT_EQ(load(-1), (Rgba{64, 32, 16, 255}));
  EXPECT_EQ(Load(TiffBytes({.photometric = 0, .blocks = {"\x40"}})), (Rgba{191, 191, 191, 255}));
  // Four bits of a palette whose colour 2 is 1, 2, 3; one bit, where 0 is white.
  std::string palette(96, '\0');
  for (int c = 0; c < 3; ++c) palette[c * 32 + 5] = static_cast<char>(c + 1);
  EXPECT_EQ(Load(TiffBytes({.bits = 4, .photometric = 3, .palette = palette, .blocks = {"\x20"}})),
            (Rgba{1, 2, 3, 255}));
  EXPECT_EQ(Load(TiffBytes({.width = 2, .bits = 1, .photometric = 0, .blocks = {"\x40"}})),
            (Rgba{255, 255, 255, 255, 0, 0, 0, 255}));
}

TEST_F(PictureKinds, BrokenTiffIsRefused) {
  TiffFile file = {
      .width = kStripWidth, .height = kStripHeight, .samples = 3, .photometric = 2, .rows = 2};
  AddBlocks(&file);
  const std::string whole = TiffBytes(file);
  ASSERT_FALSE(Load(whole).empty()) << m_error;
  for (std::size_t cut = 8; cut < whole.size(); cut += 7) Load(whole.substr(0, cut));
  TiffFile huge = file;
  huge.width = huge.height = 40000;
  ExpectRefused(TiffBytes(huge), "40000 x 40000 pixels are too many");
  huge.width = 0;
  ExpectRefused(TiffBytes(huge), "TIFF");
  huge = file;
  huge.width = huge.height = 16384;  // of which next to nothing is there
  ExpectRefused(TiffBytes(huge), "the picture is broken");
  huge.tile = 65520;
  ExpectRefused(TiffBytes(huge), "the picture is broken");
  huge = file;
  huge.samples = 60000;
  ExpectRefused(TiffBytes(huge), "TIFF");
}

TEST_F(PictureKinds, PnmIsReadInEveryKind) {
  using namespace std::string_literals;
  const Rgba black = {0, 0, 0, 255}, white = {255, 255, 255, 255};
  Rgba bits = black;
  for (const Rgba& one : {white, black}) bits.insert(bits.end(), one.begin(), one.end());
  EXPECT_EQ(Load("P1\n# ink\n3 1\n1 01"), bits);
  EXPECT_EQ(Load("P4 3 1\n\xa0"), bits);
  const Rgba gray = {85, 85, 85, 255, 255, 255, 255, 255};
  EXPECT_EQ(Load("P2 2 1 3 1 3 "), gray);
  EXPECT_EQ(Load("P5 2 1 3\n\1\3"), gray);
  EXPECT_EQ(Load("P5 2 1 65535\n\x55\x55\xff\xff"), gray);
  const Rgba color = {255, 51, 0, 255};
  EXPECT_EQ(Load("P3 1 1 5 5 1 0"), color);
  EXPECT_EQ(Load("P6\n1 1\n#a\n5\n\5\1\0"s), color);
  const std::string pam = "P7\nWIDTH 1\nHEIGHT 1\nDEPTH ";
  EXPECT_EQ(Load(pam + "4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n\1\2\3\4"), (Rgba{1, 2, 3, 4}));
  EXPECT_EQ(Load(pam + "2\nMAXVAL 255\nENDHDR\n\x07\x09"), (Rgba{7, 7, 7, 9}));

  for (const std::string& cut : {"P6 1 1 255\n\1\2"s, "P5 9 9 300\n12345"s, "P4 9 2\n\1\1\1"s}) {
    ExpectRefused(cut, "ends early");
  }
  for (const char* broken :
       {"P6 ", "P6 1", "P6 -1 1 255\n123", "P6 1 1 0\n123", "P6 1 1 70000\n123",
        "P7\nWIDTH 1\nHEIGHT 1", "P6 99999999999 1 255\n1"}) {
    ExpectRefused(broken, "header is broken");
  }
  ExpectRefused("P2 2 1 3 1 9 ", "a value is missing or too large");
  ExpectRefused("P3 1 1 5 5 1 # and no more", "a value is missing or too large");
  ExpectRefused("P6 0 1 255\n", "no pixels");
  ExpectRefused("P6 40000 40000 255\n", "too many");
}

TEST_F(PictureKinds, OrientationsAreObeyedWhereAsked) {
  // Two across and three down; each orientation tells where its first row and column are seen.
  const std::string seen = "abcdef";
  const char* const stored[] = {"abcdef", "badcfe", "fedcba", "efcdab",
                                "acebdf", "bdface", "fdbeca", "ecafdb"};
  for (unsigned i = 0; i < 8; ++i) {
    const bool isTurned = i >= 4;
    const std::string file = TiffBytes({.width = isTurned ? 3u : 2u,
                                        .height = isTurned ? 2u : 3u,
                                        .orientation = i + 1,
                                        .blocks = {stored[i]}});
    const Rgba upright = Load(file), asItIs = Load(file, false);
    ASSERT_EQ(upright.size(), 24u) << m_error;
    for (unsigned k = 0; k < 6; ++k) {
      EXPECT_EQ(upright[4 * k], seen[k]) << i + 1 << ", " << k;
      EXPECT_EQ(asItIs[4 * k], stored[i][k]) << i + 1 << ", " << k;
    }
  }
}

TEST_F(PictureKinds, WrittenOnesHoldPixelsAndRecipe) {
  const TempFolder folder;
  const hostkit::Recipe recipe = {{"gl3:command", "gl3 render a.obj"}, {"gl3:note", "two\nlines"}};
  hostkit::Picture picture{hostkit::NewHalfBitmap(3, 2), true};
  auto* halves = static_cast<std::uint16_t*>(picture.bitmap->GetBufferHead()->Data());
  Rgba straight;
  for (int i = 0; i < 6; ++i) {
    const float alpha = i == 0 ? 0 : static_cast<float>(51 * (6 - i)) / 255;
    const float colors[] = {0.2f * static_cast<float>(i), 1, 0.4f};
    for (int c = 0; c < 3; ++c) halves[4 * i + 2 - c] = half(colors[c] * alpha).bits();
    halves[4 * i + 3] = half(alpha).bits();
    for (const float color : colors) {
      straight.push_back(i == 0 ? 0 : static_cast<int>(std::lround(color * 255)));
    }
    straight.push_back(static_cast<int>(std::lround(alpha * 255)));
  }
  hostkit::PictureOptions options;
  options.quality = 100;
  for (const hostkit::PictureFormat& format : hostkit::kPictureFormats) {
    for (std::size_t i = 0; i < format.writtenSuffixes; ++i) {
      const std::string path = folder.Path(std::string("a") + format.suffixes[i]);
      ASSERT_TRUE(hostkit::WritePicture(path, picture, recipe, options, &m_error)) << m_error;
      const hostkit::BitmapPtr bitmap = hostkit::LoadPicture(path, &m_error);
      ASSERT_TRUE(bitmap) << m_error;
      const Rgba seen = PixelsOf(*bitmap);
      for (std::size_t k = 0; k < seen.size(); ++k) {
        const int alpha = straight[k / 4 * 4 + 3];
        const int onBlack = k % 4 == 3 ? 255 : straight[k] * alpha / 255;
        const bool isLossy = format.kind == hostkit::PictureKind::kJpeg;
        EXPECT_NEAR(seen[k], format.keepsAlpha ? straight[k] : onBlack, isLossy ? 60 : 1)
            << path << ", " << k;
      }
      hostkit::Recipe read;
      EXPECT_TRUE(hostkit::ReadRecipe(path, &read, &m_error)) << m_error;
      if (format.kind == hostkit::PictureKind::kExr) read.erase(read.begin());  // the encoding
      EXPECT_EQ(read, recipe) << path;
    }
  }
}

TEST_F(PictureKinds, ExrIsLinearUnlessItSaysSo) {
  const TempFolder folder;
  hostkit::Picture picture{hostkit::NewHalfBitmap(4, 1), true};
  auto* halves = static_cast<std::uint16_t*>(picture.bitmap->GetBufferHead()->Data());
  // Premultiplied: 0.5 at full and at half coverage, 3 beyond white, a glow without coverage.
  const float shown[] = {0.5f, 0.25f, 3, 0.5f}, alpha[] = {1, 0.5f, 1, 0};
  for (int i = 0; i < 4; ++i) {
    for (int c = 0; c < 3; ++c) halves[4 * i + c] = half(shown[i]).bits();
    halves[4 * i + 3] = half(alpha[i]).bits();
  }
  const double light = Decoded(0.5), linear[] = {light, light / 2, Decoded(3), light};
  hostkit::PictureOptions options;
  for (const auto encoding : {hostkit::ExrEncoding::kLinear, hostkit::ExrEncoding::kDisplay}) {
    options.exrEncoding = encoding;
    const std::string path = folder.Path("a.exr");
    ASSERT_TRUE(hostkit::WritePicture(path, picture, {}, options, &m_error)) << m_error;
    hostkit::PictureFacts facts;
    hostkit::BitmapPtr read =
        hostkit::LoadPicture(path, &m_error, &facts, hostkit::PixelKind::kHalves);
    ASSERT_TRUE(read) << m_error;
    EXPECT_EQ(facts.wasLinear, encoding == hostkit::ExrEncoding::kLinear);
    EXPECT_TRUE(facts.clipped);
    const auto* values = static_cast<const std::uint16_t*>(read->GetBufferHead()->Data());
    // What another program reads: the same file without our attribute is linear.
    std::string bytes = folder.Read("a.exr");
    bytes[bytes.find("gl3:colorEncoding")] = 'x';
    const hostkit::BitmapPtr raw = hostkit::DecodePicture(
        Bytes(bytes), bytes.size(), "a", {.kind = hostkit::PixelKind::kHalves}, &m_error);
    const auto* rawValues = static_cast<const std::uint16_t*>(raw->GetBufferHead()->Data());
    for (int i = 0; i < 4; ++i) {
      const auto at = [i](const std::uint16_t* from) {
        return static_cast<double>(half(half::FromBits, from[4 * i]));
      };
      EXPECT_NEAR(at(values), shown[i], 0.004 * shown[i]) << i;
      const double held = encoding == hostkit::ExrEncoding::kLinear ? linear[i] : shown[i];
      const double cover = alpha[i] > 0 ? alpha[i] : 1;
      EXPECT_NEAR(at(rawValues), Encoded(held / cover) * cover, 0.004 * shown[i]) << i;
    }
  }
}

TEST_F(PictureKinds, ScaledOnesWeighColoursByAlpha) {
  const unsigned char rgba[] = {200, 100, 0, 255, 9, 9, 9, 0};
  const hostkit::BitmapPtr bytes = hostkit::BitmapFromRgba(rgba, 2, 1);
  const hostkit::BitmapPtr one = hostkit::ScalePicture(*bytes, 1, 1);
  const Rgba seen = PixelsOf(*one);
  EXPECT_NEAR(seen[0], 200, 1);
  EXPECT_NEAR(seen[3], 128, 1);
  const hostkit::BitmapPtr halves = hostkit::NewHalfBitmap(2, 1);
  auto* from = static_cast<std::uint16_t*>(halves->GetBufferHead()->Data());
  const float values[] = {0.2f, 0.4f, 6, 1, 0, 0, 0, 0};  // multiplied by alpha
  for (int i = 0; i < 8; ++i) from[i] = half(values[i]).bits();
  const hostkit::BitmapPtr mean = hostkit::ScalePicture(*halves, 1, 1);
  const auto* to = static_cast<const std::uint16_t*>(mean->GetBufferHead()->Data());
  for (int c = 0; c < 4; ++c) EXPECT_NEAR(half(half::FromBits, to[c]), values[c] / 2, 0.01) << c;
}

}  // namespace
