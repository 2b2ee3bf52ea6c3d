// OpenEXR files into host bitmaps.
#include "hostkit/pictures/picture_exr_in.h"

#include <Imath/ImathBox.h>
#include <Imath/half.h>
#include <OpenEXR/IexBaseExc.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <OpenEXR/ImfVersion.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <vector>

#include "hostkit/pictures/picture_guards.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

constexpr int kLargestTile = 2048;  // pixels a side; each is decoded in memory

/// OpenEXR's input from memory.
class MemoryStream : public Imf::IStream {
 public:
  MemoryStream(const unsigned char* bytes, std::size_t size)
      : IStream("picture"), m_bytes(bytes), m_size(size) {}

  bool read(char* to, int count) override {
    const auto wanted = static_cast<std::size_t>(std::max(count, 0));
    if (m_at > m_size || wanted > m_size - m_at) throw Iex::InputExc("the file ends early");
    std::memcpy(to, m_bytes + m_at, wanted);
    m_at += wanted;
    return m_at < m_size;
  }
  std::uint64_t tellg() override { return m_at; }
  void seekg(std::uint64_t position) override { m_at = position; }

 private:
  const unsigned char* m_bytes;
  std::size_t m_size;
  std::uint64_t m_at = 0;
};

/// A byte for every half float.
using ByteTable = std::array<unsigned char, 65536>;

ByteTable MakeTable(bool isLinear) {
  ByteTable table;
  for (unsigned bits = 0; bits < table.size(); ++bits) {
    const float value = half(half::FromBits, static_cast<std::uint16_t>(bits));
    table[bits] = ToByte(isLinear && value > 0 ? EncodeSrgb(std::min(value, 1.0f)) : value);
  }
  return table;
}

bool IsDisplayReferred(const Imf::Header& header) {
  const auto* encoding = header.findTypedAttribute<Imf::StringAttribute>("gl3:colorEncoding");
  return encoding && encoding->value().rfind("display-referred", 0) == 0;
}

/// Whether a picture of this size is taken on; else why not.
bool IsSizeGood(const Imath::Box2i& window, std::uint64_t mostBytes, std::string* reason) {
  const long long width = static_cast<long long>(window.max.x) - window.min.x + 1;
  const long long height = static_cast<long long>(window.max.y) - window.min.y + 1;
  if (width < 1 || height < 1) *reason = "the picture has no pixels; write it anew";
  if (reason->empty()) *reason = SizeRefusal(width, height, mostBytes);
  return reason->empty();
}

/// One pixel, premultiplied, as straight bytes. Tells whether a colour was above 1.
bool ToStraight(const Imf::Rgba& pixel, const ByteTable& table, unsigned char* to) {
  const float alpha = pixel.a;
  to[3] = ToByte(alpha);
  const half colors[] = {pixel.r, pixel.g, pixel.b};
  bool clipped = false;
  for (int c = 0; c < 3; ++c) {
    half color = colors[c];
    // Light without coverage (a flame, a glow) has no straight colour, and is kept as it is.
    if (to[3] != 0 && to[3] != 255) color = half(static_cast<float>(color) / alpha);
    clipped |= color > kOneAfterDivision;
    to[c] = table[color.bits()];
  }
  return clipped;
}

BitmapPtr ReadPixels(MemoryStream& stream, PictureFacts* facts, std::uint64_t mostBytes,
                     std::string* reason) {
  Imf::RgbaInputFile file(stream);
  const Imath::Box2i display = file.displayWindow(), data = file.dataWindow();
  // The window of the data is read row after row.
  if (!IsSizeGood(display, mostBytes, reason) || !IsSizeGood(data, UINT64_MAX, reason)) {
    return nullptr;
  }
  if (!(file.channels() & (Imf::WRITE_RGB | Imf::WRITE_YC))) {
    *reason = "it has neither colours (R, G, B) nor luminance (Y); choose another layer or part";
    return nullptr;
  }
  const int width = display.max.x - display.min.x + 1, height = display.max.y - display.min.y + 1;
  BitmapPtr bitmap = NewByteBitmap(width, height);
  if (!bitmap) {
    *reason = NoMemoryText(width, height);
    return nullptr;
  }
  auto* color = static_cast<HRGBABuffer*>(bitmap->GetBufferHead());
  facts->wasLinear = !IsDisplayReferred(file.header());
  const ByteTable table = MakeTable(facts->wasLinear);
  const bool hasAlpha = (file.channels() & Imf::WRITE_A) != 0;
  const Imf::Rgba outside(0, 0, 0, hasAlpha ? 0.0f : 1.0f);
  std::vector<Imf::Rgba> row(static_cast<std::size_t>(data.max.x - data.min.x) + 1);
  // Row after row into the same memory: a small file that claims a large picture costs no more than
  // the bitmap. The library keeps the block that it has decompressed.
  file.setFrameBuffer(row.data() - data.min.x, 1, 0);
  for (int y = 0; y < height; ++y) {
    const int fileY = display.min.y + y;
    const bool isThere = fileY >= data.min.y && fileY <= data.max.y;
    if (isThere) file.readPixels(fileY);
    auto* to = static_cast<unsigned char*>(color->GetData(y));
    for (int x = 0; x < width; ++x, to += 4) {
      const int fileX = display.min.x + x;
      const bool isInside = isThere && fileX >= data.min.x && fileX <= data.max.x;
      const Imf::Rgba& pixel =
          isInside ? row[static_cast<std::size_t>(fileX - data.min.x)] : outside;
      facts->clipped |= ToStraight(pixel, table, to);
    }
  }
  return bitmap;
}

}  // namespace

void LimitExrSizes() {
  Imf::Header::setMaxImageSize(kLargestSide, kLargestSide);
  Imf::Header::setMaxTileSize(kLargestTile, kLargestTile);
}

bool IsExr(const unsigned char* bytes, std::size_t size) {
  return size >= 4 && Imf::isImfMagic(reinterpret_cast<const char*>(bytes));
}

BitmapPtr LoadExr(const unsigned char* bytes, std::size_t size, PictureFacts* facts,
                  std::uint64_t mostBytes, std::string* reason) {
  if (!AreExrHeadersWhole({reinterpret_cast<const char*>(bytes), size})) {
    *reason = "the picture's header is broken; write it anew";
    return nullptr;
  }
  LimitExrSizes();
  MemoryStream stream(bytes, size);
  try {
    return ReadPixels(stream, facts, mostBytes, reason);
  } catch (const std::exception& exception) {
    std::string why = exception.what();
    for (char& c : why) {
      if (c < ' ' || c > '~') c = ' ';
    }
    *reason = "the picture is broken, or of a kind of OpenEXR that is not read (" + why +
              "); write it anew as one part of scan lines or tiles";
  }
  return nullptr;
}

}  // namespace hostkit
