// The work of `gl3 info`.
#include "apps/work/info/info_job.h"

#include <fmt/format.h>

#include <cstdlib>
#include <utility>
#include <vector>

#include "apps/work/compare/compare_job.h"
#include "apps/work/info/info_checks.h"
#include "apps/work/info/info_report.h"
#include "apps/work/info/model_info.h"
#include "apps/work/info/probe_child.h"
#include "platform/platform.h"

namespace gl3 {
namespace {

/// What a child told, in order, and what became of it.
struct Answer {
  std::vector<Json> told;
  std::string trouble;

  /// The step that it told last.
  std::string At() const {
    std::string at;
    for (const Json& piece : told) {
      if (piece.contains("at")) at = piece["at"];
    }
    return at;
  }
};

Answer Ask(const InfoOptions& options, const std::function<void(const Tell&)>& work) {
  Answer answer;
  answer.trouble = RunProbe(options.run.limits.timeoutSeconds, work, [&](const std::string& text) {
    Json piece = ParsedJson(text);
    if (!piece.is_object()) return;
    if (const std::string at = piece.value("at", ""); !at.empty()) PrintNote(at);
    answer.told.push_back(std::move(piece));
  });
  return answer;
}

/// Everything about the device that the environment and the options choose, added to `*report`.
/// A "problem" is told as an outcome too.
Outcome AskDevice(const InfoOptions& options, bool all, Json* report) {
  const Answer answer = Ask(options, [&](const Tell& tell) { TellDevice(options, all, tell); });
  for (const Json& piece : answer.told) {
    if (!piece.contains("at")) report->update(piece);
  }
  if (!answer.trouble.empty()) {
    (*report)["problem"] =
        fmt::format("OpenGL: {} {}; try --device cpu; -v shows what the driver says", answer.At(),
                    answer.trouble);
  }
  if (!report->contains("problem")) return {};
  return {kNoOpenGl, (*report)["problem"]};
}

/// The checks of that device, as "check" of `*report`.
Outcome CheckDevice(const InfoOptions& options, Json* report) {
  const Answer answer = Ask(options, [&](const Tell& tell) { TellChecks(options, tell); });
  (*report)["check"] = CollectChecks(answer.told, answer.trouble);
  return ConcludeChecks((*report)["check"]);
}

/// One part of the report and nothing else: the extended report, or the extensions.
Outcome TellOnly(const InfoOptions& options, std::string* result) {
  Json report;
  Outcome outcome = AskDevice(options, true, &report);
  if (outcome.status != kDone) return outcome;
  if (options.run.json) {
    *result = PrintedJson(report);
  } else if (options.kind == InfoKind::kExtended) {
    *result = report["extendedReport"].get<std::string>() + "\n";
  } else {
    for (const Json& name : report["extensions"]) *result += name.get<std::string>() + "\n";
  }
  return outcome;
}

Json DescribeHere(const InfoOptions& options) {
  return {{"gl3", DescribeProgram(options)},
          {"machine", DescribeSystem()},
          {"settings", DescribeSettings()}};
}

/// The devices that EGL lists, found by a child: to list them is to load the drivers' libraries.
std::vector<Json> ListDevices(const InfoOptions& options, std::string* trouble) {
  Answer answer = Ask(options, [](const Tell& tell) {
    for (const platform::DisplayChoice& device : platform::ListDisplayDevices()) {
      tell(JsonLine(
          {{"number", device.device}, {"name", device.name}, {"software", device.software}}));
    }
  });
  *trouble = answer.trouble;
  return answer.told;
}

/// Every device in turn. Those that do not work count as found: the outcome is that of the listing.
Outcome TellAllDevices(const InfoOptions& options, std::string* result) {
  std::string trouble;
  std::vector<Json> devices = ListDevices(options, &trouble);
  if (!trouble.empty()) {
    return {kNoOpenGl, "OpenGL: listing the devices " + trouble + "; update the OpenGL driver"};
  }
  if (devices.empty()) {
    return {kNoOpenGl, "OpenGL: EGL lists no devices; gl3 info without --all-devices tells more"};
  }
  Json report = DescribeHere(options);
  const bool checks = options.kind == InfoKind::kCheck;
  std::string text = checks ? "" : FormatInfo(report);
  setenv("GL3_PLATFORM", "device", 1);
  for (Json& device : devices) {
    setenv("GL3_DEVICE", device["number"].dump().c_str(), 1);
    text += fmt::format("{}==== Device {}: {}\n\n", text.empty() ? "" : "\n",
                        device["number"].get<int>(), device["name"].get<std::string>());
    if (checks) {
      CheckDevice(options, &device);
      text += FormatChecks(device["check"]);
      continue;
    }
    Json facts;
    const Outcome outcome = AskDevice(options, options.run.json, &facts);
    text += FormatInfo(facts);
    if (outcome.status != kDone) text += "\nProblem\n  " + outcome.message + "\n";
    device.update(facts);
  }
  report["devices"] = devices;
  *result = options.run.json ? PrintedJson(report) : text;
  return {};
}

}  // namespace

Outcome Info(const InfoOptions& options, std::string* result) {
  if (options.kind == InfoKind::kFormats) return TellFormats(options, result);
  if (!options.models.empty()) return TellModels(options, result);
  if (options.kind == InfoKind::kCompare) {
    std::string trouble;  // of the listing: the drivers' own lines tell what it means for them
    const std::size_t devices = ListDevices(options, &trouble).size();
    return CompareDrivers(options, static_cast<int>(devices), result);
  }
  if (options.allDevices) return TellAllDevices(options, result);
  Json report;
  Outcome outcome;
  if (options.kind == InfoKind::kCheck) {
    outcome = CheckDevice(options, &report);
    *result = options.run.json ? PrintedJson(report["check"]) : FormatChecks(report["check"]);
    return outcome;
  }
  if (options.kind != InfoKind::kSummary) return TellOnly(options, result);
  report = DescribeHere(options);
  outcome = AskDevice(options, options.run.json, &report);
  *result = options.run.json ? PrintedJson(report) : FormatInfo(report);
  return outcome;
}

}  // namespace gl3
