// PNG files: 8-bit, straight alpha, tagged sRGB.
#include <png.h>

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/pictures/picture_file.h"

namespace hostkit {
namespace {

constexpr std::size_t kMaxKeyword = 79;

// Everything that the encoder touches. libpng reports errors by a long jump, which must not pass
// over objects with destructors: those all live in EncodePng, and the functions that jump or are
// jumped over have plain locals only.
struct PngJob {
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::FILE* stream = nullptr;
  const PicturePixels* pixels = nullptr;
  png_text* texts = nullptr;
  int textCount = 0;
  unsigned char* row = nullptr;
  int errorCode = 0;  // errno of a failed write
  char message[200] = "";
};

void OnError(png_structp png, png_const_charp message) {
  auto* job = static_cast<PngJob*>(png_get_error_ptr(png));
  std::strncpy(job->message, message, sizeof job->message - 1);
  png_longjmp(png, 1);
}

void OnWarning(png_structp, png_const_charp) {}

void OnWrite(png_structp png, png_bytep bytes, std::size_t size) {
  auto* job = static_cast<PngJob*>(png_get_io_ptr(png));
  errno = 0;
  if (std::fwrite(bytes, 1, size, job->stream) == size) return;
  job->errorCode = errno ? errno : EIO;
  png_error(png, "write failed");
}

void OnFlush(png_structp) {}

// Level 1 with the SUB filter: five times as fast as the defaults on rendered pictures, and files
// hardly grow.
void WriteImage(PngJob& job) {
  const PicturePixels& pixels = *job.pixels;
  png_structp png = job.png;
  png_set_write_fn(png, &job, OnWrite, OnFlush);
  png_set_compression_level(png, 1);
  png_set_compression_buffer_size(png, 1 << 16);
  png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
  png_set_IHDR(png, job.info, static_cast<png_uint_32>(pixels.width),
               static_cast<png_uint_32>(pixels.height), 8,
               pixels.hasAlpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_sRGB_gAMA_and_cHRM(png, job.info, PNG_sRGB_INTENT_PERCEPTUAL);
  if (job.textCount > 0) png_set_text(png, job.info, job.texts, job.textCount);
  png_write_info(png, job.info);
  for (int y = 0; y < pixels.height; ++y) {
    pixels.hasAlpha ? RowToStraightRgba(pixels, y, job.row) : RowToRgb(pixels, y, job.row);
    png_write_row(png, job.row);
  }
  png_write_end(png, job.info);
}

bool RunJob(PngJob& job) {
  if (setjmp(png_jmpbuf(job.png))) return false;
  WriteImage(job);
  return true;
}

bool IsAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<signed char>(c) > 0; });
}

// Text chunks that point into the recipe's strings and `keys`.
std::vector<png_text> MakeTexts(const Recipe& recipe, std::vector<std::string>& keys) {
  for (const auto& [name, value] : recipe) keys.push_back(name.substr(0, kMaxKeyword));
  std::vector<png_text> texts;
  for (std::size_t i = 0; i < recipe.size(); ++i) {
    png_text text = {};
    text.compression =
        IsAscii(recipe[i].second) ? PNG_TEXT_COMPRESSION_NONE : PNG_ITXT_COMPRESSION_NONE;
    text.key = keys[i].data();
    text.text = const_cast<char*>(recipe[i].second.c_str());  // only read
    text.text_length = recipe[i].second.size();
    if (!keys[i].empty()) texts.push_back(text);
  }
  return texts;
}

}  // namespace

bool EncodePng(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
               std::string* reason) {
  std::vector<std::string> keys;
  std::vector<png_text> texts = MakeTexts(recipe, keys);
  std::vector<unsigned char> row(static_cast<std::size_t>(pixels.width) * 4);

  PngJob job;
  job.stream = stream;
  job.pixels = &pixels;
  job.texts = texts.data();
  job.textCount = static_cast<int>(texts.size());
  job.row = row.data();
  job.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &job, OnError, OnWarning);
  if (job.png) job.info = png_create_info_struct(job.png);
  bool good = job.info && RunJob(job);
  png_destroy_write_struct(&job.png, &job.info);
  if (good) return true;
  if (job.errorCode) {
    *reason = WriteErrorText(job.errorCode);
  } else {
    *reason = std::string("the PNG library reports: ") +
              (job.message[0] ? job.message : "out of memory") + "; try a smaller picture or .exr";
  }
  return false;
}

}  // namespace hostkit
