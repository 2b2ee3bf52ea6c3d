// gl3-view as somebody meets it who starts it with a large model and turns that, beside another
// viewer where that is installed: on an X server of the bench's own, by what its screen shows.
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "apps/base/run_program.h"
#include "apps/base/x_server.h"
#include "bench/support/child_process.h"
#include "bench/support/harness.h"
#include "bench/support/peer_program.h"
#include "bench/support/screen.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kSizes[] = {200'000, 2'000'000};  // triangles; the first alone when quick
constexpr double kMostFrame = 50;               // milliseconds: 20 frames a second
constexpr int kScreenWidth = 1600, kScreenHeight = 1000;
// A place of the screen where each viewer shows the model, or what is behind it.
constexpr int kInside = 300;
constexpr int kBlock = 64;  // pixels a side, in the middle of the model
constexpr milliseconds kLook(2), kPatience(120'000);
// A viewer has nothing more to do when it had next to nothing to do for so long.
constexpr milliseconds kIdle(1000);
constexpr double kIdleCpu = 20;  // of these, in milliseconds
// The pointer goes to and fro, as far as that from the middle.
constexpr milliseconds kMove(8);
constexpr int kPixelsAMove = 2, kFarthest = 200;
constexpr int kMoves = 375, kQuickMoves = 125;

/// Whether it is of a lit, curved surface: backdrops, texts and windows without content are of one
/// colour in the main.
bool ShowsModel(const std::vector<std::uint32_t>& pixels) {
  if (pixels.empty()) return false;
  std::map<std::uint32_t, std::size_t> counts;
  for (const std::uint32_t pixel : pixels) ++counts[pixel];
  std::size_t most = 0;
  for (const auto& [color, count] : counts) most = std::max(most, count);
  return most * 4 < pixels.size();
}

double MillisecondsFrom(Clock::time_point start, Clock::time_point end = Clock::now()) {
  return std::chrono::duration<double, std::milli>(end - start).count();
}

/// A viewer from its start on.
class Viewer {
 public:
  /// Returns when the model is seen.
  Viewer(Screen& screen, const std::vector<std::string>& command)
      : m_screen(screen), m_start(Clock::now()), m_program(command) {
    while (!ShowsModel(m_seen)) {
      Wait(m_start, command[0] + " shows no model");
      m_window = m_screen.At(kInside, kInside);
      m_seen = m_screen.Middle(m_window, kBlock, kBlock);
    }
    m_firstPicture = MillisecondsFrom(m_start);
  }

  const SeenWindow& Window() const { return m_window; }
  /// Milliseconds from the start.
  double FirstPicture() const { return m_firstPicture; }
  double End() { return m_program.End(); }
  double CpuMilliseconds() const { return m_program.CpuMilliseconds(); }

  /// Waits until it works no more. Milliseconds until the picture changed last; 0 when it did not.
  double Settle();
  /// Turns the model by the pointer, and returns what a frame took: the time from the first one
  /// that was seen to the last one over those in between.
  Figure Orbit(int moves);

 private:
  void Wait(Clock::time_point since, const std::string& problem) const;
  bool IsOther();

  Screen& m_screen;
  Clock::time_point m_start;
  RunningProgram m_program;
  double m_firstPicture = 0;
  SeenWindow m_window;
  std::vector<std::uint32_t> m_seen;
};

void Viewer::Wait(Clock::time_point since, const std::string& problem) const {
  if (m_program.HasEnded() || Clock::now() - since > kPatience) throw std::runtime_error(problem);
  std::this_thread::sleep_for(kLook);
}

/// Whether the picture is another one than before.
bool Viewer::IsOther() {
  std::vector<std::uint32_t> seen = m_screen.Middle(m_window, kBlock, kBlock);
  if (seen == m_seen) return false;
  m_seen = std::move(seen);
  return true;
}

double Viewer::Settle() {
  const Clock::time_point start = Clock::now();
  Clock::time_point idle = start;
  double last = 0, cpu = m_program.CpuMilliseconds();
  while (Clock::now() - idle < kIdle) {
    Wait(start, "a viewer does not come to rest");
    const double now = m_program.CpuMilliseconds();
    if (IsOther()) last = MillisecondsFrom(start);
    if (now - cpu < kIdleCpu) continue;
    cpu = now;
    idle = Clock::now();
  }
  return last;
}

Figure Viewer::Orbit(int moves) {
  const int middle = m_window.x + m_window.width / 2, y = m_window.y + m_window.height / 2;
  int at = middle, step = kPixelsAMove, frames = 0;
  m_screen.MoveTo(at, y);
  m_screen.Press(true);
  Clock::time_point first, last, move = Clock::now();
  double firstCpu = 0, lastCpu = 0;
  for (int moved = 0; moved < moves;) {
    Wait(Clock::now(), "a viewer ended while its model was turned");
    if (Clock::now() >= move) {
      at += step;
      if (std::abs(at - middle) >= kFarthest) step = -step;
      m_screen.MoveTo(at, y);
      move += kMove;
      ++moved;
    }
    if (!IsOther()) continue;
    last = Clock::now();
    lastCpu = m_program.CpuMilliseconds();
    if (frames++ > 0) continue;
    first = last;
    firstCpu = lastCpu;
  }
  m_screen.Press(false);
  if (frames < 2) throw std::runtime_error("a viewer does not turn its model");
  const double between = frames - 1;
  return {MillisecondsFrom(first, last) / between, (lastCpu - firstCpu) / between};
}

/// Both viewers with a model.
class Viewers {
 public:
  Viewers(const std::string& model, int triangles, const Options& options, Report& report)
      : m_triangles(triangles),
        m_options(options),
        m_report(report),
        m_ours({ProgramFolder() + "/gl3-view", model}) {
    const SeenWindow window = Viewer(m_screen, m_ours).Window();
    const std::string other = options.oursOnly ? "" : gl3::FindProgram("f3d");
    if (other.empty()) return;
    m_floor = {other, "--quiet", fmt::format("--resolution={},{}", window.width, window.height),
               model};
  }

  void MeasureStart();
  void MeasureMoving();

 private:
  /// From the start to the first picture of the model; processor time of all of it.
  Figure Start(const std::vector<std::string>& command) {
    if (command.empty()) return {};
    Viewer viewer(m_screen, command);
    return {viewer.FirstPicture(), viewer.End()};
  }
  /// Leaves the viewer at work, for what comes behind.
  Figure Orbit(const std::vector<std::string>& command) {
    if (command.empty()) return {};
    m_viewer.reset();
    m_viewer = std::make_unique<Viewer>(m_screen, command);
    m_viewer->Settle();
    return m_viewer->Orbit(m_options.quick ? kQuickMoves : kMoves);
  }
  Row RowOf(const std::string& work, const Figure& floor, const Figure& ours) const {
    Row row;
    row.work = work;
    row.size = m_triangles;
    row.floor = floor;
    row.ours = ours;
    return row;
  }

  int m_triangles;
  const Options& m_options;
  Report& m_report;
  Screen m_screen;
  std::vector<std::string> m_ours, m_floor;  // the latter is empty where it is not installed
  std::unique_ptr<Viewer> m_viewer;
};

void Viewers::MeasureStart() {
  Options few = m_options;
  few.rounds = std::min(few.rounds, few.quick ? 3 : 5);
  const std::vector<Figure> medians =
      MedianInTurn({[&] { return Start(m_floor); }, [&] { return Start(m_ours); }}, few);
  Row row = RowOf("start to first picture", medians[0], medians[1]);
  row.mostRatio = 1;
  m_report.Add(row);
}

void Viewers::MeasureMoving() {
  if (!m_screen.HasPointer()) {
    m_report.Note("moving is left out: no pointer without libXtst.so.6; apt-get install libxtst6");
    return;
  }
  Options few = m_options;
  few.rounds = std::min(few.rounds, few.quick ? 1 : 3);
  const std::vector<Figure> medians =
      MedianInTurn({[&] { return Orbit(m_floor); }, [&] { return Orbit(m_ours); },
                    [&] {
                      const double cpu = m_viewer->CpuMilliseconds();
                      const double wall = m_viewer->Settle();
                      return Figure{wall, m_viewer->CpuMilliseconds() - cpu};
                    }},
                   few);
  m_viewer.reset();
  Row row = RowOf("frame while orbiting", medians[0], medians[1]);
  row.most = kMostFrame;
  m_report.Add(row);
  m_report.Note(fmt::format(
      "{} triangles: {:.1f} frames a second while orbiting{}", m_triangles, 1000 / row.ours.wall,
      m_floor.empty() ? "" : fmt::format(" (f3d {:.1f})", 1000 / row.floor.wall)));
  m_report.Add(RowOf("last move to picture at rest", {}, medians[2]));
}

void Run(const Options& options, Report& report) {
  const TemporaryFolder folder;
  // What the user of this machine has chosen is left out, and left alone.
  setenv("XDG_CONFIG_HOME", folder.File("config").c_str(), 1);
  setenv("GL3_REGISTRY", folder.File("registry.ini").c_str(), 1);
  gl3::XServer server;
  const std::string display = server.Start(kScreenWidth, kScreenHeight);
  if (display.empty()) return report.Note("skipped: no Xvfb starts here; apt-get install xvfb");
  setenv("DISPLAY", display.c_str(), 1);
  const std::string version = VersionOf({"f3d", "--version", "Version:"});
  report.Note("f3d: " + (version.empty() ? "not installed here" : version));
  for (const int triangles : kSizes) {
    if (options.quick && triangles != kSizes[0]) continue;
    const std::string model = folder.File("sphere.ply");
    RunProcess(
        {ProgramFolder() + "/make_samples", "--triangles", std::to_string(triangles), model});
    Viewers viewers(model, triangles, options, report);
    viewers.MeasureStart();
    viewers.MeasureMoving();
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "viewer", bench::Run);
}
