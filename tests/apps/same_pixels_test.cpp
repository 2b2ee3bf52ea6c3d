// What a picture does not depend on: the same bytes, however the same driver came to draw it.
#include "apps/base/x_server.h"
#include "apps/work/compare/compare_report.h"
#include "apps/work/compare/compare_scenes.h"
#include "samples/glb_writer.h"
#include "samples/showroom.h"
#include "samples/write_file.h"
#include "tests/support/common/gl3_process.h"
#include "tests/support/common/png_pixels.h"

namespace {

/// Glass, textures and smooth shading; pictures are named after how they were drawn.
class SamePixels : public Gl3Test {
 protected:
  SamePixels() {
    std::string error;
    const samples::Document room = samples::Showroom(64);
    EXPECT_TRUE(samples::WriteFile(Path("room.glb"), samples::ToGlb(room), &error)) << error;
  }

  /// Frame 7 of a turn of ten, by default.
  std::vector<unsigned char> Draw(const std::string& more, const Gl3Setup& setup = {},
                                  const std::string& frames = "7") {
    Done("render room.glb -o p##.png -s 96x64 --turntable 10 -q --frames " + frames + " " + more,
         setup);
    return ReadPng(Path("p07.png")).rgba;
  }
};

TEST_F(SamePixels, ComeOfEveryRunThreadPieceAndSequence) {
  const std::vector<unsigned char> first = Draw("");
  EXPECT_EQ(Draw(""), first) << "again";
  EXPECT_EQ(Draw("", {.environment = {"LP_NUM_THREADS=0"}}), first) << "without threads";
  EXPECT_EQ(Draw("", {.environment = {"LP_NUM_THREADS=8"}}), first) << "eight threads";
  EXPECT_EQ(Draw("", {}, "1-10"), first) << "after six others";
  EXPECT_EQ(Draw("--chunk 2/3", {}, "1-10"), first) << "as the middle of three chunks";
  Write("pieces.ini", "[OpenGL3]\nMax Vertices = 300\n");
  const std::string pieces = "GL3_REGISTRY=" + Path("pieces.ini").string();
  EXPECT_EQ(Draw("", {.environment = {pieces}}), first) << "in pieces of 300 vertices";
  EXPECT_NE(Draw("", {}, "7 --mode flat"), first) << "but not with other options";
}

TEST_F(SamePixels, ComeOfWindowsAndPbuffersOfAnXServer) {
  ExpectRefused("render room.glb -o p.png", 1, {"GL3_SURFACE=window: there are no windows here"},
                {.environment = {"GL3_SURFACE=window"}});
  ExpectRefused("render room.glb -o p.png", 1, {"GL3_SURFACE=door is not pbuffer or window"},
                {.environment = {"GL3_SURFACE=door"}});
  gl3::XServer server;
  const std::string display = server.Start();
  if (display.empty()) GTEST_SKIP() << "no X server: Xvfb is missing";
  const std::vector<std::string> x11 = {"GL3_PLATFORM=x11", "DISPLAY=" + display};
  const std::vector<unsigned char> first = Draw("");
  EXPECT_EQ(Draw("", {.environment = x11}), first) << "pbuffers";
  EXPECT_EQ(Draw("", {.environment = {x11[0], x11[1], "GL3_SURFACE=window"}}), first) << "windows";
}

TEST_F(SamePixels, DependOnNoMoreThanEightLightsWhichIsTold) {
  samples::Document room = samples::Showroom(64);
  samples::Light faint = room.lights.front();
  faint.intensity /= 1000;
  std::string error;
  const auto draw = [&](std::size_t count) {
    for (std::size_t i = room.lights.size(); i < count; ++i) {
      room.nodes.emplace_back().light = static_cast<int>(i);
      room.lights.push_back(faint);
    }
    EXPECT_TRUE(samples::WriteFile(Path("lit.glb"), samples::ToGlb(room), &error)) << error;
    const Gl3Result result = Run("render lit.glb -o lit.png -s 96x64");
    EXPECT_EQ(result.status, 0) << result.err;
    return std::pair(result.err, ReadPng(Path("lit.png")).rgba);
  };
  const auto [eight, eightLit] = draw(8);
  EXPECT_EQ(eight, "");
  const auto [nine, nineLit] = draw(9);
  EXPECT_NE(nine.find("lit.glb: of its 9 lights the 8 strongest"), std::string::npos) << nine;
  EXPECT_EQ(nineLit, eightLit);
}

/// A driver that lacks something: see the preloaded library.
Gl3Setup Without(const std::string& variable) {
  return {.environment = {variable}, .preload = GL3_SMALL_DRIVER};
}

TEST_F(SamePixels, ComeOfFewExtensionsOrItIsToldWhichIsMissing) {
  const std::vector<unsigned char> first = Draw("");
  for (const char* name : {"GL_EXT_texture_filter_anisotropic", "GL_ARB_texture_border_clamp",
                           "GL_ARB_framebuffer_object"}) {
    EXPECT_EQ(Draw("", Without(std::string("GL3_HIDDEN=") + name)), first) << name;
  }
  std::filesystem::remove(Path("p07.png"));
  ExpectRefused("render room.glb -o p.png --effect sobel", 1,
                {"effects need GL_ARB_framebuffer_object", "update"},
                {.environment = {"MESA_EXTENSION_OVERRIDE=-GL_ARB_framebuffer_object"}});
  for (const char* name :
       {"GL_ARB_texture_non_power_of_two", "GL_ARB_depth_texture", "GL_EXT_framebuffer_object"}) {
    ExpectRefused("render room.glb -o p.png", 4, {std::string(name) + " not supported", "update"},
                  Without(std::string("GL3_HIDDEN=") + name));
  }
}

// Tiles have projections of their own, which are rounded each for itself.
TEST_F(SamePixels, NearlyComeOfTilesAndOfSixteenBitsOfDepth) {
  std::string error;
  gl3::ComparedPicture picture;
  picture.scene = gl3::ReadScenes(GL3_SOURCE_DIR "/samples/gallery", &error).at(0);
  const std::vector<unsigned char> first = Draw("");
  const auto isNear = [&](const char* lack) {
    picture.kept = gl3::Compare({96, 64, first}, {96, 64, Draw("", Without(lack))});
    return gl3::IsWithin(picture);
  };
  EXPECT_TRUE(isNear("GL3_MOST_PBUFFER=64"));
  EXPECT_TRUE(isNear("GL3_MOST_DEPTH=16"));
  EXPECT_FALSE(isNear("GL3_MOST_DEPTH=1")) << "else the driver had more";
}

TEST_F(SamePixels, ComeAfterAThousandOtherFrames) {
  Write("squares.obj", kSquaresObj);
  const std::string turn = "render squares.obj -o t####.png -s 32x32 --turntable 1010 -q --frames ";
  Done(turn + "1009");
  const std::vector<unsigned char> alone = ReadPng(Path("t1009.png")).rgba;
  std::filesystem::remove(Path("t1009.png"));
  Done(turn + "1-1009");
  EXPECT_EQ(ReadPng(Path("t1009.png")).rgba, alone);
}

}  // namespace
