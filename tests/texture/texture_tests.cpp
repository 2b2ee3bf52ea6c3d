// Host images into GL textures: sizes, formats, parameters and what becomes of the pixels.
#include "driver/GL3Driver.h"
#include "tests/support/drawing_fixture.h"
#include "tests/support/faults.h"
#include "tests/support/gl_recorder.h"

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
      {{2048, 1}, 1024, true, {1024, 1}}};
  for (const Case& c : cases) {
    const TextureSize size = TextureSizeFor(c.bitmap, c.limit, c.powersOfTwo);
    EXPECT_EQ(size, c.wanted) << c.bitmap.width << " x " << c.bitmap.height;
  }
  EXPECT_EQ(Get4(17), 32);
  EXPECT_EQ(Get4(4096), 4096);
  EXPECT_EQ(Get4(4097), 4096);
  EXPECT_EQ(Get4(4127), 4112);
}

class TextureTest : public DrawingFixture {
 protected:
  void SetUp() override {
    DrawingFixture::SetUp();
    ResetTarget();
    Module().MakeCurrent();
  }
  GL3GADriver& Module() { return static_cast<GL3GADriver&>(*Driver()); }

  static GLint Parameter(const GL3GATexture& texture, GLenum name) {
    GLint value = 0;
    glBindTexture(GL_TEXTURE_2D, texture.m_texture);
    glGetTexParameteriv(GL_TEXTURE_2D, name, &value);
    return value;
  }
  /// Texels in rows, four bytes each.
  static std::vector<unsigned char> Texels(const GL3GATexture& texture) {
    const GlRecorderPause pause;
    std::vector<unsigned char> texels(
        static_cast<std::size_t>(texture.m_width * texture.m_height * 4));
    glBindTexture(GL_TEXTURE_2D, texture.m_texture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
    return texels;
  }
  /// Texels that are not of the given colour.
  static int CountOther(const GL3GATexture& texture, std::array<int, 4> rgba) {
    const std::vector<unsigned char> texels = Texels(texture);
    int others = 0;
    for (std::size_t i = 0; i < texels.size(); i += 4) {
      for (std::size_t k = 0; k < 4; ++k) {
        if (texels[i + k] == rgba.at(k)) continue;
        ++others;
        break;
      }
    }
    return others;
  }
  static Lines Uploads(const GlRecorder& gl) { return gl.CallsTo("glTexImage2D"); }
};

TEST_F(TextureTest, BitmapsAreUploadedAtTheirRoundedSize) {
  GL3GATexture texture;
  GlRecorder gl;
  EXPECT_EQ(texture.MakeGATexture(SolidBitmap(30, 9, {10, 200, 90, 255}).get(), 0, 5, 6), 1);
  EXPECT_EQ(Uploads(gl),
            (Lines{"glTexImage2D(GL_PROXY_TEXTURE_2D, 0, GL_RGBA8, 32, 12, 0, GL_RGB, "
                   "GL_UNSIGNED_BYTE, null)",
                   "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 32, 12, 0, GL_RGB, GL_UNSIGNED_BYTE, "
                   "+0 of 1152)"}));
  EXPECT_EQ(gl.Calls().back(), "glBindTexture(GL_TEXTURE_2D, 0)");
  EXPECT_EQ(CountOther(texture, {10, 200, 90, 255}), 0);
  EXPECT_FALSE(texture.HasTransparency());
  const GLuint first = texture.m_texture;

  Module().SetOption(GL3GADriver::kPowerOfTwoTextures, true);
  EXPECT_EQ(texture.MakeGATexture(SolidBitmap(30, 9, {10, 200, 90, 7}).get(), 0, 0, 0), 1);
  EXPECT_EQ(texture.m_height, 8);
  EXPECT_TRUE(texture.HasTransparency());
  EXPECT_NE(texture.m_texture, first);  // the maker frees nothing
  EXPECT_EQ(CountOther(texture, {10, 200, 90, 7}), 0);
  glDeleteTextures(1, &first);
}

TEST_F(TextureTest, MissingExtensionsAskForPowersOfTwoAndPlainClamping) {
  GL3GATexture texture;
  const GLboolean npot = __GLEW_ARB_texture_non_power_of_two;
  const GLboolean border = __GLEW_ARB_texture_border_clamp;
  __GLEW_ARB_texture_non_power_of_two = __GLEW_ARB_texture_border_clamp = GL_FALSE;
  texture.MakeGATexture(SolidBitmap(48, 9, {1, 2, 3, 255}).get(), 1, 0, 0);
  __GLEW_ARB_texture_non_power_of_two = npot;
  __GLEW_ARB_texture_border_clamp = border;
  EXPECT_EQ(texture.m_width, 64);
  EXPECT_EQ(Parameter(texture, GL_TEXTURE_WRAP_S), GL_CLAMP);
}

TEST_F(TextureTest, WrapModesAndFilters) {
  Module().SetOption(GL3GADriver::kAnisotropicWanted, false);
  GL3GATexture repeated, clamped;
  repeated.MakeGATexture(SolidBitmap(4, 4, {1, 2, 3, 255}).get(), 0, 0, 0);
  clamped.MakeGATexture(SolidBitmap(4, 4, {1, 2, 3, 255}).get(), -1, 0, 0);
  EXPECT_EQ(Parameter(repeated, GL_TEXTURE_WRAP_S), GL_REPEAT);
  EXPECT_EQ(Parameter(repeated, GL_TEXTURE_WRAP_T), GL_REPEAT);
  EXPECT_EQ(Parameter(clamped, GL_TEXTURE_WRAP_S), GL_CLAMP_TO_BORDER);
  EXPECT_EQ(Parameter(clamped, GL_TEXTURE_WRAP_T), GL_CLAMP_TO_BORDER);
  EXPECT_EQ(Parameter(clamped, GL_TEXTURE_MIN_FILTER), GL_LINEAR);
  EXPECT_EQ(Parameter(clamped, GL_TEXTURE_MAG_FILTER), GL_LINEAR);
  EXPECT_EQ(Parameter(clamped, GL_TEXTURE_MAX_ANISOTROPY_EXT), 1);
  GLfloat border[4] = {};
  glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, border);
  EXPECT_EQ(std::vector<float>(border, border + 4), (std::vector<float>{1, 0, 0, 0}));

