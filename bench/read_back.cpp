// A drawn frame into a bitmap of half floats with keyed alpha, against reading its bytes row by row
// and leaving them there.
#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <vector>

#include "bench/support/bare_surface.h"
#include "bench/support/geometry.h"
#include "bench/support/harness.h"
#include "bench/support/host_module.h"

namespace bench {
namespace {

struct Case {
  int width, height;
};
constexpr Case kCases[] = {{1920, 1080}, {3840, 2160}};
constexpr double kMostRatio = 2.4;

void DrawSomething(HostSurface& surface, AttrProperty& material, int width, int height) {
  DisplayList& list = surface.List();
  surface.Begin();
  list.BeginInstructions();
  list.SetMaterial(&material, 0);
  list.SetupLights(nullptr);
  // Over the left half, so that background is keyed too.
  for (const GAVertex& vertex : WavySheet(20'000, width, height)) {
    static GAVertex record[4];
    static int corner = 0;
    record[corner == 2 ? 3 : corner] = vertex;
    corner = (corner + 1) % 3;
    if (corner == 0 && record[3].x < 0) list.AddTransformedTri(record, 0);
  }
  list.EndInstructions();
  surface.Buffer().EndScene();
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  AttrProperty material = PlainMaterial(0.8f, 0.6f, 0.3f, 0);
  for (const Case& each : kCases) {
    const int width = each.width, height = each.height;
    HostSurface surface(module.Driver(), width, height);
    DrawSomething(surface, material, width, height);
    std::vector<std::uint8_t> row(static_cast<std::size_t>(width) * 3);
    BitmapPtr bitmap;
    const Work floor = {[] { glFinish(); }, [&] { ReadRows(width, height, row.data()); }, {}};
    const Work ours = {[&] {
                         bitmap = surface.NewBitmap();
                         glFinish();
                       },
                       [&] { surface.Buffer().FillBitmapNode(bitmap.get(), 0); },
                       [&] { bitmap.reset(); }};
    Row result =
        MeasureRow("FillBitmapNode", static_cast<double>(width) * height, {floor}, ours, options);
    result.sizeText = fmt::format("{}x{}", width, height);
    result.mostRatio = kMostRatio;
    report.Add(result);
    if (options.oursOnly) continue;
    const std::string problem = Compare(ReadFrame(width, height), surface.Pixels());
    if (!problem.empty()) report.Fail(result.work + ": " + problem);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "read_back", bench::Run);
}
