// A small known picture, drawn through the module and read back.
#pragma once

#include <memory>
#include <string>

#include "host/RenderInfo.h"

class DisplayList;
class GABuffer;
class GADriver;

namespace gl3 {

/// An off-screen surface of 64 x 64 pixels with a depth buffer, seen in parallel: a pixel is a view
/// unit, the origin is in the middle. Its context is current when it is made.
class TestSurface {
 public:
  /// Null when the driver cannot make one. The driver must outlive it.
  static std::unique_ptr<TestSurface> Create(GADriver* driver);
  ~TestSurface();

  /// Draws squares that hide one another, and a rectangle over them. Returns what is wrong with
  /// the pixels that come back, empty when all are right.
  std::string DrawAndCompare();

 private:
  TestSurface();
  void Draw();

  SceneRecord m_scene;
  RenderInfo m_info;
  std::unique_ptr<GABuffer> m_buffer;
  std::unique_ptr<DisplayList> m_list;
};

/// Runs an effect on a small picture and compares it with the twin on the processor. Returns what
/// is wrong, empty when it is right.
std::string RunTestEffect(GADriver* driver);

}  // namespace gl3
