// Bitmaps into textures and back: sizes, depths, merging; the free functions.
#include <fmt/format.h>
#include <half.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <new>
#include <thread>
#include <tuple>

#include "platform/gl.h"
#include "shader/Gl3ShaderMain.h"
#include "shader/Gl3ShaderMainRun.h"
#include "shader/RowMerge.h"
#include "tests/shader/shader_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_names.h"
#include "tests/support/gl_recorder.h"
#include "texture/GL3Texture.h"

namespace {

class TargetsTest : public ShaderFixture {
 protected:
  /// Width and height of a new texture for a bitmap, after checking the count; 0 for none.
  std::pair<int, int> TextureSize(int width, int height) {
    const TestBitmap bitmap = SolidBitmap(width, height, {10, 20, 30, 255});
    int pixels = 0, w = 0, h = 0;
    const GLuint texture = Program().CreateTextureForShader(bitmap.get(), pixels);
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &w);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &h);
    std::vector<std::uint8_t> texels(static_cast<std::size_t>(w * h) * 4);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    for (std::size_t i = 0; i < texels.size(); ++i) {
      if (texels[i] != std::array{10, 20, 30, 255}.at(i % 4)) ADD_FAILURE() << "texel byte " << i;
    }
    glDeleteTextures(1, &texture);
    EXPECT_EQ(pixels, w * h);
    return {w, h};
  }
  static TestBitmap DepthBitmap(const std::vector<float>& depths, int width) {
    const int height = static_cast<int>(depths.size()) / width;
    TestBitmap bitmap(new HBitmapNode(width, height));
    bitmap->AddBuffer(new HBitmapBuffer("Depth", HBitmapBuffer::kFloatChannel, 1, width, height));
    bitmap->GetBufferHead()->AllocateData(0);
    std::copy(depths.begin(), depths.end(), static_cast<float*>(bitmap->GetBufferHead()->Data()));
    return bitmap;
  }
  /// The texels of a depth texture, and the range.
  std::vector<float> DepthTexels(const std::vector<float>& depths, int width, float& smallest,
                                 float& largest) {
    const TestBitmap bitmap = DepthBitmap(depths, width);
    const GLuint texture = Program().CreateDepthTextureForShader(bitmap.get(), smallest, largest);
    std::vector<float> texels(depths.size(), -1);
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_DEPTH_COMPONENT, GL_FLOAT, texels.data());
    glDeleteTextures(1, &texture);
    return texels;
  }
};

TEST_F(TargetsTest, TextureSizes) {
  using Size = std::pair<int, int>;
  MakeCurrent();
  const Replaced<int> limit(GL3GADriver::gl_max_texture_size, 1022);
  EXPECT_EQ(TextureSize(1000, 600), Size(1000, 600));
  // Neither the option nor the names of the scene's textures concern those of effects.
  Effects().SetOption(GL3GADriver::kPowerOfTwoTextures, true);
  const Replaced<std::int32_t> highest(GL3GATexture::m_maxlist, 0);
  EXPECT_EQ(TextureSize(1000, 600), Size(1000, 600));
  EXPECT_EQ(GL3GATexture::m_maxlist, 0);
  Effects().SetOption(GL3GADriver::kPowerOfTwoTextures, false);
  Effects().SetOption(GL3GADriver::kBgrBitmaps, true);
  EXPECT_EQ(TextureSize(1001, 601), Size(1004, 604));
  Effects().SetOption(GL3GADriver::kBgrBitmaps, false);
  EXPECT_EQ(TextureSize(1100, 3), Size(1022, 4)) << "cut off, with rows that end anywhere";
  EXPECT_EQ(TextureSize(3, 1100), Size(4, 1022));
  const Replaced<GLboolean> old(__GLEW_ARB_texture_non_power_of_two, GL_FALSE);
  GL3GADriver::gl_max_texture_size = 4096;
  EXPECT_EQ(TextureSize(1000, 600), Size(1024, 512));
  EXPECT_EQ(TextureSize(1, 724), Size(1, 512));
  EXPECT_EQ(TextureSize(724, 1), Size(512, 1));
}

