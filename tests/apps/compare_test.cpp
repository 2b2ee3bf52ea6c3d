// How pictures of different drivers are told apart.
#include "apps/work/compare/picture_difference.h"

#include <gtest/gtest.h>

#include <cmath>

#include "apps/work/compare/compare_report.h"
#include "apps/work/compare/compare_scenes.h"
#include "tests/support/common/gl3_process.h"

namespace {

using gl3::Compare;
using gl3::PictureDifference;

gl3::Pixels Gray(int width, int height, std::uint8_t value) {
  return {width, height, std::vector<std::uint8_t>(std::size_t{4} * width * height, value)};
}

TEST(Differences, AreMeasuredOverChannelsPixelsAndBlocks) {
  const gl3::Pixels plain = Gray(8, 8, 100);
  EXPECT_TRUE(Compare(plain, plain).isEqual);
  gl3::Pixels other = plain;
  other.rgba[(8 * 1 + 5) * 4 + 2] = 151;  // one channel of one pixel of the second block
  other.rgba[0] = 110;                    // less than is seen
  const PictureDifference apart = Compare(plain, other);
  EXPECT_FALSE(apart.isEqual);
  EXPECT_DOUBLE_EQ(apart.seen, 100.0 / 64);
  EXPECT_DOUBLE_EQ(apart.mean, 61.0 / (255 * 256));
  EXPECT_DOUBLE_EQ(apart.largest, 51.0 / 255);
  EXPECT_DOUBLE_EQ(apart.shrunk, 51.0 / (255 * 16));
}

TEST(Differences, AMissingQuarterOfLinesOrEdgesIsBeyondTheirBounds) {
  const std::string folder = GL3_SOURCE_DIR "/samples/gallery";
  std::string error;
  for (const gl3::CompareScene& scene : gl3::ReadScenes(folder, &error)) {
    const bool isLines = scene.name == "lines";
    if (!isLines && scene.name != "laplacian") continue;
    gl3::ComparedPicture picture;
    picture.scene = scene;
    gl3::Pixels kept;
    ASSERT_TRUE(
        gl3::ReadPixels(GL3_SOURCE_DIR "/tests/references/" + scene.name + ".png", &kept, &error))
        << error;
    gl3::Pixels holed = kept;
    for (int y = 0; y < kept.height; ++y) {
      for (int x = kept.width * 3 / 4; x < kept.width; ++x) {
        const std::size_t at = (std::size_t(y) * kept.width + x) * 4;
        for (int c = 0; c < 3; ++c) holed.rgba[at + c] = isLines ? 255 : 0;
      }
    }
    picture.kept = Compare(kept, kept);
    EXPECT_TRUE(gl3::IsWithin(picture)) << scene.name;
    picture.kept = Compare(kept, holed);
    EXPECT_FALSE(gl3::IsWithin(picture)) << scene.name;
  }
  EXPECT_EQ(error, "");
}

TEST_F(Gl3Test, ADriverThatCrashesIsToldAndIsNoRefusal) {
  const Gl3Result result = Run("info --compare told --driver default",
                               {.environment = {"GL3_CRASHES=1"}, .preload = GL3_SMALL_DRIVER});
  EXPECT_EQ(result.status, 6) << result.err;
  EXPECT_NE(result.err.find("crashed ("), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("pictures with 1 driver, which takes some "), std::string::npos);
}

}  // namespace