  Module().SetOption(GL3GADriver::kAnisotropicWanted, true);
  GL3GADriver::gl_max_texture_max_anisotropy_ext = 4;
  GL3GATexture sharp;
  sharp.MakeGATexture(SolidBitmap(4, 4, {1, 2, 3, 255}).get(), 0, 0, 0);
  EXPECT_EQ(Parameter(sharp, GL_TEXTURE_MAX_ANISOTROPY_EXT), 4);
}

TEST_F(TextureTest, OnlyLargePicturesAreCompressed) {
  GL3GADriver::gl_max_texture_size = 83;  // a quarter is 20
  const auto formats = [&](int width, int height, const std::vector<GLint>& compressed) {
    GL3GATexture texture;
    GlRecorder gl;
    gl.OverrideTexLevel(GL_TEXTURE_2D, GL_TEXTURE_COMPRESSED, compressed);
    texture.MakeGATexture(SolidBitmap(width, height, {1, 2, 3, 255}).get(), 0, 0, 0);
    std::vector<std::string> formats;
    for (const std::string& upload : gl.CallsTo("glTexImage2D(GL_TEXTURE_2D, 0, ")) {
      formats.push_back(upload.substr(31, upload.find(',', 31) - 31));
    }
    return formats;
  };
  const std::string plain = "GL_RGBA8";
  const std::string packed = "GL_COMPRESSED_RGBA";
  EXPECT_EQ(formats(20, 20, {}), Lines{plain});
  EXPECT_EQ(formats(24, 4, {1}), Lines{packed});
  EXPECT_EQ(formats(4, 24, {1}), Lines{packed});
  EXPECT_EQ(formats(24, 4, {0}), (Lines{packed, plain}));  // refused
  Module().SetOption(GL3GADriver::kCompressTextures, false);
  EXPECT_EQ(formats(24, 4, {}), Lines{plain});
}

