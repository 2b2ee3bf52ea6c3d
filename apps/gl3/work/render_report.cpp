// The figures of a run, for `--json`.
#include "apps/gl3/work/render_report.h"

#include <sys/resource.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

namespace gl3 {
namespace {

/// Microseconds are as fine as such times mean anything.
double Rounded(double milliseconds) {
  return std::round(milliseconds * 1000) / 1000;
}

std::uint64_t PeakMemory() {
  rusage usage;
  if (getrusage(RUSAGE_SELF, &usage) != 0) return 0;
  return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

void AddShots(const RenderReport& report, nlohmann::ordered_json& json) {
  json["pictures"] = report.shots.size();
  json["skipped"] = report.skipped;
  nlohmann::ordered_json frames = nlohmann::ordered_json::array();
  for (const ShotReport& shot : report.shots) {
    nlohmann::ordered_json frame = {{"frame", shot.frame}, {"seconds", shot.time}};
    if (!shot.camera.empty()) frame["camera"] = shot.camera;
    frame["output"] = shot.output;
    frame["milliseconds"] = {{"draw", Rounded(shot.draw)},
                             {"readBack", Rounded(shot.readBack)},
                             {"write", Rounded(shot.write)},
                             {"total", Rounded(shot.total)}};
    frames.push_back(std::move(frame));
  }
  json["frames"] = std::move(frames);
}

}  // namespace

std::string FormatReport(const RenderReport& report) {
  nlohmann::ordered_json json;
  json["models"] = report.models;
  json["output"] = report.output;
  json["width"] = report.width;
  json["height"] = report.height;
  json["triangles"] = report.triangles;
  json["renderer"] = report.renderer;
  json["platform"] = report.platform;
  json["device"] = report.device;
  json["software"] = report.software;
  json["milliseconds"] = {
      {"start", Rounded(report.start)},       {"import", Rounded(report.import)},
      {"upload", Rounded(report.upload)},     {"draw", Rounded(report.draw)},
      {"readBack", Rounded(report.readBack)}, {"write", Rounded(report.write)},
      {"total", Rounded(report.total)},
  };
  if (report.isSequence) AddShots(report, json);
  json["peakMemoryBytes"] = PeakMemory();
  json["warnings"] = report.warnings;
  return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace gl3
