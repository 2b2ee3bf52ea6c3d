// OpenEXR files: half floats, premultiplied alpha, passes as floats.
#include <Imath/half.h>
#include <OpenEXR/IexBaseExc.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <OpenEXR/ImfStringAttribute.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/pictures/picture_file.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

// What the colours stand for. Without the attribute they are linear, as is OpenEXR's convention.
// Primaries and white are those of Rec. 709 either way.
constexpr char kEncodingName[] = "gl3:colorEncoding";
constexpr char kDisplay[] = "display-referred, sRGB-encoded";
constexpr char kLinear[] = "scene-linear";

// OpenEXR's output on a C stream, which belongs to the caller.
class ExrStream : public Imf::OStream {
 public:
  explicit ExrStream(std::FILE* stream) : OStream("picture"), m_stream(stream) {}

  void write(const char* bytes, int size) override {
    errno = 0;
    auto count = static_cast<std::size_t>(size);
    if (std::fwrite(bytes, 1, count, m_stream) != count) Fail();
  }
  std::uint64_t tellp() override { return static_cast<std::uint64_t>(std::ftell(m_stream)); }
  void seekp(std::uint64_t position) override {
    errno = 0;
    if (std::fseek(m_stream, static_cast<long>(position), SEEK_SET) != 0) Fail();
  }
  int ErrorCode() const { return m_errorCode; }

 private:
  void Fail() {
    m_errorCode = errno ? errno : EIO;
    throw Iex::IoExc("write failed");
  }

  std::FILE* m_stream;
  int m_errorCode = 0;
};

char* SlicePointer(const void* data) {
  return const_cast<char*>(static_cast<const char*>(data));
}

/// Linear light of every display-referred half float by its bits.
const std::array<std::uint16_t, 65536>& HalfToLinear() {
  static const auto table = [] {
    std::array<std::uint16_t, 65536> light{};
    for (unsigned bits = 0; bits < light.size(); ++bits) {
      light[bits] = half(DecodeSrgb(FromHalf(static_cast<std::uint16_t>(bits)))).bits();
    }
    return light;
  }();
  return table;
}

/// Row `y` as the file holds it: blue, green, red, alpha. Light without coverage (a glow) has no
/// straight colour, and is decoded as it is.
void MakeExrRow(const PicturePixels& pixels, int y, ExrEncoding encoding, std::uint16_t* to) {
  constexpr std::uint16_t kOne = 0x3c00;
  const auto& linear = HalfToLinear();
  const std::uint16_t* from = pixels.colors + y * pixels.colorRowStep;
  for (int x = 0; x < pixels.width; ++x, from += 4, to += 4) {
    to[3] = pixels.hasAlpha ? from[3] : kOne;
    const float alpha = FromHalf(to[3]);
    const bool isPartial = to[3] != kOne && alpha > 0;
    for (int c = 0; c < 3; ++c) {
      if (encoding == ExrEncoding::kDisplay) {
        to[c] = from[c];
      } else if (isPartial) {
        to[c] = half(DecodeSrgb(FromHalf(from[c]) / alpha) * alpha).bits();
      } else {
        to[c] = linear[from[c]];
      }
    }
  }
}

Imf::Header MakeHeader(const PicturePixels& pixels, const Recipe& recipe, ExrEncoding encoding) {
  Imf::Header header(pixels.width, pixels.height);  // display and data window alike
  header.compression() = Imf::ZIP_COMPRESSION;
  Imf::addChromaticities(header, Imf::Chromaticities());  // the default is Rec. 709
  header.insert(kEncodingName,
                Imf::StringAttribute(encoding == ExrEncoding::kDisplay ? kDisplay : kLinear));
  for (const auto& [name, value] : recipe) {
    if (!name.empty()) header.insert(name, Imf::StringAttribute(value));
  }
  return header;
}

void WriteExrImage(ExrStream& stream, const PicturePixels& pixels, const Recipe& recipe,
                   ExrEncoding encoding) {
  Imf::Header header = MakeHeader(pixels, recipe, encoding);
  // One row for all rows.
  std::vector<std::uint16_t> row(static_cast<std::size_t>(pixels.width) * 4);
  constexpr std::size_t kPixel = 4 * sizeof(half);
  const char* const kNames[] = {"B", "G", "R", "A"};
  Imf::FrameBuffer frame;
  for (std::size_t c = 0; pixels.colors && c < 4; ++c) {
    header.channels().insert(kNames[c], Imf::Channel(Imf::HALF));
    frame.insert(kNames[c], Imf::Slice(Imf::HALF, SlicePointer(row.data() + c), kPixel, 0));
  }
  for (const PassChannel& pass : pixels.passes) {
    header.channels().insert(pass.name, Imf::Channel(Imf::FLOAT));
    frame.insert(pass.name, Imf::Slice(Imf::FLOAT, SlicePointer(pass.values),
                                       static_cast<std::size_t>(pass.pixelStep) * sizeof(float),
                                       static_cast<std::size_t>(pass.rowStep) * sizeof(float)));
  }
  Imf::OutputFile file(stream, header, 0);
  file.setFrameBuffer(frame);
  for (int y = 0; y < pixels.height; ++y) {
    if (pixels.colors) MakeExrRow(pixels, y, encoding, row.data());
    file.writePixels(1);
  }
}

}  // namespace

bool EncodeExr(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
               const PictureOptions& options, std::string* reason) {
  ExrStream output(stream);
  try {
    WriteExrImage(output, pixels, recipe, options.exrEncoding);
  } catch (const std::exception& exception) {
    *reason = output.ErrorCode()
                  ? WriteErrorText(output.ErrorCode())
                  : std::string("the OpenEXR library reports: ") + exception.what() + "; try .png";
    return false;
  }
  // The closing write of the line offsets happens in a destructor, which reports nothing.
  if (output.ErrorCode()) *reason = WriteErrorText(output.ErrorCode());
  return output.ErrorCode() == 0;
}

}  // namespace hostkit
