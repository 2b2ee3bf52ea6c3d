// Picture files: read back with the formats' own libraries, and failures that leave nothing behind.

#include <Imath/half.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

#include "hostkit/pictures/picture.h"
#include "hostkit/pictures/picture_in.h"
#include "hostkit/pictures/picture_recipe.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"
#include "tests/support/common/temp_folder.h"

namespace {

namespace fs = std::filesystem;

constexpr int kWidth = 5, kHeight = 3;
const hostkit::Recipe kRecipe = {{"gl3:command", "gl3 render a.obj"}, {"gl3:note", "Größe"}};

std::uint16_t Bits(float value) {
  return half(value).bits();
}

// Red 1, green x / 10, blue y / 10, all times alpha 0.5; the pixel at (0, 0) is clear.
hostkit::Picture MakePicture(bool hasAlpha, int width = kWidth, int height = kHeight) {
  hostkit::Picture picture{hostkit::BitmapPtr(new HBitmapNode(width, height)), hasAlpha};
  auto* colors =
      picture.bitmap->CreateRGBABuffer("ColorAlpha", HBitmapBuffer::kHalfChannel, width, height);
  picture.bitmap->AddBuffer(colors);
  colors->AllocateData(0);
  auto* depths = new HBitmapBuffer("Depth", HBitmapBuffer::kFloatChannel, 1, width, height);
  picture.bitmap->AddBuffer(depths);
  depths->AllocateData(0);
  for (int y = 0; y < height; ++y) {
    auto* pixel = static_cast<std::uint16_t*>(colors->GetData(y));
    auto* depth = static_cast<float*>(depths->Data()) + y * depths->RowStep();
    for (int x = 0; x < width; ++x, pixel += 4) {
      float alpha = x + y == 0 ? 0.0f : 0.5f;
      pixel[0] = Bits(0.1f * static_cast<float>(y) * alpha);
      pixel[1] = Bits(0.1f * static_cast<float>(x) * alpha);
      pixel[2] = Bits(alpha);
      pixel[3] = Bits(alpha);
      depth[x * depths->PixelStep()] = static_cast<float>(10 * y + x);
    }
  }
  return picture;
}

class PictureFiles : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return m_folder.Path(name); }
  bool Write(const std::string& path, const hostkit::Picture& picture) {
    m_error.clear();
    hostkit::PictureOptions options;
    options.exrEncoding = hostkit::ExrEncoding::kDisplay;
    return hostkit::WritePicture(path, picture, kRecipe, options, &m_error);
  }
  // Every failure names the file, and stays one line.
  void ExpectRefused(const std::string& path, const std::string& reason) {
    EXPECT_FALSE(Write(path, MakePicture(true)));
    EXPECT_TRUE(Holds(m_error, {path, reason}));
    EXPECT_EQ(m_error.find('\n'), std::string::npos) << m_error;
  }
  TempFolder m_folder;
  std::string m_error;
};

}  // namespace

TEST_F(PictureFiles, PngHasStraightAlphaAndItsRecipe) {
  // Without alpha, the colours as they are.
  for (const auto& [name, alpha] : {std::pair("a.PNG", 1.0), {"b.png", 0.5}}) {
    ASSERT_TRUE(Write(Path(name), MakePicture(alpha == 1))) << m_error;
    const Pixels file = ReadPng(Path(name));
    EXPECT_EQ(file.channels, alpha == 1 ? 4 : 3);
    ASSERT_EQ(file.rgba.size(), kWidth * kHeight * 4u);
    for (int i = 0; i < kWidth * kHeight; ++i) {
      const double values[] = {1.0, 0.1 * (i % kWidth), 0.1 * (i / kWidth), 128 / 255.0 / alpha};
      for (int c = 0; c < file.channels; ++c) {
        const double wanted = i == 0 ? 0 : 255 * alpha * values[c];
        // Rounded, from values that are halves.
        EXPECT_NEAR(file.rgba[i * 4 + c], wanted, 0.65) << i << ", " << c;
      }
    }
    using namespace std::string_literals;
    EXPECT_TRUE(Holds(m_folder.Read(name),
                      {"sRGB", "gl3:command\0gl3 render a.obj"s, "gl3:note\0"s, "Größe"}));
  }
  EXPECT_EQ(m_folder.Count(), 2);
}

