// The display list's base: its start state, and the drawing operations that cut a shape into lines.
//
// Curves become segments whose chords stay within kMaxChordError pixels of the curve on the screen.
#include "host/DisplayList.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "host/Colors.h"
#include "host/GADriver.h"
#include "host/RenderInfo.h"
#include "host/Services.h"
#include "host/Vectors.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

constexpr double kMaxChordError = 0.25;  // pixels
/// Segments of a full turn, multiples of four so that quarters and halves come out even. The lower
/// bound keeps a far or tiny circle from turning into a square, the upper one holds the chord error
/// up to a radius of 53,000 pixels and bounds the work beyond.
constexpr int kMinSegments = 12;
constexpr int kMaxSegments = 1024;
/// Rings of a sphere: great circles through its poles, and circles around its axis.
constexpr int kMeridians = 6;
constexpr int kParallels = 5;

Vector operator+(const Vector& a, const Vector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Vector operator-(const Vector& a, const Vector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Vector operator*(const Vector& v, float s) {
  return {v.x * s, v.y * s, v.z * s};
}

double Dot(const Vector& a, const Vector& b) {
  return double{a.x} * b.x + double{a.y} * b.y + double{a.z} * b.z;
}

bool SamePlace(const Vector& a, const Vector& b) {
  return a.x == b.x && a.y == b.y && a.z == b.z;
}

bool IsFinite(const Vector& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// `v` from object to view space, as a direction.
Vector TransformDirection(const RenderInfo* info, const Vector& v) {
  const float* m = info ? info->objectToView : nullptr;
  if (!m) return v;
  return {m[0] * v.x + m[1] * v.y + m[2] * v.z, m[4] * v.x + m[5] * v.y + m[6] * v.z,
          m[8] * v.x + m[9] * v.y + m[10] * v.z};
}

/// `p` from object to view space, as a position.
Vector TransformPoint(const RenderInfo* info, const Vector& p) {
  const float* m = info ? info->objectToView : nullptr;
  if (!m) return p;
  return TransformDirection(info, p) + Vector{m[3], m[7], m[11]};
}

/// The ellipse center + cos t * a + sin t * b in view space.
struct Ellipse {
  Vector center, a, b;

  bool IsFinite() const { return ::IsFinite(center) && ::IsFinite(a) && ::IsFinite(b); }
  /// Longest half axis: the larger singular value of the two axes.
  double Radius() const {
    const double aa = Dot(a, a), bb = Dot(b, b), ab = Dot(a, b);
    return std::sqrt((aa + bb + std::hypot(aa - bb, 2 * ab)) / 2);
  }
  /// Depth of the point nearest to the eye.
  double NearestZ() const { return center.z + std::hypot(double{a.z}, double{b.z}); }
  Vector At(double t) const {
    return center + a * static_cast<float>(std::cos(t)) + b * static_cast<float>(std::sin(t));
  }
};

Ellipse ToView(const RenderInfo* info, const Vector& center, const Vector& a, const Vector& b) {
  return {TransformPoint(info, center), TransformDirection(info, a), TransformDirection(info, b)};
}

/// Pixels that one view unit covers at depth `z`; what lies before the near plane counts as on it.
double PixelsPerUnit(const RenderInfo* info, double z) {
  if (!info) return 1;
  const double scale = std::max(std::fabs(info->scaleX), std::fabs(info->scaleY));
  if (info->perspective == 0) return scale;
  return scale * std::fabs(info->perspective / std::min<double>(z, info->nearZ));
}

/// Segments of a full turn for a circle of `radius` pixels, between kMinSegments and kMaxSegments.
int CountSegments(double radius) {
  if (std::isnan(radius) || radius <= kMaxChordError) return kMinSegments;
  if (std::isinf(radius)) return kMaxSegments;
  // A chord over the angle 2 h leaves the circle by radius * (1 - cos h).
  const double halfAngle = std::acos(1 - kMaxChordError / radius);
  const double quarter = std::ceil(kPi / halfAngle / 4);
  return static_cast<int>(std::clamp(4 * quarter, double{kMinSegments}, double{kMaxSegments}));
}

/// Adds a polyline of view-space points, in the default colour when `color` is null.
void AddPolyline(DisplayList& list, std::vector<Vector>& points, const GAColor* color) {
  if (points.size() < 2) return;
  if (!color) {
    list.AddTransformedLineList(points.data(), static_cast<int>(points.size()));
    return;
  }
  for (std::size_t i = 1; i < points.size(); ++i) {
    list.AddTransformedLine(points[i - 1], points[i], *color);
  }
}

/// Adds the ellipse from t = 0 to `fraction` of a turn, a half or a whole one. Nothing is drawn of
/// an ellipse that is a point or not finite.
void AddEllipse(DisplayList& list, const RenderInfo* info, const Ellipse& ellipse, double fraction,
                const GAColor* color) {
  const double radius = ellipse.Radius();
  if (!ellipse.IsFinite() || radius == 0) return;
  const int turn = CountSegments(radius * PixelsPerUnit(info, ellipse.NearestZ()));
  const int segments = static_cast<int>(turn * fraction);
  std::vector<Vector> points;
  points.reserve(static_cast<std::size_t>(segments) + 1);
  for (int i = 0; i < segments; ++i) points.push_back(ellipse.At(2 * kPi * i / turn));
  // The sine of pi is not quite zero: the end is set to where it belongs.
  points.push_back(fraction < 1 ? ellipse.center - ellipse.a : points.front());
  AddPolyline(list, points, color);
}

void AddWholeEllipse(DisplayList& list, const RenderInfo* info, const Ellipse& ellipse,
                     const GAColor* color) {
  AddEllipse(list, info, ellipse, 1, color);
}

/// Adds the sphere with the half axes x, y, z (an ellipsoid when they differ in length); its poles
/// lie on y.
void AddRings(DisplayList& list, const RenderInfo* info, const Vector& center, const Vector& x,
              const Vector& y, const Vector& z, const GAColor& color) {
  for (int i = 0; i < kMeridians; ++i) {
    const double angle = kPi * i / kMeridians;
    const Vector out =
        x * static_cast<float>(std::cos(angle)) + z * static_cast<float>(std::sin(angle));
    AddWholeEllipse(list, info, {center, out, y}, &color);
  }
  for (int i = 1; i <= kParallels; ++i) {
    const double latitude = kPi * i / (kParallels + 1) - kPi / 2;
    const auto width = static_cast<float>(std::cos(latitude));
    const auto height = static_cast<float>(std::sin(latitude));
    AddWholeEllipse(list, info, {center + y * height, x * width, z * width}, &color);
  }
}

}  // namespace

DisplayList::DisplayList(RenderInfo* info) : m_renderInfo(info) {
  if (GADriver* driver = GetDriver()) {
    m_defaultColor = GAColor(driver->CreateColor(ColorBuf{255, 255, 255, 255}));
  }
}

DisplayList::~DisplayList() = default;

void DisplayList::AddLine(Vector a, Vector b) {
  AddTransformedLine(TransformPoint(m_renderInfo, a), TransformPoint(m_renderInfo, b));
}

void DisplayList::AddLine(Vector a, Vector b, const GAColor& color) {
  AddTransformedLine(TransformPoint(m_renderInfo, a), TransformPoint(m_renderInfo, b), color);
}

void DisplayList::AddLine(Vector a, GAColor& colorA, Vector b, GAColor& colorB) {
  AddTransformedLine(TransformPoint(m_renderInfo, a), colorA, TransformPoint(m_renderInfo, b),
                     colorB);
}

void DisplayList::AddLineList(Vector* a, Vector* b, int count, GAColor& colorA, GAColor& colorB) {
  if (!a || !b || count <= 0) return;
  // In pieces on the stack: the caller's points stay as they are, and nothing is allocated.
  constexpr int kPiece = 256;
  Vector viewA[kPiece], viewB[kPiece];
  for (int start = 0; start < count;) {
    const int piece = std::min(count - start, kPiece);
    for (int i = 0; i < piece; ++i) {
      viewA[i] = TransformPoint(m_renderInfo, a[start + i]);
      viewB[i] = TransformPoint(m_renderInfo, b[start + i]);
    }
    AddTransformedLineList(viewA, viewB, piece, colorA, colorB);
    start += piece;
  }
}

void DisplayList::AddRoundRect(int x1, int y1, int x2, int y2, float z, int radiusX, int radiusY,
                               GAColor& color) {
  if (!std::isfinite(z)) return;
  const double left = std::min(x1, x2), right = std::max(x1, x2);
  const double low = std::min(y1, y2), high = std::max(y1, y2);
  double rx = std::clamp<double>(radiusX, 0, (right - left) / 2);
  double ry = std::clamp<double>(radiusY, 0, (high - low) / 2);
  if (rx == 0 || ry == 0) rx = ry = 0;  // a corner with one half axis is a square one
  // Screen units are pixels; those of the scene projection are view units.
  const double scale = m_projectionMode == 0 ? 1 : PixelsPerUnit(m_renderInfo, z);
  const int quarter = rx == 0 ? 0 : CountSegments(std::max(rx, ry) * scale) / 4;

  struct Corner {
    double x, y;  // centre of its ellipse
  };
  const Corner corners[4] = {{right - rx, high - ry},
                             {left + rx, high - ry},
                             {left + rx, low + ry},
                             {right - rx, low + ry}};
  std::vector<Vector> points;
  points.reserve(4 * static_cast<std::size_t>(quarter + 1) + 1);
  for (int corner = 0; corner < 4; ++corner) {
    for (int i = 0; i <= quarter; ++i) {
      const double t = kPi / 2 * (corner + (quarter ? double(i) / quarter : 0));
      const Vector point{static_cast<float>(corners[corner].x + rx * std::cos(t)),
                         static_cast<float>(corners[corner].y + ry * std::sin(t)), z};
      // Corners that meet share their point: the line between them has no length.
      if (points.empty() || !SamePlace(points.back(), point)) points.push_back(point);
    }
  }
  const bool closed = points.size() > 1 && SamePlace(points.back(), points.front());
  if (!closed) points.push_back(points.front());
  AddPolyline(*this, points, &color);
}

void DisplayList::AddCircle(const Vector& center, const Vector& axisA, const Vector& axisB) {
  AddWholeEllipse(*this, m_renderInfo, ToView(m_renderInfo, center, axisA, axisB), nullptr);
}

void DisplayList::AddCircle(const Vector& center, const Vector& axisA, const Vector& axisB,
                            GAColor& color) {
  AddWholeEllipse(*this, m_renderInfo, ToView(m_renderInfo, center, axisA, axisB), &color);
}

void DisplayList::AddSemiCircle(const Vector& center, const Vector& axisA, const Vector& axisB,
                                GAColor& color) {
  AddEllipse(*this, m_renderInfo, ToView(m_renderInfo, center, axisA, axisB), 0.5, &color);
}

void DisplayList::AddTransformedSemiCircle(const Vector& center, const Vector& axisA,
                                           const Vector& axisB, GAColor& color) {
  AddEllipse(*this, m_renderInfo, {center, axisA, axisB}, 0.5, &color);
}

void DisplayList::AddTransformedCircle(const Vector& center, const float& radius) {
  AddWholeEllipse(*this, m_renderInfo, {center, {radius, 0, 0}, {0, radius, 0}}, nullptr);
}

void DisplayList::AddTransformedCircle(const Vector& center, const float& radius,
                                       const GAColor& color) {
  AddWholeEllipse(*this, m_renderInfo, {center, {radius, 0, 0}, {0, radius, 0}}, &color);
}

void DisplayList::AddSphere(Vector center, float radius, GAColor& color) {
  const RenderInfo* info = m_renderInfo;
  AddRings(*this, info, TransformPoint(info, center), TransformDirection(info, {radius, 0, 0}),
           TransformDirection(info, {0, radius, 0}), TransformDirection(info, {0, 0, radius}),
           color);
}

void DisplayList::AddTransformedSphere(Vector center, float radius, GAColor& color) {
  AddRings(*this, m_renderInfo, center, {radius, 0, 0}, {0, radius, 0}, {0, 0, radius}, color);
}
