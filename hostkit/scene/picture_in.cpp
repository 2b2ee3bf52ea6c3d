// Picture files into host bitmaps, decoded by stb_image.
#include "hostkit/scene/picture_in.h"

#include <fmt/format.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>
#include <system_error>
#include <vector>

#include "hostkit/scene/picture_guards.h"

#define STBI_NO_GIF
#define STBI_NO_PIC
#define STBI_NO_PNM
#define STBI_NO_PSD
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb/stb_image.h>

namespace hostkit {
namespace {

constexpr int kLargestSide = 32768;
// Decoding needs about three times the pixels' memory; beyond this it is a mistake or an attack.
constexpr long long kMostPixels = 1LL << 28;
constexpr const char* kFormats = "PNG, JPEG, TGA, BMP or HDR";

BitmapPtr Fail(std::string* error, std::string message) {
  *error = std::move(message);
  return nullptr;
}

/// Why decoding failed. The decoder's words may quote the file, whatever bytes it has there.
std::string DecoderReason() {
  std::string reason = stbi_failure_reason();
  for (char& c : reason) {
    if (c < ' ' || c > '~') c = '?';
  }
  return reason;
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
  std::ifstream file(path, std::ios::binary);
  const std::uintmax_t size = std::filesystem::file_size(path, code);
  if (!file || code) {
    *error = fmt::format("{}: cannot be opened; check its permissions", path);
    return false;
  }
  if (size > INT_MAX) {
    *error = fmt::format("{}: {} bytes are too many for a picture; the limit is 2 GiB", path, size);
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

}  // namespace

BitmapPtr LoadPicture(const std::string& path, std::string* error) {
  std::vector<unsigned char> bytes;
  if (!ReadFile(path, &bytes, error)) return nullptr;
  return LoadPictureFromMemory(bytes.data(), bytes.size(), path, error);
}

BitmapPtr LoadPictureFromMemory(const unsigned char* bytes, std::size_t size,
                                const std::string& name, std::string* error) {
  if (size == 0) return Fail(error, fmt::format("{}: the picture is empty; write it anew", name));
  if (size > INT_MAX) {
    return Fail(error, fmt::format("{}: over 2 GiB; use a smaller picture", name));
  }
  const std::string_view file(reinterpret_cast<const char*>(bytes), size);
  if (!AreJpegTablesSound(file)) {
    return Fail(error, fmt::format("{}: the picture's tables are broken; write it anew", name));
  }
  const int length = static_cast<int>(size);
  int width = 0, height = 0, channels = 0;
  if (!stbi_info_from_memory(bytes, length, &width, &height, &channels)) {
    return Fail(error, fmt::format("{}: not a {} picture; convert it to one", name, kFormats));
  }
  const long long pixels = static_cast<long long>(width) * height;
  if (width > kLargestSide || height > kLargestSide || pixels > kMostPixels) {
    return Fail(error, fmt::format("{}: {} x {} pixels are too many (at most {} a side and {} in "
                                   "all); scale it down",
                                   name, width, height, kLargestSide, kMostPixels));
  }
  if (!AreHdrRowsWhole(file, width, height)) {
    return Fail(error, fmt::format("{}: the picture ends early; write it anew", name));
  }
  // HDR pictures arrive as (value ^ (1 / 2.2)), clamped to 0 to 1: stb_image's own default.
  const std::unique_ptr<stbi_uc, decltype(&std::free)> pixelBytes(
      stbi_load_from_memory(bytes, length, &width, &height, &channels, 4), &std::free);
  if (!pixelBytes) {
    return Fail(
        error, fmt::format("{}: the picture is broken ({}); write it anew", name, DecoderReason()));
  }
  BitmapPtr bitmap = BitmapFromRgba(pixelBytes.get(), width, height);
  if (!bitmap) {
    return Fail(error, fmt::format("{}: no memory for {} x {} pixels", name, width, height));
  }
  return bitmap;
}

BitmapPtr BitmapFromRgba(const unsigned char* rgba, int width, int height) {
  if (width < 1 || height < 1) return nullptr;
  BitmapPtr bitmap(new HBitmapNode(width, height));
  HRGBABuffer* color =
      bitmap->CreateRGBABuffer("Color", HBitmapBuffer::kByteChannel, width, height);
  if (!color) return nullptr;
  const bool allocated = color->AllocateData(0) != 0;
  bitmap->AddBuffer(color);
  if (!allocated) return nullptr;
  const std::size_t rowBytes = static_cast<std::size_t>(width) * 4;
  for (int y = 0; y < height; ++y) {
    std::memcpy(color->GetData(y), rgba + rowBytes * y, rowBytes);
  }
  return bitmap;
}

}  // namespace hostkit