TEST_F(TextureTest, ARefusedSizeIsHalvedOnce) {
  GL3GADriver::gl_max_texture_size = 40;  // large enough to compress, which the retry never does
  // Of 10 texels in three bytes, rows end between the multiples of four that the GL expects.
  GL3GATexture texture;
  GlRecorder gl;
  gl.OverrideTexLevel(GL_PROXY_TEXTURE_2D, GL_TEXTURE_INTERNAL_FORMAT, {0});
  EXPECT_EQ(texture.MakeGATexture(SolidBitmap(19, 7, {10, 200, 90, 255}).get(), 0, 0, 0), 1);
  EXPECT_EQ(Uploads(gl),
            (Lines{"glTexImage2D(GL_PROXY_TEXTURE_2D, 0, GL_RGBA8, 20, 8, 0, GL_RGB, "
                   "GL_UNSIGNED_BYTE, null)",
                   "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 10, 4, 0, GL_RGB, GL_UNSIGNED_BYTE, "
                   "+0 of 120)"}));
  EXPECT_EQ(texture.m_width, 10);
  EXPECT_EQ(texture.m_height, 4);
  EXPECT_EQ(CountOther(texture, {10, 200, 90, 255}), 0);
  GLint alignment = 0;
  glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
  EXPECT_EQ(alignment, 4);
}

TEST_F(TextureTest, BlueFirstBytesGiveTheSamePicture) {
  Module().SetOption(GL3GADriver::kBgrBitmaps, true);
  GL3GATexture opaque, clear;
  GlRecorder gl;
  opaque.MakeGATexture(SolidBitmap(4, 4, {10, 200, 90, 255}).get(), 0, 0, 0);
  clear.MakeGATextureForShader(SolidBitmap(4, 4, {10, 200, 90, 30}).get());
  EXPECT_NE(Uploads(gl)[1].find("GL_BGR,"), std::string::npos);
  EXPECT_NE(Uploads(gl)[2].find("GL_BGRA,"), std::string::npos);
  EXPECT_EQ(CountOther(opaque, {10, 200, 90, 255}), 0);
  EXPECT_EQ(CountOther(clear, {10, 200, 90, 30}), 0);
}

TEST_F(TextureTest, PlanesAreInterleavedRowByRow) {
  unsigned char planes[] = {1, 2, 3, 11, 12, 13, 21, 22, 23, 255, 255, 255,  //
                            4, 5, 6, 14, 15, 16, 24, 25, 26, 255, 255, 255};
  GL3GATexture texture;
  texture.m_width = 3;
  texture.m_height = 2;
  EXPECT_EQ(texture.MakeGATexture(planes), 1);
  EXPECT_EQ(Texels(texture),
            (std::vector<unsigned char>{1, 11, 21, 255, 2, 12, 22, 255, 3, 13, 23, 255,  //
                                        4, 14, 24, 255, 5, 15, 25, 255, 6, 16, 26, 255}));
  EXPECT_EQ(Parameter(texture, GL_TEXTURE_WRAP_T), GL_REPEAT);
  EXPECT_FALSE(texture.HasTransparency());
  planes[22] = 254;
  texture.FreeGATexture();
  texture.MakeGATexture(planes);
  EXPECT_TRUE(texture.HasTransparency());
  planes[22] = 255;
  texture.FreeGATexture();
  texture.MakeGATexture(planes);
  EXPECT_TRUE(texture.HasTransparency());  // stays as it was
}

