// Frames to a window on an X server of the bench's own, against bare EGL on the same server.
#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <vector>

#include "apps/base/x_server.h"
#include "bench/support/bare_surface.h"
#include "bench/support/bare_window.h"
#include "bench/support/geometry.h"
#include "bench/support/harness.h"
#include "bench/support/host_module.h"
#include "bench/support/window_server.h"
#include "platform/mfc.h"
#include "platform/platform.h"
#include "tests/support/common/x_client.h"

namespace bench {
namespace {

struct Case {
  int width, height;
};
constexpr Case kCases[] = {{640, 480}, {1920, 1080}};
constexpr std::size_t kTriangles = 1000;  // so that a frame has something to show
constexpr int kFrames = 10;               // a round, one after the other

void DrawThroughModule(HostSurface& surface, AttrProperty& material, const Triangles& triangles) {
  DisplayList& list = surface.List();
  surface.Begin();
  list.BeginInstructions();
  list.SetMaterial(&material, 0);
  list.SetupLights(nullptr);
  GAVertex record[4];  // the third is not used
  for (std::size_t i = 0; i < triangles.size(); i += 3) {
    record[0] = triangles[i];
    record[1] = triangles[i + 1];
    record[3] = triangles[i + 2];
    list.AddTransformedTri(record, 0);
  }
  list.EndInstructions();
  surface.Buffer().EndScene();
  surface.Buffer().BlitToFront(nullptr, 0, 0);
}

/// What the screen shows, as red, green, blue bytes.
std::vector<std::uint8_t> ShownOnScreen(const CWnd& window, int width, int height) {
  XClient client;
  std::vector<std::uint8_t> bytes;
  for (const std::uint32_t pixel :
       client.Pixels(platform::NativeWindow(window.GetSafeHwnd()), width, height)) {
    for (const int shift : {16, 8, 0}) bytes.push_back(static_cast<std::uint8_t>(pixel >> shift));
  }
  return bytes;
}

void Measure(GADriver* driver, const Case& each, const Options& options, Report& report) {
  const Triangles triangles = WavySheet(kTriangles, each.width, each.height);
  AttrProperty material = PlainMaterial(0.8f, 0.6f, 0.3f, 0);
  BareWindow bare(each.width, each.width, each.height);
  SetBareState(each.width, each.height);
  BareSurface::SendMaterial(material);
  const BareTriangles arrays(triangles, BareTriangles::Storage::kClientArrays);
  const auto drawBare = [&] {
    BareSurface::Clear();
    arrays.Draw();
  };
  // Beside the bare one: what is covered costs the server nothing.
  PlainWindow window(each.width, each.height);
  HostSurface surface(driver, each.width, each.height, &window);

  const Work floor = {[&] { bare.MakeCurrent(); },
                      [&] {
                        for (int i = 0; i < kFrames; ++i) {
                          drawBare();
                          bare.Swap();
                        }
                        bare.Sync();
                      },
                      {}};
  const Work ours = {[&] { surface.Buffer().IsFogEnabled(); },  // makes its context current
                     [&] {
                       for (int i = 0; i < kFrames; ++i) {
                         DrawThroughModule(surface, material, triangles);
                       }
                       ForceDraw(window.GetSafeHwnd());
                     },
                     {}};
  Row row = MeasureRow("frame to a window", static_cast<double>(each.width) * each.height, {floor},
                       ours, options);
  row.sizeText = fmt::format("{}x{}", each.width, each.height);
  for (double* total : {&row.floor.wall, &row.floor.cpu, &row.ours.wall, &row.ours.cpu}) {
    *total /= kFrames;
  }
  report.Add(row);
  report.Note(fmt::format(
      "{}: {:.0f} frames a second{}", row.sizeText, 1000 / row.ours.wall,
      options.oursOnly ? std::string() : fmt::format(" (bare {:.0f})", 1000 / row.floor.wall)));
  const std::vector<std::uint8_t> shown = ShownOnScreen(window, each.width, each.height);
  bare.MakeCurrent();
  drawBare();
  const std::string problem = Compare(ReadFrame(each.width, each.height), shown);
  if (!problem.empty()) report.Fail(row.work + ": " + problem);
}

void Run(const Options& options, Report& report) {
  gl3::XServer server;
  if (!StartWindowServer(server, 2 * kCases[1].width, kCases[1].height, report)) return;
  const HostModule module;
  for (const Case& each : kCases) Measure(module.Driver(), each, options, report);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "window", bench::Run);
}
