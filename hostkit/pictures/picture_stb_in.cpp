// PNG, JPEG, TGA, BMP and HDR files into pixels, decoded by stb_image.
#include <fmt/format.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/pictures/picture_decoders.h"
#include "hostkit/pictures/picture_formats.h"
#include "hostkit/pictures/picture_guards.h"

#define STBI_NO_GIF
#define STBI_NO_PIC
#define STBI_NO_PNM
#define STBI_NO_PSD
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb/stb_image.h>

namespace hostkit {
namespace {

using Imath::half;

/// A file with its length as the decoder takes it.
struct StbFile {
  const unsigned char* bytes;
  int length;
};

/// What the decoder gave: red, green, blue, alpha. Null on failure.
template <class Value>
using Decoded = std::unique_ptr<Value, decltype(&std::free)>;

/// Why the decoder failed last, and the remedy.
std::string DecodeErrorText(const PictureSink& sink) {
  const std::string reason = stbi_failure_reason();
  if (reason == "outofmem") return NoMemoryText(sink.Width(), sink.Height());
  return fmt::format("the picture is broken ({}); write it anew", Printable(reason));
}

/// Why there is no size in what begins as a PNG file does.
std::string PngRefusal(std::string_view file, const PictureSink& sink) {
  constexpr std::size_t kSidesEnd = 24;
  if (file.size() < kSidesEnd) return "the picture ends early; write it anew";
  const auto [width, height] = PngSize(file);
  std::string refusal = SizeRefusal(width, height, UINT64_MAX);
  if (!refusal.empty()) return refusal;
  if (width > 0 && height > 0) return DecodeErrorText(sink);
  return fmt::format("a PNG picture whose header tells {} x {} pixels; write it anew", width,
                     height);
}

/// The size that the file tells; false with the reason for what is no picture.
bool ReadStbSize(const StbFile& file, std::string_view text, const PictureSink& sink, int* width,
                 int* height, std::string* reason) {
  int channels = 0;
  if (stbi_info_from_memory(file.bytes, file.length, width, height, &channels)) return true;
  *reason = text.starts_with("\x89PNG")
                ? PngRefusal(text, sink)
                : fmt::format("not a {} picture; convert it to one", ReadFormatNames());
  return false;
}

bool PutStbBytes(const StbFile& file, PictureSink& sink) {
  int width = 0, height = 0, channels = 0;
  const Decoded<stbi_uc> rgba(
      stbi_load_from_memory(file.bytes, file.length, &width, &height, &channels, 4), &std::free);
  if (!rgba || width != sink.Width() || height != sink.Height()) return false;
  const stbi_uc* row = rgba.get();
  for (int y = 0; y < height; ++y, row += 4 * static_cast<std::size_t>(width)) {
    sink.PutBytes(0, y, row, width);
  }
  return true;
}

/// Rows of any numbers as half floats, `unit` being 1.
template <class Value>
bool PutStbHalves(const Decoded<Value>& rgba, float unit, PictureSink& sink) {
  if (!rgba) return false;
  const Value* value = rgba.get();
  std::vector<half> row(static_cast<std::size_t>(sink.Width()) * 4);
  for (int y = 0; y < sink.Height(); ++y) {
    for (half& to : row) to = half(static_cast<float>(*value++) / unit);
    sink.PutHalves(0, y, row.data(), sink.Width(), false);
  }
  return true;
}

bool PutStbLight(const StbFile& file, PictureSink& sink) {
  int width = 0, height = 0, channels = 0;
  sink.SetLinear();
  return PutStbHalves(
      Decoded<float>(stbi_loadf_from_memory(file.bytes, file.length, &width, &height, &channels, 4),
                     &std::free),
      1, sink);
}

bool PutStbWords(const StbFile& file, PictureSink& sink) {
  int width = 0, height = 0, channels = 0;
  return PutStbHalves(Decoded<stbi_us>(stbi_load_16_from_memory(file.bytes, file.length, &width,
                                                                &height, &channels, 4),
                                       &std::free),
                      65535, sink);
}

}  // namespace

bool DecodeOther(const unsigned char* bytes, std::size_t size, PictureSink& sink,
                 std::string* reason) {
  const StbFile file = {bytes, static_cast<int>(size)};
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  if (!AreJpegTablesSound(text)) {
    *reason = "the picture's tables are broken; write it anew";
    return false;
  }
  int width = 0, height = 0;
  if (!ReadStbSize(file, text, sink, &width, &height, reason)) return false;
  if (!sink.Begin(width, height, reason)) return false;
  if (!AreHdrRowsWhole(text, width, height)) {
    *reason = "the picture ends early; write it anew";
    return false;
  }
  const bool isLight = stbi_is_hdr_from_memory(bytes, file.length) != 0;
  const bool isWide = sink.WantsHalves() && stbi_is_16_bit_from_memory(bytes, file.length) != 0;
  const bool isPut = isLight  ? PutStbLight(file, sink)
                     : isWide ? PutStbWords(file, sink)
                              : PutStbBytes(file, sink);
  if (!isPut) *reason = DecodeErrorText(sink);
  return isPut;
}

}  // namespace hostkit
