// The effects' twins on the processor, written from their formulas.
#include "hostkit/effects/effect_twins.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

#include "hostkit/effects/byte_image.h"
#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {
namespace {

/// One pixel, 0 to 1 a channel.
struct Sample {
  float c[4] = {0, 0, 0, 0};
};

unsigned char Quantised(float value) {
  return static_cast<unsigned char>(std::clamp(value, 0.0f, 1.0f) * 255 + 0.5f);
}

const unsigned char* PixelAt(const TwinPixels& pixels, int x, int y) {
  x = std::clamp(x, 0, pixels.width - 1);
  y = std::clamp(y, 0, pixels.height - 1);
  return &pixels.rgba[(static_cast<std::size_t>(y) * static_cast<std::size_t>(pixels.width) +
                       static_cast<std::size_t>(x)) *
                      4];
}

Sample SampleAt(const TwinPixels& pixels, int x, int y) {
  const unsigned char* bytes = PixelAt(pixels, x, y);
  Sample sample;
  for (int c = 0; c < 4; ++c) sample.c[c] = static_cast<float>(bytes[c]) / 255;
  return sample;
}

/// The 3 x 3 pixels around one: index 3 * column + row, columns from the left, rows from the
/// texture's first, which is the picture's top.
using Neighbours = Sample[9];

void ReadNeighbours(const TwinPixels& pixels, int x, int y, Neighbours& s) {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) s[3 * i + j] = SampleAt(pixels, x + i - 1, y + j - 1);
  }
}

float Brightness(const Sample& s) {
  return 0.299f * s.c[0] + 0.587f * s.c[1] + 0.114f * s.c[2];
}

Sample Grayscale(const Neighbours& s) {
  const float gray = Brightness(s[4]);
  return {{gray, gray, gray, s[4].c[3]}};
}

Sample Tint(const Neighbours& s) {
  const float gray = Brightness(s[4]);
  return {{gray * 1.2f, gray, gray * 0.8f, s[4].c[3]}};
}

Sample Negative(const Neighbours& s) {
  return {{1 - s[4].c[0], 1 - s[4].c[1], 1 - s[4].c[2], s[4].c[3]}};
}

/// `weight` times the middle, less the eight around it.
Sample CentreAgainstRest(const Neighbours& s, float weight) {
  Sample out;
  for (int c = 0; c < 4; ++c) {
    out.c[c] = weight * s[4].c[c];
    for (int i = 0; i < 9; ++i) out.c[c] -= i == 4 ? 0 : s[i].c[c];
  }
  return out;
}

Sample Sharpen(const Neighbours& s) {
  return CentreAgainstRest(s, 9);
}

Sample Laplacian(const Neighbours& s) {
  Sample out = CentreAgainstRest(s, 8);
  out.c[3] = 1;
  return out;
}

Sample Dilate(const Neighbours& s) {
  Sample out = s[0];
  for (const Sample& one : s) {
    for (int c = 0; c < 4; ++c) out.c[c] = std::max(out.c[c], one.c[c]);
  }
  return out;
}

Sample Erode(const Neighbours& s) {
  Sample out = s[0];
  for (const Sample& one : s) {
    for (int c = 0; c < 4; ++c) out.c[c] = std::min(out.c[c], one.c[c]);
  }
  return out;
}

/// Steepness, from differences of rows and of columns whose middle counts `middle` times.
Sample Gradient(const Neighbours& s, float middle) {
  Sample out;
  for (int c = 0; c < 3; ++c) {
    const auto v = [&](int i) { return s[i].c[c]; };
    const float rows = v(2) + middle * v(5) + v(8) - (v(0) + middle * v(3) + v(6));
    const float columns = v(0) + middle * v(1) + v(2) - (v(6) + middle * v(7) + v(8));
    out.c[c] = std::sqrt(rows * rows + columns * columns);
  }
  out.c[3] = 1;
  return out;
}

Sample Prewitt(const Neighbours& s) {
  return Gradient(s, 1);
}
Sample Sobel(const Neighbours& s) {
  return Gradient(s, 2);
}

using Filter = Sample (*)(const Neighbours&);
constexpr Filter kFilters[] = {Grayscale, Tint,      Negative, Sharpen, Dilate,
                               Erode,     Laplacian, Prewitt,  Sobel};
static_assert(std::size(kFilters) + 1 == std::size(kEffectKinds),
              "blur, and each filter by number");

TwinPixels FilterOnce(Filter filter, const TwinPixels& pixels) {
  TwinPixels out{pixels.width, pixels.height, {}};
  out.rgba.reserve(pixels.rgba.size());
  Neighbours neighbours;
  for (int y = 0; y < pixels.height; ++y) {
    for (int x = 0; x < pixels.width; ++x) {
      ReadNeighbours(pixels, x, y, neighbours);
      const Sample sample = filter(neighbours);
      for (const float value : sample.c) out.rgba.push_back(Quantised(value));
    }
  }
  return out;
}

/// Where a sample of the blur lies: between pixel `offset` and the next, `weight` of the next.
struct Tap {
  int offset;
  float weight;
};