TEST_F(PictureFiles, ExrKeepsHalvesDepthAndWindows) {
  for (bool hasAlpha : {true, false}) {
    ASSERT_TRUE(Write(Path("a.exr"), MakePicture(hasAlpha))) << m_error;
    Imf::InputFile file(Path("a.exr").c_str());
    const Imf::Header& header = file.header();
    EXPECT_EQ(header.dataWindow(), Imath::Box2i({0, 0}, {kWidth - 1, kHeight - 1}));
    EXPECT_EQ(header.displayWindow(), header.dataWindow());
    EXPECT_EQ(header.typedAttribute<Imf::StringAttribute>("gl3:command").value(),
              kRecipe[0].second);
    EXPECT_TRUE(
        Holds(header.typedAttribute<Imf::StringAttribute>("gl3:colorEncoding").value(), {"sRGB"}));
    half colors[4][kHeight][kWidth];
    float depths[kHeight][kWidth];
    const char* const names[] = {"R", "G", "B", "A"};
    Imf::FrameBuffer frame;
    for (int c = 0; c < 4; ++c) {
      ASSERT_TRUE(header.channels().findChannel(names[c])) << names[c];
      EXPECT_EQ(header.channels()[names[c]].type, Imf::HALF);
      frame.insert(names[c], Imf::Slice(Imf::HALF, reinterpret_cast<char*>(colors[c]), sizeof(half),
                                        sizeof(half) * kWidth));
    }
    frame.insert("Z", Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(depths), sizeof(float),
                                 sizeof(float) * kWidth));
    file.setFrameBuffer(frame);
    file.readPixels(0, kHeight - 1);
    for (int i = 0; i < kWidth * kHeight; ++i) {
      const int x = i % kWidth, y = i / kWidth;
      const float alpha = i == 0 ? 0.0f : 0.5f;
      EXPECT_EQ(colors[0][y][x], half(alpha)) << i;  // premultiplied
      EXPECT_EQ(colors[1][y][x], half(0.1f * static_cast<float>(x) * alpha)) << i;
      EXPECT_EQ(colors[2][y][x], half(0.1f * static_cast<float>(y) * alpha)) << i;
      EXPECT_EQ(colors[3][y][x], half(hasAlpha ? alpha : 1.0f)) << i;
      EXPECT_EQ(depths[y][x], static_cast<float>(10 * y + x));
    }
  }
}

TEST_F(PictureFiles, RecipesOfBrokenExrFilesAreNotRead) {
  ASSERT_TRUE(Write(Path("a.exr"), MakePicture(true))) << m_error;
  hostkit::Recipe recipe;
  EXPECT_TRUE(hostkit::ReadRecipe(Path("a.exr"), &recipe, &m_error)) << m_error;
  std::string bytes = m_folder.Read("a.exr");
  const std::string type("float\0", 6);
  bytes[bytes.find(type) + type.size()] = 3;  // a byte short, and the next name a byte long
  bytes.insert(bytes.find(type) + type.size() + 8, "\x01");
  m_folder.Write("b.exr", bytes);
  EXPECT_FALSE(hostkit::ReadRecipe(Path("b.exr"), &recipe, &m_error));
  EXPECT_TRUE(Holds(m_error, {"the picture is broken"}));
}

TEST_F(PictureFiles, JpegHoldsPixelsAndRecipe) {
  // Red and green take turns from pixel to pixel, which colour of half the resolution would blur.
  constexpr int kJpegWidth = 20, kJpegHeight = 9;
  const hostkit::Picture picture = MakePicture(true, kJpegWidth, kJpegHeight);
  for (int i = 1; i < kJpegWidth * kJpegHeight; ++i) {
    const int x = i % kJpegWidth, y = i / kJpegWidth;
    auto* pixel = static_cast<std::uint16_t*>(picture.bitmap->GetBufferHead()->Data()) + 4 * i;
    std::swap(pixel[1], pixel[(x + y) % 2 + 1]);
  }
  ASSERT_TRUE(Write(Path("a.jpg"), picture)) << m_error;
  std::string bytes = m_folder.Read("a.jpg");
  const hostkit::BitmapPtr seen = hostkit::LoadPicture(Path("a.jpg"), &m_error);
  ASSERT_TRUE(seen) << m_error;
  ASSERT_EQ(seen->GetHeight(), kJpegHeight);
  for (int i = 1; i < kJpegWidth * kJpegHeight; ++i) {
    const int x = i % kJpegWidth, y = i / kJpegWidth;
    const auto* pixel = static_cast<unsigned char*>(seen->GetBufferHead()->Data()) + 4 * i;
    const bool isGreen = (x + y) % 2 == 1;
    EXPECT_NEAR(pixel[isGreen], 128, 40) << x << ", " << y;
    EXPECT_NEAR(pixel[!isGreen], 12.75 * x, 40) << x << ", " << y;
    EXPECT_NEAR(pixel[2], 12.75 * y, 40) << x << ", " << y;
  }
  EXPECT_EQ(bytes.substr(0, 3), "\xff\xd8\xff");
  EXPECT_EQ(bytes.substr(bytes.size() - 2), "\xff\xd9");
  EXPECT_TRUE(Holds(bytes, {"gl3:command: gl3 render a.obj"}));
  EXPECT_FALSE(Write(Path("wide.jpeg"), MakePicture(false, 65501, 1)));
  EXPECT_TRUE(Holds(m_error, {"65500"}));
  EXPECT_EQ(m_folder.Count(), 1);
}

