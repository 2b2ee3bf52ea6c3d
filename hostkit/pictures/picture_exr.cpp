// OpenEXR files: half floats, premultiplied alpha, depth as float.
#include <Imath/half.h>
#include <OpenEXR/IexBaseExc.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <OpenEXR/ImfStringAttribute.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/pictures/picture_file.h"

namespace hostkit {
namespace {

// The renderer works on display-referred colour throughout, and the file holds its values as they
// are, not scene-linear ones as is OpenEXR's convention: this attribute tells that sRGB has to be
// decoded first. Primaries and white are those of Rec. 709.
constexpr char kEncodingName[] = "gl3:colorEncoding";
constexpr char kEncoding[] = "display-referred, sRGB-encoded";

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

void WriteImage(ExrStream& stream, const PicturePixels& pixels, const Recipe& recipe) {
  Imf::Header header(pixels.width, pixels.height);  // display and data window alike
  header.compression() = Imf::ZIP_COMPRESSION;
  Imf::addChromaticities(header, Imf::Chromaticities());  // the default is Rec. 709
  header.insert(kEncodingName, Imf::StringAttribute(kEncoding));
  for (const auto& [name, value] : recipe) {
    if (!name.empty()) header.insert(name, Imf::StringAttribute(value));
  }

  // Opaque pictures get an alpha of one row of ones, used for every row.
  std::vector<half> ones(static_cast<std::size_t>(pixels.width), half(1.0f));
  constexpr std::size_t kPixel = 4 * sizeof(half);
  auto rowBytes = static_cast<std::size_t>(pixels.colorRowStep) * sizeof(half);
  const char* const kNames[] = {"B", "G", "R", "A"};
  Imf::FrameBuffer frame;
  for (int c = 0; pixels.colors && c < 4; ++c) {
    header.channels().insert(kNames[c], Imf::Channel(Imf::HALF));
    bool filled = c == 3 && !pixels.hasAlpha;
    frame.insert(kNames[c],
                 filled ? Imf::Slice(Imf::HALF, SlicePointer(ones.data()), sizeof(half), 0)
                        : Imf::Slice(Imf::HALF, SlicePointer(pixels.colors + c), kPixel, rowBytes));
  }
  if (pixels.depths) {
    header.channels().insert("Z", Imf::Channel(Imf::FLOAT));
    frame.insert("Z", Imf::Slice(Imf::FLOAT, SlicePointer(pixels.depths),
                                 static_cast<std::size_t>(pixels.depthPixelStep) * sizeof(float),
                                 static_cast<std::size_t>(pixels.depthRowStep) * sizeof(float)));
  }
  Imf::OutputFile file(stream, header, 0);
  file.setFrameBuffer(frame);
  file.writePixels(pixels.height);
}

}  // namespace

bool EncodeExr(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
               std::string* reason) {
  ExrStream output(stream);
  try {
    WriteImage(output, pixels, recipe);
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
