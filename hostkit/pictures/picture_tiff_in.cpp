// TIFF files into pixels.
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/pictures/picture_decoders.h"
#include "hostkit/pictures/picture_guards.h"

namespace hostkit {
namespace {

using Imath::half;

// Bytes that strips or tiles take that are decoded together, and that the library may ask for at
// once.
constexpr tmsize_t kMostBlockBytes = tmsize_t{1} << 30;
constexpr int kMostSamples = 16;  // of a pixel

/// A file in memory, and the first thing that the library had to say about it.
struct TiffSource {
  const unsigned char* bytes;
  std::size_t size;
  std::size_t at = 0;
  char message[200] = "";
};

TiffSource* SourceOf(thandle_t handle) {
  return static_cast<TiffSource*>(handle);
}

tmsize_t ReadBytes(thandle_t handle, void* to, tmsize_t wanted) {
  TiffSource* source = SourceOf(handle);
  const std::size_t left = source->size - std::min(source->at, source->size);
  const std::size_t count = std::min(static_cast<std::size_t>(std::max(wanted, tmsize_t{0})), left);
  if (count > 0) std::memcpy(to, source->bytes + source->at, count);
  source->at += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t WriteNothing(thandle_t, void*, tmsize_t) {
  return -1;
}

toff_t SeekBytes(thandle_t handle, toff_t offset, int whence) {
  TiffSource* source = SourceOf(handle);
  const std::size_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? source->at : source->size;
  source->at = base + static_cast<std::size_t>(offset);
  return source->at;
}

int CloseNothing(thandle_t) {
  return 0;
}

toff_t CountBytes(thandle_t handle) {
  return SourceOf(handle)->size;
}

int KeepMessage(TIFF*, void* user, const char*, const char* format, va_list arguments) {
  auto* source = static_cast<TiffSource*>(user);
  if (source->message[0] == '\0') {
    std::vsnprintf(source->message, sizeof source->message, format, arguments);
  }
  return 1;
}

int DropMessage(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

using TiffPtr = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

TiffPtr OpenTiff(TiffSource* source) {
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
      TIFFOpenOptionsAlloc(), &TIFFOpenOptionsFree);
  if (!options) return {nullptr, &TIFFClose};
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostBlockBytes);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), KeepMessage, source);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), DropMessage, nullptr);
  return {TIFFClientOpenExt("picture", "rm", source, ReadBytes, WriteNothing, SeekBytes,
                            CloseNothing, CountBytes, nullptr, nullptr, options.get()),
          &TIFFClose};
}

template <class Value>
Value Field(TIFF* tiff, std::uint32_t tag, Value standard) {
  Value value = standard;
  return TIFFGetFieldDefaulted(tiff, tag, &value) ? value : standard;
}

/// A sample as a number, 1 being white.
using SampleReader = float (*)(const unsigned char* at);

template <class Value>
float WholeSample(const unsigned char* at) {
  Value value;
  std::memcpy(&value, at, sizeof value);
  return static_cast<float>(value) / static_cast<float>(static_cast<Value>(-1));
}

