// Checks of views, fog and texts.
#include "hostkit/checking/record_checks.h"

#include <fmt/format.h>

#include <cmath>

#include "hostkit/services/without_controls.h"

namespace hostkit::checking {
namespace {

/// The window at the near plane, or that of parallel views.
struct Window {
  float left, right, bottom, top;
};

/// The window that the pixels' edges are mapped to.
Window WindowOfPixels(const RenderInfo& v) {
  const float depth = v.perspective == 0 ? 1 : v.nearZ / v.perspective;
  const auto x = [&](int pixel) {
    return ((static_cast<float>(pixel) - v.originX) / v.scaleX - v.offsetX) * depth;
  };
  const auto y = [&](int pixel) {
    return ((v.originY - static_cast<float>(pixel)) / v.scaleY - v.offsetY) * depth;
  };
  return {x(v.pixelLeft), x(v.pixelRight), y(v.pixelBottom), y(v.pixelTop)};
}

/// Whether two edges are the same, to a pixel.
bool Agree(float asked, float given, float pixel) {
  return std::fabs(asked - given) <= std::fabs(pixel);
}

void CheckScales(Visit& visit, const RenderInfo& v) {
  if (v.scaleX == 0 || v.scaleY == 0) {
    visit.Note(Kind::kViewRecord, fmt::format("the scales are {} and {}", v.scaleX, v.scaleY));
    return;
  }
  const Window w = WindowOfPixels(v);
  const float pixelX = (v.viewRight - v.viewLeft) / static_cast<float>(v.pixelRight - v.pixelLeft);
  const float pixelY = (v.viewTop - v.viewBottom) / static_cast<float>(v.pixelBottom - v.pixelTop);
  if (Agree(v.viewLeft, w.left, pixelX) && Agree(v.viewRight, w.right, pixelX) &&
      Agree(v.viewTop, w.top, pixelY) && Agree(v.viewBottom, w.bottom, pixelY)) {
    return;
  }
  visit.Note(Kind::kViewRecord,
             fmt::format("the window is {} to {} by {} to {}, but by scales, origin and offsets {} "
                         "to {} by {} to {}: overlays and markers go elsewhere",
                         v.viewLeft, v.viewRight, v.viewBottom, v.viewTop, w.left, w.right,
                         w.bottom, w.top));
}

/// Whether a byte and the next are the beginning of a character in UTF-8.
bool IsUtf8Pair(unsigned char first, unsigned char second) {
  return first >= 0xC2 && first <= 0xF4 && second >= 0x80 && second <= 0xBF;
}

}  // namespace

void CheckView(Visit& visit, const RenderInfo& v) {
  if (!(v.farZ < v.nearZ) || !(v.perspective == 0 || v.nearZ < 0)) {
    visit.Note(Kind::kViewRecord, fmt::format("nearZ is {} and farZ {}", v.nearZ, v.farZ));
  } else if (!(std::fabs(v.viewRight - v.viewLeft) > 0 &&
               std::fabs(v.viewTop - v.viewBottom) > 0)) {
    visit.Note(Kind::kViewRecord, fmt::format("the window is {} to {} by {} to {}", v.viewLeft,
                                              v.viewRight, v.viewBottom, v.viewTop));
  } else if (v.pixelLeft == v.pixelRight || v.pixelTop == v.pixelBottom) {
    visit.Note(Kind::kViewRecord, fmt::format("the pixels are {} to {} by {} to {}", v.pixelLeft,
                                              v.pixelRight, v.pixelTop, v.pixelBottom));
  } else {
    CheckScales(visit, v);
  }
}

/// Linear fog is cut to whole view units.
void CheckLinearFog(Visit& visit, const SceneRecord& scene) {
  const float start = scene.fogStart.Current(), end = scene.fogEnd.Current();
  const float cutStart = std::trunc(start), cutEnd = std::trunc(end);
  if (start == 0 && end == 0) {
    visit.Note(Kind::kFogCut, "fogStart and fogEnd are both 0, so there is no fog");
    return;
  }
  const float asked = end - start, got = cutEnd - cutStart;
  constexpr float kTolerance = 0.1f;
  if (got > 0 && std::fabs(asked - got) <= kTolerance * std::fabs(asked)) return;
  visit.Note(Kind::kFogCut,
             fmt::format("fog from {} to {} becomes that from {} to {}{}", start, end, cutStart,
                         cutEnd, got > 0 ? "" : ", which does not grow with the distance"));
}

void CheckText(Visit& visit, const char* text) {
  for (const auto* byte = reinterpret_cast<const unsigned char*>(text); *byte; ++byte) {
    if (IsUtf8Pair(byte[0], byte[1])) {
      visit.Note(Kind::kTextBytes,
                 fmt::format("\"{:.40}\" looks like UTF-8", WithoutControls(text, '?')));
      return;
    }
    if (*byte >= ' ' && (*byte < 0x7F || *byte > 0x9F)) continue;
    visit.Note(Kind::kTextBytes, fmt::format("there is no glyph for byte {:#04x}", *byte));
    return;
  }
}

}  // namespace hostkit::checking
