// PPM files (P6): 8-bit, opaque; transparent pictures on black. The recipe stands in comments.
#include <fmt/format.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "hostkit/pictures/picture_encoders.h"
#include "hostkit/pictures/picture_file.h"

namespace hostkit {
namespace {

/// Every line of the text as a comment.
std::string Comments(const std::string& text) {
  std::string comments;
  bool begins = true;
  for (const char c : text) {
    if (begins) comments += "# ";
    comments += c;
    begins = c == '\n';
  }
  return comments;
}

}  // namespace

bool EncodePpm(std::FILE* stream, const PicturePixels& pixels, const Recipe& recipe,
               const PictureOptions&, std::string* reason) {
  const auto write = [&](const void* bytes, std::size_t size) {
    errno = 0;
    if (std::fwrite(bytes, 1, size, stream) == size) return true;
    *reason = WriteErrorText(errno);
    return false;
  };
  const std::string header =
      fmt::format("P6\n{}{} {}\n255\n", Comments(RecipeText(recipe)), pixels.width, pixels.height);
  if (!write(header.data(), header.size())) return false;
  std::vector<unsigned char> row(static_cast<std::size_t>(pixels.width) * 3);
  for (int y = 0; y < pixels.height; ++y) {
    RowToRgb(pixels, y, row.data());
    if (!write(row.data(), row.size())) return false;
  }
  return true;
}

}  // namespace hostkit
