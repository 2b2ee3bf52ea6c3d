// The figures of a run of `gl3 render` that draws each of its models by itself, for `--json`.
//
// A child that draws tells them to its parent piece by piece, so that they outlive it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/work/common/report_json.h"
#include "apps/work/render/render_report.h"

namespace gl3 {

/// What a child tells, as text without '\0'. OpenGL has started:
std::string StartPiece(const RenderReport& start);
/// A model is done, well or not.
std::string ModelPiece(const RenderReport& report, const Outcome& outcome);

/// What the parent makes of the pieces.
class EachReport {
 public:
  /// The pieces of one child, the last one of the run so far.
  void Add(const std::vector<std::string>& pieces);
  /// A model whose child did not come to its end.
  void AddDied(const std::string& model, const Outcome& outcome);

  /// Whether OpenGL started in the last child.
  bool HasStarted() const { return m_hasStarted; }
  std::size_t ModelCount() const { return m_runs.size(); }
  /// Models whose pictures are all there.
  std::size_t DoneCount() const;
  /// The status of the first model that failed, else kDone.
  int FirstFailure() const;

  /// The report as a JSON object on several lines. Of `skipped` models all was there before;
  /// `total` is the milliseconds of all.
  std::string Format(const std::string& output, std::size_t skipped, double total) const;

 private:
  Json m_start = Json::object();
  double m_startMilliseconds = 0;
  bool m_hasStarted = false;
  Json m_runs = Json::array(), m_warnings = Json::array();
  std::string m_renderer;
  std::uint64_t m_peakMemory = 0;
};

}  // namespace gl3
