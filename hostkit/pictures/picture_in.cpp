// Picture files into host bitmaps.
#include "hostkit/pictures/picture_in.h"

#include <fmt/format.h>

#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "hostkit/pictures/picture_decoders.h"
#include "hostkit/pictures/picture_exif.h"
#include "hostkit/pictures/picture_formats.h"
#include "hostkit/pictures/picture_guards.h"
#include "hostkit/pictures/picture_sink.h"
#include "hostkit/services/kernel_file.h"

namespace hostkit {
namespace {

/// Kinds that begin in a way of their own; all others go to the last decoder.
struct KnownBeginning {
  bool (*isOne)(const unsigned char* bytes, std::size_t size);
  PictureDecoder decode;
};
constexpr KnownBeginning kBeginnings[] = {
    {IsExr, DecodeExr}, {IsWebp, DecodeWebp}, {IsTiff, DecodeTiff}, {IsPnm, DecodePnm}};

PictureDecoder DecoderOf(const unsigned char* bytes, std::size_t size) {
  for (const KnownBeginning& kind : kBeginnings) {
    if (kind.isOne(bytes, size)) return kind.decode;
  }
  return DecodeOther;
}

/// Null with the reason and the remedy, without the file's name.
BitmapPtr Decode(const unsigned char* bytes, std::size_t size, PictureSink& sink,
                 std::string* reason) {
  if (size == 0) {
    *reason = "the picture is empty; write it anew";
    return nullptr;
  }
  if (size > INT_MAX) {
    *reason = "over 2 GiB; use a smaller picture";
    return nullptr;
  }
  try {
    if (!DecoderOf(bytes, size)(bytes, size, sink, reason)) return nullptr;
  } catch (const std::bad_alloc&) {
    *reason = NoMemoryText(sink.Width(), sink.Height());
    return nullptr;
  }
  PictureFacts& facts = sink.Facts();
  if (facts.orientation == kUpright) {
    facts.orientation = ExifOrientation({reinterpret_cast<const char*>(bytes), size});
  }
  return sink.Take();
}

}  // namespace

std::string Printable(std::string_view text) {
  constexpr std::size_t kMost = 200;
  std::string printable(text.substr(0, kMost));
  for (char& c : printable) {
    if (c < ' ' || c > '~') c = '?';
  }
  return printable;
}

bool ReadPictureFile(const std::string& path, std::vector<unsigned char>* bytes,
                     std::string* error) {
  std::error_code code;
  const std::filesystem::file_status status = std::filesystem::status(path, code);
  if (!std::filesystem::exists(status)) {
    *error = fmt::format("{}: no such picture; check its name and folder", path);
    return false;
  }
  if (std::filesystem::is_directory(status)) {
    *error = fmt::format("{}: is a folder; name a {} file in it", path, ReadFormatNames());
    return false;
  }
  if (!std::filesystem::is_regular_file(status)) {  // opening a pipe could wait for ever
    *error = fmt::format("{}: is not a regular file; save the picture to one", path);
    return false;
  }
  if (IsKernelFile(path)) {
    *error = fmt::format(
        "{}: is a file of the kernel's own, which tells no size; copy it to a disk first", path);
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

BitmapPtr DecodePicture(const unsigned char* bytes, std::size_t size, const std::string& name,
                        const PictureWish& wish, std::string* error, PictureFacts* facts) {
  PictureSink sink(wish.kind, wish.mostBytes);
  std::string reason;
  BitmapPtr bitmap = Decode(bytes, size, sink, &reason);
  if (facts) *facts = sink.Facts();
  if (bitmap && wish.upright) {
    bitmap = TurnUpright(std::move(bitmap), sink.Facts().orientation);
    if (!bitmap) reason = NoMemoryText(sink.Width(), sink.Height());
  }
  if (!bitmap) *error = fmt::format("{}: {}", name, reason);
  return bitmap;
}

BitmapPtr LoadPicture(const std::string& path, std::string* error, PictureFacts* facts,
                      PixelKind kind) {
  std::vector<unsigned char> bytes;
  if (!ReadPictureFile(path, &bytes, error)) return nullptr;
  return DecodePicture(bytes.data(), bytes.size(), path, {kind}, error, facts);
}

BitmapPtr LoadPictureFromMemory(const unsigned char* bytes, std::size_t size,
                                const std::string& name, std::string* error, PictureFacts* facts,
                                std::uint64_t mostBytes) {
  return DecodePicture(bytes, size, name, {PixelKind::kBytes, false, mostBytes}, error, facts);
}

bool HasAlpha(const HBitmapNode& bitmap) {
  constexpr std::uint16_t kHalfOne = 0x3c00;
  auto* buffer = static_cast<HRGBABuffer*>(bitmap.GetBufferHead());
  const bool isBytes = buffer->Type() == HBitmapBuffer::kByteChannel;
  for (int y = 0; y < bitmap.GetHeight(); ++y) {
    const void* row = buffer->GetData(y);
    for (int x = 0; x < bitmap.GetWidth(); ++x) {
      const bool isOpaque = isBytes ? static_cast<const unsigned char*>(row)[4 * x + 3] == 255
                                    : static_cast<const std::uint16_t*>(row)[4 * x + 3] == kHalfOne;
      if (!isOpaque) return true;
    }
  }
  return false;
}

BitmapPtr BitmapFromRgba(const unsigned char* rgba, int width, int height) {
  BitmapPtr bitmap = NewByteBitmap(width, height);
  if (!bitmap) return nullptr;
  const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  std::memcpy(bitmap->GetBufferHead()->Data(), rgba, pixels * 4);
  return bitmap;
}

}  // namespace hostkit