TEST_F(TargetsTest, DepthTexturesHoldTheLastDepthThroughout) {
  MakeCurrent();
  for (const int threads : {1, 7}) {
    const Replaced<bool> several(GL3GADriver::m_useopenmp, threads > 1);
    const Replaced<int> count(GL3GADriver::m_azprocessor, threads);
    float smallest = 0, largest = 0;
    std::vector<float> depths(12 * 8, 3);
    for (std::size_t i = 0; i < depths.size(); ++i) depths[i] = 10 + static_cast<float>(i);
    depths[40] = 1e8f;
    depths[41] = 2e9f;
    depths.back() = 34;
    const auto expect = [&](float texel, float least, float most) {
      for (const float each : DepthTexels(depths, 12, smallest, largest)) {
        ASSERT_NEAR(each, texel, 1e-6);
      }
      EXPECT_EQ(smallest, least);
      EXPECT_EQ(largest, most);
    };
    expect(24 / 94.0f, 10, 104);
    std::swap(depths[0], depths[93]);  // the ends of the range elsewhere
    depths[94] = 9;
    expect(25 / 94.0f, 9, 103);
    depths.back() = 1e8f;
    expect(1, 9, 103);
    depths.assign(4 * 12, 1e8f);
    expect(1, FLT_MAX, -FLT_MAX);
  }
}

TEST_F(TargetsTest, DepthsOfAnySizeAreScaledToTheTexture) {
  MakeCurrent();
  const TestBitmap bitmap = DepthBitmap(std::vector<float>(9 * 3, 5), 9);
  float smallest = 0, largest = 0;
  GlRecorder gl;
  const GLuint texture = Program().CreateDepthTextureForShader(bitmap.get(), smallest, largest);
  const std::string parameter = "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_";
  EXPECT_EQ(
      gl.Calls(),
      CallsIn(fmt::format(
          "glGenTextures(1, pointer);glBindTexture(GL_TEXTURE_2D, {0});{1}MIN_FILTER, GL_LINEAR);"
          "{1}MAG_FILTER, GL_LINEAR);{1}WRAP_S, GL_CLAMP);{1}WRAP_T, GL_CLAMP);"
          "glTexParameteri(GL_TEXTURE_2D, {2}, {3});"
          "glTexImage2D(GL_TEXTURE_2D, 0, {4}, 12, 4, 0, GL_DEPTH_COMPONENT, GL_FLOAT, pointer);"
          "glBindTexture(GL_TEXTURE_2D, 0)",
          texture, parameter, EnumName(GL_TEXTURE_COMPARE_MODE), EnumName(GL_NONE),
          EnumName(GL_DEPTH_COMPONENT24))));
  glDeleteTextures(1, &texture);
}

TEST_F(TargetsTest, TexturesOfNoPictureNoDepthsOrNoSize) {
  MakeCurrent();
  float smallest = 0, largest = 0;
  const TestBitmap colors = SolidBitmap(4, 4, {1, 2, 3, 4}), none(new HBitmapNode(4, 4));
  const TestBitmap huge(new HBitmapNode(INT32_MAX - 3, INT32_MAX - 3));
  {
    const TestBitmap odd = DepthBitmap(std::vector<float>(9 * 3, 5), 9);
    Faults faults;
    faults.FailAlways(FaultPoint::kAllocBitmap);
    EXPECT_EQ(Program().CreateDepthTextureForShader(odd.get(), smallest, largest), 0u) << "scaled";
  }
  for (HBitmapNode* bitmap : {colors.get(), none.get(), static_cast<HBitmapNode*>(nullptr)}) {
    EXPECT_EQ(Program().CreateDepthTextureForShader(bitmap, smallest, largest), 0u);
  }
  // The first buffer must be as large as the bitmap, and have its data.
  const std::tuple<int, int, bool> buffers[] = {{7, 4, true}, {8, 3, true}, {8, 4, false}};
  for (const auto& [width, height, allocated] : buffers) {
    const TestBitmap bitmap(new HBitmapNode(8, 4));
    bitmap->AddBuffer(new HBitmapBuffer("Depth", HBitmapBuffer::kFloatChannel, 1, width, height));
    if (allocated) bitmap->GetBufferHead()->AllocateData(0);
    EXPECT_EQ(Program().CreateDepthTextureForShader(bitmap.get(), smallest, largest), 0u);
  }
  for (const auto& [width, height] : {std::pair{0, 4}, {4, 0}, {-4, 4}, {4, -4}}) {
    const TestBitmap bitmap(new HBitmapNode(width, height));
    int pixels = 7;
    EXPECT_EQ(Program().CreateTextureForShader(bitmap.get(), pixels), 0u);
    EXPECT_EQ(pixels, 0) << width << " x " << height;
    EXPECT_EQ(Program().CreateDepthTextureForShader(bitmap.get(), smallest, largest), 0u);
  }
  int pixels = 7;
  EXPECT_EQ(Program().CreateTextureForShader(nullptr, pixels), 0u);
  EXPECT_EQ(pixels, 0);
  EXPECT_EQ(Program().CreateTextureForShader(none.get(), pixels), 0u);
  EXPECT_EQ(pixels, 16);
  const Replaced<int> limit(GL3GADriver::gl_max_texture_size, INT32_MAX);
  EXPECT_THROW(Program().CreateDepthTextureForShader(huge.get(), smallest, largest),
               std::bad_array_new_length);
}

