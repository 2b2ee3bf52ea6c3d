// Screen-space rectangles, drawn at once, and control points, which are batched.
#include "buffer/GL3Color.h"
#include "displaylist/GL3DisplayL.h"
#include "host/RenderInfo.h"

void GL3DisplayList::DrawRectangle(int primitive, const float (&corners)[4][2], float z,
                                   const GAColor& color) {
  const int suspended = SuspendBlock();
  glBegin(static_cast<GLenum>(primitive));
  glColor4fv(ColorFloats(color));
  for (const auto& corner : corners) glVertex3f(corner[0], corner[1], z);
  glEnd();
  ResumeBlock(suspended);
}

void GL3DisplayList::DrawOutline(int x1, int y1, int x2, int y2, float z, const GAColor& color) {
  const float left = static_cast<float>(x1), right = static_cast<float>(x2);
  const float top = static_cast<float>(y1), bottom = static_cast<float>(y2);
  DrawRectangle(GL_LINE_LOOP, {{left, top}, {right, top}, {right, bottom}, {left, bottom}}, z,
                color);
}

/// Of all rectangles this one alone is moved off the near plane.
void GL3DisplayList::AddRectangle(int x1, int y1, int x2, int y2, float z) {
  if (z == m_renderInfo->nearZ) z -= GL3GABuffer::kPlaneNudge;
  DrawOutline(x1, y1, x2, y2, z, m_defaultColor);
}

void GL3DisplayList::AddRectangle(int x1, int y1, int x2, int y2, float z, GAColor& color) {
  DrawOutline(x1, y1, x2, y2, z, color);
}

void GL3DisplayList::AddSolidRectangle(int x1, int y1, int x2, int y2, float z) {
  GL3DisplayList::AddSolidRectangle(x1, y1, x2, y2, z, m_defaultColor);
}

void GL3DisplayList::AddSolidRectangle(int x1, int y1, int x2, int y2, float z, GAColor& color) {
  const float left = static_cast<float>(x1), right = static_cast<float>(x2);
  const float top = static_cast<float>(y1), bottom = static_cast<float>(y2);
  DrawRectangle(GL_TRIANGLE_STRIP, {{left, top}, {right, top}, {left, bottom}, {right, bottom}}, z,
                color);
}

void GL3DisplayList::AddCP(const Vector& p, int size, GAColor& color) {
  const RenderInfo& info = *m_renderInfo;
  float h = static_cast<float>(size) / info.scaleX;
  if (info.perspective != 0) {
    h *= p.z / info.perspective;  // keeps its size on the screen
  } else {
    // Sideways a marker goes when it lies outside; up and down already when it reaches out.
    if (p.x - h > info.viewRight || info.viewLeft > p.x + h) return;
    if (info.viewBottom > p.y - h || p.y + h > info.viewTop) return;
  }
  m_buffer->SetState(GL3GABuffer::kArraysPending, true);
  const ColorBuf c = ColorBytes(color);
  const auto base = static_cast<std::uint32_t>(m_colored.vertices.Size());
  const auto corner = [&](float x, float y) {
    return GALitVertex{x, y, p.z, c.red, c.green, c.blue, c.alpha};
  };
  m_colored.vertices.Append(corner(p.x - h, p.y - h), corner(p.x + h, p.y - h),
                            corner(p.x + h, p.y + h), corner(p.x - h, p.y + h));
  m_colored.AddQuad(base);
}
