// What a run of `gl3 render` or `gl3 filter` told in JSON, as a farm needs it.
#include "apps/work/farm/part_report.h"

#include "apps/options/output_pattern.h"

namespace gl3 {
namespace {

constexpr int kMostOfOneName = 1000;

/// The name in files of a camera that one of the pictures was drawn from; empty when it is not
/// found. Cameras of one name have numbers behind it.
std::string CameraInFile(const OutputPattern& pattern, const Json& frame) {
  const std::string plain = FileNames({frame.value("camera", "")}).front();
  for (int number = 1; number <= kMostOfOneName; ++number) {
    const std::string name = number == 1 ? plain : plain + "-" + std::to_string(number);
    if (pattern.Expand(frame["frame"], name) == frame["output"]) return name;
  }
  return "";
}

void AddFrames(const Json& frames, const std::string& output, PartReport* report) {
  const OutputPattern pattern(output);
  for (const Json& frame : frames) {
    report->lastPictureSeconds = frame["milliseconds"].value("total", 0.0) / 1000;
    report->pictureSeconds += report->lastPictureSeconds;
    if (!pattern.HasCamera() || frame["frame"] != frames[0]["frame"]) continue;
    report->cameras.push_back(CameraInFile(pattern, frame));
  }
  report->drawn = frames.size();
}

}  // namespace

PartReport ReadRenderReport(const std::string& text, const std::string& output) {
  PartReport report;
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object()) return report;
  report.renderer = json.value("renderer", "");
  report.peakMemory = json.value("peakMemoryBytes", std::uint64_t{0});
  report.skipped = json.value("skipped", std::size_t{0});
  if (json.contains("frames")) {
    AddFrames(json["frames"], output, &report);
    return report;
  }
  const Json& times = json["milliseconds"];
  for (const char* part : {"draw", "readBack", "effects", "write"}) {
    report.pictureSeconds += times.value(part, 0.0) / 1000;
  }
  report.lastPictureSeconds = report.pictureSeconds;
  report.drawn = 1;
  return report;
}

PartReport ReadFilterReport(const std::string& text) {
  PartReport report;
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object()) return report;
  report.renderer = json.value("renderer", "");
  report.peakMemory = json.value("peakMemoryBytes", std::uint64_t{0});
  report.skipped = json.value("skipped", std::size_t{0});
  for (const Json& picture : json["pictures"]) {
    report.lastPictureSeconds = 0;
    for (const char* part : {"read", "effects", "write"}) {
      report.lastPictureSeconds += picture["milliseconds"].value(part, 0.0) / 1000;
    }
    report.pictureSeconds += report.lastPictureSeconds;
    if (picture["status"] == kDone) ++report.drawn;
    if (report.error.empty()) report.error = picture.value("error", "");
  }
  return report;
}

}  // namespace gl3
