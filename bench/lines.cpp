// Short line segments through the line batch, from the host's first call to the drawn frame,
// against copying the same records once and drawing them from client arrays.
#include <cstddef>
#include <random>
#include <utility>
#include <vector>

#include "bench/support/frame_pair.h"
#include "bench/support/geometry.h"

namespace bench {
namespace {

constexpr int kWidth = 1280, kHeight = 720;
constexpr std::size_t kSegments[] = {100'000, 1'000'000};
constexpr double kMostRatio = 1.15;
constexpr unsigned char kRed = 255, kGreen = 160, kBlue = 40;

/// Ends of the segments, one array each, as AddTransformedLineList takes them.
struct Segments {
  std::vector<Vector> from, to;
};

Segments ScatteredSegments(std::size_t count) {
  constexpr float kReach = 4;  // pixels, from end to end in each direction
  std::mt19937 random(5);
  std::uniform_real_distribution<float> left(-0.5f * kWidth, 0.5f * kWidth);
  std::uniform_real_distribution<float> low(-0.5f * kHeight, 0.5f * kHeight);
  std::uniform_real_distribution<float> reach(-kReach, kReach);
  Segments segments;
  for (std::size_t i = 0; i < count; ++i) {
    const Vector from{left(random), low(random), -500};
    segments.from.push_back(from);
    segments.to.push_back({from.x + reach(random), from.y + reach(random), -500});
  }
  return segments;
}

BareBatch MakeBatch(const Segments& segments) {
  std::vector<GALitVertex> vertices;
  for (std::size_t i = 0; i < segments.from.size(); ++i) {
    for (const Vector& end : {segments.from[i], segments.to[i]}) {
      vertices.push_back({end.x, end.y, end.z, kRed, kGreen, kBlue, 255});
    }
  }
  return {GL_LINES, vertices, Sequence(vertices.size())};
}

void AddAsList(DisplayList& list, Segments& segments, GAColor& color) {
  list.AddTransformedLineList(segments.from.data(), segments.to.data(),
                              static_cast<int>(segments.from.size()), color, color);
}

void AddOneByOne(DisplayList& list, Segments& segments, GAColor& color) {
  for (std::size_t i = 0; i < segments.from.size(); ++i) {
    list.AddTransformedLine(segments.from[i], segments.to[i], color);
  }
}

struct Form {
  const char* name;
  void (*add)(DisplayList& list, Segments& segments, GAColor& color);
};
constexpr Form kForms[] = {{"lines, as one list", AddAsList}, {"lines, one by one", AddOneByOne}};

void Measure(GADriver* driver, const Form& form, std::size_t count, const Options& options,
             Report& report) {
  Segments segments = ScatteredSegments(count);
  BareSurface bare(kWidth, kHeight);
  BareBatch batch = MakeBatch(segments);
  HostSurface surface(driver, kWidth, kHeight);
  GAColor color;
  color.Set(kRed, kGreen, kBlue, 255);
  const auto draw = [&](GABuffer&, DisplayList& list) {
    list.BeginInstructions();
    list.SetDepthFunc(DisplayList::kLightingOff);
    form.add(list, segments, color);
    list.EndInstructions();
  };
  Row row;
  row.work = form.name;
  row.size = static_cast<double>(count);
  row.mostRatio = kMostRatio;
  MeasureFrames({bare, surface, [&] { batch.CopyAndDraw(); }, draw, count > kSegments[0]}, row,
                options, report);
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  for (const Form& form : kForms) {
    for (const std::size_t count : kSegments) {
      if (options.quick && form.add == AddAsList && count > kSegments[0]) continue;
      Measure(module.Driver(), form, count, options, report);
    }
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "lines", bench::Run);
}
