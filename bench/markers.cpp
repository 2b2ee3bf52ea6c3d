// Square markers, from the host's first call to the drawn frame, against copying the same corners
// once and drawing them from client arrays.
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "bench/support/frame_pair.h"

namespace bench {
namespace {

constexpr int kWidth = 1280, kHeight = 720;
constexpr std::size_t kMarkers[] = {10'000, 100'000};
constexpr int kSize = 2;  // pixels from the middle to each side
constexpr unsigned char kRed = 255, kGreen = 160, kBlue = 40;

/// Inside the view with all of their squares, for the module leaves out what reaches beyond it.
std::vector<Vector> ScatteredPlaces(std::size_t count) {
  std::mt19937 random(5);
  std::uniform_real_distribution<float> left(kSize - kWidth / 2, kWidth / 2 - kSize);
  std::uniform_real_distribution<float> low(kSize - kHeight / 2, kHeight / 2 - kSize);
  std::vector<Vector> places(count);
  for (Vector& place : places) place = {left(random), low(random), -500};
  return places;
}

BareBatch MakeBatch(const std::vector<Vector>& places) {
  constexpr float kCorners[4][2] = {
      {-kSize, -kSize}, {kSize, -kSize}, {kSize, kSize}, {-kSize, kSize}};
  std::vector<GALitVertex> vertices;
  std::vector<std::uint32_t> indices;
  for (const Vector& place : places) {
    const auto base = static_cast<std::uint32_t>(vertices.size());
    for (const auto& corner : kCorners) {
      vertices.push_back(
          {place.x + corner[0], place.y + corner[1], place.z, kRed, kGreen, kBlue, 255});
    }
    indices.insert(indices.end(), {base, base + 1, base + 2, base, base + 2, base + 3});
  }
  return {GL_TRIANGLES, vertices, indices};
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  GAColor color;
  color.Set(kRed, kGreen, kBlue, 255);
  for (const std::size_t count : kMarkers) {
    const std::vector<Vector> places = ScatteredPlaces(count);
    BareSurface bare(kWidth, kHeight);
    BareBatch batch = MakeBatch(places);
    HostSurface surface(module.Driver(), kWidth, kHeight);
    const auto draw = [&](GABuffer&, DisplayList& list) {
      list.BeginInstructions();
      list.SetDepthFunc(DisplayList::kLightingOff);
      for (const Vector& place : places) list.AddCP(place, kSize, color);
      list.EndInstructions();
    };
    Row row;
    row.work = "markers";
    row.size = static_cast<double>(count);
    MeasureFrames({bare, surface, [&] { batch.CopyAndDraw(); }, draw, count > kMarkers[0]}, row,
                  options, report);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "markers", bench::Run);
}
