// Shader programs on a driver that keeps the surfaces of effects, with a log in a folder of the
// test's own.
#pragma once

#include <half.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/services/current_driver.h"
#include "shader/Gl3ShaderProgram.h"
#include "tests/support/common/replaced.h"
#include "tests/support/common/temp_folder.h"
#include "tests/support/driver_fixture.h"

/// Red, green, blue, alpha bytes, the top row first.
struct Pixels {
  int width = 0, height = 0;
  std::vector<std::uint8_t> bytes;

  /// Channel `c` of a pixel.
  int At(int x, int y, int c) const {
    return bytes.at((static_cast<std::size_t>(y) * width + x) * 4 + c);
  }
};
inline Pixels RandomPixels(int width, int height, unsigned seed) {
  std::mt19937 random(seed);
  Pixels pixels{width, height,
                std::vector<std::uint8_t>(static_cast<std::size_t>(width * height) * 4)};
  for (std::uint8_t& byte : pixels.bytes) byte = static_cast<std::uint8_t>(random() >> 24);
  return pixels;
}

/// Where the program is said to be; empty for the truth.
inline std::string g_programPath;

class RefusingBuffer : public GL3GABuffer {
 public:
  using GL3GABuffer::GL3GABuffer;
  int AllocateforShader(int, int) override { return 0; }
};

/// Effects never release their surfaces: the test's driver does. Can make them fail.
class EffectDriver : public GL3GADriver {
 public:
  GABuffer* CreateBuffer(RenderInfo* info, int mode, int compatibleDC) override {
    arguments.emplace_back(mode, compatibleDC);
    buffers.emplace_back(refuses ? new RefusingBuffer(info, mode, compatibleDC)
                                 : GL3GADriver::CreateBuffer(info, mode, compatibleDC));
    return buffers.back().get();
  }

  std::vector<std::unique_ptr<GABuffer>> buffers;
  std::vector<std::pair<int, int>> arguments;  ///< Mode and device context of each.
  bool refuses = false;                        ///< AllocateforShader answers 0.
};

class ShaderFixture : public DriverFixture {
 protected:
  void SetUp() override {
    g_programPath = m_folder.Path("host");
    m_effects = std::make_unique<EffectDriver>();
    hostkit::SetDriver(m_effects.get());
    ASSERT_EQ(m_effects->Initialize(), 1);
    m_program = MakeProgram();
    ASSERT_EQ(NewLogLines(), Lines{"TIME"});
  }
  void TearDown() override {
    m_program.reset();
    m_effects->buffers.clear();
    hostkit::SetDriver(nullptr);
    m_effects.reset();
    g_programPath = "";
    DriverFixture::TearDown();
  }

  EffectDriver& Effects() { return *m_effects; }
  GL3GAShaderProgram& Program() { return *m_program; }
  std::unique_ptr<GL3GAShaderProgram> MakeProgram() {
    return std::unique_ptr<GL3GAShaderProgram>(
        static_cast<GL3GAShaderProgram*>(m_effects->CreateShaderProgram(&m_info)));
  }
  void ResetProgram() { m_program.reset(); }
  /// Sets an effect up for pictures of this size.
  int Init(int effect, float mode, float passes, float third, int width, int height) {
    m_info.imageWidth = width;
    m_info.imageHeight = height;
    float parameters[] = {mode, passes, third, static_cast<float>(width),
                          static_cast<float>(height)};
    return m_program->Init(effect, parameters, 5);
  }
  /// What an effect makes of a picture, in merge mode 0. Fails the test when it makes nothing.
  Pixels Process(int effect, const Pixels& picture) {
    const TestBitmap source = Bitmap(picture);
    const TestBitmap destination(new HBitmapNode(picture.width, picture.height));
    EXPECT_EQ(m_program->Process(effect, source.get(), destination.get(), 0), 1);
    return Result(*destination);
  }
  /// A GL context without an effect, for operations that expect one.
  void MakeCurrent() { m_effects->MakeCurrent(); }

  static TestBitmap Bitmap(const Pixels& pixels) {
    TestBitmap bitmap = SolidBitmap(pixels.width, pixels.height, {});
    std::copy(pixels.bytes.begin(), pixels.bytes.end(),
              static_cast<std::uint8_t*>(bitmap->GetBufferHead()->Data()));
    return bitmap;
  }
  /// The newest "ColorAlpha" buffer as bytes.
  static Pixels Result(const HBitmapNode& bitmap) {
    const HBitmapBuffer* buffer = bitmap.FindBuffer("ColorAlpha");
    if (!buffer || !buffer->Data()) return {};
    Pixels pixels{buffer->Width(), buffer->Height(), {}};
    const auto* from = static_cast<const half*>(buffer->Data());
    for (int i = 0; i < pixels.width * pixels.height; ++i, from += 4) {
      for (const int c : {2, 1, 0, 3}) {
        pixels.bytes.push_back(static_cast<std::uint8_t>(static_cast<float>(from[c]) * 255 + 0.5f));
      }
    }
    return pixels;
  }
  /// The log's lines since the last call, without line ends and the time stamp's content.
  Lines NewLogLines() {
    const std::string text = m_folder.Read("GPUShader.log");
    std::istringstream fresh(text.substr(std::min(m_logRead, text.size())));
    m_logRead = text.size();
    Lines lines;
    for (std::string line; std::getline(fresh, line);) {
      std::tm time{};
      const char* end = strptime(line.c_str(), "%a %b %e %H:%M:%S %Y", &time);
      lines.push_back(end && !*end && line.size() == 24 ? "TIME" : line);
    }
    return lines;
  }
  const TempFolder& Folder() const { return m_folder; }

  RenderInfo m_info;

 private:
  TempFolder m_folder;
  std::size_t m_logRead = 0;
  std::unique_ptr<EffectDriver> m_effects;
  std::unique_ptr<GL3GAShaderProgram> m_program;
};
