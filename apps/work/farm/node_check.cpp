// Whether a node can draw, and draws as the first one does.
#include "apps/work/farm/node_check.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>

#include "apps/base/text.h"
#include "apps/options/info_options.h"
#include "apps/work/info/info_job.h"

namespace gl3 {
namespace {

constexpr double kNodeCheckSeconds = 60;
constexpr const char* kRendererFile = "renderer.json";

Json AskNode(const RunOptions& run, InfoKind kind, Outcome* outcome) {
  InfoOptions options;
  options.run.device = run.device;
  options.run.module = run.module;
  options.run.limits.timeoutSeconds = kNodeCheckSeconds;
  options.run.json = true;
  options.kind = kind;
  std::string text;
  *outcome = Info(options, &text);
  return ParsedJson(text);
}

/// What there is to say of this node: "check", "renderer", "status", "problem".
Json DescribeNode(const RunOptions& run) {
  Outcome outcome;
  Json node = {{"node", NodeName()}};
  node["check"] = AskNode(run, InfoKind::kCheck, &outcome);
  Outcome asked;
  const Json report = AskNode(run, InfoKind::kSummary, &asked);
  std::string renderer;
  if (report.is_object() && report.contains("opengl")) {
    renderer = report["opengl"].value("renderer", "") + ", OpenGL " +
               report["opengl"].value("version", "");
  }
  if (outcome.status == kDone) outcome = asked;
  node["renderer"] = renderer;
  node["status"] = outcome.status;
  node["problem"] = outcome.message;
  return node;
}

Outcome CompareNodes(const FarmFolder& folder, const std::string& renderer, bool allowMixed) {
  Outcome outcome =
      folder.WriteFirst(kRendererFile, {{"renderer", renderer}, {"node", NodeName()}});
  if (outcome.status != kDone) return outcome;
  const Json first = folder.Read(kRendererFile);
  if (!first.is_object() || first.value("renderer", "") == renderer) return {};
  const std::string differs =
      fmt::format("{}: its renderer is {}, and that of {}, where the farm began, is {}", NodeName(),
                  renderer, first.value("node", ""), first.value("renderer", ""));
  if (allowMixed) return {kDone, differs};
  return {kNoOpenGl, fmt::format("{}; leave the node out with --sbatch=--exclude={}, or give "
                                 "--allow-mixed",
                                 differs, NodeName())};
}

}  // namespace

std::string NodeName() {
  const char* const scheduled = std::getenv("SLURMD_NODENAME");
  char host[256] = {};
  if (!scheduled || !*scheduled) gethostname(host, sizeof host - 1);
  std::string name = scheduled && *scheduled ? scheduled : host;
  for (char& c : name) {
    if (c == '/') c = '_';
  }
  return name;
}

Outcome CheckNode(const FarmFolder& folder, const RunOptions& run, bool allowMixed) {
  const std::string file = "nodes/" + NodeName() + ".json";
  Json node = folder.Read(file);
  if (!node.is_object() || node.value("status", static_cast<int>(kNoOpenGl)) != kDone) {
    node = DescribeNode(run);
    if (node["status"] == kDone) {
      const Outcome compared = CompareNodes(folder, node["renderer"], allowMixed);
      node["status"] = compared.status;
      node["problem"] = compared.message;
    }
    Outcome written = folder.Write(file, node);
    if (written.status != kDone) return written;
  }
  return {node.value("status", static_cast<int>(kNoOpenGl)), node.value("problem", "")};
}

}  // namespace gl3
