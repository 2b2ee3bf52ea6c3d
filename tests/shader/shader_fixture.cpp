// Shader programs on a driver, with a log in a folder of the test.
#include "tests/shader/shader_fixture.h"

#include <half.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <random>
#include <sstream>

#include "hostkit/services/current_driver.h"
#include "tests/support/next_symbol.h"
#include "tests/support/platform_calls.h"

namespace {

std::string& ProgramPath() {
  static std::string path;
  return path;
}

class RefusingBuffer : public GL3GABuffer {
 public:
  using GL3GABuffer::GL3GABuffer;
  int AllocateforShader(int, int) override { return 0; }
};

}  // namespace

void SetProgramPath(const std::string& path) {
  ProgramPath() = path;
}

extern "C" DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size) {
  static auto* const next = NextSymbol<decltype(GetModuleFileNameA)>("GetModuleFileNameA");
  if (ProgramPath().empty()) return next(module, path, size);
  std::strncpy(path, ProgramPath().c_str(), size);
  return static_cast<DWORD>(ProgramPath().size());
}

HByteBlock* HBitmapNode::CreateByteBlock(int wrap, int* flags, int bgr) {
  using Function = HByteBlock*(HBitmapNode*, int, int*, int);
  static auto* const next = NextSymbol<Function>("_ZN11HBitmapNode15CreateByteBlockEiPii");
  const PlatformCall call("CreateByteBlock", wrap, *flags, bgr);
  return next(this, wrap, flags, bgr);
}

Pixels RandomPixels(int width, int height, unsigned seed) {
  std::mt19937 random(seed);
  Pixels pixels{width, height,
                std::vector<std::uint8_t>(static_cast<std::size_t>(width * height) * 4)};
  for (std::uint8_t& byte : pixels.bytes) byte = static_cast<std::uint8_t>(random() >> 24);
  return pixels;
}

GABuffer* EffectDriver::CreateBuffer(RenderInfo* info, int mode, int compatibleDC) {
  arguments.emplace_back(mode, compatibleDC);
  buffers.emplace_back(refuses ? new RefusingBuffer(info, mode, compatibleDC)
                               : GL3GADriver::CreateBuffer(info, mode, compatibleDC));
  return buffers.back().get();
}

void ShaderFixture::SetUp() {
  SetProgramPath(m_folder.Path("host"));
  m_effects = std::make_unique<EffectDriver>();
  hostkit::SetDriver(m_effects.get());
  ASSERT_EQ(m_effects->Initialize(), 1);
  m_program = MakeProgram();
  ASSERT_EQ(NewLogLines(), Lines{"TIME"});
}

void ShaderFixture::TearDown() {
  m_program.reset();
  m_effects->buffers.clear();
  hostkit::SetDriver(nullptr);
  m_effects.reset();
  SetProgramPath("");
  DriverFixture::TearDown();
}

std::unique_ptr<GL3GAShaderProgram> ShaderFixture::MakeProgram() {
  return std::unique_ptr<GL3GAShaderProgram>(
      static_cast<GL3GAShaderProgram*>(m_effects->CreateShaderProgram(&m_info)));
}

int ShaderFixture::Init(int effect, float mode, float passes, float third, int width, int height) {
  m_info.imageWidth = width;
  m_info.imageHeight = height;
  float parameters[] = {mode, passes, third, static_cast<float>(width), static_cast<float>(height)};
  return m_program->Init(effect, parameters, 5);
}

Pixels ShaderFixture::Process(int effect, const Pixels& picture) {
  const TestBitmap source = Bitmap(picture);
  const TestBitmap destination(new HBitmapNode(picture.width, picture.height));
  EXPECT_EQ(m_program->Process(effect, source.get(), destination.get(), 0), 1);
  return Result(*destination);
}

TestBitmap ShaderFixture::Bitmap(const Pixels& pixels) {
  TestBitmap bitmap = SolidBitmap(pixels.width, pixels.height, {});
  std::copy(pixels.bytes.begin(), pixels.bytes.end(),
            static_cast<std::uint8_t*>(bitmap->GetBufferHead()->Data()));
  return bitmap;
}

Pixels ShaderFixture::Result(const HBitmapNode& bitmap) {
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

Lines ShaderFixture::NewLogLines() {
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
