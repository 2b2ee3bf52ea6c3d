// Projections and fog of the frame buffer.
#include "buffer/GL3Buffer.h"

void GL3GABuffer::UseProjectionMatrix() {
  if (m_matrixMode == kProjection) return;
  glMatrixMode(GL_PROJECTION);
  m_matrixMode = kProjection;
}

void GL3GABuffer::ComputeProjectionMatrices() {
  const RenderInfo& info = *m_renderInfo;
  const double nearPlane = -info.nearZ;
  const double farPlane = -info.farZ;

  MakeCurrent(0);
  glMatrixMode(GL_PROJECTION);
  m_matrixMode = kProjection;
  glLoadIdentity();
  // Bottom before top: window y grows downwards in screen coordinates.
  glOrtho(info.pixelLeft, info.pixelRight, info.pixelBottom, info.pixelTop, nearPlane, farPlane);
  glGetFloatv(GL_PROJECTION_MATRIX, m_screenProjection);

  glLoadIdentity();
  const auto project = info.perspective == 0.0f ? glOrtho : glFrustum;
  project(info.viewLeft, info.viewRight, info.viewBottom, info.viewTop, nearPlane, farPlane);
  glGetFloatv(GL_PROJECTION_MATRIX, m_sceneProjection);
}

void GL3GABuffer::SetProjection(int scene) {
  MakeCurrent(0);
  UseProjectionMatrix();
  glLoadIdentity();
  glLoadMatrixf(ProjectionMatrix(scene));
  glViewport(0, 0, m_width, m_height);
}

int GL3GABuffer::IsFogEnabled() {
  MakeCurrent(0);
  return HasState(kFogOn);
}

namespace {

/// Brings a fog distance up to date and cuts it to whole view units, towards 0. What no int can
/// hold saturates; NaN gives 0.
GLint UpdateAndTruncate(AnimatableValue& value) {
  value.BringUpToDate();
  const double distance = value.Current();
  if (distance >= 2147483647.0) return 2147483647;
  if (distance <= -2147483648.0) return -2147483647 - 1;
  return distance == distance ? static_cast<GLint>(distance) : 0;
}

}  // namespace

void GL3GABuffer::SetFogState(int on) {
  MakeCurrent(0);
  SetState(kFogOn, on != 0);
  if (!on) {
    glDisable(GL_FOG);
    return;
  }
  glEnable(GL_FOG);
  glFogi(GL_FOG_MODE, m_fogDensity == 1.0f ? GL_LINEAR : GL_EXP);
  GLfloat color[4] = {0, 0, 0, 1.0f};
  if (SceneRecord* scene = m_renderInfo->scene) {
    glFogi(GL_FOG_START, UpdateAndTruncate(scene->fogStart));
    glFogi(GL_FOG_END, UpdateAndTruncate(scene->fogEnd));
    color[0] = scene->fogRed;
    color[1] = scene->fogGreen;
    color[2] = scene->fogBlue;
  }
  glFogfv(GL_FOG_COLOR, color);
  glFogf(GL_FOG_DENSITY, m_fogDensity);
  glHint(GL_FOG_HINT, GL_FASTEST);
}

RGBFloat GL3GABuffer::GetFogColor() {
  GLfloat color[4] = {0, 0, 0, 0};
  glGetFloatv(GL_FOG_COLOR, color);
  RGBFloat result;
  result.red = color[0];
  result.green = color[1];
  result.blue = color[3];  // the alpha, not color[2]
  return result;
}

void GL3GABuffer::SetFogColor(RGBFloat color) {
  const GLfloat rgba[4] = {color.red, color.green, color.blue, 1.0f};
  glFogfv(GL_FOG_COLOR, rgba);
}

void GL3GABuffer::SetFogDensity(float density) {
  m_fogDensity = density;
}
