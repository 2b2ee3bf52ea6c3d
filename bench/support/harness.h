// Measures work beside its floors: the least that the same result can cost. Floors and candidates
// run in turn, round by round, so that a busy machine slows all of them alike.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Options {
  bool quick = false;
  bool oursOnly = false;  ///< Candidates alone, without floors: for a profiler.
  int rounds = 0;         ///< Measured rounds; the default is 7 when quick, else 25.
  std::string json;       ///< File for the results; empty for none.
};

/// One thing to measure. `run` is timed; the other two, which may be empty, are not.
struct Work {
  std::function<void()> prepare, run, cleanUp;
};

/// Milliseconds by the wall clock and of all processors together, or megabytes in `wall`.
struct Figure {
  double wall = 0, cpu = 0;
};

/// One line of the table.
struct Row {
  std::string work;
  double size = 0;       ///< What cost should be proportional to: triangles, pixels.
  std::string sizeText;  ///< As shown, "1920x1080"; `size` when empty.
  Figure floor, ours;
  double mostRatio = 0;  ///< Target: `ours` over `floor`; 0 without one.
  double most = 0;       ///< Target: `ours` itself; 0 without one.
  std::string unit = "ms";
};

/// Medians, over the rounds, of what each work took; one round or two before them do not count.
std::vector<Figure> MeasureInTurn(const std::vector<Work>& works, const Options& options);

/// As MeasureInTurn with one candidate and floors of which the cheapest counts.
Row MeasureRow(const std::string& name, double size, const std::vector<Work>& floors,
               const Work& ours, const Options& options);

/// Figures that `sample` fills itself, such as those of child processes; in turn likewise.
std::vector<Figure> MedianInTurn(const std::vector<std::function<Figure()>>& samples,
                                 const Options& options);

/// Prints rows as they come, then how each work grows, and writes the JSON.
class Report {
 public:
  Report(std::string program, const Options& options);
  void Add(const Row& row);
  /// A line under the table, also in the JSON.
  void Note(const std::string& text);
  /// Something that makes the figures worthless, such as pictures that differ.
  void Fail(const std::string& what);
  /// The exit status: 0, or 1 when something failed. A missed target is no failure.
  int Finish();

 private:
  struct Growth {
    std::string work;
    double from, to, floor, ours;  // the last two are exponents
  };
  std::vector<Growth> ComputeGrowth() const;
  bool WriteJson(const std::vector<Growth>& growth) const;

  std::string m_program;
  Options m_options;
  std::vector<Row> m_rows;
  std::vector<std::string> m_notes;
  bool m_failed = false;
};

/// Parses `--quick --rounds N --json FILE --ours-only`, runs `body`, and returns the exit status.
int Main(int argc, char** argv, const std::string& program,
         const std::function<void(const Options&, Report&)>& body);

}  // namespace bench
