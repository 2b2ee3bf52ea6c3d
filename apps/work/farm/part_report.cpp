// What a run of `gl3 render` or `gl3 filter` told in JSON, as a farm needs it.
#include "apps/work/farm/part_report.h"

#include "apps/options/output_pattern.h"

namespace gl3 {
namespace {

/// What all reports have.
PartReport ReadRun(const Json& json) {
  PartReport report;
  report.renderer = json.value("renderer", "");
  report.peakMemory = json.value("peakMemoryBytes", std::uint64_t{0});
  report.skipped = json.value("skipped", std::size_t{0});
  if (json.contains("milliseconds")) {
    report.openSeconds = json.at("milliseconds").value("start", 0.0) / 1000;
  }
  return report;
}

constexpr int kMostOfOneName = 1000;

/// The name in files of a camera that one of the pictures was drawn from; empty when it is not
/// found. Cameras of one name have numbers behind it.
std::string CameraInFile(const OutputPattern& pattern, const Json& frame) {
  const std::string plain = FileNames({frame.value("camera", "")}).front();
  for (int number = 1; number <= kMostOfOneName; ++number) {
    std::string name = number == 1 ? plain : plain + "-" + std::to_string(number);
    if (pattern.Expand(frame.at("frame"), name) == frame.at("output")) return name;
  }
  return "";
}

void AddFrames(const Json& frames, const std::string& output, PartReport* report) {
  const OutputPattern pattern(output);
  for (const Json& frame : frames) {
    report->lastPictureSeconds = frame.at("milliseconds").value("total", 0.0) / 1000;
    report->pictureSeconds += report->lastPictureSeconds;
    if (!pattern.HasCamera() || frame.at("frame") != frames[0].at("frame")) continue;
    report->cameras.push_back(CameraInFile(pattern, frame));
  }
  report->drawn = frames.size();
}

/// Of a child's text, which may be anything: what there is of it until it makes no sense.
template <class Add>
PartReport ReadAny(const std::string& text, Add add) {
  PartReport report;
  const Json json = ParsedJson(text);
  try {
    if (!json.is_object()) return report;
    report = ReadRun(json);
    add(json, &report);
  } catch (const Json::exception&) {
  }
  return report;
}

}  // namespace

PartReport ReadRenderReport(const std::string& text, const std::string& output) {
  return ReadAny(text, [&](const Json& json, PartReport* report) {
    if (json.contains("frames")) AddFrames(json.at("frames"), output, report);
  });
}

PartReport ReadEachReport(const std::string& text) {
  return ReadAny(text, [](const Json& json, PartReport* report) {
    for (const Json& run : json.at("runs")) {
      if (run.contains("milliseconds")) {
        report->pictureSeconds += run.at("milliseconds").value("total", 0.0) / 1000;
      }
      if (run.value("status", static_cast<int>(kRunFailed)) == kDone) ++report->drawn;
      if (report->error.empty()) report->error = run.value("error", "");
    }
  });
}

PartReport ReadFilterReport(const std::string& text) {
  return ReadAny(text, [](const Json& json, PartReport* report) {
    for (const Json& picture : json.at("pictures")) {
      for (const char* part : {"read", "effects", "write"}) {
        report->pictureSeconds += picture.at("milliseconds").value(part, 0.0) / 1000;
      }
      if (picture.at("status") == kDone) ++report->drawn;
      if (report->error.empty()) report->error = picture.value("error", "");
    }
  });
}

}  // namespace gl3
