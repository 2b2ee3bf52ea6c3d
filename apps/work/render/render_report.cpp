// The figures of a run, for `--json`.
#include "apps/work/render/render_report.h"

#include <utility>

#include "apps/work/common/report_figures.h"

namespace gl3 {
namespace {

void AddShots(const RenderReport& report, Json& json) {
  json["pictures"] = report.shots.size();
  json["skipped"] = report.skipped;
  Json frames = Json::array();
  for (const ShotReport& shot : report.shots) {
    Json frame = {{"frame", shot.frame}, {"seconds", shot.time}};
    if (!shot.camera.empty()) frame["camera"] = shot.camera;
    frame["output"] = shot.output;
    frame["milliseconds"] = {{"draw", Rounded(shot.draw)},
                             {"readBack", Rounded(shot.readBack)},
                             {"effects", Rounded(shot.effects)},
                             {"write", Rounded(shot.write)},
                             {"total", Rounded(shot.total)}};
    frames.push_back(std::move(frame));
  }
  json["frames"] = std::move(frames);
}

}  // namespace

Json ReportJson(const RenderReport& report) {
  Json json;
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
      {"readBack", Rounded(report.readBack)}, {"effects", Rounded(report.effects)},
      {"write", Rounded(report.write)},       {"total", Rounded(report.total)},
  };
  if (report.isSequence) AddShots(report, json);
  json["peakMemoryBytes"] = PeakMemory();
  json["warnings"] = report.warnings;
  return json;
}

std::string FormatReport(const RenderReport& report) {
  return PrintedJson(ReportJson(report));
}

}  // namespace gl3