// ThreadSanitizer takes the regions of gcc's libgomp for races, since it does not see its barriers.
// Built with clang and -fsanitize=thread, this test and that of the depths are clean, and shares
// that overlap are found, with OMP_TOOL_LIBRARIES=/usr/lib/llvm-14/lib/libarcher.so and
// TSAN_OPTIONS=ignore_noninstrumented_modules=1.
TEST_F(TargetsTest, AnyNumberOfThreadsMergesTheSame) {
  constexpr std::size_t kPlace[] = {2, 1, 0, 3};
  Pixels picture = RandomPixels(37, 5, 1);
  // Black pixels with and without alpha, and some of a single channel.
  for (std::size_t i = 40; i < 160; ++i) {
    if (i % 4 != 3 || i < 80) picture.bytes[i] = i >= 120 && i % 4 == i / 4 % 3 ? 1 : 0;
  }
  std::vector<std::uint16_t> wanted(picture.bytes.size()), poison(wanted.size()), merged;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    wanted[i / 4 * 4 + kPlace[i % 4]] = half(picture.bytes[i] / 255.0f).bits();
    poison[i] = static_cast<std::uint16_t>(0x4000 + i);  // from 2 up: no byte becomes that
  }
  merged = poison;
  for (std::size_t i = 0; i < wanted.size(); i += 4) {
    const bool black = wanted[i] == 0 && wanted[i + 1] == 0 && wanted[i + 2] == 0;
    if (!black) std::copy_n(wanted.begin() + i, 3, merged.begin() + i);
  }
  for (const int threads : {1, 2, 7, 1000}) {
    const Replaced<bool> several(GL3GADriver::m_useopenmp, threads > 1);
    const Replaced<int> count(GL3GADriver::m_azprocessor, threads);
    const TestBitmap bitmap(new HBitmapNode(37, 5));
    for (const int mode : {0, -1}) {
      if (mode != 0) {
        std::copy(poison.begin(), poison.end(),
                  static_cast<std::uint16_t*>(bitmap->GetBufferHead()->Data()));
      }
      Program().MergeBuffers(bitmap.get(), bitmap.get(), picture.bytes.data(), mode, 0, 0, 37, 5);
      const auto* halves = static_cast<std::uint16_t*>(bitmap->GetBufferHead()->Data());
      const auto& right = mode == 0 ? wanted : merged;
      for (std::size_t i = 0; i < right.size(); ++i) {
        ASSERT_EQ(halves[i], right[i]) << threads << " threads, mode " << mode << ", half " << i;
      }
    }
  }
}

/// How many threads a merge starts that is done on a thread of its own.
TEST_F(TargetsTest, MergesUseAsManyThreadsAsAreSet) {
#ifdef __clang__
  GTEST_SKIP() << "clang's OpenMP keeps threads for the next merge, so that they cannot be counted";
#endif
  const auto threads = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
  };
  const auto before = threads();
  Pixels picture = RandomPixels(300, 1, 2);
  for (const auto& [several, set, used] :
       {std::tuple{false, 5, 1}, {true, 5, 5}, {true, 0, 1}, {true, -3, 1}, {true, 999, 256}}) {
    const Replaced<bool> useSeveral(GL3GADriver::m_useopenmp, several);
    const Replaced<int> count(GL3GADriver::m_azprocessor, set);
    const TestBitmap bitmap(new HBitmapNode(300, 1));
    std::ptrdiff_t during = 0;
    std::thread([&] {
      Program().MergeBuffers(nullptr, bitmap.get(), picture.bytes.data(), 0, 0, 0, 300, 1);
      during = threads();
    }).join();
    EXPECT_EQ(during - before, used) << set;
    EXPECT_EQ(Result(*bitmap).bytes, picture.bytes);
    while (threads() > before) std::this_thread::yield();  // they end after the one they served
  }
}

