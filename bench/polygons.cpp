// Coloured polygons, sorted and batched up to before the draw, against copying the same bytes
// (records and colours) and sorting their keys.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bench/support/bare_surface.h"
#include "bench/support/harness.h"
#include "bench/support/host_module.h"
#include "host/VornPoly.h"

namespace bench {
namespace {

constexpr std::size_t kPolygons[] = {10'000, 100'000};
constexpr int kSide = 640;        // pixels of the picture
constexpr double kMostRatio = 3;  // of the larger; the smaller's floor stays in the caches

/// A polygon as plain bytes: the record, and three colours of a table pointer and four floats.
struct PlainPolygon {
  unsigned char record[sizeof(VornPoly)];
  unsigned char colors[3][sizeof(void*) + 4 * sizeof(float)];
};

std::vector<VornPoly> MakePolygons(std::size_t count) {
  std::mt19937 random(11);
  std::uniform_real_distribution<float> place(-300, 300), key(0, 1000);
  std::vector<VornPoly> polygons(count);
  for (VornPoly& p : polygons) {
    p.p0 = {place(random), place(random), -100};
    p.p1 = {p.p0.x + 3, p.p0.y, -100};
    p.p2 = {p.p0.x, p.p0.y + 3, -100};
    p.c0.Set(255, 0, 0, 255);
    p.c1.Set(0, 255, 0, 255);
    p.c2.Set(0, 0, 255, 255);
    p.depthKey = key(random);
  }
  return polygons;
}

/// Keeps the optimiser from leaving out what nobody looks at.
void Use(const void* data) {
  asm volatile("" : : "r"(data) : "memory");
}

void CopyAndSort(const std::vector<PlainPolygon>& from, const std::vector<float>& keysFrom) {
  const std::vector<PlainPolygon> copy(from);
  std::vector<float> keys(keysFrom);
  Use(copy.data());
  std::sort(keys.begin(), keys.end());
  Use(keys.data());
}

/// The polygons in the order of their keys, drawn by bare OpenGL, as HostSurface::Pixels has them.
std::vector<std::uint8_t> BarePixels(std::vector<VornPoly> polygons) {
  std::sort(polygons.begin(), polygons.end(),
            [](const VornPoly& a, const VornPoly& b) { return a.depthKey < b.depthKey; });
  std::vector<GALitVertex> vertices;
  for (const VornPoly& p : polygons) {
    vertices.push_back({p.p0.x, p.p0.y, p.p0.z, 255, 0, 0, 255});
    vertices.push_back({p.p1.x, p.p1.y, p.p1.z, 0, 255, 0, 255});
    vertices.push_back({p.p2.x, p.p2.y, p.p2.z, 0, 0, 255, 255});
  }
  BareSurface surface(kSide, kSide);
  BareSurface::Clear();
  glDisable(GL_LIGHTING);
  BareBatch(GL_TRIANGLES, vertices, Sequence(vertices.size())).CopyAndDraw();
  return surface.Pixels();
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  for (const std::size_t count : kPolygons) {
    HostSurface surface(module.Driver(), kSide, kSide);
    surface.Begin();
    DisplayList& list = surface.List();
    list.BeginInstructions();
    list.PrepForPolygonArray();
    list.SetTexture(nullptr);
    const std::vector<VornPoly> polygons = MakePolygons(count);
    std::vector<PlainPolygon> plain(count);
    std::vector<float> keys;
    for (const VornPoly& polygon : polygons) keys.push_back(polygon.depthKey);
    const Work floor = {{}, [&] { CopyAndSort(plain, keys); }, {}};
    const Work ours = {
        {},
        [&] { list.AddTransformedPolygons(polygons.data(), static_cast<int>(count), 0); },
        [&] {
          list.FlushArrays();
          glFinish();
        }};
    Row row = MeasureRow("coloured polygons", static_cast<double>(count), {floor}, ours, options);
    if (count == std::max(kPolygons[0], kPolygons[1])) row.mostRatio = kMostRatio;
    report.Add(row);
    if (options.oursOnly) continue;
    const std::string problem = Compare(BarePixels(polygons), surface.Pixels());
    if (!problem.empty()) report.Fail(row.work + ": " + problem);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "polygons", bench::Run);
}