TEST_F(PictureFiles, RefusalsSayWhyAndLeaveNothing) {
  fs::create_directory(Path("folder.png"));
  m_folder.Write("plain", "x");
  fs::create_symlink("loop.png", Path("loop.png"));
  fs::create_symlink("/dev/full", Path("full.png"));
  fs::create_symlink("/dev/full", Path("full.exr"));
  ExpectRefused(Path("folder.png"), "is a folder");
  ExpectRefused(Path("missing/a.png"), "does not exist");
  ExpectRefused(Path("plain/a.png"), "not a folder");
  ExpectRefused(Path("loop.png"), "circle");
  ExpectRefused(Path("a.gif"), ".png, .exr, .jpg, .jpeg");
  fs::create_symlink("/dev/full", Path("full.tif"));
  ExpectRefused(Path("full.tif"), "disk is full");
  ExpectRefused(Path("full.png"), "disk is full");
  ExpectRefused(Path("full.exr"), "disk is full");
  ExpectRefused(Path(std::string(300, 'n') + ".png"), "File name too long");
  EXPECT_FALSE(Write(Path("a.png"), {}));
  if (::geteuid() != 0) {  // nothing is closed to root
    fs::create_directory(Path("closed"));
    ::chmod(Path("closed").c_str(), 0555);
    ExpectRefused(Path("closed/a.png"), "not writable");
    fs::remove(Path("closed"));
  }
  EXPECT_EQ(m_folder.Count(), 6);
}

TEST_F(PictureFiles, LinksAreFollowedAndPermissionsKept) {
  fs::create_directory(Path("sub"));
  m_folder.Write("sub/old.png", "old");
  // Another group than one's own, where that is allowed.
  constexpr gid_t kGroup = 50;
  const bool isOfGroup = ::chown(Path("sub/old.png").c_str(), static_cast<uid_t>(-1), kGroup) == 0;
  ::chmod(Path("sub/old.png").c_str(), 0604);
  fs::create_symlink("sub/old.png", Path("link.png"));
  fs::create_symlink("sub/new.png", Path("dangling.png"));
  mode_t mask = ::umask(027);
  EXPECT_TRUE(Write(Path("link.png"), MakePicture(false))) << m_error;
  EXPECT_TRUE(Write(Path("dangling.png"), MakePicture(false))) << m_error;
  ::umask(mask);
  for (const char* name : {"link.png", "dangling.png"}) EXPECT_TRUE(fs::is_symlink(Path(name)));
  for (const auto& [name, mode] : {std::pair{"sub/old.png", 0604}, {"sub/new.png", 0640}}) {
    EXPECT_EQ(ReadPng(Path(name)).channels, 3) << name;
    EXPECT_EQ(static_cast<int>(fs::status(Path(name)).permissions()), mode) << name;
  }
  struct stat old {};
  ASSERT_EQ(::stat(Path("sub/old.png").c_str(), &old), 0);
  EXPECT_TRUE(!isOfGroup || old.st_gid == kGroup);
}

// As through /dev/stdout.
TEST_F(PictureFiles, OpenPipesAndDeletedFilesGetTheBytes) {
  ASSERT_TRUE(Write(Path("a.png"), MakePicture(true))) << m_error;
  const std::string whole = m_folder.Read("a.png");
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  std::FILE* deleted = std::tmpfile();
  for (const auto& [to, from] : {std::pair{ends[1], ends[0]}, {fileno(deleted), fileno(deleted)}}) {
    fs::create_symlink(fmt::format("/proc/self/fd/{}", to), Path("open.png"));
    EXPECT_TRUE(Write(Path("open.png"), MakePicture(true))) << m_error;
    fs::remove(Path("open.png"));
    std::string bytes(whole.size() + 1, '\0');
    bytes.resize(static_cast<std::size_t>(::read(from, bytes.data(), bytes.size())));
    EXPECT_EQ(bytes, whole);
  }
  EXPECT_EQ(m_folder.Count(), 1);
  ::close(ends[0]);
  ::close(ends[1]);
  std::fclose(deleted);
}
