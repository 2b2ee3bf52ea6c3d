// TIFF files: 8-bit with straight alpha, deflated strips; the recipe is the description.
#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/pictures/picture_file.h"

namespace hostkit {
namespace {

constexpr int kDeflateLevel = 1;  // as of PNG
constexpr std::uint32_t kStripBytes = 1 << 18;

/// A stream as the library writes to it.
struct TiffSink {
  std::FILE* stream = nullptr;
  int errorCode = 0;  // errno of a failed write
};

TiffSink* SinkOf(thandle_t handle) {
  return static_cast<TiffSink*>(handle);
}

/// It reads what it has written, to link directories.
tmsize_t ReadBack(thandle_t handle, void* to, tmsize_t size) {
  return static_cast<tmsize_t>(
      std::fread(to, 1, static_cast<std::size_t>(size), SinkOf(handle)->stream));
}

tmsize_t WriteOut(thandle_t handle, void* from, tmsize_t size) {
  TiffSink* sink = SinkOf(handle);
  errno = 0;
  const std::size_t count = std::fwrite(from, 1, static_cast<std::size_t>(size), sink->stream);
  if (count != static_cast<std::size_t>(size)) sink->errorCode = errno ? errno : EIO;
  return static_cast<tmsize_t>(count);
}

toff_t Seek(thandle_t handle, toff_t offset, int whence) {
  TiffSink* sink = SinkOf(handle);
  errno = 0;
  if (std::fseek(sink->stream, static_cast<long>(offset), whence) != 0) {
    sink->errorCode = errno ? errno : EIO;
    return static_cast<toff_t>(-1);
  }
  return static_cast<toff_t>(std::ftell(sink->stream));
}

int LeaveOpen(thandle_t) {
  return 0;
}

toff_t SizeOfWritten(thandle_t handle) {
  std::FILE* stream = SinkOf(handle)->stream;
  const long at = std::ftell(stream);
  std::fseek(stream, 0, SEEK_END);
  const long size = std::ftell(stream);
  std::fseek(stream, at, SEEK_SET);
  return static_cast<toff_t>(size);
}

/// Its words are not needed: all that can fail is the disk and memory.
int KeepQuiet(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

using TiffPtr = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

TiffPtr OpenForWriting(TiffSink* sink) {
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
      TIFFOpenOptionsAlloc(), &TIFFOpenOptionsFree);
  if (!options) return {nullptr, &TIFFClose};
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), KeepQuiet, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), KeepQuiet, nullptr);
  return {TIFFClientOpenExt("picture", "w", sink, ReadBack, WriteOut, Seek, LeaveOpen,
                            SizeOfWritten, nullptr, nullptr, options.get()),
          &TIFFClose};
}

void Describe(TIFF* tiff, const PicturePixels& pixels, const std::string& text) {
  const std::uint16_t samples = pixels.hasAlpha ? 4 : 3;
  const auto rowBytes = static_cast<std::uint32_t>(pixels.width) * samples;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(pixels.width));
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(pixels.height));
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
  TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, kDeflateLevel);
  TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, std::max(kStripBytes / rowBytes, std::uint32_t{1}));
  if (pixels.hasAlpha) {
    const std::uint16_t alpha[] = {EXTRASAMPLE_UNASSALPHA};
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, alpha);
  }
  if (!text.empty()) TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, text.c_str());
}

bool WriteTiffRows(TIFF* tiff, const PicturePixels& pixels) {
  std::vector<unsigned char> row(static_cast<std::size_t>(pixels.width) * 4);
  for (int y = 0; y < pixels.height; ++y) {
    pixels.hasAlpha ? RowToStraightRgba(pixels, y, row.data()) : RowToRgb(pixels, y, row.data());
    if (TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y), 0) < 0) return false;
  }
  return TIFFFlush(tiff) != 0;  // closing reports nothing
}

}  // namespace

bool EncodeTiff(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
                const PictureOptions&, std::string* reason) {
  TiffSink sink;
  sink.stream = stream;
  bool good = false;
  {
    const TiffPtr tiff = OpenForWriting(&sink);
    if (tiff) {
      Describe(tiff.get(), pixels, RecipeText(recipe));
      good = WriteTiffRows(tiff.get(), pixels);
    }
  }
  if (good && sink.errorCode == 0) return true;
  *reason = sink.errorCode ? WriteErrorText(sink.errorCode)
                           : "the TIFF library ran out of memory; try a smaller picture";
  return false;
}

}  // namespace hostkit