float FloatSample(const unsigned char* at) {
  float value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

float HalfSample(const unsigned char* at) {
  std::uint16_t bits;
  std::memcpy(&bits, at, sizeof bits);
  return half(half::FromBits, bits);
}

/// Kinds of samples that are read here; the library itself turns the rest into bytes.
struct SampleKind {
  std::uint16_t format, bits;
  SampleReader read;
};
constexpr SampleKind kSampleKinds[] = {
    {SAMPLEFORMAT_UINT, 8, WholeSample<std::uint8_t>},
    {SAMPLEFORMAT_UINT, 16, WholeSample<std::uint16_t>},
    {SAMPLEFORMAT_UINT, 32, WholeSample<std::uint32_t>},
    {SAMPLEFORMAT_IEEEFP, 16, HalfSample},
    {SAMPLEFORMAT_IEEEFP, 32, FloatSample},
};

/// How the pixels of a file lie.
struct TiffLayout {
  std::uint32_t width = 0, height = 0;
  std::uint32_t blockWidth = 0, blockHeight = 0;  // of a tile, or of a strip
  bool isTiled = false;
  bool isSeparate = false;  // each kind of sample has blocks of its own
  int samples = 1;          // of a pixel
  int colors = 1;           // of them: 1 (grey) or 3
  bool hasAlpha = false;    // behind the colours
  bool isPremultiplied = false;
  bool isInverted = false;  // 0 is white
  const SampleKind* kind = nullptr;

  int UsedSamples() const { return colors + (hasAlpha ? 1 : 0); }
  std::size_t SampleBytes() const { return kind->bits / 8u; }
  /// Bytes from pixel to pixel in a block.
  std::size_t PixelStep() const {
    return SampleBytes() * static_cast<std::size_t>(isSeparate ? 1 : samples);
  }
};

/// A sample behind the colours is alpha where the file says so.
void ReadAlpha(TIFF* tiff, TiffLayout* layout) {
  std::uint16_t count = 0;
  std::uint16_t* kinds = nullptr;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds);
  if (layout->samples <= layout->colors || count == 0 || !kinds) return;
  layout->isPremultiplied = kinds[0] == EXTRASAMPLE_ASSOCALPHA;
  layout->hasAlpha = layout->isPremultiplied || kinds[0] == EXTRASAMPLE_UNASSALPHA;
}

/// False for a file whose samples the library has to turn into bytes.
bool ReadLayout(TIFF* tiff, TiffLayout* layout) {
  const auto photometric = Field<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  const auto bits = Field<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
  auto format = Field<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  if (format == SAMPLEFORMAT_VOID) format = SAMPLEFORMAT_UINT;
  for (const SampleKind& kind : kSampleKinds) {
    if (kind.format == format && kind.bits == bits) layout->kind = &kind;
  }
  layout->isInverted = photometric == PHOTOMETRIC_MINISWHITE;
  layout->colors = photometric == PHOTOMETRIC_RGB ? 3 : 1;
  layout->samples = Field<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  layout->isSeparate = Field<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) ==
                       PLANARCONFIG_SEPARATE;
  layout->isTiled = TIFFIsTiled(tiff) != 0;
  layout->blockWidth = layout->width;
  if (layout->isTiled) {
    layout->blockWidth = Field<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH, 0);
    layout->blockHeight = Field<std::uint32_t>(tiff, TIFFTAG_TILELENGTH, 0);
  } else {
    layout->blockHeight =
        std::min(Field<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP, layout->height), layout->height);
  }
  ReadAlpha(tiff, layout);
  const bool isPlain = photometric == PHOTOMETRIC_RGB || photometric == PHOTOMETRIC_MINISBLACK ||
                       photometric == PHOTOMETRIC_MINISWHITE;
  return isPlain && layout->kind && layout->samples >= layout->colors &&
         layout->samples <= kMostSamples;
}

/// Reads block after block of a file whose samples are of a known kind.
class TiffBlocks {
 public:
  TiffBlocks(TIFF* tiff, const TiffLayout& layout, PictureSink& sink)
      : m_tiff(tiff), m_layout(layout), m_sink(sink) {}

