// Transparent frames, from the host's first call to the end of the scene, against the same
// triangles presorted and drawn by bare OpenGL. With one material the queue is one run of equal
// state; with eight in turn every triangle is a run of its own.
#include <fmt/format.h>

#include <string>
#include <vector>

#include "bench/support/bare_surface.h"
#include "bench/support/geometry.h"
#include "bench/support/harness.h"
#include "bench/support/host_module.h"

namespace bench {
namespace {

constexpr int kWidth = 1920, kHeight = 1080;
constexpr std::size_t kTriangles[] = {15'000, 149'999};
constexpr std::size_t kQuickInTurn[] = {3'000, 15'000};  // the others take half a minute
constexpr std::size_t kMaterials = 8;
constexpr double kMostRatio = 1.40;

/// For each triangle its place in the order from far to near.
std::vector<std::size_t> Ranks(const Triangles& triangles) {
  const std::vector<std::size_t> order = OrderFarToNear(triangles);
  std::vector<std::size_t> ranks(order.size());
  for (std::size_t i = 0; i < order.size(); ++i) ranks[order[i]] = i;
  return ranks;
}

/// One size: triangles, surfaces and materials.
class Scene {
 public:
  Scene(GADriver* driver, std::size_t triangles, std::size_t materials)
      : m_triangles(ScatteredTriangles(triangles, kWidth, kHeight)),
        m_sorted(FarToNear(m_triangles)),
        m_ranks(Ranks(m_triangles)),
        m_bare(kWidth, kHeight),
        m_arrays(m_sorted, BareTriangles::Storage::kClientArrays),
        m_buffers(m_sorted, BareTriangles::Storage::kBuffers),
        m_surface(driver, kWidth, kHeight) {
    for (std::size_t i = 0; i < materials; ++i) {
      const float share = static_cast<float>(i + 1) / static_cast<float>(materials);
      m_materials.push_back(PlainMaterial(share, 0.5f, 1 - share / 2, 0.5f));
    }
    m_bare.MakeCurrent();
    BareSurface::SendMaterial(m_materials[0]);
    glEnable(GL_CULL_FACE);
    glEnable(GL_LINE_SMOOTH);  // as the module's pass has it
  }
  ~Scene() { m_bare.MakeCurrent(); }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  Work Bare(bool inBuffers) {
    return {[this] {
              m_bare.MakeCurrent();
              glFinish();
            },
            [this, inBuffers] {
              m_bare.Clear();
              DrawBare(inBuffers ? m_buffers : m_arrays);
              glFinish();
            },
            {}};
  }
  Work ThroughModule() {
    return {[this] {
              m_surface.Buffer().IsFogEnabled();  // makes its context current
              glFinish();
            },
            [this] {
              DrawThroughModule();
              glFinish();
            },
            {}};
  }
  std::string CompareFrames() { return Compare(m_bare.Pixels(), m_surface.Pixels()); }

 private:
  void DrawBare(const BareTriangles& triangles) {
    if (m_materials.size() == 1) {
      triangles.Draw();
      return;
    }
    for (std::size_t i = 0; i < m_ranks.size(); ++i) {
      const AttrProperty& material = m_materials[i % m_materials.size()];
      const GLfloat diffuse[] = {material.base.red.Current(), material.base.green.Current(),
                                 material.base.blue.Current(), 1 - material.transparency.Current()};
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, diffuse);
      triangles.Draw(i, 1);
    }
  }

  void DrawThroughModule() {
    DisplayList& list = m_surface.List();
    m_surface.Begin();
    list.BeginInstructions();
    list.PrepForPolygonArray();
    list.SetTexture(nullptr);
    list.SetupLights(nullptr);
    GAVertex record[4];  // the third is not used
    for (std::size_t material = 0; material < m_materials.size(); ++material) {
      list.SetMaterial(&m_materials[material], 0);
      for (std::size_t i = 0; i < m_ranks.size(); ++i) {
        if (m_ranks[i] % m_materials.size() != material) continue;
        record[0] = m_triangles[i * 3];
        record[1] = m_triangles[i * 3 + 1];
        record[3] = m_triangles[i * 3 + 2];
        list.AddTransformedTri(record, 1);
      }
    }
    list.EndInstructions();
    m_surface.Buffer().EndScene();
  }

  Triangles m_triangles, m_sorted;
  std::vector<std::size_t> m_ranks;
  std::vector<AttrProperty> m_materials;
  BareSurface m_bare;
  BareTriangles m_arrays, m_buffers;
  HostSurface m_surface;
};

/// Adds a row to the report when there is one.
Row Measure(GADriver* driver, std::size_t triangles, std::size_t materials, const Options& options,
            Report* report) {
  Scene scene(driver, triangles, materials);
  const std::string name =
      materials == 1 ? "transparent frame" : fmt::format("transparent, {} in turn", materials);
  // With a run a triangle, buffers would only be bound over and over.
  std::vector<Work> floors = {scene.Bare(false)};
  if (materials == 1) floors.push_back(scene.Bare(true));
  Row row =
      MeasureRow(name, static_cast<double>(triangles), floors, scene.ThroughModule(), options);
  if (materials == 1) row.mostRatio = kMostRatio;
  if (!report) return row;
  report->Add(row);
  const std::string problem = options.oursOnly ? "" : scene.CompareFrames();
  if (!problem.empty()) report->Fail(name + ": " + problem);
  return row;
}

/// What it costs to end a run of equal state and begin another: what eight materials in turn take
/// beyond one, by the runs.
void MeasureRuns(GADriver* driver, std::size_t triangles, const Options& options, Report& report) {
  const Row one = Measure(driver, triangles, 1, options, nullptr);
  const Row inTurn = Measure(driver, triangles, kMaterials, options, &report);
  const auto microseconds = [&](double ofOne, double ofAll) {
    return (ofAll - ofOne) / static_cast<double>(triangles) * 1000;
  };
  report.Note(fmt::format("a run of equal state costs {:.2f} us among {} (bare OpenGL {:.2f})",
                          microseconds(one.ours.wall, inTurn.ours.wall), triangles,
                          microseconds(one.floor.wall, inTurn.floor.wall)));
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  for (const std::size_t triangles : kTriangles) {
    Measure(module.Driver(), triangles, 1, options, &report);
  }
  for (const std::size_t triangles : options.quick ? kQuickInTurn : kTriangles) {
    MeasureRuns(module.Driver(), triangles, options, report);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "transparent", bench::Run);
}
