// The same frame twice: by bare OpenGL and through the module.
#include "bench/support/frame_pair.h"

#include <algorithm>
#include <string>

namespace bench {

void MeasureFrames(const FramePair& frames, Row row, const Options& options, Report& report) {
  constexpr int kSlowRounds = 3;
  Options own = options;
  if (options.quick && frames.isSlow) own.rounds = std::min(options.rounds, kSlowRounds);
  const Work floor = {[&] {
                        frames.bare.MakeCurrent();
                        glDisable(GL_LIGHTING);
                        glFinish();
                      },
                      [&] {
                        frames.bare.Clear();
                        frames.drawBare();
                        glFinish();
                      },
                      {}};
  const Work ours = {[&] {
                       frames.host.Buffer().IsFogEnabled();  // makes its context current
                       glFinish();
                     },
                     [&] {
                       frames.host.Begin();
                       frames.drawThroughModule(frames.host.Buffer(), frames.host.List());
                       glFinish();
                     },
                     {}};
  const Row measured = MeasureRow(row.work, row.size, {floor}, ours, own);
  row.floor = measured.floor;
  row.ours = measured.ours;
  report.Add(row);
  if (!options.oursOnly) {
    const std::string problem = Compare(frames.bare.Pixels(), frames.host.Pixels());
    if (!problem.empty()) report.Fail(row.work + ": " + problem);
  }
  frames.bare.MakeCurrent();
}

}  // namespace bench
