// Pictures that are named on the command line, and a decoder that they have led astray.
#include <fmt/format.h>

#include <cmath>
#include <string_view>

#include "hostkit/confine/sanitized.h"
#include "tests/attacks/attack_fixture.h"
#include "tests/support/common/tiff_file.h"

namespace fs = std::filesystem;

namespace {

const std::string kWebp("RIFF\x1a\0\0\0WEBPVP8L\x0d\0\0\0\x2f\0\0\0\0\0\0\0\0\0\0\0\0\0", 34);

class PictureAttacks : public Attacks {};

TEST_F(PictureAttacks, BrokenAndHugePicturesAreRefused) {
  TiffFile far = {.width = 900, .height = 900, .blocks = {"a"}};
  std::string exif(
      "\xff\xd8\xff\xe1\xff\xff"
      "Exif\0\0MM\0*\xff\xff\xff\xff",
      20);
  TiffFile wide = {.width = 30000, .height = 30000, .tile = 65520, .blocks = {"a"}};
  const struct {
    const char* name;
    std::string bytes, part;
  } pictures[] = {
      {"far.tif", TiffBytes(far), "the picture is broken"},
      {"wide.tif", TiffBytes(wide), "30000 x 30000 pixels are too many"},
      {"loop.tif", std::string("II*\0\x08\0\0\0\0\0\x08\0\0\0", 14), "TIFF"},
      {"\x1b[2J.tif", std::string("MM\0*\0\0\0\x08\xff\xff", 10), "TIFF"},
      {"a.ppm", "P6 32768 8192 255\nx", "the picture ends early"},
      {"b.ppm", "P3 1 1 \x1b[2J 1 2 3", "header is broken"},
      {"a.jpg", exif, "; "},
      {"a.webp", kWebp.substr(0, 25), "the picture is broken"},
      {"a.png", PngHeader(60000, 60000), "60000 x 60000 pixels are too many"},
  };
  for (const auto& [name, bytes, part] : pictures) {
    SCOPED_TRACE(part);
    Write(name, bytes);
    const std::set<std::string> before = All();
    for (const char* confined : {"", "--confined"}) {
      Gl3Words words = {"filter", name, "-o", "out.png"};
      if (*confined) words.emplace_back(confined);
      const Gl3Result result = Say(words);
      EXPECT_EQ(result.status, 3) << result.err;
      EXPECT_TRUE(Holds(result.err, {part, "; "}));
      EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
    EXPECT_EQ(All(), before);
  }
  ExpectRefused("render in/m.obj -o out.png --overlay far.tif", 3, {"--overlay: far.tif: ", "; "});
}

TEST_F(PictureAttacks, DecodersReachNothing) {
  Write("a.webp", kWebp);
  Gl3Setup setup = {.preload = GL3_PICTURE_FAULTS};
  for (const auto& [fault, part] : {std::pair("SEGV", "decoding it crashed (Segmentation fault); "),
                                    {"read", "a.webp: the picture is broken; "},
                                    {"write", "a.webp: the picture is broken; "},
                                    {"streams", "a.webp: the picture is broken; "},
                                    {"grow", "decoding it took more memory than is allowed; "},
                                    {"hoard", "took more than 300.0 MiB of memory; "},
                                    {"socket", "called what no decoder needs, and was ended; "},
                                    {"exec", "called what no decoder needs, and was ended; "}}) {
    if (kIsSanitized && std::string_view(fault) != "SEGV") continue;  // nothing is confined then
    setup.environment = {std::string("GL3_PICTURE_FAULT=") + fault};
    ExpectRefused("filter a.webp -o out.png --max-memory 300M", 3, {"a.webp: ", part}, setup);
    ExpectRefused("render in/m.obj -o out.png --overlay a.webp --max-memory 300M", 3,
                  {"a.webp: ", part}, setup);
  }
  // Whoever comes after the one that crashed is served all the same.
  setup.environment = {"GL3_PICTURE_FAULT=SEGV"};
  const Gl3Result result = Run("filter secret.png a.webp secret.png -o x##.png", setup);
  EXPECT_EQ(result.status, 3);
  EXPECT_TRUE(Holds(result.err, {"a.webp: decoding it crashed"}));
  EXPECT_EQ(Names().count("x01.png") + Names().count("x03.png"), 2u);
  EXPECT_EQ(Names().count("x02.png"), 0u);
}

}  // namespace