TEST(ShaderFunctionsTest, StaticShare) {
  const struct {
    int threads, columns;
    std::vector<int> bounds;  // where the shares begin, and where the last one ends
  } cases[] = {{3, 10, {0, 4, 7, 10}}, {7, 3, {0, 1, 2, 3, 3, 3, 3, 3}}, {4, 0, {0, 0, 0, 0, 0}}};
  for (const auto& each : cases) {
    for (int thread = 0; thread < each.threads; ++thread) {
      const ColumnShare share = StaticShare(thread, each.threads, each.columns);
      EXPECT_EQ(share.first, each.bounds[thread]) << thread << " of " << each.threads;
      EXPECT_EQ(share.end, each.bounds[thread + 1]) << thread << " of " << each.threads;
    }
  }
}

TEST_F(TargetsTest, EveryMergeOfModeZeroAddsABuffer) {
  Pixels picture = RandomPixels(8, 4, 2);
  const TestBitmap bitmap(new HBitmapNode(8, 4));
  for (int calls = 1; calls <= 3; ++calls) {
    picture.bytes[0] = static_cast<std::uint8_t>(calls);
    EXPECT_EQ(Program().MergeBuffers(nullptr, bitmap.get(), picture.bytes.data(), 0, 0, 0, 8, 4),
              1);
    int buffers = 0;
    for (const HBitmapBuffer* at = bitmap->GetBufferHead(); at; at = at->Next(), ++buffers) {
      EXPECT_STREQ(at->Name().Text(), "ColorAlpha");
    }
    EXPECT_EQ(buffers, calls);
    EXPECT_EQ(Result(*bitmap).bytes, picture.bytes) << "the newest is found";
  }
}

TEST_F(TargetsTest, OtherModesPutColoursOverTheSourceButForBlackOnes) {
  Pixels picture = RandomPixels(16, 8, 3);
  constexpr std::size_t kWhite = 16 * 4 * 4;  // bytes
  std::fill_n(picture.bytes.begin(), kWhite, std::uint8_t{255});
  for (const int effect : {0, 1}) {
    const TestBitmap source(new HBitmapNode(16, 8)), destination(new HBitmapNode(16, 8));
    Program().MergeBuffers(nullptr, source.get(), picture.bytes.data(), 0, 0, 0, 16, 8);
    // A blur without passes; a negative.
    ASSERT_EQ(Init(effect, 1, static_cast<float>(effect), 2, 16, 8), 1);
    ASSERT_EQ(Program().Process(effect, source.get(), destination.get(), 0), 1);
    EXPECT_EQ(destination->GetBufferHead(), nullptr);
    EXPECT_EQ(source->GetBufferHead()->Next(), nullptr);
    const Pixels result = Result(*source);
    for (std::size_t i = 0; i < picture.bytes.size(); ++i) {
      const bool turned = effect == 1 && i >= kWhite && i % 4 != 3;
      ASSERT_EQ(result.bytes.at(i), turned ? 255 - picture.bytes[i] : picture.bytes[i]) << i;
    }
  }
}

TEST_F(TargetsTest, MergesThatCannotBeDoneLeaveEverything) {
  const Pixels before = RandomPixels(8, 8, 1);
  Pixels picture = RandomPixels(16, 16, 2);
  const TestBitmap bytes = Bitmap(before), none(new HBitmapNode(8, 8)),
                   small(new HBitmapNode(8, 8));
  Pixels base = before;
  Program().MergeBuffers(nullptr, small.get(), base.bytes.data(), 0, 0, 0, 8, 8);
  const auto merge = [&](HBitmapNode* source, HBitmapNode* destination, int mode, int w, int h) {
    EXPECT_EQ(Program().MergeBuffers(source, destination, picture.bytes.data(), mode, 0, 0, w, h),
              1);
  };
  merge(bytes.get(), none.get(), 1, 16, 16);
  EXPECT_EQ(std::memcmp(bytes->GetBufferHead()->Data(), before.bytes.data(), before.bytes.size()),
            0);
  merge(none.get(), nullptr, 1, 16, 16);
  merge(nullptr, nullptr, 1, 16, 16);
  merge(nullptr, nullptr, 0, 16, 16);
  merge(small.get(), nullptr, 1, 16, 16);
  const Pixels fitting = Result(*small);
  for (int i = 0; i < 8 * 8 * 3; ++i) {
    const int x = i / 3 % 8, y = i / 24;
    ASSERT_EQ(fitting.At(x, y, i % 3), picture.At(x, y, i % 3)) << "what fits: " << x << ", " << y;
  }
  // No colours of half floats to put them over.
  for (const auto& [type, channels] :
       {std::pair{HBitmapBuffer::kHalfChannel, 3}, {HBitmapBuffer::kFloatChannel, 4}}) {
    const TestBitmap other(new HBitmapNode(8, 8));
    auto* buffer = new HBitmapBuffer("Other", type, channels, 8, 8);
    other->AddBuffer(buffer);
    merge(other.get(), nullptr, 1, 8, 8);
    buffer->AllocateData(0);
    std::memset(buffer->Data(), 5, 8 * 8 * 2 * 3);
    merge(other.get(), nullptr, 1, 8, 8);
    const auto* bytes = static_cast<const char*>(buffer->Data());
    EXPECT_EQ(std::count(bytes, bytes + 8 * 8 * 2 * 3, 5), 8 * 8 * 2 * 3);
  }
  merge(nullptr, none.get(), 0, -3, 16);
  Faults faults;
  faults.FailAlways(FaultPoint::kAllocBitmap);
  merge(nullptr, none.get(), 0, 16, 16);
  faults.Fail(FaultPoint::kAllocString, 2);  // the buffer's own copy of its name
  merge(nullptr, none.get(), 0, 16, 16);
  EXPECT_EQ(faults.Failures(FaultPoint::kAllocString), 1);
}

