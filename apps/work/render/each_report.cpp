// The figures of a run of `gl3 render` that draws each of its models by itself, for `--json`.
#include "apps/work/render/each_report.h"

#include <algorithm>
#include <utility>

#include "apps/work/common/report_figures.h"

namespace gl3 {
namespace {

// What all models of a run have in common, and a model's own report need not repeat.
constexpr const char* kOfTheRun[] = {"renderer", "platform", "device", "software",
                                     "peakMemoryBytes"};

}  // namespace

std::string StartPiece(const RenderReport& start) {
  return JsonLine(
      {{"start",
        {{"platform", start.platform}, {"device", start.device}, {"software", start.software}}},
       {"milliseconds", start.start},
       {"warnings", start.warnings}});
}

std::string ModelPiece(const RenderReport& report, const Outcome& outcome) {
  Json model = ReportJson(report);
  model["status"] = outcome.status;
  if (!outcome.message.empty()) model["error"] = outcome.message;
  return JsonLine({{"model", std::move(model)}});
}

void EachReport::Add(const std::vector<std::string>& pieces) {
  m_hasStarted = false;
  for (const std::string& text : pieces) {
    Json piece = ParsedJson(text);
    if (piece.contains("start")) {
      m_hasStarted = true;
      if (m_start.empty()) m_warnings = piece["warnings"];
      m_start = piece["start"];
      m_startMilliseconds += piece["milliseconds"].get<double>();
    } else if (piece.contains("model")) {
      Json& model = piece["model"];
      m_peakMemory = std::max(m_peakMemory, model["peakMemoryBytes"].get<std::uint64_t>());
      if (m_renderer.empty()) m_renderer = model["renderer"].get<std::string>();
      for (const char* key : kOfTheRun) model.erase(key);
      model["milliseconds"].erase("start");
      m_runs.push_back(std::move(model));
    }
  }
}

void EachReport::AddDied(const std::string& model, const Outcome& outcome) {
  m_runs.push_back(
      {{"models", Json::array({model})}, {"status", outcome.status}, {"error", outcome.message}});
}

std::size_t EachReport::DoneCount() const {
  return static_cast<std::size_t>(std::count_if(
      m_runs.begin(), m_runs.end(), [](const Json& run) { return run["status"] == kDone; }));
}

int EachReport::FirstFailure() const {
  for (const Json& run : m_runs) {
    if (run["status"] != kDone) return run["status"];
  }
  return kDone;
}

std::string EachReport::Format(const std::string& output, std::size_t skipped, double total) const {
  Json json;
  json["output"] = output;
  json["renderer"] = m_renderer;
  json["platform"] = m_start.value("platform", "");
  json["device"] = m_start.value("device", "");
  json["software"] = m_start.value("software", false);
  json["runs"] = m_runs;
  json["failed"] = m_runs.size() - DoneCount();
  json["skipped"] = skipped;
  json["milliseconds"] = {{"start", Rounded(m_startMilliseconds)}, {"total", Rounded(total)}};
  json["peakMemoryBytes"] = std::max(m_peakMemory, PeakMemory());
  json["warnings"] = m_warnings;
  return PrintedJson(json);
}

}  // namespace gl3
