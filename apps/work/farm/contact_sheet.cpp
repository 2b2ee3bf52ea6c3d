// Many pictures on one, to be looked over.
#include "apps/work/farm/contact_sheet.h"

#include <Imath/half.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "apps/base/supervised_child.h"
#include "apps/work/common/confine_work.h"
#include "hostkit/effects/byte_image.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/pictures/picture_in.h"

namespace gl3 {
namespace {

constexpr std::size_t kMostFields = 64;
constexpr int kColumns = 8, kFieldWidth = 160, kFieldHeight = 90, kGap = 4;
constexpr double kGray = 0.18;

/// Display-referred red, green, blue.
struct SheetColor {
  double red = 0, green = 0, blue = 0;
};

/// The sheet while it is being drawn.
class Sheet {
 public:
  explicit Sheet(std::size_t fields)
      : m_columns(std::min<int>(kColumns, static_cast<int>(fields))),
        m_rows((static_cast<int>(fields) + m_columns - 1) / m_columns),
        m_bitmap(hostkit::NewHalfBitmap(m_columns * (kFieldWidth + kGap) + kGap,
                                        m_rows * (kFieldHeight + kGap) + kGap)) {
    if (!m_bitmap) return;
    for (int y = 0; y < m_bitmap->GetHeight(); ++y) {
      for (int x = 0; x < m_bitmap->GetWidth(); ++x) Set(x, y, {kGray, kGray, kGray});
    }
  }

  bool IsThere() const { return m_bitmap != nullptr; }
  hostkit::BitmapPtr Take() { return std::move(m_bitmap); }
  void FillField(std::size_t field, const SheetColor& color);
  void DrawField(std::size_t field, const hostkit::ByteImage& image);

 private:
  int Left(std::size_t field) const {
    return kGap + static_cast<int>(field) % m_columns * (kFieldWidth + kGap);
  }
  int Top(std::size_t field) const {
    return kGap + static_cast<int>(field) / m_columns * (kFieldHeight + kGap);
  }
  void Set(int x, int y, const SheetColor& color);

  int m_columns, m_rows;
  hostkit::BitmapPtr m_bitmap;
};

void Sheet::Set(int x, int y, const SheetColor& color) {
  std::uint16_t* pixel = hostkit::HalfRow(*m_bitmap, y) + 4 * static_cast<std::ptrdiff_t>(x);
  const double values[] = {color.blue, color.green, color.red, 1};
  for (int c = 0; c < 4; ++c) pixel[c] = half(static_cast<float>(values[c])).bits();
}

void Sheet::FillField(std::size_t field, const SheetColor& color) {
  for (int y = 0; y < kFieldHeight; ++y) {
    for (int x = 0; x < kFieldWidth; ++x) Set(Left(field) + x, Top(field) + y, color);
  }
}

/// The first byte of each row; asking a bitmap for one by its buffer's name takes a while.
std::vector<const unsigned char*> RowsOf(const hostkit::ByteImage& image) {
  std::vector<const unsigned char*> rows(static_cast<std::size_t>(image.Height()));
  for (int y = 0; y < image.Height(); ++y) {
    rows[static_cast<std::size_t>(y)] = hostkit::ByteRow(*image.bitmap, y);
  }
  return rows;
}

/// The mean of the pixels from (x0, y0) up to (x1, y1), on gray where they are transparent.
SheetColor Mean(const std::vector<const unsigned char*>& rows, int x0, int y0, int x1, int y1) {
  double sums[3] = {};
  for (int y = y0; y < y1; ++y) {
    const unsigned char* pixel = rows[static_cast<std::size_t>(y)] + 4 * std::ptrdiff_t{x0};
    for (int x = x0; x < x1; ++x, pixel += 4) {
      const double alpha = pixel[3] / 255.0;
      for (int c = 0; c < 3; ++c) sums[c] += pixel[c] / 255.0 * alpha + kGray * (1 - alpha);
    }
  }
  const double count = static_cast<double>(x1 - x0) * (y1 - y0);
  return {sums[0] / count, sums[1] / count, sums[2] / count};
}

void Sheet::DrawField(std::size_t field, const hostkit::ByteImage& image) {
  const std::vector<const unsigned char*> rows = RowsOf(image);
  const int width = image.Width(), height = image.Height();
  const double scale = std::min(
      {kFieldWidth / static_cast<double>(width), kFieldHeight / static_cast<double>(height), 1.0});
  const int shownWidth = std::max(1, static_cast<int>(width * scale));
  const int shownHeight = std::max(1, static_cast<int>(height * scale));
  const int left = Left(field) + (kFieldWidth - shownWidth) / 2;
  const int top = Top(field) + (kFieldHeight - shownHeight) / 2;
  const auto at = [](int index, int size, int shown) {
    return static_cast<int>(static_cast<long long>(index) * size / shown);
  };
  for (int y = 0; y < shownHeight; ++y) {
    const int y0 = at(y, height, shownHeight), y1 = at(y + 1, height, shownHeight);
    for (int x = 0; x < shownWidth; ++x) {
      const int x0 = at(x, width, shownWidth), x1 = at(x + 1, width, shownWidth);
      Set(left + x, top + y, Mean(rows, x0, y0, std::max(x1, x0 + 1), std::max(y1, y0 + 1)));
    }
  }
}

std::vector<std::string> Chosen(const std::vector<std::string>& pictures) {
  if (pictures.size() <= kMostFields) return pictures;
  std::vector<std::string> chosen;
  for (std::size_t i = 0; i < kMostFields; ++i) {
    chosen.push_back(pictures[i * (pictures.size() - 1) / (kMostFields - 1)]);
  }
  return chosen;
}

Outcome DrawSheet(const std::vector<std::string>& pictures, const std::string& path) {
  Sheet sheet(pictures.size());
  if (!sheet.IsThere()) return {kRunFailed, "memory: none is left for the contact sheet"};
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    std::string error;
    hostkit::BitmapPtr bitmap =
        pictures[i].empty() ? nullptr : hostkit::LoadPicture(pictures[i], &error);
    if (bitmap) {
      sheet.DrawField(i, hostkit::TakeByteBitmap(std::move(bitmap)));
    } else {
      sheet.FillField(i, {0.7, 0.1, 0.1});
    }
  }
  hostkit::Picture picture;
  picture.bitmap = sheet.Take();
  std::string error;
  if (hostkit::WritePicture(path, picture, {}, {}, &error)) return {};
  return {kUnwritableOutput, error};
}

}  // namespace

Outcome WriteContactSheet(const std::vector<std::string>& pictures, const RunOptions& run,
                          const std::string& path) {
  const std::vector<std::string> chosen = Chosen(pictures);
  if (chosen.empty()) return {};
  ChildTold told;
  const int status = RunSupervised(
      run.limits, path,
      [&](ParentLine& line, std::string*) -> Outcome {
        line.Enter(Phase::kWrite, path);
        Outcome outcome = ConfineToFiles({chosen, {path}}, run, line);
        return outcome.status == kDone ? DrawSheet(chosen, path) : outcome;
      },
      &told);
  return {status, status == kDone ? "" : told.error};
}

}  // namespace gl3