TEST(ShaderFunctionsTest, Truncated) {
  const std::pair<double, std::int32_t> cases[] = {{3.9, 3},
                                                   {-3.9, -3},
                                                   {0.5, 0},
                                                   {2147483647.5, INT32_MAX},
                                                   {1e300, INT32_MIN},
                                                   {-1e300, INT32_MIN},
                                                   {2147483648.0, INT32_MIN},
                                                   {-2147483647.5, -INT32_MAX},
                                                   {-2147483648.5, INT32_MIN},
                                                   {NAN, INT32_MIN}};
  for (const auto& [value, wanted] : cases) EXPECT_EQ(Truncated(value), wanted) << value;
}

TEST(ShaderFunctionsTest, SGet2SuperLerpTileSize) {
  EXPECT_EQ(SGet2(-5), -4);
  EXPECT_EQ(SGet2(INT32_MAX), INT32_MAX) << "there is none above";
  EXPECT_EQ(SGet2(1000), 1000);
  EXPECT_EQ(SGet2(1001), 1004);
  EXPECT_EQ(SGet2(4097), 4100) << "no turning point";
  EXPECT_EQ(SuperLerp(0, 1, 2, 4, 3), 0.5f);
  EXPECT_EQ(SuperLerp(0, 1, 2, 4, 2), 0);
  EXPECT_EQ(SuperLerp(0, 1, 2, 4, 5), 1);
  EXPECT_EQ(SuperLerp(5, 11, 2, 6, 5), 9.5f);
  EXPECT_EQ(SuperLerp(5, 9, 2, 2, 2), 5);
  EXPECT_EQ(SuperLerp(5, 9, 2, 2, 2.1f), 9);
  const std::pair<int, int> sizes[] = {{255, 255},  {510, 255}, {256, 128},
                                       {1000, 250}, {509, 1},   {1, 1}};
  for (const auto& [n, side] : sizes) EXPECT_EQ(GetTileSize(n), side) << n;
}

TEST(ShaderFunctionsTest, FillEdge) {
  struct Case {
    int width, height;
    std::vector<unsigned char> before, after;
  };
  const Case cases[] = {
      {4, 3, {9, 8, 7, 9, 6, 5, 3, 9, 9, 4, 9, 9}, {5, 5, 3, 3, 5, 5, 3, 3, 4, 4, 3, 3}},
      // Corners: themselves, a neighbour in the row, one in the column.
      {3, 3, {1, 5, 9, 7, 8, 6, 3, 2, 9}, {1, 5, 5, 7, 8, 6, 2, 2, 2}},
      {3, 3, {9, 7, 4, 5, 8, 6, 9, 9, 3}, {5, 7, 4, 5, 8, 6, 5, 8, 3}},
      {3, 4, {9, 9, 9, 9, 7, 3, 1, 6, 9, 2, 9, 9}, {7, 7, 3, 7, 7, 3, 1, 6, 6, 1, 6, 6}},
      {2, 2, {1, 5, 6, 9}, {1, 1, 1, 1}},
      {2, 3, {9, 9, 3, 5, 9, 9}, {3, 3, 3, 3, 3, 3}},
      {1, 3, {3, 2, 1}, {3, 2, 1}},
      {3, 1, {3, 2, 1}, {3, 2, 1}}};
  for (const Case& each : cases) {
    std::vector<unsigned char> mask = each.before;
    filledge(mask.data(), each.width, each.height);
    EXPECT_EQ(mask, each.after) << each.width << "x" << each.height;
  }
}

}  // namespace
