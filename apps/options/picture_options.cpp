// How pictures are written: reading these options.
#include "apps/options/picture_options.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

#include "apps/options/option_readers.h"
#include "hostkit/pictures/picture_formats.h"

namespace gl3 {
namespace {

constexpr int kMaxSide = 32768;
/// 16384 x 16384: two gigabytes as half floats, what a machine can still be expected to hold.
constexpr long long kMaxPixels = 1LL << 28;

constexpr Choice<hostkit::ExrEncoding> kEncodings[] = {{"linear", hostkit::ExrEncoding::kLinear},
                                                       {"display", hostkit::ExrEncoding::kDisplay}};

/// A side, or 0 for one that may be left out; below 0 what is none.
int ReadSide(const std::string& text, bool mayLack) {
  int side = 0;
  if (text.empty() && mayLack) return 0;
  return ParseInteger(text, &side) && side >= 1 && side <= kMaxSide ? side : -1;
}

}  // namespace

void AddPictureFileOptions(const OptionParser& parser, const std::string& more, std::string* output,
                           int* quality, hostkit::ExrEncoding* exrEncoding) {
  std::string written = hostkit::DescribeWrittenFormats("");
  written.pop_back();
  parser.AddText("-o,--output", "OUT", "The picture, replaced when it exists:\n" + written + more,
                 output);
  parser.Add("--quality", "N", "Of JPEG and WebP, 1 to 100 (default 92)",
             IntegerReader(1, 100, quality));
  parser.Add("--exr-encoding", "CODE",
             "What .exr holds: linear light (default), or display, the values as\n"
             "they are drawn, which other programs take for linear",
             ChoiceReader(kEncodings, "an encoding", exrEncoding));
}

bool ReadPictureSize(const std::string& text, bool mayLackOne, int* width, int* height,
                     std::string* error) {
  const std::size_t cross = text.find_first_of("xX");
  const bool isPair = cross != std::string::npos;
  const int across = isPair ? ReadSide(text.substr(0, cross), mayLackOne) : -1;
  const int down = isPair ? ReadSide(text.substr(cross + 1), mayLackOne) : -1;
  if (std::min(across, down) >= 0 && std::max(across, down) > 0 &&
      static_cast<long long>(across) * down <= kMaxPixels) {
    *width = across;
    *height = down;
    return true;
  }
  *error = fmt::format(
      "{} is not a size that can be {}; give WIDTHxHEIGHT such as 1920x1080{}, each side from 1 "
      "to {} and at most {} pixels in all",
      ShellQuote(text), mayLackOne ? "made" : "drawn", mayLackOne ? ", or one of them" : "",
      kMaxSide, kMaxPixels);
  return false;
}

}  // namespace gl3
