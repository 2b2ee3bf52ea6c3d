// The figures of `gl3 filter`, for `--json` and `--verify`.
#include "apps/work/filter/filter_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

#include "apps/base/messages.h"
#include "apps/options/effect_options.h"
#include "apps/work/common/report_figures.h"
#include "hostkit/effects/effect_twins.h"

namespace gl3 {
namespace {

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

Json PictureJson(const FilteredPicture& picture, const std::vector<hostkit::EffectCall>& calls) {
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
    json["effects"].push_back(StepJson(calls[i], picture.steps[i]));
  }
  return json;
}

Json StartJson(const FilterStart& start) {
  return {{"renderer", start.renderer},
          {"platform", start.platform},
          {"device", start.device},
          {"software", start.software},
          {"threads", start.threads}};
}

}  // namespace

std::string StartPiece(const FilterStart& start) {
  return JsonLine({{"start", StartJson(start)}, {"milliseconds", start.milliseconds}});
}

std::string PicturePiece(const FilteredPicture& picture,
                         const std::vector<hostkit::EffectCall>& calls) {
  return JsonLine({{"picture", PictureJson(picture, calls)}, {"peakMemory", PeakMemory()}});
}

std::string WarningPiece(const std::string& text, bool ofClipping) {
  return JsonLine({{"warning", text}, {"ofClipping", ofClipping}});
}

void FilterReport::Add(const std::vector<std::string>& pieces) {
  m_hasStarted = false;
  for (const std::string& text : pieces) {
    const Json piece = ParsedJson(text);
    if (piece.contains("start")) {
      m_hasStarted = true;
      m_start = piece["start"];
      m_startMilliseconds += piece["milliseconds"].get<double>();
    } else if (piece.contains("picture")) {
      m_pictures.push_back(piece["picture"]);
      m_peakMemory = std::max(m_peakMemory, piece["peakMemory"].get<std::uint64_t>());
    } else if (piece.contains("warning")) {
      m_warnings.push_back(piece["warning"]);
      m_hasWarnedOfClipping = m_hasWarnedOfClipping || piece["ofClipping"];
    }
  }
}

void FilterReport::Add(const FilteredPicture& picture) {
  m_pictures.push_back(PictureJson(picture, {}));
}

std::size_t FilterReport::DoneCount() const {
  return static_cast<std::size_t>(
      std::count_if(m_pictures.begin(), m_pictures.end(), [](const Json& picture) {
        const int status = picture["status"];
        return status == kDone || status == kMismatch;
      }));
}

int FilterReport::FirstFailure() const {
  for (const Json& picture : m_pictures) {
    if (picture["status"] != kDone) return picture["status"];
  }
  return kDone;
}

int FilterReport::LastStatus() const {
  return m_pictures.empty() ? static_cast<int>(kDone) : m_pictures.back()["status"].get<int>();
}

std::string FilterReport::Format(std::size_t skipped, double total) const {
  Json json = m_start.empty() ? StartJson({}) : m_start;
  json["pictures"] = m_pictures;
  json["skipped"] = skipped;
  json["milliseconds"] = {{"start", Rounded(m_startMilliseconds)}, {"total", Rounded(total)}};
  json["peakMemoryBytes"] = std::max(m_peakMemory, PeakMemory());
  json["warnings"] = m_warnings;
  return PrintedJson(json);
}

std::string FilterReport::FormatDifferences(const std::vector<std::string>& inputs) const {
  std::string text;
  for (std::size_t i = 0; i < m_pictures.size(); ++i) {
    for (const Json& step : m_pictures[i]["effects"]) {
      text += fmt::format("{}: {}: largest difference {}/255, allowed {}/255\n", inputs[i],
                          step["effect"].get<std::string>(), step["difference"].get<int>(),
                          step["allowed"].get<int>());
    }
  }
  return text;
}

}  // namespace gl3