  /// False when the blocks are too large, do not hold what they should, or are broken.
  bool Read() {
    const tmsize_t rowBytes = m_layout.isTiled ? TIFFTileRowSize(m_tiff) : TIFFScanlineSize(m_tiff);
    m_blockBytes = m_layout.isTiled ? TIFFTileSize(m_tiff) : TIFFStripSize(m_tiff);
    m_rowBytes = m_layout.PixelStep() * m_layout.blockWidth;
    const std::size_t planes =
        m_layout.isSeparate ? static_cast<std::size_t>(m_layout.UsedSamples()) : 1;
    const bool isSound =
        m_layout.blockWidth > 0 && m_layout.blockHeight > 0 && rowBytes > 0 &&
        static_cast<std::size_t>(rowBytes) == m_rowBytes && m_blockBytes > 0 &&
        m_blockBytes <= kMostBlockBytes / static_cast<tmsize_t>(planes) &&
        static_cast<std::size_t>(m_blockBytes) / m_rowBytes >= m_layout.blockHeight;
    if (!isSound) return false;
    m_bytes.resize(static_cast<std::size_t>(m_blockBytes) * planes);
    m_halves.resize(std::size_t{4} * std::min(m_layout.blockWidth, m_layout.width));
    for (std::uint32_t y = 0; y < m_layout.height; y += m_layout.blockHeight) {
      for (std::uint32_t x = 0; x < m_layout.width; x += m_layout.blockWidth) {
        if (!ReadBlock(x, y, planes)) return false;
        PutBlock(x, y);
      }
    }
    return true;
  }

 private:
  bool ReadBlock(std::uint32_t x, std::uint32_t y, std::size_t planes) {
    const std::size_t rows = std::min(m_layout.blockHeight, m_layout.height - y);
    for (std::size_t plane = 0; plane < planes; ++plane) {
      unsigned char* to = m_bytes.data() + plane * static_cast<std::size_t>(m_blockBytes);
      const auto sample = static_cast<std::uint16_t>(plane);
      const tmsize_t count =
          m_layout.isTiled
              ? TIFFReadEncodedTile(m_tiff, TIFFComputeTile(m_tiff, x, y, 0, sample), to,
                                    m_blockBytes)
              : TIFFReadEncodedStrip(m_tiff, TIFFComputeStrip(m_tiff, y, sample), to, m_blockBytes);
      if (count < 0 || static_cast<std::size_t>(count) < rows * m_rowBytes) return false;
    }
    return true;
  }

  void PutBlock(std::uint32_t x, std::uint32_t y) {
    const int count = static_cast<int>(std::min(m_layout.blockWidth, m_layout.width - x));
    const std::uint32_t rows = std::min(m_layout.blockHeight, m_layout.height - y);
    for (std::uint32_t row = 0; row < rows; ++row) {
      MakeRow(m_bytes.data() + row * m_rowBytes, count);
      m_sink.PutHalves(static_cast<int>(x), static_cast<int>(y + row), m_halves.data(), count,
                       m_layout.isPremultiplied);
    }
  }

  /// Half floats tell 8 bits apart, and 11 bits of more.
  void MakeRow(const unsigned char* from, int count) {
    const std::size_t pixelStep = m_layout.PixelStep();
    const std::size_t sampleStep =
        m_layout.isSeparate ? static_cast<std::size_t>(m_blockBytes) : m_layout.SampleBytes();
    half* to = m_halves.data();
    for (int x = 0; x < count; ++x, from += pixelStep, to += 4) {
      for (int c = 0; c < 3; ++c) {
        const std::size_t sample = m_layout.colors == 1 ? 0 : static_cast<std::size_t>(c);
        const float value = m_layout.kind->read(from + sample * sampleStep);
        to[c] = half(m_layout.isInverted ? 1 - value : value);
      }
      to[3] = half(1.0f);
      if (m_layout.hasAlpha) {
        to[3] = half(
            m_layout.kind->read(from + static_cast<std::size_t>(m_layout.colors) * sampleStep));
      }
    }
  }

  TIFF* m_tiff;
  const TiffLayout& m_layout;
  PictureSink& m_sink;
  tmsize_t m_blockBytes = 0;
  std::size_t m_rowBytes = 0;
  std::vector<unsigned char> m_bytes;  // of a block, or of one for each kind of sample
  std::vector<half> m_halves;          // of a row
};

