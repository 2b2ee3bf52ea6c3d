// Picture files that are broken in ways that the decoder does not survive.
#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfStdIO.h>
#include <webp/encode.h>

#include <algorithm>
#include <iterator>

#include "hostkit/pictures/picture_in.h"
#include "tests/support/common/holds.h"

namespace {

class PicturesIn : public testing::Test {
 protected:
  /// Width of the picture, 0 for a refusal, which has to be one line of printable characters.
  int Load(const std::string& bytes) {
    m_error.clear();
    const hostkit::BitmapPtr bitmap = hostkit::LoadPictureFromMemory(
        reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), "a.jpg", &m_error);
    if (bitmap) return bitmap->GetWidth();
    EXPECT_EQ(m_error.rfind("a.jpg: ", 0), 0u) << m_error;
    for (char c : m_error) EXPECT_TRUE(c >= ' ' && c <= '~') << m_error;
    return 0;
  }

  void ExpectRefused(const std::string& bytes, const char* reason) {
    EXPECT_EQ(Load(bytes), 0);
    EXPECT_TRUE(Holds(m_error, {reason}));
  }

  std::string m_error;
};

TEST_F(PicturesIn, HdrRowsMustBeWhole) {
  const std::string start = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X 8\n";
  // Four planes of eight values: a run, or three values and a run.
  const std::string row = std::string("\2\2\0\x08", 4) + "\x88\x80\x88\x70\3\1\2\3\x85\x40\x88\x81";
  EXPECT_EQ(Load(start + row + row), 8) << m_error;
  for (std::size_t cut = 1; cut < row.size(); ++cut) {
    ExpectRefused(start + row + row.substr(0, cut), "ends early");
  }
  const std::string flat(8 * 2 * 4, '\x80');
  EXPECT_EQ(Load(start + flat), 8) << m_error;
}

TEST_F(PicturesIn, WebpIsReadWhole) {
  const unsigned char rgba[] = {255, 0, 0, 255, 0, 255, 0, 128, 1, 2, 3, 255,
                                9,   8, 7, 255, 6, 5,   4, 255, 0, 0, 0, 1};
  unsigned char* encoded = nullptr;
  const std::size_t size = WebPEncodeLosslessRGBA(rgba, 3, 2, 12, &encoded);
  const std::string file(reinterpret_cast<const char*>(encoded), size);
  WebPFree(encoded);
  ASSERT_EQ(Load(file), 3) << m_error;
  const hostkit::BitmapPtr bitmap = hostkit::LoadPictureFromMemory(
      reinterpret_cast<const unsigned char*>(file.data()), size, "a.jpg", &m_error);
  const auto* pixels = static_cast<const unsigned char*>(bitmap->GetBufferHead()->Data());
  EXPECT_TRUE(std::equal(std::begin(rgba), std::end(rgba) - 1, pixels));
  for (std::size_t cut = 1; cut < size; cut += 3) EXPECT_EQ(Load(file.substr(0, size - cut)), 0);
  std::string huge = file;  // of 16384 x 2 pixels, which is refused by its size alone
  huge[21] = static_cast<char>(0xFF);
  huge[22] = static_cast<char>(huge[22] | 0x3F);
  EXPECT_EQ(hostkit::LoadPictureFromMemory(reinterpret_cast<const unsigned char*>(huge.data()),
                                           size, "a.jpg", &m_error, nullptr, 100),
            nullptr);
  EXPECT_TRUE(Holds(m_error, {"16384 x 2 pixels do not fit"}));
}

TEST_F(PicturesIn, JpegTablesMustHaveRoom) {
  // One more code than there is room for, alone and behind other segments.
  const std::string table = std::string("\xFF\xC4\0\x13\0\xFF\2", 7) + std::string(14, '\0');
  const std::string comment("\xFF\xFE\0\5\xFF\xC4\0", 7);
  ExpectRefused("\xFF\xD8" + table, "tables");
  ExpectRefused("\xFF\xFF\xD8" + comment + "\xFF" + table, "tables");
}

/// 3 x 2 pixels.
std::string SmallExr() {
  Imf::StdOSStream stream;
  {
    Imf::RgbaOutputFile file(stream, Imf::Header(3, 2), Imf::WRITE_RGBA);
    const Imf::Rgba row[3] = {{1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}};
    file.setFrameBuffer(row, 1, 0);
    file.writePixels(2);
  }
  return stream.str();
}

TEST_F(PicturesIn, ExrHeadersMustBeWhole) {
  const std::string whole = SmallExr();
  ASSERT_EQ(Load(whole), 3) << m_error;
  for (std::size_t cut = 4; cut < whole.size(); ++cut) EXPECT_EQ(Load(whole.substr(0, cut)), 0);

  // A gigabyte of channels, and a window that is one byte short and so moves all that follows.
  const auto changed = [&](const char* type, char last, char first) {
    std::string file = whole;
    const std::size_t at = file.find(std::string(type) + '\0') + std::string(type).size() + 1;
    file[at] = first;
    file[at + 3] = last;
    return file;
  };
  ExpectRefused(changed("box2i", 0, 15), "header");
  ExpectRefused(changed("chlist", 0x40, 1), "header");
}

TEST_F(PicturesIn, PicturesBeyondTheRoomForThemAreNotDecoded) {
  const std::string bmp =
      std::string("BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\3\0\0\0\2\0\0\0\1\0\x18\0", 30) +
      std::string(48, '\0');
  for (const std::string& file : {SmallExr(), bmp}) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(file.data());
    const auto load = [&](std::uint64_t most) {
      return hostkit::LoadPictureFromMemory(bytes, file.size(), "a", &m_error, nullptr, most);
    };
    EXPECT_NE(load(24), nullptr) << m_error;
    EXPECT_EQ(load(23), nullptr);
    EXPECT_NE(m_error.find("3 x 2 pixels do not fit"), std::string::npos) << m_error;
  }
}

TEST_F(PicturesIn, MessagesDoNotQuoteTheFile) {
  const std::string header("\0\0\0\x0DIHDR\0\0\0\1\0\0\0\1\x08\2\0\0\0\0\0\0\0", 25);
  ExpectRefused("\x89PNG\r\n\x1a\n" + header + std::string("\0\0\0\0N\nA\x1b\0\0\0\0", 12), "N?A?");
}

}  // namespace
