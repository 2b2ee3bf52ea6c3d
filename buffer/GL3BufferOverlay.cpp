// What is drawn over a scene in two dimensions: text, filled rectangles and see-through pictures.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "buffer/ClientArray.h"
#include "buffer/GL3Buffer.h"
#include "buffer/GL3Color.h"
#include "texture/GL3Texture.h"

namespace {

// Nearer to the eye than this, a perspective view has no pixel mapping: pixels count as view units.
constexpr float kNearestMappedZ = -0.99f;
// Text stands below and right of the position that it is given for.
constexpr int kTextOffsetX = 1;
constexpr int kTextOffsetY = 11;

float NudgedOffPlanes(float z, const RenderInfo& info) {
  if (z == info.nearZ) return z - GL3GABuffer::kPlaneNudge;
  if (z == info.farZ) return z + GL3GABuffer::kPlaneNudge;
  return z;
}

/// Where a pixel of the picture lies in view space at depth z.
Vector PixelToView(float x, float y, float z, const RenderInfo& info) {
  if (info.perspective != 0 && z > kNearestMappedZ) return {x, y, z};
  Vector view{(x - info.originX) / info.scaleX - info.offsetX,
              (info.originY - y) / info.scaleY - info.offsetY, z};
  if (info.perspective != 0) {
    view.x *= z / info.perspective;
    view.y *= z / info.perspective;
  }
  return view;
}

}  // namespace

int GL3GABuffer::TextOutA(int x, int y, const char* text, const GAColor& color, int) {
  if (!text) return 1;
  const bool depthTest = HasState(kDepthTestOn);
  SetProjection(0);
  glColor4fv(ColorFloats(color));
  glRasterPos3f(static_cast<float>(std::int64_t{x} + kTextOffsetX),
                static_cast<float>(std::int64_t{y} + kTextOffsetY),
                (m_renderInfo->nearZ + m_renderInfo->farZ) * 0.5f);
  if (depthTest) glDisable(GL_DEPTH_TEST);
  glPushAttrib(GL_LIST_BIT);
  glListBase(kGlyphLists);
  glCallLists(static_cast<GLsizei>(std::strlen(text)), GL_UNSIGNED_BYTE, text);
  glPopAttrib();
  if (depthTest) glEnable(GL_DEPTH_TEST);
  SetProjection(1);
  return 1;
}

int GL3GABuffer::AfxFillRect(int x, int y, int width, int height, float z, GAColor& color) {
  const RenderInfo& info = *m_renderInfo;
  const std::int64_t xEnd = static_cast<std::int64_t>(x) + width;
  const std::int64_t yEnd = static_cast<std::int64_t>(y) + height;
  if (!(x <= info.pixelRight && xEnd > info.pixelLeft && y <= info.pixelBottom &&
        yEnd > info.pixelTop)) {
    return 1;
  }
  const auto left = static_cast<float>(std::max(info.pixelLeft, x));
  const auto right = static_cast<float>(std::min<std::int64_t>(info.pixelRight, xEnd));
  const auto top = static_cast<float>(std::max(info.pixelTop, y));
  const auto bottom = static_cast<float>(std::min<std::int64_t>(info.pixelBottom, yEnd));
  z = NudgedOffPlanes(z, info);

  const bool depthTest = HasState(kDepthTestOn);
  SetProjection(0);
  glDisable(GL_POLYGON_OFFSET_FILL);
  if (depthTest) glDisable(GL_DEPTH_TEST);
  glColor4fv(ColorFloats(color));
  const Vector corners[] = {{left, bottom, z}, {left, top, z}, {right, bottom, z}, {right, top, z}};
  const GLushort indices[] = {0, 1, 3, 0, 2, 3};
  DrawIndexed(GL_TRIANGLES, indices, std::size(indices), PositionArray(corners));
  if (depthTest) glEnable(GL_DEPTH_TEST);
  glEnable(GL_POLYGON_OFFSET_FILL);
  SetProjection(1);
  return 1;
}

int GL3GABuffer::TransparentBlit(GATexture* texture, CRect rect, float z, const Vector2& extent,
                                 float alpha) {
  const RenderInfo& info = *m_renderInfo;
  rect.NormalizeRect();
  if (rect.left > info.pixelRight || rect.right < info.pixelLeft || rect.top > info.pixelBottom ||
      rect.bottom < info.pixelTop) {
    return 1;
  }
  z = NudgedOffPlanes(z, info);
  const auto* glTexture = static_cast<const GL3GATexture*>(texture);
  if (!glTexture || !glTexture->m_texture) return 1;

  MakeCurrent(0);
  glEnable(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, glTexture->m_texture);
  const bool depthTest = HasState(kDepthTestOn);
  if (!depthTest) glEnable(GL_DEPTH_TEST);
  glDisable(GL_POLYGON_OFFSET_FILL);
  glColor4f(1, 1, 1, alpha);

  const auto left = static_cast<float>(rect.left), right = static_cast<float>(rect.right);
  const auto top = static_cast<float>(rect.top), bottom = static_cast<float>(rect.bottom);
  const Vector corners[] = {PixelToView(left, bottom, z, info), PixelToView(left, top, z, info),
                            PixelToView(right, top, z, info), PixelToView(right, bottom, z, info)};
  const Vector2 uvs[] = {{0, extent.y}, {0, 0}, {extent.x, 0}, {extent.x, extent.y}};
  const GLuint indices[] = {0, 1, 2, 2, 3, 0};
  DrawIndexed(GL_TRIANGLES, indices, std::size(indices), PositionArray(corners),
              ClientArray{GL_TEXTURE_COORD_ARRAY, uvs, sizeof(Vector2)});

  glDisable(GL_TEXTURE_2D);
  glEnable(GL_POLYGON_OFFSET_FILL);
  if (!depthTest) glDisable(GL_DEPTH_TEST);
  return 1;
}