/// The samples along one axis, `radius / steps` pixels apart.
std::vector<Tap> BlurTaps(float radius) {
  const double reach = radius;
  const int steps = static_cast<int>(std::min(std::sqrt(reach) * 3.141592653589793, reach * 0.7));
  std::vector<Tap> taps;
  for (int i = -steps; i <= steps; ++i) {
    const double at = steps > 0 ? i * reach / steps : 0;
    const double floor = std::floor(at);
    taps.push_back({static_cast<int>(floor), static_cast<float>(at - floor)});
  }
  return taps;
}

/// Adds a sample of a row's pixels to their sums: between the pixels at `a` and those at `b`.
void AddSample(const unsigned char* a, const unsigned char* b, float weight, int count,
               float* sums) {
  for (int i = 0; i < count; ++i) {
    sums[i] += static_cast<float>(a[i]) * (1 - weight) + static_cast<float>(b[i]) * weight;
  }
}

void AppendOpaque(const std::vector<float>& sums, float share, std::vector<unsigned char>* rgba) {
  for (std::size_t i = 0; i < sums.size(); ++i) {
    rgba->push_back(i % 4 == 3 ? 255 : Quantised(sums[i] * share));
  }
}

float ShareOf(const std::vector<Tap>& taps) {
  return 1 / (255 * static_cast<float>(taps.size()));
}

TwinPixels BlurDown(const TwinPixels& pixels, const std::vector<Tap>& taps) {
  TwinPixels out{pixels.width, pixels.height, {}};
  out.rgba.reserve(pixels.rgba.size());
  for (int y = 0; y < pixels.height; ++y) {
    std::vector<float> sums(4 * static_cast<std::size_t>(pixels.width));
    for (const Tap& tap : taps) {
      AddSample(PixelAt(pixels, 0, y + tap.offset), PixelAt(pixels, 0, y + tap.offset + 1),
                tap.weight, 4 * pixels.width, sums.data());
    }
    AppendOpaque(sums, ShareOf(taps), &out.rgba);
  }
  return out;
}

TwinPixels BlurAcross(const TwinPixels& pixels, const std::vector<Tap>& taps) {
  TwinPixels out{pixels.width, pixels.height, {}};
  out.rgba.reserve(pixels.rgba.size());
  // A row with its edge pixels repeated as far as samples reach.
  const int margin = std::max(-taps.front().offset, taps.back().offset + 1);
  std::vector<unsigned char> row(4 * static_cast<std::size_t>(pixels.width + 2 * margin));
  for (int y = 0; y < pixels.height; ++y) {
    for (int x = -margin; x < pixels.width + margin; ++x) {
      std::copy_n(PixelAt(pixels, x, y), 4, &row[4 * static_cast<std::size_t>(x + margin)]);
    }
    std::vector<float> sums(4 * static_cast<std::size_t>(pixels.width));
    for (const Tap& tap : taps) {
      const unsigned char* from = &row[4 * static_cast<std::size_t>(margin + tap.offset)];
      AddSample(from, from + 4, tap.weight, 4 * pixels.width, sums.data());
    }
    AppendOpaque(sums, ShareOf(taps), &out.rgba);
  }
  return out;
}

}  // namespace

TwinPixels TwinFromBytes(const HBitmapNode& bitmap) {
  TwinPixels pixels{bitmap.GetWidth(), bitmap.GetHeight(), {}};
  for (int y = 0; y < pixels.height; ++y) {
    const unsigned char* row = ByteRow(bitmap, y);
    pixels.rgba.insert(pixels.rgba.end(), row, row + 4 * pixels.width);
  }
  return pixels;
}

TwinPixels RunTwin(const EffectCall& call, TwinPixels pixels) {
  const std::vector<Tap> taps = BlurTaps(call.radius);
  for (int i = 0; i < static_cast<int>(call.passes); ++i) {
    if (call.kind->program == GAShaderProgram::kBlur) {
      pixels = BlurAcross(BlurDown(pixels, taps), taps);
    } else {
      pixels = FilterOnce(kFilters[call.kind->filter], pixels);
    }
  }
  return pixels;
}

int LargestDifference(const TwinPixels& twin, const HBitmapNode& halves) {
  const BitmapPtr bytes = BytesFromHalves(halves);
  if (!bytes) return 255;
  int largest = 0;
  const std::size_t rowBytes = 4 * static_cast<std::size_t>(twin.width);
  for (int y = 0; y < twin.height; ++y) {
    const unsigned char* row = ByteRow(*bytes, y);
    const unsigned char* wanted = &twin.rgba[static_cast<std::size_t>(y) * rowBytes];
    for (std::size_t i = 0; i < rowBytes; ++i) {
      largest = std::max(largest, std::abs(row[i] - wanted[i]));
    }
  }
  return largest;
}

int DifferenceBound(const EffectCall& call) {
  const int passes = static_cast<int>(call.passes);
  // Two targets are written a pass, each rounded.
  if (call.kind->program == GAShaderProgram::kBlur) return 2 * passes;
  // Weighted colours can lie half-way between two bytes, pass after pass; the other filters add up
  // whole bytes, whose sums and their roots never do.
  return call.kind->reach == 0 ? passes : 1;
}

}  // namespace hostkit
