// What is seen at which pixel: how far away it is, how it lies, and what it belongs to.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/Bitmap.h"
#include "host/RenderInfo.h"
#include "hostkit/scene/camera_window.h"

namespace hostkit {

/// The distance of pixels that see nothing; finite.
constexpr float kNothingSeen = 1e30f;

/// Buffers of floats to be filled, of the frame's size; null ones are not wanted.
struct SeenBuffers {
  HBitmapBuffer* depths = nullptr;     ///< One channel: distances from the eye along the view.
  HBitmapBuffer* normals = nullptr;    ///< Three: unit vectors of view space, on the seen side.
  HBitmapBuffer* objects = nullptr;    ///< One: the scene's instances from 1; 0 for nothing.
  HBitmapBuffer* materials = nullptr;  ///< One: the scene's materials from 1; 0 for nothing.
};

/// The planes of all that was drawn in a frame of ids; see SceneFeed::DrawIds. View space.
class SeenSurfaces {
 public:
  /// Ids are colours of 24 bits, and 0 is the background.
  static constexpr std::size_t kMost = (1u << 24) - 1;

  /// Forgets everything. With `keepsNormals` triangles remember their corners, 72 bytes each.
  void Clear(bool keepsNormals);
  /// What is added from now on belongs to this instance and its material, as the scene counts them.
  void BeginInstance(int instance, int material);
  bool IsFull() const { return m_planes.size() >= kMost; }
  /// Each returns the id of what was added, from 1.
  std::uint32_t AddTriangle(const Imath::V3f (&places)[3], const Imath::V3f (&normals)[3]);
  std::uint32_t AddLine(const Imath::V3f& a, const Imath::V3f& b);
  std::uint32_t AddPoint(const Imath::V3f& point);

  /// Fills what is wanted at the centres of the pixels of `window`, distances in view units times
  /// `scale`. `ids` are the pixels read back (half floats, as ColorAlpha), `info` is the view of a
  /// surface whose top left pixel is the window's. Normals are wanted only where they were kept.
  void Fill(const HBitmapBuffer& ids, const RenderInfo& info, const PixelWindow& window,
            float scale, const SeenBuffers& buffers) const;

 private:
  // normal . p = offset; what is seen of it lies between the two depths (positive).
  struct Plane {
    Imath::V3f normal;
    float offset, nearest, farthest;
  };
  // Of a triangle; of lines and points all normals are 0.
  struct Corners {
    Imath::V3f places[3] = {Imath::V3f(0), Imath::V3f(0), Imath::V3f(0)};
    Imath::V3f normals[3] = {Imath::V3f(0), Imath::V3f(0), Imath::V3f(0)};
  };
  // Where the planes of an instance begin.
  struct Owner {
    std::size_t first;
    int instance, material;
  };
  std::uint32_t Add(const Plane& plane, const Corners& corners);
  float DepthAt(const Plane& plane, float x, float y, const RenderInfo& info) const;
  Imath::V3f NormalAt(std::size_t index, const Imath::V3f& place, bool isParallel) const;
  const Owner& OwnerOf(std::size_t index) const;

  std::vector<Plane> m_planes;
  bool m_keepsNormals = false;
  std::vector<Corners> m_corners;  // of the planes, when normals are kept
  std::vector<Owner> m_owners;
};

}  // namespace hostkit
