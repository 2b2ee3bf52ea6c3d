// OpenEXR files into pixels.
#include "hostkit/pictures/picture_decoders.h"

#include <Imath/ImathBox.h>
#include <Imath/ImathVec.h>
#include <Imath/half.h>
#include <OpenEXR/IexBaseExc.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <OpenEXR/ImfVersion.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>
#include <vector>

#include "hostkit/pictures/picture_guards.h"
#include "hostkit/pictures/picture_sink.h"

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

bool IsDisplayReferred(const Imf::Header& header) {
  const auto* encoding = header.findTypedAttribute<Imf::StringAttribute>("gl3:colorEncoding");
  return encoding && encoding->value().rfind("display-referred", 0) == 0;
}

/// How many pixels a window has across and down.
Imath::Vec2<long long> SizeOf(const Imath::Box2i& window) {
  return {static_cast<long long>(window.max.x) - window.min.x + 1,
          static_cast<long long>(window.max.y) - window.min.y + 1};
}

bool ReadPixels(MemoryStream& stream, PictureSink& sink, std::string* reason) {
  Imf::RgbaInputFile file(stream);
  const Imath::Box2i display = file.displayWindow(), data = file.dataWindow();
  if (!(file.channels() & (Imf::WRITE_RGB | Imf::WRITE_YC))) {
    *reason = "it has neither colours (R, G, B) nor luminance (Y); choose another layer or part";
    return false;
  }
  // The window of the data is read row after row.
  const Imath::Vec2<long long> size = SizeOf(display), dataSize = SizeOf(data);
  *reason = SizeRefusal(dataSize.x, dataSize.y, UINT64_MAX);
  if (dataSize.x < 1 || dataSize.y < 1) *reason = "the picture has no pixels; write it anew";
  if (!reason->empty() || !sink.Begin(size.x, size.y, reason)) return false;
  if (!IsDisplayReferred(file.header())) sink.SetLinear();
  const bool hasAlpha = (file.channels() & Imf::WRITE_A) != 0;
  const Imf::Rgba outside(0, 0, 0, hasAlpha ? 0.0f : 1.0f);
  std::vector<Imf::Rgba> row(static_cast<std::size_t>(dataSize.x));
  std::vector<Imf::Rgba> shown(static_cast<std::size_t>(size.x));
  // Row after row into the same memory: a small file that claims a large picture costs no more than
  // the bitmap. The library keeps the block that it has decompressed.
  file.setFrameBuffer(row.data() - data.min.x, 1, 0);
  for (int y = 0; y < sink.Height(); ++y) {
    const int fileY = display.min.y + y;
    const bool isThere = fileY >= data.min.y && fileY <= data.max.y;
    if (isThere) file.readPixels(fileY);
    for (int x = 0; x < sink.Width(); ++x) {
      const int fileX = display.min.x + x;
      const bool isInside = isThere && fileX >= data.min.x && fileX <= data.max.x;
      shown[static_cast<std::size_t>(x)] =
          isInside ? row[static_cast<std::size_t>(fileX - data.min.x)] : outside;
    }
    sink.PutHalves(0, y, reinterpret_cast<const half*>(shown.data()), sink.Width(), true);
  }
  return true;
}

}  // namespace

void LimitExrSizes() {
  Imf::Header::setMaxImageSize(kLargestSide, kLargestSide);
  Imf::Header::setMaxTileSize(kLargestTile, kLargestTile);
}

bool IsExr(const unsigned char* bytes, std::size_t size) {
  return size >= 4 && Imf::isImfMagic(reinterpret_cast<const char*>(bytes));
}

bool DecodeExr(const unsigned char* bytes, std::size_t size, PictureSink& sink,
               std::string* reason) {
  if (!AreExrHeadersWhole({reinterpret_cast<const char*>(bytes), size})) {
    *reason = "the picture's header is broken; write it anew";
    return false;
  }
  LimitExrSizes();
  MemoryStream stream(bytes, size);
  try {
    return ReadPixels(stream, sink, reason);
  } catch (const std::exception& exception) {
    *reason = "the picture is broken, or of a kind of OpenEXR that is not read (" +
              Printable(exception.what()) + "); write it anew as one part of scan lines or tiles";
  }
  return false;
}

}  // namespace hostkit
