// The check of an output file that needs to know how pictures are written.
#include "apps/work/common/check_output.h"

#include "hostkit/pictures/picture.h"
#include "hostkit/pictures/picture_file.h"

namespace gl3 {

Outcome CheckOutput(const std::string& path) {
  std::string error;
  if (!hostkit::IsPictureSuffixKnown(path, &error)) return {kWrongUsage, error};
  // Opening is what tells, for root and on read-only disks too. Without Commit nothing stays.
  hostkit::PictureFile file;
  if (!file.Open(path, &error)) return {kUnwritableOutput, path + ": cannot be written: " + error};
  return {};
}

}  // namespace gl3
