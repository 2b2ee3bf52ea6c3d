// The check of an output file that needs to know how pictures are written.
#include "apps/work/common/check_output.h"

#include <cstdio>

#include "hostkit/pictures/picture.h"
#include "hostkit/pictures/picture_file.h"
#include "hostkit/pictures/picture_stream.h"

namespace gl3 {

Outcome CheckOutput(const std::string& path) {
  std::string error;
  if (!hostkit::IsPictureSuffixKnown(path, &error)) return {kWrongUsage, error};
  // Opening is what tells, for root and on read-only disks too. Without Commit nothing stays.
  hostkit::PictureFile file;
  if (!file.Open(path, &error)) return {kUnwritableOutput, path + ": cannot be written: " + error};
  return {};
}

Outcome CheckStream(const std::string& kind) {
  std::string error;
  if (hostkit::IsStreamKindKnown(kind, &error)) return {};
  return {kWrongUsage, "--format: " + error};
}

namespace {

Outcome WriteOrCheck(const std::string& path, const std::string* text) {
  hostkit::PictureFile file;
  std::string error;
  bool good = file.Open(path, &error);
  if (good && text) {
    std::fwrite(text->data(), 1, text->size(), file.Stream());  // Commit finds what failed
    good = file.Commit(&error);
  }
  if (good) return {};
  return {kUnwritableOutput, "--json: " + path + ": cannot be written: " + error};
}

}  // namespace

Outcome CheckReport(const std::string& path) {
  return WriteOrCheck(path, nullptr);
}

Outcome WriteReport(const std::string& path, const std::string& text) {
  return WriteOrCheck(path, &text);
}

}  // namespace gl3
