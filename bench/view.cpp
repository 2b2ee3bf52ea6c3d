// A frame of the viewer in its window, against the same frame off screen; showing it left out.
#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "apps/base/x_server.h"
#include "apps/gl3-view/scene_view.h"
#include "apps/gl3-view/window_surface.h"
#include "apps/work/render/frame_setup.h"
#include "bench/support/bare_surface.h"
#include "bench/support/child_process.h"
#include "bench/support/harness.h"
#include "bench/support/host_module.h"
#include "bench/support/window_server.h"
#include "hostkit/frame/frame_painter.h"
#include "hostkit/frame/off_screen_surface.h"
#include "hostkit/import/model_import.h"
#include "platform/gl.h"
#include "samples/showroom.h"
#include "samples/small_models.h"
#include "samples/write_file.h"
#include "tests/support/common/x_client.h"

namespace bench {
namespace {

struct Case {
  int width, height;
};
constexpr Case kCases[] = {{640, 480}, {1920, 1080}};

std::shared_ptr<const hostkit::Scene> Showroom() {
  const TemporaryFolder folder;
  const std::string path = folder.File("showroom.glb");
  std::string error;
  samples::WriteFile(path, samples::ToGlb(samples::Showroom(512)), &error);
  std::shared_ptr<const hostkit::Scene> scene = hostkit::ImportModel(path, &error);
  if (!scene) throw std::runtime_error(error);
  return scene;
}

void Check(bool good, const std::string& error) {
  if (!good) throw std::runtime_error(error);
}

void Measure(GADriver* driver, const std::shared_ptr<const hostkit::Scene>& scene, const Case& each,
             const Options& options, Report& report) {
  gl3::RenderOptions choices;
  choices.width = each.width;
  choices.height = each.height;
  choices.samplesPerSide = 1;
  choices.eye = {4, 3, 6};
  choices.target = {0, 0.5f, 0};
  hostkit::FrameSettings settings;
  gl3::MakeFrameSettings(choices, &settings);
  std::string error;

  XClient screen;
  const auto surface =
      view::WindowSurface::Adopt(screen.MakeWindow(each.width, each.height), driver, &error);
  Check(surface && surface->Fit(&error), error);
  const auto shown = view::SceneView::Create(driver, scene, scene, &error);
  Check(shown != nullptr, error);
  hostkit::OffScreenSurface hidden(driver);
  Check(hidden.Ensure(each.width, each.height, &error), error);
  const auto painter = hostkit::FramePainter::Create(driver, *scene, &error);
  Check(painter != nullptr, error);

  const Work floor = {
      {},
      [&] {
        painter->Begin(settings, shown->ViewFor(choices));
        painter->Paint(hidden.Target(), {0, 0, each.width, each.height}, settings.background);
        glFinish();
      },
      {}};
  const Work ours = {{},
                     [&] {
                       shown->Paint(*surface, settings, shown->ViewFor(choices));
                       glFinish();
                     },
                     [&] { surface->Present(); }};
  Row row = MeasureRow("frame of the viewer", static_cast<double>(each.width) * each.height,
                       {floor}, ours, options);
  row.sizeText = fmt::format("{}x{}", each.width, each.height);
  row.mostRatio = 1.2;
  report.Add(row);
  if (options.oursOnly) return;
  shown->Paint(*surface, settings, shown->ViewFor(choices));
  const std::vector<std::uint8_t> inWindow = ReadFrame(each.width, each.height);
  const hostkit::BitmapPtr offScreen = hidden.Read(each.width, each.height);
  Check(offScreen != nullptr, "memory ran out");
  const std::string problem = Compare(ToBytes(*offScreen), inWindow);
  if (!problem.empty()) report.Fail(row.work + ": " + problem);
}

void Run(const Options& options, Report& report) {
  gl3::XServer server;
  if (!StartWindowServer(server, kCases[1].width, kCases[1].height, report)) return;
  const HostModule module;
  const std::shared_ptr<const hostkit::Scene> scene = Showroom();
  for (const Case& each : kCases) Measure(module.Driver(), scene, each, options, report);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "view", bench::Run);
}
