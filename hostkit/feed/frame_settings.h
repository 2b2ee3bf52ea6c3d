// How a frame is drawn: what off-screen renderers and viewers share.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/Bitmap.h"
#include "host/Colors.h"
#include "hostkit/feed/light_sets.h"
#include "hostkit/scene/up_axis.h"

namespace hostkit {

/// What of the surfaces is drawn. A scene's own lines and points are drawn in every mode. Triangles
/// that are not seen from behind are left out there, and lines do not show their edges nor are
/// hidden by them; wireframe and points have no behind, and show all.
enum class DrawMode {
  kShaded,     ///< Lit, with pictures.
  kFlat,       ///< One colour a triangle: its picture's mean, lit at its middle by its own normal.
  kWireframe,  ///< Every edge once, unlit, in the material's colour; nothing hides anything.
  /// As shaded, for drivers that were made with the setting "Polygonmode", whose polygons are all
  /// outlines: lit wires with pictures on them. The setting is the caller's to make.
  kDriverWireframe,
  /// Edges of the form: open ones, creases, outlines against the viewer. Surfaces are filled with
  /// the background's colour and so hide what is behind them.
  kLines,
  kPoints,  ///< Every vertex, lit, without pictures.
};

/// Linear from `nearDistance` (clear) to `farDistance` (fog alone), or exponential: what is seen of
/// a thing is exp(-density * distance). Distances in world units from the eye, along the view.
struct Fog {
  bool on = false;             ///< Whether there is any.
  bool exponential = false;    ///< By its density, or else linear.
  float nearDistance = 0;      ///< Of linear fog.
  float farDistance = 1;       ///< Of linear fog.
  float density = 1;           ///< Of exponential fog, a world unit.
  float color[3] = {0, 0, 0};  ///< Display-referred, 0 to 1.
};

/// Text over the frame. `x` and `y` are pixels of the frame from its top left to the text's top
/// left; the glyphs are ten pixels high whatever the frame's size. Latin-1.
struct TextNote {
  std::string text;  ///< One line, a byte a glyph.
  /// Its place.
  int x = 0, y = 0;
  ColorBuf color{255, 255, 255, 255};  ///< Of its glyphs.
};

/// A picture over the frame, pixel for pixel, its top left at (`x`, `y`). Row 0 of the bitmap's
/// "Color" buffer is its top. Shared, since settings are copied and drawn by several.
struct OverlayPicture {
  std::shared_ptr<HBitmapNode> bitmap;  ///< Never null.
  /// Its place.
  int x = 0, y = 0;
  float alpha = 1;  ///< 0 (nothing) to 1, times the picture's own.
};

/// Lines in the plane at the bottom of the model, at multiples of the spacing in the file's
/// coordinates, with the axes x in red, y in green and z in blue where they lie in it.
struct GroundGrid {
  bool on = false;  ///< Whether there is any.
  /// World units; 0 chooses 1, 2 or 5 times a power of ten by the model's size.
  float spacing = 0;
};

/// Of markers: as large as their mean spacing in the picture leaves room for.
inline constexpr int kSizeBySpacing = -1;

/// Everything but the scene and where it is seen from.
struct FrameSettings {
  /// Pixels.
  int width = 1280, height = 720;
  int samplesPerSide = 1;  ///< Anti-aliasing: n x n samples a pixel, 1 to 4.
  /// Background, display-referred, 0 to 1. Unused when `transparentBackground` is set. With a
  /// backdrop its mean, for what is to stand out from it.
  float background[3] = {0.16f, 0.17f, 0.19f};
  /// Alpha tells what the scene covers. The scene is drawn on black and on white, so that glass
  /// and anti-aliased edges come out with their true coverage.
  bool transparentBackground = false;
  /// Off-screen, what is behind the scene in place of the background's colour: an opaque
  /// "ColorAlpha" of the frame's size. The scene is drawn as for a transparent background. Null:
  /// none.
  std::shared_ptr<HBitmapNode> backdrop;
  LightSet lights = LightSet::kAuto;  ///< Which lights it is drawn with.

  DrawMode mode = DrawMode::kShaded;  ///< What of the surfaces is drawn.
  /// Also shows triangles from behind whose material says that they are not seen from there.
  bool showsAllBacks = false;
  /// Of wireframe, lines and edges over surfaces. Empty: the material's in wireframe, in lines
  /// black or white, whatever stands out from the background, and over surfaces black.
  std::optional<ColorBuf> lineColor;
  /// Over shaded and flat surfaces also every edge of their triangles, once.
  bool showsEdges = false;
  float creaseDegrees = 30;  ///< Of lines: faces that meet at a larger angle have an edge.
  /// Pixels, of all points; 0 chooses by their number and spacing. Points of three pixels and more
  /// are round where a pixel has several samples, else square.
  int pointSize = 0;

  Fog fog;                       ///< None at first.
  GroundGrid grid;               ///< None at first.
  std::optional<UpAxis> upAxis;  ///< Of the grid; empty: the scene's.
  /// Markers on all vertices: half their side in pixels, 0 for none, or kSizeBySpacing.
  int controlPointSize = 0;
  ColorBuf controlPointColor{255, 170, 0, 255};  ///< Of those markers.
  std::vector<OverlayPicture> overlays;          ///< Drawn in this order, after the scene.
  std::vector<TextNote> texts;                   ///< Drawn in this order, after the overlays.
  /// Also finds the distance of what is seen at each pixel's centre, for a "Depth" buffer.
  bool depth = false;
  bool normals = false;      ///< The same for the surface's normal: "Normal".
  bool objectIds = false;    ///< The same for the scene's instance: "ObjectId".
  bool materialIds = false;  ///< The same for the scene's material: "MaterialId".
};

/// Black or white, whichever stands out from the background; black on a transparent one.
inline ColorBuf ContrastColor(const FrameSettings& settings) {
  const float* b = settings.background;
  const bool dark =
      !settings.transparentBackground && 0.3f * b[0] + 0.59f * b[1] + 0.11f * b[2] < 0.5f;
  return dark ? ColorBuf{255, 255, 255, 255} : ColorBuf{0, 0, 0, 255};
}

}  // namespace hostkit
