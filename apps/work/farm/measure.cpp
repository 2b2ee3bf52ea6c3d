// What a picture takes, by drawing the first ones.
#include "apps/work/farm/measure.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "apps/base/file_checks.h"
#include "apps/work/farm/chunk_plan.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMeasuredFrames = 2;
constexpr double kLeastSeconds = 1e-4;

std::vector<std::uint64_t> SizesOf(const std::vector<FarmPicture>& pictures) {
  std::vector<std::uint64_t> sizes;
  for (const FarmPicture& picture : pictures) {
    std::error_code code;
    const std::uintmax_t size = fs::file_size(picture.input, code);
    sizes.push_back(code ? 0 : size);
  }
  return sizes;
}

std::vector<FarmPicture> ToMeasure(const FarmCommand& command) {
  // Names of cameras are not known yet, and are not needed to draw.
  std::vector<FarmPicture> pictures = command.Pictures({});
  if (command.IsBySize()) return {pictures[MiddleSize(SizesOf(pictures))]};
  pictures.resize(std::min(pictures.size(), kMeasuredFrames));
  return pictures;
}

}  // namespace

Outcome MeasureFirst(const FarmCommand& command, Measurement* measured) {
  const ScratchFolder folder;
  if (folder.Path().empty()) {
    return {kUnwritableOutput,
            fmt::format("measuring: no folder can be made for it: {}; set TMPDIR "
                        "to a folder that can be written",
                        std::strerror(errno))};
  }
  const std::vector<FarmPicture> pictures = ToMeasure(command);
  const PartReport report = command.Make(pictures, folder.Path());
  if (report.status != kDone) return {report.status, ""};
  measured->peakMemory = report.peakMemory;
  measured->cameras = report.cameras;
  if (command.IsBySize()) {
    measured->startSeconds = std::max(report.openSeconds, kLeastSeconds);
    measured->pictureSeconds = std::max(report.seconds - report.openSeconds, kLeastSeconds);
    return {};
  }
  const double cameras = static_cast<double>(std::max<std::size_t>(report.cameras.size(), 1));
  measured->pictureSeconds = std::max(report.lastPictureSeconds * cameras, kLeastSeconds);
  measured->startSeconds =
      std::max(report.seconds - measured->pictureSeconds * static_cast<double>(pictures.size()),
               kLeastSeconds);
  return {};
}

std::vector<double> ExpectedSeconds(const FarmCommand& command,
                                    const std::vector<FarmPicture>& pictures,
                                    double pictureSeconds) {
  const double each = std::max(pictureSeconds, kLeastSeconds);
  if (command.IsBySize()) return SecondsBySize(SizesOf(pictures), each);
  return std::vector<double>(pictures.size(), each);
}

}  // namespace gl3
