// Short strings over a frame, each a call of its own, against the same glyph lists called by bare
// OpenGL under one projection.
#include <fmt/format.h>

#include <cstddef>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/support/frame_pair.h"

namespace bench {
namespace {

constexpr int kWidth = 1280, kHeight = 720;
constexpr std::size_t kStrings[] = {1'000, 10'000};
constexpr GLuint kGlyphLists = 10000;
constexpr int kFont = 3, kFontSize = 10, kCodes = 256;  // as the module's buffers ask for it
constexpr int kOffsetX = 1, kOffsetY = 11;              // where the module puts text
constexpr unsigned char kRed = 255, kGreen = 160, kBlue = 40;

struct Label {
  int x, y;  // pixels from the picture's upper left
  std::string text;
};

std::vector<Label> ScatteredLabels(std::size_t count) {
  std::mt19937 random(5);
  std::uniform_int_distribution<int> left(0, kWidth - 60), top(0, kHeight - 20);
  std::vector<Label> labels;
  for (std::size_t i = 0; i < count; ++i) {
    labels.push_back({left(random), top(random), fmt::format("v{}", i)});
  }
  return labels;
}

void DrawBare(const std::vector<Label>& labels) {
  glMatrixMode(GL_PROJECTION);
  glPushMatrix();
  glLoadIdentity();
  glOrtho(0, kWidth, kHeight, 0, 1, 1000);
  glDisable(GL_DEPTH_TEST);
  glListBase(kGlyphLists);
  glColor4ub(kRed, kGreen, kBlue, 255);
  for (const Label& label : labels) {
    glRasterPos3f(static_cast<float>(label.x + kOffsetX), static_cast<float>(label.y + kOffsetY),
                  -500);
    glCallLists(static_cast<GLsizei>(label.text.size()), GL_UNSIGNED_BYTE, label.text.data());
  }
  glEnable(GL_DEPTH_TEST);
  glPopMatrix();
  glMatrixMode(GL_MODELVIEW);
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  GAColor color;
  color.Set(kRed, kGreen, kBlue, 255);
  for (const std::size_t count : kStrings) {
    const std::vector<Label> labels = ScatteredLabels(count);
    BareSurface bare(kWidth, kHeight);
    if (!aglUseFont(aglGetCurrentContext(), kFont, 0, kFontSize, 0, kCodes, kGlyphLists)) {
      throw std::runtime_error("there is no font to draw with; apt-get install fonts-dejavu-core");
    }
    PlainWindow window(kWidth, kHeight);  // buffers on windows alone have glyphs
    HostSurface surface(module.Driver(), kWidth, kHeight, &window);
    const auto draw = [&](GABuffer& buffer, DisplayList&) {
      for (const Label& label : labels) {
        buffer.TextOutA(label.x, label.y, label.text.c_str(), color, 0);
      }
    };
    Row row;
    row.work = "short strings";
    row.size = static_cast<double>(count);
    MeasureFrames({bare, surface, [&] { DrawBare(labels); }, draw, count > kStrings[0]}, row,
                  options, report);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "text", bench::Run);
}
