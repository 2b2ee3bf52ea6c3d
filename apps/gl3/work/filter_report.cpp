// The figures of `gl3 filter`, for `--json` and `--verify`.
#include "apps/gl3/work/filter_report.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "apps/gl3/effect_options.h"
#include "apps/gl3/work/report_figures.h"
#include "hostkit/effects/effect_twins.h"

namespace gl3 {
namespace {

using Json = nlohmann::ordered_json;

Json StepJson(const hostkit::EffectCall& call, const hostkit::EffectStep& step) {
  const hostkit::EffectTimes& times = step.times;
  Json json;
  json["effect"] = DescribeEffect(call);
  json["milliseconds"] = {{"upload", Rounded(times.upload)},
                          {"passes", Rounded(times.passes)},
                          {"readBack", Rounded(times.readBack)},
                          {"merge", Rounded(times.merge)},
                          {"process", Rounded(times.process)}};
  if (step.difference >= 0) {
    json["difference"] = step.difference;
    json["allowed"] = hostkit::DifferenceBound(call);
  }
  return json;
}

Json PictureJson(const FilterReport& report, const FilteredPicture& picture) {
  Json json;
  json["input"] = picture.input;
  json["output"] = picture.output;
  json["status"] = picture.status;
  if (!picture.error.empty()) json["error"] = picture.error;
  json["width"] = picture.width;
  json["height"] = picture.height;
  json["milliseconds"] = {{"read", Rounded(picture.read)},
                          {"effects", Rounded(picture.effects)},
                          {"write", Rounded(picture.write)}};
  json["effects"] = Json::array();
  for (std::size_t i = 0; i < picture.steps.size(); ++i) {
    json["effects"].push_back(StepJson(report.calls[i], picture.steps[i]));
  }
  return json;
}

}  // namespace

std::string FormatFilterReport(const FilterReport& report) {
  Json json;
  json["renderer"] = report.renderer;
  json["platform"] = report.platform;
  json["device"] = report.device;
  json["software"] = report.software;
  json["threads"] = report.threads;
  json["pictures"] = Json::array();
  for (const FilteredPicture& picture : report.pictures) {
    json["pictures"].push_back(PictureJson(report, picture));
  }
  json["skipped"] = report.skipped;
  json["milliseconds"] = {{"start", Rounded(report.start)}, {"total", Rounded(report.total)}};
  json["peakMemoryBytes"] = PeakMemory();
  json["warnings"] = report.warnings;
  return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string FormatDifferences(const FilterReport& report) {
  std::string text;
  for (const FilteredPicture& picture : report.pictures) {
    for (std::size_t i = 0; i < picture.steps.size(); ++i) {
      text += fmt::format("{}: {}: largest difference {}/255, allowed {}/255\n", picture.input,
                          DescribeEffect(report.calls[i]), picture.steps[i].difference,
                          hostkit::DifferenceBound(report.calls[i]));
    }
  }
  return text;
}

}  // namespace gl3
