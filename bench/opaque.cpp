// Opaque frames of lit triangles, 1920x1080, from the host's first call to the frame in a bitmap,
// against the same triangles drawn from arrays that stand ready and read into a row.
#include <memory>

#include "bench/support/bare_surface.h"
#include "bench/support/geometry.h"
#include "bench/support/harness.h"
#include "bench/support/host_module.h"

namespace bench {
namespace {

constexpr int kWidth = 1920, kHeight = 1080;

struct Case {
  const char* work;
  std::size_t triangles;
  double mostRatio;   // 0: no target
  std::size_t piece;  // triangles that are drawn together; 0: all of them
};
constexpr Case kCases[] = {{"opaque frame", 100'000, 1.10, 0},
                           {"opaque frame", 1'000'000, 1.20, 0},
                           {"in pieces of 10,000", 100'000, 0, 10'000},
                           {"in pieces of 10,000", 1'000'000, 0, 10'000}};

void DrawThroughModule(HostSurface& surface, AttrProperty& material, const Triangles& triangles,
                       std::size_t piece, HBitmapNode* bitmap) {
  DisplayList& list = surface.List();
  surface.Begin();
  list.BeginInstructions();
  list.PrepForPolygonArray();
  list.SetTexture(nullptr);
  list.SetMaterial(&material, 0);
  list.SetupLights(nullptr);
  GAVertex record[4];  // the third is not used
  const std::size_t flushEvery = 3 * (piece ? piece : triangles.size());
  for (std::size_t i = 0; i < triangles.size(); i += 3) {
    if (i > 0 && i % flushEvery == 0) list.FlushArrays();
    record[0] = triangles[i];
    record[1] = triangles[i + 1];
    record[3] = triangles[i + 2];
    list.AddTransformedTri(record, 1);
  }
  list.EndInstructions();
  list.ExecuteInstructions();
  surface.Buffer().EndScene();
  surface.Buffer().FillBitmapNode(bitmap, 0);
}

Work BareFrame(BareSurface& surface, const BareTriangles& triangles) {
  return {[&] {
            surface.MakeCurrent();
            glFinish();
          },
          [&] {
            surface.Clear();
            triangles.Draw();
            surface.ReadRows();
          },
          {}};
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  AttrProperty material = PlainMaterial(0.8f, 0.6f, 0.3f, 0);
  for (const Case& each : kCases) {
    const Triangles triangles = WavySheet(each.triangles, kWidth, kHeight);
    // Surfaces of their own for each size: capacities grow in the warm-up.
    BareSurface bare(kWidth, kHeight);
    BareSurface::SendMaterial(material);
    const BareTriangles arrays(triangles, BareTriangles::Storage::kClientArrays);
    const auto buffers =
        std::make_unique<BareTriangles>(triangles, BareTriangles::Storage::kBuffers);
    HostSurface surface(module.Driver(), kWidth, kHeight);
    BitmapPtr bitmap;
    const Work ours = {
        [&] {
          bitmap = surface.NewBitmap();
          surface.Buffer().IsFogEnabled();  // makes its context current
          glFinish();
        },
        [&] { DrawThroughModule(surface, material, triangles, each.piece, bitmap.get()); },
        {}};
    Row row = MeasureRow(each.work, static_cast<double>(each.triangles),
                         {BareFrame(bare, arrays), BareFrame(bare, *buffers)}, ours, options);
    row.mostRatio = each.mostRatio;
    report.Add(row);
    if (!options.oursOnly) {
      const std::string problem = Compare(bare.Pixels(), ToBytes(*bitmap));
      if (!problem.empty()) report.Fail(problem);
    }
    bare.MakeCurrent();
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "opaque", bench::Run);
}
