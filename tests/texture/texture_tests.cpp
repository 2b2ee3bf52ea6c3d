// Host images into GL textures: sizes, formats, parameters and what becomes of the pixels.
#include <algorithm>
#include <cstring>

#include "tests/support/drawing_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_names.h"
#include "tests/support/gl_recorder.h"
#include "tests/support/next_symbol.h"
#include "tests/support/platform_calls.h"

// In front of the host kit's: told among the platform's calls.

HBitmapNode* HBitmapNode::ScaleBitmap(int width, int height) {
  using Function = HBitmapNode*(HBitmapNode*, int, int);
  static auto* const next = NextSymbol<Function>("_ZN11HBitmapNode11ScaleBitmapEii");
  const PlatformCall call("ScaleBitmap", width, height);
  return next(this, width, height);
}

void HTreeObject::DeleteHandle() {
  static auto* const next = NextSymbol<void(HTreeObject*)>("_ZN11HTreeObject12DeleteHandleEv");
  const PlatformCall call("ReleaseScaled");
  next(this);
}

void HByteBlock::DeleteHandle() {
  static auto* const next = NextSymbol<void(HByteBlock*)>("_ZN10HByteBlock12DeleteHandleEv");
  const PlatformCall call("ReleaseBytes");
  next(this);
}

