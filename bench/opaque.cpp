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
  std::size_t triangles;
  double mostRatio;
};
constexpr Case kCases[] = {{100'000, 1.10}, {1'000'000, 1.20}};

void DrawThroughModule(HostSurface& surface, AttrProperty& material, const Triangles& triangles,
                       HBitmapNode* bitmap) {
  DisplayList& list = surface.List();
  surface.Begin();
  list.BeginInstructions();
  list.PrepForPolygonArray();
  list.SetTexture(nullptr);
  list.SetMaterial(&material, 0);
  list.SetupLights(nullptr);
  GAVertex record[4];  // the third is not used
  for (std::size_t i = 0; i < triangles.size(); i += 3) {
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
    const Work ours = {[&] {
                         bitmap = surface.NewBitmap();
                         surface.Buffer().IsFogEnabled();  // makes its context current
                         glFinish();
                       },
                       [&] { DrawThroughModule(surface, material, triangles, bitmap.get()); },
                       {}};
    Row row = MeasureRow("opaque frame", static_cast<double>(each.triangles),
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
