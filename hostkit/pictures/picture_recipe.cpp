// Recipes out of picture files: PNG text, EXR attributes, and what other kinds hold as one text.
#include "hostkit/pictures/picture_recipe.h"

#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <fmt/format.h>
#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include <jpeglib.h>  // needs cstdio before it

#include "hostkit/pictures/picture_decoders.h"
#include "hostkit/pictures/picture_exif.h"
#include "hostkit/pictures/picture_guards.h"
#include "hostkit/pictures/picture_in.h"

namespace hostkit {
namespace {

constexpr const char kPrefix[] = "gl3:";
constexpr png_alloc_size_t kLargestChunk = 1 << 20;

using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

/// Adds an entry when its name is one of ours.
void AddOurs(const std::string& name, const std::string& value, Recipe* recipe) {
  if (name.compare(0, sizeof kPrefix - 1, kPrefix) == 0) recipe->emplace_back(name, value);
}

// libpng and libjpeg report errors by a long jump, which must not pass over objects with
// destructors: what jumps and is jumped over has plain locals only.

void OnPngError(png_structp png, png_const_charp) {
  png_longjmp(png, 1);
}
void OnPngWarning(png_structp, png_const_charp) {}

bool ReadPngInfo(png_structp png, png_infop info, std::FILE* file) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_init_io(png, file);
  png_set_chunk_malloc_max(png, kLargestChunk);
  png_read_info(png, info);
  return true;
}

/// The text that stands before the pixels.
bool ReadPng(std::FILE* file, Recipe* recipe) {
  png_structp png =
      png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, OnPngError, OnPngWarning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  const bool isRead = info && ReadPngInfo(png, info, file);
  png_textp texts = nullptr;
  int count = 0;
  if (isRead) png_get_text(png, info, &texts, &count);
  for (int i = 0; i < count; ++i) {
    if (texts[i].key && texts[i].text) AddOurs(texts[i].key, texts[i].text, recipe);
  }
  png_destroy_read_struct(&png, &info, nullptr);
  return isRead;
}

/// Whether the headers are as long as they say; the library makes room before it looks.
bool IsExrSound(std::FILE* file) {
  constexpr std::size_t kLongestHead = 1 << 24;  // bytes
  std::string head(kLongestHead, '\0');
  head.resize(std::fread(head.data(), 1, head.size(), file));
  return AreExrHeadersWhole(head);
}

bool ReadExr(std::FILE* opened, const std::string& path, Recipe* recipe) {
  if (!IsExrSound(opened)) return false;
  LimitExrSizes();
  try {
    const Imf::InputFile file(path.c_str(), 0);
    const Imf::Header& header = file.header();
    for (auto entry = header.begin(); entry != header.end(); ++entry) {
      const auto* text = dynamic_cast<const Imf::StringAttribute*>(&entry.attribute());
      if (text) AddOurs(entry.name(), text->value(), recipe);
    }
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

struct JpegHeader {
  jpeg_error_mgr errors;
  std::jmp_buf jump;
  jpeg_decompress_struct jpeg;
};

void OnBrokenJpeg(j_common_ptr common) {
  std::longjmp(static_cast<JpegHeader*>(common->client_data)->jump, 1);
}
void OnJpegWarning(j_common_ptr) {}

bool ReadJpegHeader(JpegHeader& job, std::FILE* file) {
  if (setjmp(job.jump)) return false;
  jpeg_create_decompress(&job.jpeg);
  jpeg_stdio_src(&job.jpeg, file);
  jpeg_save_markers(&job.jpeg, JPEG_COM, 0xffff);
  jpeg_read_header(&job.jpeg, TRUE);
  return true;
}

/// A comment holds "name: value" lines. A value may go on over lines that name no entry.
void AddCommentLines(const std::string& comment, Recipe* recipe) {
  std::string name, value;
  for (std::size_t begin = 0; begin < comment.size();) {
    const std::size_t end = std::min(comment.find('\n', begin), comment.size());
    const std::string line = comment.substr(begin, end - begin);
    const std::size_t colon = line.find(": ");
    if (line.compare(0, sizeof kPrefix - 1, kPrefix) == 0 && colon != std::string::npos) {
      AddOurs(name, value, recipe);
      name = line.substr(0, colon);
      value = line.substr(colon + 2);
    } else {
      value += "\n" + line;
    }
    begin = end + 1;
  }
  AddOurs(name, value, recipe);
}

bool ReadJpeg(std::FILE* file, Recipe* recipe) {
  JpegHeader job;
  job.jpeg = {};
  job.jpeg.err = jpeg_std_error(&job.errors);
  job.errors.error_exit = OnBrokenJpeg;
  job.errors.output_message = OnJpegWarning;
  job.jpeg.client_data = &job;
  const bool isRead = ReadJpegHeader(job, file);
  std::string comment;
  for (jpeg_saved_marker_ptr marker = isRead ? job.jpeg.marker_list : nullptr; marker;
       marker = marker->next) {
    comment.append(reinterpret_cast<const char*>(marker->data), marker->data_length);
  }
  jpeg_destroy_decompress(&job.jpeg);
  AddCommentLines(comment, recipe);
  return isRead;
}

/// The kinds that hold one text: WebP, TIFF, PNM. False for files of other kinds.
bool ReadTextRecipe(const std::string& path, Recipe* recipe) {
  std::vector<unsigned char> bytes;
  std::string error;
  if (!ReadPictureFile(path, &bytes, &error)) return false;
  std::string text;
  if (IsWebp(bytes.data(), bytes.size())) {
    text = ExifDescription({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  } else if (IsTiff(bytes.data(), bytes.size())) {
    text = TiffDescription(bytes.data(), bytes.size());
  } else if (IsPnm(bytes.data(), bytes.size())) {
    text = PnmComments(bytes.data(), bytes.size());
  } else {
    return false;
  }
  AddCommentLines(text, recipe);
  return true;
}

bool BeginsWith(const char (&bytes)[8], const char* magic) {
  return std::memcmp(bytes, magic, std::strlen(magic)) == 0;
}

}  // namespace

bool ReadRecipe(const std::string& path, Recipe* recipe, std::string* error) {
  recipe->clear();
  const auto fail = [&](const char* why) {
    *error = fmt::format("{}: {}", path, why);
    return false;
  };
  std::error_code code;
  const auto status = std::filesystem::status(path, code);
  if (!std::filesystem::exists(status)) return fail("there is no such picture; check the path");
  if (!std::filesystem::is_regular_file(status)) return fail("it is no file; name a picture");
  const FilePtr file(std::fopen(path.c_str(), "rbe"), std::fclose);
  if (!file) return fail("it cannot be opened; change its permissions");
  char magic[8] = {};
  if (std::fread(magic, 1, sizeof magic, file.get()) == 0) return fail("it is empty; name another");
  std::rewind(file.get());
  bool isRead = false;
  if (BeginsWith(magic, "\x89PNG")) {
    isRead = ReadPng(file.get(), recipe);
  } else if (BeginsWith(magic, "\x76\x2f\x31\x01")) {
    isRead = ReadExr(file.get(), path, recipe);
  } else if (BeginsWith(magic, "\xff\xd8\xff")) {
    isRead = ReadJpeg(file.get(), recipe);
  } else if (!ReadTextRecipe(path, recipe)) {
    return fail("it is no picture of a kind that gl3 writes, which recipes are in; name another");
  } else {
    isRead = true;
  }
  if (!isRead) return fail("the picture is broken; name another that was made with it");
  if (recipe->empty()) {
    return fail("it has no recipe; name a picture as gl3 wrote it, since other programs drop it");
  }
  return true;
}

}  // namespace hostkit
