// A see-through picture over the whole frame, texel for pixel, against the same quad by bare
// OpenGL.
#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

#include "bench/support/frame_pair.h"
#include "host/GATexture.h"

namespace bench {
namespace {

struct Case {
  int width, height;
};
constexpr Case kCases[] = {{1920, 1080}, {3840, 2160}};
constexpr float kAlpha = 0.75f, kZ = -500;

/// A picture of bytes, opaque.
BitmapPtr MakePicture(int width, int height) {
  BitmapPtr bitmap(new HBitmapNode(width, height));
  HRGBABuffer* buffer =
      bitmap->CreateRGBABuffer("Color", HBitmapBuffer::kByteChannel, width, height);
  bitmap->AddBuffer(buffer);
  if (!buffer->AllocateData(0)) throw std::runtime_error("no memory for a picture");
  auto* bytes = static_cast<std::uint8_t*>(buffer->Data());
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x, bytes += 4) {
      bytes[0] = static_cast<std::uint8_t>(x / 8);
      bytes[1] = static_cast<std::uint8_t>(y / 8);
      bytes[2] = static_cast<std::uint8_t>((x ^ y) / 4);
      bytes[3] = 255;
    }
  }
  return bitmap;
}

/// The picture as a texture of the context that is current, bound.
GLuint UploadBare(const HBitmapNode& picture) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  GLfloat most = 1;  // as the module asks for by default
  glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &most);
  glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, most);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, picture.GetWidth(), picture.GetHeight(), 0, GL_RGBA,
               GL_UNSIGNED_BYTE, picture.FindBuffer("Color")->Data());
  return texture;
}

void DrawBare(int width, int height) {
  const auto x = static_cast<float>(width) / 2, y = static_cast<float>(height) / 2;
  const float corners[4][5] = {
      {-x, -y, kZ, 0, 1}, {-x, y, kZ, 0, 0}, {x, y, kZ, 1, 0}, {x, -y, kZ, 1, 1}};
  const GLuint indices[] = {0, 1, 2, 2, 3, 0};
  glEnable(GL_TEXTURE_2D);
  glColor4f(1, 1, 1, kAlpha);
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_TEXTURE_COORD_ARRAY);
  glVertexPointer(3, GL_FLOAT, sizeof corners[0], corners[0]);
  glTexCoordPointer(2, GL_FLOAT, sizeof corners[0], &corners[0][3]);
  glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_INT, indices);
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_TEXTURE_COORD_ARRAY);
  glDisable(GL_TEXTURE_2D);
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  for (const Case& each : kCases) {
    const BitmapPtr picture = MakePicture(each.width, each.height);
    HostSurface surface(module.Driver(), each.width, each.height);
    const std::unique_ptr<GATexture> texture(module.Driver()->CreateTexture());
    if (!texture || !texture->MakeGATexture(picture.get(), GATexture::kRepeat, 0, 0)) {
      throw std::runtime_error("a texture could not be made");
    }
    BareSurface bare(each.width, each.height);
    UploadBare(*picture);  // goes with the context
    const auto draw = [&](GABuffer& buffer, DisplayList&) {
      buffer.TransparentBlit(texture.get(), CRect(0, 0, each.width, each.height), kZ, {1, 1},
                             kAlpha);
    };
    Row row;
    row.work = "TransparentBlit";
    row.size = static_cast<double>(each.width) * each.height;
    row.sizeText = fmt::format("{}x{}", each.width, each.height);
    MeasureFrames({bare, surface, [&] { DrawBare(each.width, each.height); }, draw,
                   each.width > kCases[0].width},
                  row, options, report);
    surface.Buffer().IsFogEnabled();  // the texture goes while a context that knows it is current
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "blit", bench::Run);
}