namespace {

TEST(TextureSizeTest, SizesAreRounded) {
  struct Case {
    TextureSize bitmap;
    int limit;
    bool powersOfTwo;
    TextureSize wanted;
  };
  const Case cases[] = {
      {{300, 100}, 8192, false, {300, 100}},     {{301, 101}, 8192, false, {304, 104}},
      {{5000, 5001}, 8192, false, {5000, 5000}}, {{4096, 4097}, 8192, false, {4096, 4096}},
      {{4093, 5003}, 8192, false, {4096, 5000}}, {{300, 100}, 8192, true, {256, 128}},
      {{724, 725}, 8192, true, {512, 1024}},     {{1, 3}, 8192, true, {1, 4}},
      {{1024, 30}, 1024, false, {512, 16}},      {{30, 1024}, 1024, false, {16, 512}},
      {{1023, 30}, 1024, false, {1024, 32}},     {{4800, 30}, 1024, false, {2400, 16}},
      {{2048, 1}, 1024, false, {1024, 4}},       {{1, 2047}, 1024, false, {4, 1024}}};
  for (const Case& c : cases) {
    const TextureSize size = TextureSizeFor(c.bitmap, c.limit, c.powersOfTwo);
    EXPECT_EQ(size, c.wanted) << c.bitmap.width << " x " << c.bitmap.height;
  }
  EXPECT_EQ(TextureSizeFor({0, -3}, 8192, true), (TextureSize{1, 1}));
  EXPECT_EQ(Get4(17), 32);
  EXPECT_EQ(Get4(4096), 4096);
  EXPECT_EQ(Get4(4097), 4096);
  EXPECT_EQ(Get4(4127), 4112);
}

// What a log of calls consists of.
constexpr char kMakeCurrent[] =
    "aglSetDrawable(context1, port1);aglSetCurrentContext(context1);CGLEnable(context1, 313);";
constexpr char kAnisotropy[] = "glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, 7);";
constexpr char kBorder[] =
    "glTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, {1, 0, 0, 0});";
constexpr char kAskCompressed[] =
    "glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_COMPRESSED);";
constexpr char kUnbind[] = "glBindTexture(GL_TEXTURE_2D, 0);";
constexpr char kRelease[] = "ReleaseScaled();ReleaseBytes();";

std::string Scaling(TextureSize size) {
  return fmt::format("ScaleBitmap({}, {});", size.width, size.height);
}
std::string NewTexture(const GL3GATexture& texture, const char* wrap) {
  std::string text =
      fmt::format("glGenTextures(1, pointer);glBindTexture(GL_TEXTURE_2D, {});", texture.m_texture);
  const std::pair<const char*, const char*> parameters[] = {
      {"MAG_FILTER", "GL_LINEAR"}, {"MIN_FILTER", "GL_LINEAR"}, {"WRAP_S", wrap}, {"WRAP_T", wrap}};
  for (const auto& [parameter, value] : parameters) {
    text += fmt::format("glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_{}, {});", parameter, value);
  }
  return text;
}
std::string Image(const char* target, const char* internal, TextureSize size, const char* format,
                  const std::string& pixels) {
  return fmt::format("glTexImage2D({}, 0, {}, {}, {}, 0, {}, GL_UNSIGNED_BYTE, {});", target,
                     internal, size.width, size.height, format, pixels);
}
std::string Upload(const char* internal, TextureSize size, const char* format) {
  const int row = size.width * (std::strchr(format, 'A') ? 4 : 3);
  const std::string image =
      Image("GL_TEXTURE_2D", internal, size, format, fmt::format("+0 of {}", row * size.height));
  if (row % 4 == 0) return image;
  return "glPixelStorei(GL_UNPACK_ALIGNMENT, 1);" + image +
         "glPixelStorei(GL_UNPACK_ALIGNMENT, 4);";
}
std::string Proxy(TextureSize size, const char* format) {
  return Image("GL_PROXY_TEXTURE_2D", "GL_RGBA8", size, format, "null") +
         fmt::format("glGetTexLevelParameteriv(GL_PROXY_TEXTURE_2D, 0, {});",
                     EnumName(GL_TEXTURE_INTERNAL_FORMAT));
}

/// A picture whose bytes differ from pixel to pixel and from channel to channel; opaque or not.
TestBitmap NumberedBitmap(TextureSize size, bool opaque) {
  TestBitmap bitmap = SolidBitmap(size.width, size.height, {});
  auto* bytes = static_cast<std::uint8_t*>(bitmap->GetBufferHead()->Data());
  for (int i = 0; i < size.width * size.height * 4; ++i) {
    bytes[i] = static_cast<std::uint8_t>(opaque && i % 4 == 3 ? 255 : 7 * i + 3);
  }
  return bitmap;
}

using Option = GL3GADriver::OptionFlag;
using Bytes = std::vector<unsigned char>;

class TextureTest : public DrawingFixture {
 protected:
  void SetUp() override {
    DrawingFixture::SetUp();
    GL3GADriver::gl_max_texture_max_anisotropy_ext = 7;
    SetOptions({});
  }
  /// Of those that textures read, these alone are on.
  void SetOptions(const std::vector<Option>& options) {
    for (const Option option : {Option::kAnisotropicWanted, Option::kPowerOfTwoTextures,
                                Option::kBgrBitmaps, Option::kCompressTextures}) {
      Driver()->SetOption(option, std::count(options.begin(), options.end(), option) > 0);
    }
  }
  /// What `work` calls, with the target's context current before. `own`: the driver's is then.
  template <typename Work>
  Lines CallsOf(GlRecorder& gl, bool own, const Work& work) {
    {
      const GlRecorderPause pause;
      Buffer().MakeCurrent(0);
    }
    const AGLContext former = GL3GADriver::m_prevcontext;
    gl.Clear();
    work();
    EXPECT_EQ(GL3GADriver::m_prevcontext, own ? GL3GADriver::m_context : former);
    return gl.Calls();
  }
  /// Texels in rows, four bytes each.
  static Bytes Texels(const GL3GATexture& texture) {
    const GlRecorderPause pause;
    Bytes texels(static_cast<std::size_t>(texture.m_width * texture.m_height * 4));
    glBindTexture(GL_TEXTURE_2D, texture.m_texture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    return texels;
  }
  static Bytes BytesOf(const HBitmapNode& bitmap) {
    const auto* bytes = static_cast<const unsigned char*>(bitmap.GetBufferHead()->Data());
    return {bytes, bytes + bitmap.GetWidth() * bitmap.GetHeight() * 4};
  }
};

TEST_F(TextureTest, SurfacesArePicturesAtTheirRoundedSize) {
  struct Case {
    int limit;  // of the GL's textures
    TextureSize bitmap;
    int wrap;
    const char* format;
    std::vector<Option> options;
    TextureSize size;
    bool packed;           // tried first
    GLint compressed = 0;  // what the GL says of it
  };
  const Case cases[] = {
      {8192, {30, 9}, 0, "GL_RGB", {}, {32, 12}, false},
      {8192, {32, 12}, -1, "GL_RGB", {Option::kAnisotropicWanted}, {32, 12}, false},
      {8192, {30, 9}, 5, "GL_RGBA", {Option::kPowerOfTwoTextures}, {32, 8}, false},
      {8192,
       {2, 4},
       0,
       "GL_BGR",
       {Option::kPowerOfTwoTextures, Option::kBgrBitmaps},
       {2, 4},
       false},
      {8192, {12, 32}, 3, "GL_BGRA", {Option::kBgrBitmaps}, {12, 32}, false},
      {8192, {12, 32}, 0, "GL_RGBA", {}, {12, 32}, false},
      {30, {30, 9}, 0, "GL_RGB", {}, {16, 4}, false},
      {31, {30, 9}, 0, "GL_RGB", {}, {32, 12}, false},
      // A quarter is 20.
      {83, {20, 18}, 0, "GL_RGB", {Option::kCompressTextures}, {20, 20}, false},
      {83, {21, 4}, 0, "GL_RGBA", {Option::kCompressTextures}, {24, 4}, true},
      {83, {4, 24}, 0, "GL_RGB", {Option::kCompressTextures}, {4, 24}, true, 2},
      {83, {4, 24}, 0, "GL_RGB", {Option::kAnisotropicWanted}, {4, 24}, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    GL3GADriver::gl_max_texture_size = c.limit;
    SetOptions(c.options);
    const bool opaque = !std::strchr(c.format, 'A'), bgr = c.format[3] == 'B';
    const TestBitmap bitmap = NumberedBitmap(c.bitmap, opaque);
    GL3GATexture texture;
    texture.m_flags = opaque ? 0x83 : 0x82;  // another answer, and bits that are not its own
    GlRecorder gl(GlRecorder::kPlatform);
    gl.OverrideTexLevel(GL_TEXTURE_2D, GL_TEXTURE_COMPRESSED, {c.compressed});
    const Lines calls =
        CallsOf(gl, true, [&] { EXPECT_EQ(texture.MakeGATexture(bitmap.get(), c.wrap, 5, 6), 1); });
    const bool scaled = c.bitmap != c.size;
    std::string wanted;
    if (scaled) wanted += Scaling(c.size);
    wanted += fmt::format("CreateByteBlock({}, 0, {});", c.wrap, bgr ? 1 : 0) + kMakeCurrent;
    wanted += NewTexture(texture, c.wrap ? "GL_CLAMP_TO_BORDER" : "GL_REPEAT");
    wanted += (c.wrap ? kBorder : "") + Proxy(c.size, c.format);
    if (c.packed) wanted += Upload("GL_COMPRESSED_RGBA", c.size, c.format) + kAskCompressed;
    if (!c.compressed) wanted += Upload("GL_RGBA8", c.size, c.format);
    if (std::count(c.options.begin(), c.options.end(), Option::kAnisotropicWanted)) {
      wanted += kAnisotropy;
    }
    wanted += kUnbind;
    if (scaled) wanted += "ReleaseScaled();";
    EXPECT_EQ(calls, CallsIn(wanted + "ReleaseBytes()"));
    EXPECT_EQ(texture.m_flags, opaque ? 0x82 : 0x83);
    EXPECT_EQ(texture.HasTransparency(), !opaque);
    EXPECT_EQ((TextureSize{texture.m_width, texture.m_height}), c.size);
    if (!scaled && !c.packed) {
      EXPECT_EQ(Texels(texture), BytesOf(*bitmap));
    }
  }
}

TEST_F(TextureTest, WhatTheGLLacksIsDoneWithout) {
  GLboolean* const flags[] = {&__GLEW_ARB_texture_non_power_of_two,
                              &__GLEW_ARB_texture_border_clamp,
                              &__GLEW_EXT_texture_filter_anisotropic};
  SetOptions({Option::kAnisotropicWanted});
  for (GLboolean* flag : flags) *flag = GL_FALSE;
  const TestBitmap bitmap = NumberedBitmap({48, 9}, true);
  GL3GATexture texture;
  GlRecorder gl(GlRecorder::kPlatform);
  const Lines calls = CallsOf(gl, true, [&] { texture.MakeGATexture(bitmap.get(), 1, 0, 0); });
  for (GLboolean* flag : flags) *flag = GL_TRUE;
  EXPECT_EQ(calls, CallsIn(Scaling({64, 8}) + "CreateByteBlock(1, 0, 0);" + kMakeCurrent +
                           NewTexture(texture, "GL_CLAMP") + Proxy({64, 8}, "GL_RGB") +
                           Upload("GL_RGBA8", {64, 8}, "GL_RGB") + kUnbind + kRelease));
}

TEST_F(TextureTest, ARefusedSizeIsHalvedOnce) {
  GL3GADriver::gl_max_texture_size = 40;  // large enough to compress, which the retry never does
  SetOptions({Option::kCompressTextures, Option::kAnisotropicWanted});
  // At half the size the one pixel that is not opaque is lost. Of 10 texels in three bytes, rows
  // end between the multiples of four that the GL expects.
  const TestBitmap bitmap = SolidBitmap(20, 8, {10, 200, 90, 255});
  static_cast<std::uint8_t*>(bitmap->GetBufferHead()->Data())[83] = 254;
  for (const GLint answer : {0, GL_RGBA}) {
    GL3GATexture texture;
    texture.m_flags = 0x82;
    GlRecorder gl(GlRecorder::kPlatform);
    gl.OverrideTexLevel(GL_PROXY_TEXTURE_2D, GL_TEXTURE_INTERNAL_FORMAT, {answer});
    const Lines calls =
        CallsOf(gl, true, [&] { EXPECT_EQ(texture.MakeGATexture(bitmap.get(), 3, 0, 0), 1); });
    EXPECT_EQ(calls, CallsIn(std::string("CreateByteBlock(3, 0, 0);") + kMakeCurrent +
                             NewTexture(texture, "GL_CLAMP_TO_BORDER") + kBorder +
                             Proxy({20, 8}, "GL_RGBA") + "ReleaseBytes();" + Scaling({10, 4}) +
                             "CreateByteBlock(3, 0, 0);" + Upload("GL_RGBA8", {10, 4}, "GL_RGB") +
                             kRelease + kAnisotropy + kUnbind));
    EXPECT_EQ((TextureSize{texture.m_width, texture.m_height}), (TextureSize{10, 4}));
    EXPECT_EQ(texture.m_flags, 0x82);
    const Bytes texels = Texels(texture);
    for (std::size_t i = 0; i < texels.size(); ++i) {
      ASSERT_EQ(texels[i], (std::array{10, 200, 90, 255}.at(i % 4))) << i;
    }
  }
}

TEST_F(TextureTest, WithoutMemoryForTheRetryNoNameIsKept) {
  const TestBitmap bitmap = SolidBitmap(18, 6, {1, 2, 3, 255});
  // The scaled picture's memory and its bytes', before the GL refuses the size and after that.
  for (int nth = 1; nth <= 5; ++nth) {
    SCOPED_TRACE(nth);
    GL3GATexture::m_maxlist = 0;
    GL3GATexture texture;
    GlRecorder gl;
    gl.OverrideTexLevel(GL_PROXY_TEXTURE_2D, GL_TEXTURE_INTERNAL_FORMAT, {0});
    Faults faults;
    faults.Fail(FaultPoint::kAllocBitmap, nth);
    EXPECT_EQ(texture.MakeGATexture(bitmap.get(), 0, 0, 0), nth == 5 ? 1 : 0);
    EXPECT_EQ(gl.Count("glGenTextures"), nth < 3 ? 0 : 1);
    EXPECT_EQ(gl.Count("glDeleteTextures"), nth == 3 || nth == 4 ? 1 : 0);
    EXPECT_EQ(texture.m_texture != 0, nth == 5);
    EXPECT_EQ(GL3GATexture::m_maxlist, static_cast<int>(texture.m_texture));
  }
}

TEST_F(TextureTest, PlanesAreInterleavedRowByRow) {
  unsigned char planes[] = {1, 2, 3, 11, 12, 13, 21, 22, 23, 255, 255, 255,  //
                            4, 5, 6, 14, 15, 16, 24, 25, 26, 255, 255, 255};
  GL3GATexture texture;
  texture.m_width = 3;
  texture.m_height = 2;
  texture.m_flags = 0x82;
  GlRecorder gl(GlRecorder::kPlatform);
  const Lines calls = CallsOf(gl, true, [&] { EXPECT_EQ(texture.MakeGATexture(planes), 1); });
  EXPECT_EQ(calls, CallsIn(kMakeCurrent + NewTexture(texture, "GL_REPEAT") +
                           Upload("GL_RGBA8", {3, 2}, "GL_RGBA") + kUnbind));
  EXPECT_EQ(Texels(texture), (Bytes{1, 11, 21, 255, 2, 12, 22, 255, 3, 13, 23, 255,  //
                                    4, 14, 24, 255, 5, 15, 25, 255, 6, 16, 26, 255}));
  EXPECT_EQ(texture.m_flags, 0x82);
  for (const int alpha : {254, 7, 255}) {
    planes[10] = static_cast<unsigned char>(alpha);
    texture.FreeGATexture();
    texture.MakeGATexture(planes);
    EXPECT_EQ(Texels(texture)[7], alpha);
    EXPECT_EQ(texture.m_flags, 0x83) << "stays as it was";
  }
}

TEST_F(TextureTest, ShaderInputsAreMadeInTheContextOfTheCaller) {
  GL3GADriver::gl_max_texture_size = 40;
  for (const bool opaque : {true, false}) {
    SetOptions({Option::kCompressTextures, Option::kAnisotropicWanted,
                opaque ? Option::kCompressTextures : Option::kBgrBitmaps});
    const TestBitmap bitmap = NumberedBitmap({18, 5}, opaque);
    GL3GATexture texture;
    texture.m_flags = opaque ? 0x83 : 0x82;
    GlRecorder gl(GlRecorder::kPlatform);
    const Lines calls =
        CallsOf(gl, false, [&] { EXPECT_EQ(texture.MakeGATextureForShader(bitmap.get()), 1); });
    const char* format = opaque ? "GL_RGB" : "GL_BGRA";
    EXPECT_EQ(calls,
              CallsIn(Scaling({20, 8}) + fmt::format("CreateByteBlock(0, 0, {});", opaque ? 0 : 1) +
                      NewTexture(texture, "GL_CLAMP_TO_EDGE") +
                      Upload("GL_RGBA8", {20, 8}, format) + kUnbind + kRelease));
    EXPECT_EQ((TextureSize{texture.m_width, texture.m_height}), (TextureSize{20, 8}));
    EXPECT_EQ(texture.m_flags, opaque ? 0x82 : 0x83);
  }
}

TEST_F(TextureTest, NamesAreCountedAndFreedOnce) {
  const TestBitmap bitmap = SolidBitmap(4, 4, {1, 2, 3, 255});
  const int highest = GL3GATexture::m_maxlist;
  for (int kind = 0; kind < 3; ++kind) {
    for (const int former : {0, 5000}) {
      GL3GATexture::m_maxlist = former;
      auto texture = std::make_unique<GL3GATexture>();
      texture->m_width = texture->m_height = 4;
      unsigned char planes[64] = {};
      if (kind == 0) texture->MakeGATexture(planes);
      if (kind == 1) texture->MakeGATexture(bitmap.get(), 0, 0, 0);
      if (kind == 2) texture->MakeGATextureForShader(bitmap.get());
      const GLuint name = texture->m_texture;
      ASSERT_TRUE(glIsTexture(name));
      const int now = former ? former : static_cast<int>(name);
      EXPECT_EQ(GL3GATexture::m_maxlist, now);
      GlRecorder gl(GlRecorder::kPlatform);
      const Lines freed = CallsIn(kMakeCurrent + fmt::format("glDeleteTextures(1, {{{}}})", name));
      if (former) {
        EXPECT_EQ(CallsOf(gl, true, [&] { texture->FreeGATexture(); }), freed);
        EXPECT_EQ(texture->m_texture, 0u);
        EXPECT_EQ(CallsOf(gl, false, [&] { texture->FreeGATexture(); }), Lines());
      }
      EXPECT_EQ(CallsOf(gl, !former, [&] { texture.reset(); }), former ? Lines() : freed);
      EXPECT_EQ(GL3GATexture::m_maxlist, now);
    }
  }
  GL3GATexture::m_maxlist = highest;
}

TEST_F(TextureTest, WithoutMemoryOrPictureThereIsNoTexture) {
  GL3GATexture texture;
  const TestBitmap bitmap = SolidBitmap(18, 4, {1, 2, 3, 255});
  const TestBitmap empty(new HBitmapNode(4, 4));
  unsigned char planes[16] = {};
  GlRecorder gl;
  for (const auto& [width, height] : {std::pair{0, 2}, {2, 0}, {-2, 2}, {2, -2}, {-2, -2}}) {
    texture.m_width = width;
    texture.m_height = height;
    EXPECT_EQ(texture.MakeGATexture(planes), 0) << width << " x " << height;
  }
  texture.m_width = texture.m_height = 2;
  EXPECT_EQ(texture.MakeGATexture(nullptr), 0);
  EXPECT_EQ(texture.MakeGATexture(nullptr, 0, 0, 0), 0);
  EXPECT_EQ(texture.MakeGATextureForShader(nullptr), 0);
  EXPECT_EQ(texture.MakeGATexture(empty.get(), 0, 0, 0), 0);
  EXPECT_EQ(texture.MakeGATextureForShader(empty.get()), 0);
  Faults faults;
  faults.FailAlways(FaultPoint::kAllocExt);
  EXPECT_EQ(texture.MakeGATexture(planes), 0);
  EXPECT_EQ(texture.MakeGATexture(bitmap.get(), 0, 0, 0), 0);
  EXPECT_EQ(texture.MakeGATextureForShader(bitmap.get()), 0);
  EXPECT_EQ(gl.Calls(), Lines());
  EXPECT_EQ(texture.m_texture, 0u);
}

}  // namespace
