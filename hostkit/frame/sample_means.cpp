// Reading a frame in pieces that stay in the processor's cache, and averaging them there: as the
// renderer hands over frames, in half floats as a whole, they take twice the memory on their way.
#include "hostkit/frame/sample_means.h"

#include <Imath/half.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "hostkit/frame/half_pixel.h"
#include "platform/gl.h"

namespace hostkit {
namespace {

constexpr int kBytes = 4;             // blue, green, red and alpha of a sample
constexpr int kPieceBytes = 1 << 18;  // read at a time, or a row of pixels if that is more

/// What a byte of each channel adds to a pixel.
class SampleTables {
 public:
  SampleTables() {
    for (int byte = 0; byte < 256; ++byte) {
      const float value = half(static_cast<float>(byte) / 255.0f);
      for (int c = 0; c < 3; ++c) m_values[c][byte][c] = value;
    }
  }
  Floats Sample(const std::uint8_t* bgr) const {
    return m_values[0][bgr[0]] + m_values[1][bgr[1]] + m_values[2][bgr[2]];
  }

 private:
  Floats m_values[3][256] = {};
};

/// Averages `kSide` rows of samples, each `step` bytes behind the last, into `width` pixels.
template <int kSide>
void AverageRow(const SampleTables& tables, const std::uint8_t* samples, std::ptrdiff_t step,
                int width, std::uint16_t* to) {
  for (int x = 0; x < width; ++x, samples += kSide * kBytes, to += 4) {
    Floats sum = {0, 0, 0, 0};
    for (int j = 0; j < kSide; ++j) {
      for (int i = 0; i < kSide; ++i) sum += tables.Sample(samples + j * step + i * kBytes);
    }
    Floats mean = sum / static_cast<float>(kSide * kSide);
    mean[3] = 1;
    StorePixel(mean, to);
  }
}

using Average = void (*)(const SampleTables&, const std::uint8_t*, std::ptrdiff_t, int,
                         std::uint16_t*);
constexpr Average kAverages[] = {AverageRow<1>, AverageRow<2>, AverageRow<3>, AverageRow<4>};

/// Packs rows one behind the other, and puts back how they were packed before.
class PackedRows {
 public:
  PackedRows() {
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    for (const GLenum store : {GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS}) {
      glPixelStorei(store, 0);
    }
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
  }
  PackedRows(const PackedRows&) = delete;
  PackedRows& operator=(const PackedRows&) = delete;
  ~PackedRows() { glPopClientAttrib(); }
};

}  // namespace

bool ReadMeans(int surfaceHeight, int samplesPerSide, const PixelWindow& window,
               HBitmapBuffer* pixels) {
  static const SampleTables tables;
  const int width = std::min(window.width, pixels->Width() - window.x);
  const int height = std::min(window.height, pixels->Height() - window.y);
  const std::ptrdiff_t rowBytes = std::ptrdiff_t{width} * samplesPerSide * kBytes;
  const int most = std::max(1, static_cast<int>(kPieceBytes / (rowBytes * samplesPerSide)));
  const std::unique_ptr<std::uint8_t[]> piece(
      new (std::nothrow) std::uint8_t[static_cast<std::size_t>(rowBytes) * samplesPerSide * most]);
  if (!piece) return false;
  const Average average = kAverages[samplesPerSide - 1];
  const PackedRows packed;
  for (int first = 0; first < height; first += most) {
    const int rows = std::min(most, height - first), samples = rows * samplesPerSide;
    // OpenGL counts from the lower left, so that the piece's last row is its uppermost.
    glReadPixels(0, surfaceHeight - first * samplesPerSide - samples, width * samplesPerSide,
                 samples, GL_BGRA, GL_UNSIGNED_BYTE, piece.get());
    for (int y = 0; y < rows; ++y) {
      const std::uint8_t* const top = piece.get() + rowBytes * (samples - 1 - y * samplesPerSide);
      average(tables, top, -rowBytes, width, PixelAt(*pixels, window.x, window.y + first + y));
    }
  }
  return true;
}

}  // namespace hostkit
