// Picture files into host bitmaps, decoded by stb_image (OpenEXR and WebP elsewhere).
#include "hostkit/pictures/picture_in.h"

#include <fmt/format.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "hostkit/pictures/picture_exr_in.h"
#include "hostkit/pictures/picture_guards.h"
#include "hostkit/pictures/picture_webp.h"

#define STBI_NO_GIF
#define STBI_NO_PIC
#define STBI_NO_PNM
#define STBI_NO_PSD
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb/stb_image.h>

namespace hostkit {
namespace {

constexpr const char* kFormats = "EXR, PNG, JPEG, WebP, TGA, BMP or HDR";

BitmapPtr Fail(std::string* error, std::string message) {
  *error = std::move(message);
  return nullptr;
}

/// Why decoding failed, and the remedy. The decoder's words may quote the file, whatever bytes it
/// has there.
std::string DecodeErrorText(int width, int height) {
  std::string reason = stbi_failure_reason();
  if (reason == "outofmem") return NoMemoryText(width, height);
  for (char& c : reason) {
    if (c < ' ' || c > '~') c = '?';
  }
  return fmt::format("the picture is broken ({}); write it anew", reason);
}

bool ReadFile(const std::string& path, std::vector<unsigned char>* bytes, std::string* error) {
  std::error_code code;
  const std::filesystem::file_status status = std::filesystem::status(path, code);
  if (!std::filesystem::exists(status)) {
    *error = fmt::format("{}: no such picture; check its name and folder", path);
    return false;
  }
  if (std::filesystem::is_directory(status)) {
    *error = fmt::format("{}: is a folder; name a {} file in it", path, kFormats);
    return false;
  }
  if (!std::filesystem::is_regular_file(status)) {  // opening a pipe could wait for ever
    *error = fmt::format("{}: is not a regular file; save the picture to one", path);
    return false;
  }
  std::ifstream file(path, std::ios::binary);
  const std::uintmax_t size = std::filesystem::file_size(path, code);
  if (!file || code) {
    *error = fmt::format("{}: cannot be opened; check its permissions", path);
    return false;
  }
  if (size > INT_MAX) {
    *error = fmt::format(
        "{}: {} bytes are too many for a picture; the limit is 2 GiB; scale it down", path, size);
    return false;
  }
  bytes->resize(size);
  file.read(reinterpret_cast<char*>(bytes->data()), static_cast<std::streamsize>(size));
  if (static_cast<std::uintmax_t>(file.gcount()) != size) {
    *error = fmt::format("{}: reading stopped half-way; check the disk", path);
    return false;
  }
  return true;
}

/// Decoded pixels: red, green, blue, alpha. Null on failure.
using DecodedBytes = std::unique_ptr<stbi_uc, decltype(&std::free)>;

/// Light of an HDR picture as it is shown: (value ^ (1 / 2.2)), cut to 0 to 1, as stb_image itself
/// does it, but with a look at what is cut.
DecodedBytes DecodeHdr(const unsigned char* bytes, int length, PictureFacts* facts) {
  int width = 0, height = 0, channels = 0;
  float* floats = stbi_loadf_from_memory(bytes, length, &width, &height, &channels, 4);
  // Bytes take the places of the numbers that they were, or of those before.
  DecodedBytes decoded(reinterpret_cast<stbi_uc*>(floats), &std::free);
  const std::size_t count = floats ? static_cast<std::size_t>(width) * height * 4 : 0;
  for (std::size_t i = 0; i < count; ++i) {
    const float value = floats[i];
    facts->clipped |= value > 1;
    const float shown = i % 4 == 3 ? value : std::pow(std::max(value, 0.0f), 1 / 2.2f);
    decoded.get()[i] = static_cast<stbi_uc>(std::min(shown, 1.0f) * 255 + 0.5f);
  }
  facts->wasLinear = true;
  return decoded;
}

}  // namespace

BitmapPtr LoadPicture(const std::string& path, std::string* error, PictureFacts* facts) {
  std::vector<unsigned char> bytes;
  if (!ReadFile(path, &bytes, error)) return nullptr;
  return LoadPictureFromMemory(bytes.data(), bytes.size(), path, error, facts);
}

BitmapPtr LoadPictureFromMemory(const unsigned char* bytes, std::size_t size,
                                const std::string& name, std::string* error, PictureFacts* facts,
                                std::uint64_t mostBytes) {
  PictureFacts unused;
  if (!facts) facts = &unused;
  *facts = {};
  if (size == 0) return Fail(error, fmt::format("{}: the picture is empty; write it anew", name));
  if (size > INT_MAX) {
    return Fail(error, fmt::format("{}: over 2 GiB; use a smaller picture", name));
  }
  if (IsExr(bytes, size)) {
    std::string reason;
    BitmapPtr bitmap = LoadExr(bytes, size, facts, mostBytes, &reason);
    return bitmap ? std::move(bitmap) : Fail(error, fmt::format("{}: {}", name, reason));
  }
  if (IsWebp(bytes, size)) {
    std::string reason;
    BitmapPtr bitmap = LoadWebp(bytes, size, mostBytes, &reason);
    return bitmap ? std::move(bitmap) : Fail(error, fmt::format("{}: {}", name, reason));
  }
  const std::string_view file(reinterpret_cast<const char*>(bytes), size);
  if (!AreJpegTablesSound(file)) {
    return Fail(error, fmt::format("{}: the picture's tables are broken; write it anew", name));
  }
  const int length = static_cast<int>(size);
  int width = 0, height = 0, channels = 0;
  if (!stbi_info_from_memory(bytes, length, &width, &height, &channels)) {
    const auto [toldWidth, toldHeight] = PngSize(file);
    std::string why = SizeRefusal(toldWidth, toldHeight, mostBytes);
    if (why.empty()) why = fmt::format("not an {} picture; convert it to one", kFormats);
    return Fail(error, fmt::format("{}: {}", name, why));
  }
  const std::string refusal = SizeRefusal(width, height, mostBytes);
  if (!refusal.empty()) return Fail(error, fmt::format("{}: {}", name, refusal));
  if (!AreHdrRowsWhole(file, width, height)) {
    return Fail(error, fmt::format("{}: the picture ends early; write it anew", name));
  }
  const DecodedBytes pixelBytes =
      stbi_is_hdr_from_memory(bytes, length)
          ? DecodeHdr(bytes, length, facts)
          : DecodedBytes(stbi_load_from_memory(bytes, length, &width, &height, &channels, 4),
                         &std::free);
  if (!pixelBytes) {
    return Fail(error, fmt::format("{}: {}", name, DecodeErrorText(width, height)));
  }
  BitmapPtr bitmap = BitmapFromRgba(pixelBytes.get(), width, height);
  if (!bitmap) return Fail(error, fmt::format("{}: {}", name, NoMemoryText(width, height)));
  return bitmap;
}

BitmapPtr BitmapFromRgba(const unsigned char* rgba, int width, int height) {
  BitmapPtr bitmap = NewByteBitmap(width, height);
  if (!bitmap) return nullptr;
  const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  std::memcpy(bitmap->GetBufferHead()->Data(), rgba, pixels * 4);
  return bitmap;
}

}  // namespace hostkit
