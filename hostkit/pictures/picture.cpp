// Finished pictures into files of the kinds that their suffixes name.
#include "hostkit/pictures/picture.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/pictures/picture_file.h"
#include "hostkit/pictures/picture_formats.h"

namespace hostkit {
namespace {

/// By PictureKind; null where a kind is not written.
constexpr PictureEncoder kEncoders[] = {EncodePng, EncodeExr, EncodeJpeg, EncodeWebp, EncodeTiff,
                                        EncodePpm, nullptr,   nullptr,    nullptr};
static_assert(std::size(kEncoders) == std::size(kPictureFormats));

/// A buffer of floats, and the channels of OpenEXR files that it becomes.
struct PassBuffer {
  const char* buffer;
  bool isDepth;
  std::array<const char*, 3> channels;
};
constexpr PassBuffer kPassBuffers[] = {{"Depth", true, {"Z"}},
                                       {"Normal", false, {"N.X", "N.Y", "N.Z"}},
                                       {"ObjectId", false, {"objectid"}},
                                       {"MaterialId", false, {"materialid"}}};

void DescribePass(const Picture& picture, const PassBuffer& pass, PicturePixels* pixels) {
  HBitmapBuffer* values = picture.bitmap->FindBuffer(pass.buffer);
  if (!values || !values->Data() || values->Type() != HBitmapBuffer::kFloatChannel ||
      values->Width() != pixels->width || values->Height() != pixels->height) {
    return;
  }
  for (int i = 0; i < values->Channels() && i < 3 && pass.channels[i]; ++i) {
    pixels->passes.push_back({pass.channels[i], static_cast<const float*>(values->Data()) + i,
                              values->PixelStep(), values->RowStep()});
  }
}

}  // namespace

bool DescribePixels(const Picture& picture, const PictureOptions& options, PicturePixels* pixels) {
  if (!picture.bitmap) return false;
  HBitmapBuffer* colors = picture.bitmap->FindBuffer("ColorAlpha");
  if (!colors || !colors->Data() || colors->Type() != HBitmapBuffer::kHalfChannel ||
      colors->PixelStep() != 4) {
    return false;
  }
  pixels->width = colors->Width();
  pixels->height = colors->Height();
  pixels->hasAlpha = picture.hasAlpha;
  pixels->colors = static_cast<const std::uint16_t*>(colors->Data());
  pixels->colorRowStep = colors->RowStep();
  for (const PassBuffer& pass : kPassBuffers) {
    if (pass.isDepth ? options.depth : options.passes) DescribePass(picture, pass, pixels);
  }
  if (!options.colors) pixels->colors = nullptr;
  return pixels->colors || !pixels->passes.empty();
}

bool IsPictureSuffixKnown(const std::string& path, std::string* error) {
  if (FindWrittenFormat(path)) return true;
  *error = fmt::format("{}: the suffix names no kind of picture that is written; use one of {}",
                       path, WrittenSuffixes());
  return false;
}

bool EncodePicture(std::FILE* stream, const std::string& name, const Picture& picture,
                   const Recipe& recipe, const PictureOptions& options, std::string* reason) {
  const PictureFormat& format = *FindWrittenFormat(name);
  PicturePixels pixels;
  try {
    if (DescribePixels(picture, options, &pixels)) {
      return kEncoders[static_cast<std::size_t>(format.kind)](stream, pixels, recipe, options,
                                                              reason);
    }
    *reason = "the picture is empty; render it again";
  } catch (const std::bad_alloc&) {
    *reason = "memory ran out; try a smaller picture";
  }
  return false;
}

bool WritePicture(const std::string& path, const Picture& picture, const Recipe& recipe,
                  const PictureOptions& options, std::string* error) {
  if (!IsPictureSuffixKnown(path, error)) return false;
  if (!options.colors && !FindWrittenFormat(path)->keepsPasses) {
    *error = fmt::format("{}: cannot hold distances alone; use .exr", path);
    return false;
  }
  PictureFile file;
  std::string reason;
  const bool good = file.Open(path, &reason) &&
                    EncodePicture(file.Stream(), path, picture, recipe, options, &reason) &&
                    file.Commit(&reason);
  if (!good) *error = fmt::format("{}: cannot be written: {}", path, reason);
  return good;
}

}  // namespace hostkit
