// What Exif data tell of a picture, and turning it as it is meant.
#include "hostkit/pictures/picture_exif.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace hostkit {
namespace {

constexpr int kLastOrientation = 8;

/// Numbers at places of a file, 0 where it has ended.
struct Bytes {
  std::string_view file;
  bool isBigEndian = true;

  std::size_t At(std::size_t at, std::size_t count) const {
    if (at > file.size() || file.size() - at < count) return 0;
    std::size_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t from = isBigEndian ? at + i : at + count - 1 - i;
      value = value << 8 | static_cast<unsigned char>(file[from]);
    }
    return value;
  }
};

/// What is in a file from `at` on, at most `size` bytes.
std::string_view Part(std::string_view file, std::size_t at, std::size_t size) {
  return at < file.size() ? file.substr(at, size) : std::string_view();
}

/// An entry of Exif data.
struct ExifEntry {
  std::size_t type = 0, count = 0;  ///< 0 where there is no entry.
  std::size_t at = 0;               ///< Of the value, or of the place where it lies.
};

/// Exif data, which are a TIFF file: its first directory.
class ExifData {
 public:
  explicit ExifData(std::string_view tiff) : m_bytes{tiff, tiff.starts_with("MM")} {
    const bool isTiff = tiff.starts_with("II") || tiff.starts_with("MM");
    if (!isTiff || m_bytes.At(2, 2) != 42) m_bytes.file = {};
  }

  ExifEntry Find(std::size_t tag) const {
    constexpr std::size_t kEntry = 12;
    const std::size_t directory = m_bytes.At(4, 4), count = m_bytes.At(directory, 2);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t entry = directory + 2 + i * kEntry;
      if (entry >= m_bytes.file.size()) break;
      if (m_bytes.At(entry, 2) != tag) continue;
      return {m_bytes.At(entry + 2, 2), m_bytes.At(entry + 4, 4), entry + 8};
    }
    return {};
  }
  std::size_t At(std::size_t at, std::size_t count) const { return m_bytes.At(at, count); }
  std::string_view Text(std::size_t at, std::size_t size) const {
    return Part(m_bytes.file, at, size);
  }

 private:
  Bytes m_bytes;
};

/// The segment "APP1" that begins as Exif data, before the picture's own data.
std::string_view ExifOfJpeg(std::string_view file) {
  using namespace std::string_view_literals;
  constexpr std::size_t kApp1 = 0xffe1, kScan = 0xffda;
  constexpr std::string_view kMark = "Exif\0\0"sv;
  const Bytes bytes = {file};
  for (std::size_t at = 2; at + 4 <= file.size();) {
    const std::size_t marker = bytes.At(at, 2), length = bytes.At(at + 2, 2);
    if (marker == 0xffff) {  // a byte that fills
      ++at;
      continue;
    }
    if (marker < 0xff00 || marker == kScan || length < 2) break;
    const std::string_view segment = Part(file, at + 4, length - 2);
    if (marker == kApp1 && segment.starts_with(kMark)) return segment.substr(kMark.size());
    at += 2 + length;
  }
  return {};
}

std::string_view ExifOfPng(std::string_view file) {
  const Bytes bytes = {file};
  for (std::size_t at = 8; at + 12 <= file.size();) {
    const std::size_t length = bytes.At(at, 4);
    if (Part(file, at + 4, 4) == "eXIf") return Part(file, at + 8, length);
    at += 12 + length;
  }
  return {};
}

std::string_view ExifOfWebp(std::string_view file) {
  const Bytes bytes = {file, false};
  for (std::size_t at = 12; at + 8 <= file.size();) {
    const std::size_t length = bytes.At(at + 4, 4);
    if (Part(file, at, 4) == "EXIF") {
      const std::string_view exif = Part(file, at + 8, length);
      // As in JPEG files, by some programs.
      return exif.starts_with("Exif") ? Part(exif, 6, exif.size()) : exif;
    }
    at += 8 + length + length % 2;
  }
  return {};
}

std::string_view ExifOf(std::string_view file) {
  if (file.starts_with("\xff\xd8")) return ExifOfJpeg(file);
  if (file.starts_with("\x89PNG\r\n\x1a\n")) return ExifOfPng(file);
  if (file.starts_with("RIFF") && Part(file, 8, 4) == "WEBP") return ExifOfWebp(file);
  return {};
}

/// Where a pixel of the upright picture is stored: from the left or the right, from the top or the
/// bottom, with rows for columns.
struct Turn {
  bool fromRight, fromBottom, isTransposed;
};
constexpr Turn kTurns[] = {
    {false, false, false}, {true, false, false}, {true, true, false}, {false, true, false},
    {false, false, true},  {false, true, true},  {true, true, true},  {true, false, true},
};

}  // namespace

int ExifOrientation(std::string_view file) {
  constexpr std::size_t kOrientation = 0x0112, kShort = 3;
  const ExifData exif(ExifOf(file));
  const ExifEntry entry = exif.Find(kOrientation);
  if (entry.type != kShort || entry.count != 1) return kUpright;
  const std::size_t value = exif.At(entry.at, 2);
  return value >= 1 && value <= kLastOrientation ? static_cast<int>(value) : kUpright;
}

std::string_view ExifDescription(std::string_view file) {
  constexpr std::size_t kDescription = 0x010e, kAscii = 2, kInPlace = 4;
  const ExifData exif(ExifOf(file));
  const ExifEntry entry = exif.Find(kDescription);
  if (entry.type != kAscii) return {};
  const std::size_t at = entry.count <= kInPlace ? entry.at : exif.At(entry.at, 4);
  const std::string_view text = exif.Text(at, entry.count);
  return text.substr(0, text.find('\0'));
}

BitmapPtr TurnUpright(BitmapPtr stored, int orientation) {
  if (orientation <= kUpright || orientation > kLastOrientation) return stored;
  const Turn& turn = kTurns[orientation - 1];
  const int storedWidth = stored->GetWidth(), storedHeight = stored->GetHeight();
  const int width = turn.isTransposed ? storedHeight : storedWidth;
  const int height = turn.isTransposed ? storedWidth : storedHeight;
  auto* from = static_cast<HRGBABuffer*>(stored->GetBufferHead());
  const bool isBytes = from->Type() == HBitmapBuffer::kByteChannel;
  BitmapPtr upright = isBytes ? NewByteBitmap(width, height) : NewHalfBitmap(width, height);
  if (!upright) return nullptr;
  auto* to = static_cast<HRGBABuffer*>(upright->GetBufferHead());
  const std::size_t pixel = isBytes ? 4 : 8;
  for (int y = 0; y < height; ++y) {
    auto* row = static_cast<unsigned char*>(to->GetData(y));
    for (int x = 0; x < width; ++x, row += pixel) {
      const int across = turn.isTransposed ? y : x, down = turn.isTransposed ? x : y;
      const int storedX = turn.fromRight ? storedWidth - 1 - across : across;
      const int storedY = turn.fromBottom ? storedHeight - 1 - down : down;
      std::memcpy(row,
                  static_cast<unsigned char*>(from->GetData(storedY)) +
                      static_cast<std::size_t>(storedX) * pixel,
                  pixel);
    }
  }
  return upright;
}

}  // namespace hostkit
