// The figures of `gl3 filter`, for `--json` and `--verify`.
//
// A child that filters pictures tells them to its parent piece by piece, so that they outlive it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/work/common/report_json.h"
#include "hostkit/effects/effect_chain.h"

namespace gl3 {

/// One picture. Times are milliseconds of its own; an error leaves the rest as far as it came.
struct FilteredPicture {
  std::string input, output;
  int width = 0, height = 0;
  int status = 0;
  std::string error;
  double read = 0, effects = 0, write = 0;  ///< `read` with the hash for the recipe.
  std::vector<hostkit::EffectStep> steps;   ///< As many as there are effects, or fewer.
};

/// What pictures are filtered with.
struct FilterStart {
  std::string renderer;  ///< GL_RENDERER and GL_VERSION.
  std::string platform, device;
  bool software = false;
  int threads = 1;          ///< Of merging.
  double milliseconds = 0;  ///< Of display, module and driver.
};

/// What a child tells, as text without '\0'. The driver started:
std::string StartPiece(const FilterStart& start);
/// A picture is done, well or not; with the peak memory of this process.
std::string PicturePiece(const FilteredPicture& picture,
                         const std::vector<hostkit::EffectCall>& calls);
/// A warning that was given; `ofClipping`: that colours were cut, which is told once a run.
std::string WarningPiece(const std::string& text, bool ofClipping);

/// What the parent makes of the pieces.
class FilterReport {
 public:
  /// The pieces of one child, the last one of the run so far.
  void Add(const std::vector<std::string>& pieces);
  /// A picture whose child did not come to its end.
  void Add(const FilteredPicture& picture);

  /// Whether the driver of the last child started.
  bool HasStarted() const { return m_hasStarted; }
  bool HasWarnedOfClipping() const { return m_hasWarnedOfClipping; }
  std::size_t PictureCount() const { return m_pictures.size(); }
  /// Pictures that were filtered well, or written and found to differ.
  std::size_t DoneCount() const;
  /// The status of the first picture that failed, else kDone.
  int FirstFailure() const;
  /// The status of the last picture so far; kDone without one.
  int LastStatus() const;

  /// The report as a JSON object on several lines. `skipped` pictures were there before; `total` is
  /// the milliseconds of all.
  std::string Format(std::size_t skipped, double total) const;
  /// A line for each effect with its largest difference and what is allowed, picture by picture;
  /// `inputs` are the pictures' files.
  std::string FormatDifferences(const std::vector<std::string>& inputs) const;

 private:
  Json m_start = Json::object();
  double m_startMilliseconds = 0;
  bool m_hasStarted = false, m_hasWarnedOfClipping = false;
  Json m_pictures = Json::array(), m_warnings = Json::array();
  std::uint64_t m_peakMemory = 0;
};

}  // namespace gl3
