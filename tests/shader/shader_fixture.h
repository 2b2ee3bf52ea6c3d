// Shader programs on a driver that keeps the surfaces of effects, with a log in a folder of the
// test's own.
#pragma once

#include <utility>

#include "shader/Gl3ShaderProgram.h"
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
Pixels RandomPixels(int width, int height, unsigned seed);

/// Effects never release their surfaces: the test's driver does. Can make them fail.
class EffectDriver : public GL3GADriver {
 public:
  GABuffer* CreateBuffer(RenderInfo* info, int mode, int compatibleDC) override;

  std::vector<std::unique_ptr<GABuffer>> buffers;
  std::vector<std::pair<int, int>> arguments;  ///< Mode and device context of each.
  bool refuses = false;                        ///< AllocateforShader answers 0.
};

/// Replaces one of GLEW's function pointers, or any other value, while it lives.
template <typename Value>
class Replaced {
 public:
  Replaced(Value& place, Value value) : m_place(place), m_former(std::exchange(place, value)) {}
  ~Replaced() { m_place = m_former; }
  Replaced(const Replaced&) = delete;
  Replaced& operator=(const Replaced&) = delete;

 private:
  Value& m_place;
  Value m_former;
};

class ShaderFixture : public DriverFixture {
 protected:
  void SetUp() override;
  void TearDown() override;

  EffectDriver& Effects() { return *m_effects; }
  GL3GAShaderProgram& Program() { return *m_program; }
  std::unique_ptr<GL3GAShaderProgram> MakeProgram();
  void ResetProgram() { m_program.reset(); }
  /// Sets an effect up for pictures of this size.
  int Init(int effect, float mode, float passes, float third, int width, int height);
  /// What an effect makes of a picture, in merge mode 0. Fails the test when it makes nothing.
  Pixels Process(int effect, const Pixels& picture);
  /// A GL context without an effect, for operations that expect one.
  void MakeCurrent() { m_effects->MakeCurrent(); }

  static TestBitmap Bitmap(const Pixels& pixels);
  /// The newest "ColorAlpha" buffer as bytes.
  static Pixels Result(const HBitmapNode& bitmap);
  /// The log's lines since the last call, without line ends and the time stamp's content.
  Lines NewLogLines();
  const TempFolder& Folder() const { return m_folder; }

  RenderInfo m_info;

 private:
  TempFolder m_folder;
  std::size_t m_logRead = 0;
  std::unique_ptr<EffectDriver> m_effects;
  std::unique_ptr<GL3GAShaderProgram> m_program;
};

/// Where the program is said to be; empty for the truth.
void SetProgramPath(const std::string& path);
