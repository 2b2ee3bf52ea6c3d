// PNM files (PBM, PGM, PPM, PAM) into pixels.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit/pictures/picture_decoders.h"
#include "hostkit/pictures/picture_guards.h"

namespace hostkit {
namespace {

using Imath::half;

/// What the header tells.
struct PnmHeader {
  long long width = 0, height = 0, channels = 1, most = 1;  // `most` is the number of white
  bool isText = false, isBits = false;
  std::size_t pixels = 0;  // where they begin
};

/// Words of a file's text.
class PnmText {
 public:
  PnmText(std::string_view file, std::size_t at) : m_file(file), m_at(at) {}

  std::size_t At() const { return m_at; }
  bool IsOver() const { return m_at >= m_file.size(); }
  /// The next word behind blanks and comments; empty at the end.
  std::string_view Word() {
    SkipBlanks();
    const std::size_t begin = m_at;
    while (!IsOver() && !IsBlank(m_file[m_at]) && m_file[m_at] != '#') ++m_at;
    return m_file.substr(begin, m_at - begin);
  }
  /// A whole number, or -1 when there is none or it has more than nine digits.
  long long Number() { return NumberOf(Word()); }
  /// A single digit, 0 or 1, or -1: pixels of P1 need no blanks between them.
  int Bit() {
    SkipBlanks();
    if (IsOver()) return -1;
    const char c = m_file[m_at++];
    return c == '0' || c == '1' ? c - '0' : -1;
  }
  /// The blank that ends a header.
  void SkipOne() { ++m_at; }

  static long long NumberOf(std::string_view word) {
    constexpr std::size_t kMostDigits = 9;
    if (word.empty() || word.size() > kMostDigits) return -1;
    long long number = 0;
    for (const char c : word) {
      if (c < '0' || c > '9') return -1;
      number = number * 10 + (c - '0');
    }
    return number;
  }

 private:
  static bool IsBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
  void SkipBlanks() {
    while (!IsOver() && (IsBlank(m_file[m_at]) || m_file[m_at] == '#')) {
      if (m_file[m_at] == '#') m_at = std::min(m_file.find('\n', m_at), m_file.size() - 1);
      ++m_at;
    }
  }

  std::string_view m_file;
  std::size_t m_at;
};

/// P7 has lines of a name and a value up to ENDHDR.
bool ReadPamHeader(PnmText text, PnmHeader* header) {
  for (std::string_view name = text.Word(); name != "ENDHDR"; name = text.Word()) {
    if (name.empty()) return false;
    const std::string_view value = text.Word();
    const long long number = PnmText::NumberOf(value);
    if (name == "WIDTH") header->width = number;
    if (name == "HEIGHT") header->height = number;
    if (name == "DEPTH") header->channels = number;
    if (name == "MAXVAL") header->most = number;
  }
  text.SkipOne();
  header->pixels = text.At();
  return true;
}

bool ReadPnmHeader(std::string_view file, PnmHeader* header) {
  constexpr int kPam = 7;
  const int kind = file[1] - '0';
  PnmText text(file, 2);
  if (kind == kPam) return ReadPamHeader(text, header);
  header->isText = kind <= 3;
  header->isBits = kind == 1 || kind == 4;
  header->channels = kind == 3 || kind == 6 ? 3 : 1;
  header->width = text.Number();
  header->height = text.Number();
  if (!header->isBits) header->most = text.Number();
  text.SkipOne();
  header->pixels = text.At();
  return true;
}

/// How many bytes the pixels take at least.
long long LeastBytes(const PnmHeader& header) {
  const long long samples = header.width * header.channels;
  if (header.isText) return samples * header.height * (header.isBits ? 1 : 2) - 1;
  if (header.isBits) return (header.width + 7) / 8 * header.height;
  return samples * header.height * (header.most > 255 ? 2 : 1);
}

/// Reads samples in their order.
class PnmSamples {
 public:
  PnmSamples(std::string_view file, const PnmHeader& header)
      : m_header(header), m_text(file, header.pixels), m_file(file), m_at(header.pixels) {}

  /// A row; false when a sample is missing or out of range.
  bool ReadRow(std::vector<int>* row) {
    for (std::size_t i = 0; i < row->size(); ++i) {
      const long long sample = m_header.isText ? TextSample() : BinarySample(i);
      if (sample < 0 || sample > m_header.most) return false;
      // The bits of bitmaps are ink.
      (*row)[i] = static_cast<int>(m_header.isBits ? 1 - sample : sample);
    }
    if (m_header.isBits && !m_header.isText) m_at += (row->size() + 7) / 8;
    return true;
  }