TEST_F(TextureTest, ShaderInputsAreMadeInTheContextOfTheCaller) {
  OffscreenTarget target(Driver(), 8, 8);
  ASSERT_TRUE(target.ready);
  const AGLContext current = GL3GADriver::m_prevcontext;
  GL3GADriver::gl_max_texture_size = 40;
  GL3GATexture texture;
  GlRecorder gl;
  EXPECT_EQ(texture.MakeGATextureForShader(SolidBitmap(18, 5, {10, 200, 90, 255}).get()), 1);
  EXPECT_EQ(GL3GADriver::m_prevcontext, current);
  EXPECT_EQ(Uploads(gl), Lines{"glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 20, 8, 0, GL_RGB, "
                               "GL_UNSIGNED_BYTE, +0 of 480)"});
  EXPECT_EQ(gl.Count("glTexParameterf"), 0);
  EXPECT_EQ(Parameter(texture, GL_TEXTURE_WRAP_S), GL_CLAMP_TO_EDGE);
  EXPECT_EQ(Parameter(texture, GL_TEXTURE_WRAP_T), GL_CLAMP_TO_EDGE);
  EXPECT_EQ(Parameter(texture, GL_TEXTURE_MIN_FILTER), GL_LINEAR);
  texture.FreeGATexture();
  EXPECT_NE(GL3GADriver::m_prevcontext, current);  // freeing goes to the driver's own
}

TEST_F(TextureTest, NamesAreCountedAndFreedOnce) {
  GL3GATexture texture;
  texture.MakeGATexture(SolidBitmap(4, 4, {1, 2, 3, 255}).get(), 0, 0, 0);
  const GLuint name = texture.m_texture;
  EXPECT_GE(GL3GATexture::m_maxlist, static_cast<int>(name));
  const int highest = GL3GATexture::m_maxlist;
  GlRecorder gl;
  texture.FreeGATexture();
  texture.FreeGATexture();
  EXPECT_EQ(gl.Count("glDeleteTextures"), 1);
  EXPECT_EQ(texture.m_texture, 0u);
  EXPECT_FALSE(glIsTexture(name));
  EXPECT_EQ(GL3GATexture::m_maxlist, highest);
  GL3GATexture::m_maxlist = 0;
  for (int kind = 0; kind < 3; ++kind) {
    GL3GATexture other;
    other.m_width = other.m_height = 4;
    unsigned char planes[64] = {};
    const TestBitmap bitmap = SolidBitmap(4, 4, {1, 2, 3, 255});
    if (kind == 0) other.MakeGATexture(planes);
    if (kind == 1) other.MakeGATexture(bitmap.get(), 0, 0, 0);
    if (kind == 2) other.MakeGATextureForShader(bitmap.get());
    EXPECT_EQ(GL3GATexture::m_maxlist, static_cast<int>(other.m_texture));
    GL3GATexture::m_maxlist = 0;
  }
  EXPECT_EQ(gl.Count("glDeleteTextures"), 4);
  GL3GATexture::m_maxlist = highest;
}

TEST_F(TextureTest, WithoutMemoryOrPictureThereIsNoTexture) {
  GL3GATexture texture;
  const TestBitmap bitmap = SolidBitmap(18, 4, {1, 2, 3, 255});
  const TestBitmap empty(new HBitmapNode(4, 4));
  unsigned char planes[16] = {};
  texture.m_width = texture.m_height = 2;
  GlRecorder gl;
  EXPECT_EQ(texture.MakeGATexture(nullptr), 0);
  EXPECT_EQ(texture.MakeGATexture(nullptr, 0, 0, 0), 0);
  EXPECT_EQ(texture.MakeGATextureForShader(nullptr), 0);
  EXPECT_EQ(texture.MakeGATexture(empty.get(), 0, 0, 0), 0);
  Faults faults;
  faults.FailAlways(FaultPoint::kAllocExt);
  EXPECT_EQ(texture.MakeGATexture(planes), 0);
  EXPECT_EQ(texture.MakeGATexture(bitmap.get(), 0, 0, 0), 0);
  EXPECT_EQ(texture.MakeGATextureForShader(bitmap.get()), 0);
  EXPECT_EQ(gl.Count("glGenTextures"), 0);
  EXPECT_EQ(texture.m_texture, 0u);
}

}  // namespace
