// A texture from a host's bitmap, against the upload of the same bytes by bare OpenGL.
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "bench/support/bare_surface.h"
#include "bench/support/harness.h"
#include "bench/support/host_module.h"
#include "texture/GL3Texture.h"

namespace bench {
namespace {

constexpr int kSides[] = {2048, 4096};
constexpr double kMostRatio = 1.3;  // of the larger; of the smaller the fixed costs weigh more

/// A picture with a "Color" buffer. A transparent one is so from its first pixel.
BitmapPtr MakePicture(int side, bool transparent) {
  BitmapPtr bitmap(new HBitmapNode(side, side));
  HRGBABuffer* buffer = bitmap->CreateRGBABuffer("Color", HBitmapBuffer::kByteChannel, side, side);
  bitmap->AddBuffer(buffer);
  buffer->AllocateData(0);
  auto* bytes = static_cast<std::uint8_t*>(buffer->GetData(0));
  const std::size_t pixels = static_cast<std::size_t>(side) * side;
  for (std::size_t i = 0; i < pixels; ++i) {
    for (std::size_t c = 0; c < 3; ++c) {
      bytes[i * 4 + c] = static_cast<std::uint8_t>((i >> (3 * c)) * 5);
    }
    bytes[i * 4 + 3] = transparent ? 128 : 255;
  }
  return bitmap;
}

GLuint UploadBare(const std::vector<std::uint8_t>& bytes, int side, GLenum format) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, side, side, 0, format, GL_UNSIGNED_BYTE, bytes.data());
  glFinish();
  return texture;
}

void Measure(GADriver* driver, int side, bool transparent, const Options& options, Report& report) {
  const BitmapPtr picture = MakePicture(side, transparent);
  const std::vector<std::uint8_t> bytes = PackedBytes(*picture, transparent ? 4 : 3);
  const GLenum format = transparent ? GL_RGBA : GL_RGB;
  GLuint name = 0;
  const Work floor = {[] { glFinish(); }, [&] { name = UploadBare(bytes, side, format); },
                      [&] {
                        glDeleteTextures(1, &name);
                        glFinish();
                      }};
  std::unique_ptr<GATexture> texture;
  const Work ours = {[&] {
                       texture.reset(driver->CreateTexture());
                       glFinish();
                     },
                     [&] {
                       if (!texture->MakeGATexture(picture.get(), GATexture::kRepeat, 0, 0)) {
                         report.Fail("a texture could not be made");
                       }
                       glFinish();
                     },
                     [&] {
                       texture.reset();
                       glFinish();
                     }};
  Row row = MeasureRow(transparent ? "texture with alpha" : "opaque texture",
                       static_cast<double>(side) * side, {floor}, ours, options);
  row.sizeText = fmt::format("{}x{}", side, side);
  if (side == std::max(kSides[0], kSides[1])) row.mostRatio = kMostRatio;
  report.Add(row);
  if (options.oursOnly) return;
  ours.prepare();
  ours.run();
  const GLuint made = static_cast<const GL3GATexture&>(*texture).m_texture;
  floor.run();
  const std::string problem = Compare(ReadTexture(name, side, side), ReadTexture(made, side, side));
  if (!problem.empty()) report.Fail(row.work + ": " + problem);
  floor.cleanUp();
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  for (const bool transparent : {false, true}) {
    for (const int side : kSides) Measure(module.Driver(), side, transparent, options, report);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "texture", bench::Run);
}