 private:
  long long TextSample() { return m_header.isBits ? m_text.Bit() : m_text.Number(); }
  long long BinarySample(std::size_t i) {
    if (m_header.isBits) return Byte(m_at + i / 8) >> (7 - i % 8) & 1;
    const int high = m_header.most > 255 ? Byte(m_at++) : 0;
    return high << 8 | Byte(m_at++);
  }
  int Byte(std::size_t at) const { return static_cast<unsigned char>(m_file[at]); }

  const PnmHeader& m_header;
  PnmText m_text;
  std::string_view m_file;
  std::size_t m_at;
};

/// Samples as they stand for red, green, blue, alpha; without the latter it is `most`.
void Spread(const std::vector<int>& row, int channels, int most, int x, int rgba[4]) {
  const int* sample = row.data() + static_cast<std::size_t>(x) * channels;
  const bool isGray = channels < 3;
  for (int c = 0; c < 3; ++c) rgba[c] = sample[isGray ? 0 : c];
  rgba[3] = channels % 2 == 0 ? sample[channels - 1] : most;
}

void PutRow(const std::vector<int>& row, const PnmHeader& header, int y, PictureSink& sink) {
  const int most = static_cast<int>(header.most), channels = static_cast<int>(header.channels);
  std::vector<unsigned char> bytes(static_cast<std::size_t>(sink.Width()) * 4);
  std::vector<half> halves(bytes.size());
  const bool isWide = most > 255 && sink.WantsHalves();
  for (int x = 0; x < sink.Width(); ++x) {
    int rgba[4];
    Spread(row, channels, most, x, rgba);
    for (int c = 0; c < 4; ++c) {
      const std::size_t at = static_cast<std::size_t>(x) * 4 + static_cast<std::size_t>(c);
      if (isWide) halves[at] = half(static_cast<float>(rgba[c]) / static_cast<float>(most));
      bytes[at] = static_cast<unsigned char>((rgba[c] * 255 + most / 2) / most);
    }
  }
  if (isWide) {
    sink.PutHalves(0, y, halves.data(), sink.Width(), false);
  } else {
    sink.PutBytes(0, y, bytes.data(), sink.Width());
  }
}

}  // namespace

bool IsPnm(const unsigned char* bytes, std::size_t size) {
  return size >= 3 && bytes[0] == 'P' && bytes[1] >= '1' && bytes[1] <= '7' &&
         (std::isspace(bytes[2]) || bytes[2] == '#');
}

std::string PnmComments(const unsigned char* bytes, std::size_t size) {
  const std::string_view file(reinterpret_cast<const char*>(bytes), size);
  std::string comments;
  // Written ones stand before the size.
  std::size_t at = 2;
  while (at < file.size() && (std::isspace(bytes[at]) || file[at] == '#')) {
    if (file[at] != '#') {
      ++at;
      continue;
    }
    const std::size_t end = std::min(file.find('\n', at), file.size());
    const std::size_t begin = std::min(at + (file.substr(at).starts_with("# ") ? 2 : 1), end);
    comments += std::string(file.substr(begin, end - begin)) + "\n";
    at = end;
  }
  return comments;
}

bool DecodePnm(const unsigned char* bytes, std::size_t size, PictureSink& sink,
               std::string* reason) {
  constexpr long long kMostChannels = 4, kMostValue = 65535;
  const std::string_view file(reinterpret_cast<const char*>(bytes), size);
  PnmHeader header;
  if (!ReadPnmHeader(file, &header) || header.width < 0 || header.height < 0 ||
      header.channels < 1 || header.channels > kMostChannels || header.most < 1 ||
      header.most > kMostValue) {
    *reason = "the picture's header is broken; write it anew";
    return false;
  }
  // Before sizes are multiplied.
  *reason = SizeRefusal(header.width, header.height, UINT64_MAX);
  if (!reason->empty()) return false;
  if (header.pixels > size || LeastBytes(header) > static_cast<long long>(size - header.pixels)) {
    *reason = "the picture ends early; write it anew";
    return false;
  }
  if (!sink.Begin(header.width, header.height, reason)) return false;
  PnmSamples samples(file, header);
  std::vector<int> row(static_cast<std::size_t>(header.width * header.channels));
  for (int y = 0; y < sink.Height(); ++y) {
    if (!samples.ReadRow(&row)) {
      *reason = "the picture is broken (a value is missing or too large); write it anew";
      return false;
    }
    PutRow(row, header, y, sink);
  }
  return true;
}

}  // namespace hostkit