/// Palettes, few bits, other colour spaces: the library makes 8-bit colours of them, multiplied by
/// alpha.
bool ReadByLibrary(TIFF* tiff, PictureSink& sink, TiffSource* source) {
  char why[1024] = "";  // as long as the library asks for
  TIFFRGBAImage image;
  if (!TIFFRGBAImageOK(tiff, why) || !TIFFRGBAImageBegin(&image, tiff, 1, why)) {
    std::snprintf(source->message, sizeof source->message, "%.190s", why);
    return false;
  }
  const std::unique_ptr<TIFFRGBAImage, decltype(&TIFFRGBAImageEnd)> end(&image, &TIFFRGBAImageEnd);
  image.req_orientation = image.orientation;  // as it is stored
  const auto width = static_cast<std::size_t>(sink.Width());
  std::vector<std::uint32_t> pixels(width * static_cast<std::size_t>(sink.Height()));
  if (!TIFFRGBAImageGet(&image, pixels.data(), static_cast<std::uint32_t>(sink.Width()),
                        static_cast<std::uint32_t>(sink.Height()))) {
    return false;
  }
  std::vector<unsigned char> row(width * 4);
  for (int y = 0; y < sink.Height(); ++y) {
    const std::uint32_t* from = pixels.data() + width * static_cast<std::size_t>(y);
    for (std::size_t x = 0; x < width; ++x) {
      const std::uint32_t alpha = TIFFGetA(from[x]), divisor = std::max(alpha, std::uint32_t{1});
      const std::uint32_t colors[] = {TIFFGetR(from[x]), TIFFGetG(from[x]), TIFFGetB(from[x])};
      for (std::size_t c = 0; c < 3; ++c) {
        row[4 * x + c] = static_cast<unsigned char>(
            std::min((colors[c] * 255 + divisor / 2) / divisor, std::uint32_t{255}));
      }
      row[4 * x + 3] = static_cast<unsigned char>(alpha);
    }
    sink.PutBytes(0, y, row.data(), sink.Width());
  }
  return true;
}

}  // namespace

bool IsTiff(const unsigned char* bytes, std::size_t size) {
  // Both byte orders, of the usual kind and of the large one.
  constexpr const char* kBeginnings[] = {"II\x2a\0", "MM\0\x2a", "II\x2b\0", "MM\0\x2b"};
  return size >= 8 && std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                                  [=](const char* one) { return std::memcmp(bytes, one, 4) == 0; });
}

bool DecodeTiff(const unsigned char* bytes, std::size_t size, PictureSink& sink,
                std::string* reason) {
  TiffSource source = {bytes, size};
  const TiffPtr tiff = OpenTiff(&source);
  const auto fail = [&] {
    const std::string said = Printable(source.message);
    *reason = "the picture is broken, or of a kind of TIFF that is not read" +
              (said.empty() ? "" : " (" + said + ")") + "; write it anew";
    return false;
  };
  if (!tiff) return fail();
  TiffLayout layout;
  layout.width = Field<std::uint32_t>(tiff.get(), TIFFTAG_IMAGEWIDTH, 0);
  layout.height = Field<std::uint32_t>(tiff.get(), TIFFTAG_IMAGELENGTH, 0);
  if (!sink.Begin(layout.width, layout.height, reason)) return false;
  const int orientation = Field<std::uint16_t>(tiff.get(), TIFFTAG_ORIENTATION, 1);
  if (orientation >= 1 && orientation <= 8) sink.Facts().orientation = orientation;
  if (!ReadLayout(tiff.get(), &layout)) {
    return ReadByLibrary(tiff.get(), sink, &source) || fail();
  }
  if (layout.kind->format == SAMPLEFORMAT_IEEEFP) sink.SetLinear();
  return TiffBlocks(tiff.get(), layout, sink).Read() || fail();
}

std::string TiffDescription(const unsigned char* bytes, std::size_t size) {
  TiffSource source = {bytes, size};
  const TiffPtr tiff = OpenTiff(&source);
  const char* text = nullptr;
  const bool isThere = tiff && TIFFGetField(tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &text) && text;
  return isThere ? text : "";
}

}  // namespace hostkit
