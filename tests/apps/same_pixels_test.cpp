// What a picture does not depend on: the same bytes, however the same driver came to draw it.
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

TEST_F(SamePixels, ComeOfEveryRunThreadTileAndSequence) {
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
