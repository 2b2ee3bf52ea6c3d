// WebP files: 8-bit with straight alpha; the recipe is the description in their Exif data.
#include <fmt/format.h>
#include <webp/encode.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/pictures/picture_file.h"

namespace hostkit {
namespace {

constexpr int kNoLoss = 100;       // the quality
constexpr int kLosslessLevel = 2;  // of 9: files grow by a few percent, at a fraction of the time
constexpr std::uint32_t kAlphaFlag = 0x10, kExifFlag = 0x08;

std::string Little(std::size_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> 8 * i & 0xff);
  return text;
}

std::string Chunk(const char* name, std::string_view content) {
  std::string chunk = name + Little(content.size(), 4);
  chunk += content;
  if (content.size() % 2 != 0) chunk += '\0';
  return chunk;
}

/// Exif data with one entry, ImageDescription: a directory of TIFF in little-endian order.
std::string ExifChunkOf(const std::string& text) {
  constexpr std::size_t kDescription = 0x010e, kAscii = 2, kTextAt = 26;
  const std::size_t length = text.size() + 1;
  return "II" + Little(42, 2) + Little(8, 4) + Little(1, 2) + Little(kDescription, 2) +
         Little(kAscii, 2) + Little(length, 4) + Little(kTextAt, 4) + Little(0, 4) + text + '\0';
}

/// What the encoder made (a simple file, or one with an extended header) with the Exif data behind
/// the picture, which takes an extended header.
std::string WithExif(std::string_view file, const PicturePixels& pixels, const std::string& exif) {
  constexpr std::size_t kHeader = 12, kExtended = 18;
  std::string_view chunks = file.substr(kHeader);
  if (chunks.starts_with("VP8X")) chunks.remove_prefix(kExtended);
  const std::string extended = Little(kExifFlag | (pixels.hasAlpha ? kAlphaFlag : 0), 4) +
                               Little(static_cast<std::size_t>(pixels.width - 1), 3) +
                               Little(static_cast<std::size_t>(pixels.height - 1), 3);
  std::string body = "WEBP" + Chunk("VP8X", extended);
  body += chunks;
  body += Chunk("EXIF", exif);
  return "RIFF" + Little(body.size(), 4) + body;
}

/// The encoder's picture and its memory.
struct WebpJob {
  WebPConfig config = {};
  WebPPicture picture = {};
  WebPMemoryWriter memory = {};
  WebpJob() { WebPMemoryWriterInit(&memory); }
  ~WebpJob() {
    WebPPictureFree(&picture);
    WebPMemoryWriterClear(&memory);
  }
  WebpJob(const WebpJob&) = delete;
  WebpJob& operator=(const WebpJob&) = delete;
  std::string_view File() const { return {reinterpret_cast<const char*>(memory.mem), memory.size}; }
};

bool EncodeInMemory(const PicturePixels& pixels, int quality, WebpJob* job) {
  const auto rowBytes = static_cast<std::size_t>(pixels.width) * (pixels.hasAlpha ? 4 : 3);
  std::vector<unsigned char> bytes(rowBytes * static_cast<std::size_t>(pixels.height));
  for (int y = 0; y < pixels.height; ++y) {
    unsigned char* row = bytes.data() + rowBytes * static_cast<std::size_t>(y);
    pixels.hasAlpha ? RowToStraightRgba(pixels, y, row) : RowToRgb(pixels, y, row);
  }
  if (!WebPConfigInit(&job->config) || !WebPPictureInit(&job->picture)) return false;
  job->config.quality = static_cast<float>(quality);
  if (quality == kNoLoss) WebPConfigLosslessPreset(&job->config, kLosslessLevel);
  job->config.exact = 1;
  job->picture.use_argb = quality == kNoLoss;
  job->picture.width = pixels.width;
  job->picture.height = pixels.height;
  job->picture.writer = WebPMemoryWrite;
  job->picture.custom_ptr = &job->memory;
  const int step = static_cast<int>(rowBytes);
  const auto import = pixels.hasAlpha ? WebPPictureImportRGBA : WebPPictureImportRGB;
  return import(&job->picture, bytes.data(), step) && WebPEncode(&job->config, &job->picture);
}

}  // namespace

bool EncodeWebp(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
                const PictureOptions& options, std::string* reason) {
  if (pixels.width > WEBP_MAX_DIMENSION || pixels.height > WEBP_MAX_DIMENSION) {
    *reason = fmt::format("a side is over the {} pixels that WebP allows; write .png or .exr",
                          WEBP_MAX_DIMENSION);
    return false;
  }
  WebpJob job;
  if (!EncodeInMemory(pixels, std::clamp(options.quality, 1, 100), &job)) {
    *reason = fmt::format("the WebP library fails (error {}); try a smaller picture or .png",
                          static_cast<int>(job.picture.error_code));
    return false;
  }
  const std::string text = RecipeText(recipe);
  const std::string file =
      text.empty() ? std::string(job.File()) : WithExif(job.File(), pixels, ExifChunkOf(text));
  errno = 0;
  if (std::fwrite(file.data(), 1, file.size(), stream) == file.size()) return true;
  *reason = WriteErrorText(errno);
  return false;
}

}  // namespace hostkit
