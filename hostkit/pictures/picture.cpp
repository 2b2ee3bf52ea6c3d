// Finished pictures into files of the kinds that their suffixes name.
#include "hostkit/pictures/picture.h"

#include <fmt/format.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <new>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/pictures/picture_file.h"

namespace hostkit {
namespace {

using Encoder = bool (*)(std::FILE*, const PicturePixels&, const Recipe&, const PictureOptions&,
                         std::string*);

bool Png(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
         const PictureOptions&, std::string* reason) {
  return EncodePng(stream, pixels, recipe, reason);
}
bool Exr(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
         const PictureOptions&, std::string* reason) {
  return EncodeExr(stream, pixels, recipe, reason);
}
bool Jpeg(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
          const PictureOptions& options, std::string* reason) {
  return EncodeJpeg(stream, pixels, recipe, options.jpegQuality, reason);
}

struct FileKind {
  const char* suffix;
  Encoder encode;
};
constexpr FileKind kFileKinds[] = {{".png", Png}, {".exr", Exr}, {".jpg", Jpeg}, {".jpeg", Jpeg}};

const FileKind* FindKind(const std::string& path) {
  std::string suffix = std::filesystem::path(path).extension().string();
  for (char& c : suffix) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const FileKind& kind : kFileKinds) {
    if (suffix == kind.suffix) return &kind;
  }
  return nullptr;
}

void DescribeDepths(const Picture& picture, PicturePixels* pixels) {
  HBitmapBuffer* depths = picture.bitmap->FindBuffer("Depth");
  if (depths && depths->Data() && depths->Type() == HBitmapBuffer::kFloatChannel &&
      depths->Width() == pixels->width && depths->Height() == pixels->height) {
    pixels->depths = static_cast<const float*>(depths->Data());
    pixels->depthPixelStep = depths->PixelStep();
    pixels->depthRowStep = depths->RowStep();
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
  if (options.depth) DescribeDepths(picture, pixels);
  if (!options.colors) pixels->colors = nullptr;
  return pixels->colors || pixels->depths;
}

bool IsPictureSuffixKnown(const std::string& path, std::string* error) {
  if (FindKind(path)) return true;
  std::string known;
  for (const FileKind& kind : kFileKinds)
    known += (known.empty() ? "" : ", ") + std::string(kind.suffix);
  *error = fmt::format("{}: the suffix names no known kind of picture; use one of {}", path, known);
  return false;
}

bool EncodePicture(std::FILE* stream, const std::string& suffix, const Picture& picture,
                   const Recipe& recipe, const PictureOptions& options, std::string* reason) {
  *reason = "the picture is empty; render it again";
  PicturePixels pixels;
  try {
    return DescribePixels(picture, options, &pixels) &&
           FindKind("x" + suffix)->encode(stream, pixels, recipe, options, reason);
  } catch (const std::bad_alloc&) {
    *reason = "memory ran out; try a smaller picture";
    return false;
  }
}

bool WritePicture(const std::string& path, const Picture& picture, const Recipe& recipe,
                  const PictureOptions& options, std::string* error) {
  if (!IsPictureSuffixKnown(path, error)) return false;
  std::string reason = "the picture is empty; render it again";
  if (!options.colors && FindKind(path)->encode != Exr) {
    *error = fmt::format("{}: cannot hold distances alone; use .exr", path);
    return false;
  }
  PicturePixels pixels;
  PictureFile file;
  bool good = false;
  try {
    good = DescribePixels(picture, options, &pixels) && file.Open(path, &reason) &&
           FindKind(path)->encode(file.Stream(), pixels, recipe, options, &reason) &&
           file.Commit(&reason);
  } catch (const std::bad_alloc&) {
    reason = "memory ran out; try a smaller picture";
  }
  if (!good) *error = fmt::format("{}: cannot be written: {}", path, reason);
  return good;
}

}  // namespace hostkit
