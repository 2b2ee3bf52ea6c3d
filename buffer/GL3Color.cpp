// Channels of the native colour, as floats and as bytes.
#include "buffer/GL3Color.h"

#include <algorithm>

namespace {

constexpr float kOpaqueBlack[4] = {0, 0, 0, 1};

float FromByte(unsigned char value) {
  return static_cast<float>(value) / 255.0f;
}

/// Rounds half away from zero and keeps the low eight bits of the whole number. Goes through 64
/// bits so that no float a host is likely to store overflows; what does not fit, and NaN, gives 0.
unsigned char ToByte(float channel) {
  const float scaled = 255.0f * channel;
  const float rounded = scaled < 0 ? scaled - 0.5f : scaled + 0.5f;
  if (!(rounded > -9.0e18f && rounded < 9.0e18f)) return 0;
  return static_cast<unsigned char>(static_cast<long long>(rounded) & 0xFF);
}

}  // namespace

static_assert(sizeof(GL3Color) == sizeof(void*) + 4 * sizeof(float),
              "the four floats follow the table pointer");

GL3Color::GL3Color(const ColorBuf& color) {
  GL3Color::Set(color.red, color.green, color.blue, color.alpha);
}

GL3Color::GL3Color(const RGBFloat& color) {
  GL3Color::Set(color);
}

GL3Color::GL3Color(const Vector4& color) : m_rgba{color.x, color.y, color.z, color.w} {}

GL3Color::GL3Color(const GL3Color* other) {
  std::copy_n(other ? other->m_rgba : kOpaqueBlack, 4, m_rgba);
}

void GL3Color::Set(unsigned char red, unsigned char green, unsigned char blue,
                   unsigned char alpha) {
  m_rgba[0] = FromByte(red);
  m_rgba[1] = FromByte(green);
  m_rgba[2] = FromByte(blue);
  m_rgba[3] = FromByte(alpha);
}

void GL3Color::SetRed(unsigned char red) {
  m_rgba[0] = FromByte(red);
}
void GL3Color::SetGreen(unsigned char green) {
  m_rgba[1] = FromByte(green);
}
void GL3Color::SetBlue(unsigned char blue) {
  m_rgba[2] = FromByte(blue);
}
void GL3Color::SetAlpha(unsigned char alpha) {
  m_rgba[3] = FromByte(alpha);
}

unsigned char GL3Color::Red() const {
  return ToByte(m_rgba[0]);
}
unsigned char GL3Color::Green() const {
  return ToByte(m_rgba[1]);
}
unsigned char GL3Color::Blue() const {
  return ToByte(m_rgba[2]);
}
unsigned char GL3Color::Alpha() const {
  return ToByte(m_rgba[3]);
}

void GL3Color::Set(const RGBFloat& color) {
  m_rgba[0] = color.red;
  m_rgba[1] = color.green;
  m_rgba[2] = color.blue;
  m_rgba[3] = 1.0f;
}

const float* ColorFloats(const GAColor& color) {
  const auto* native = static_cast<const GL3Color*>(color.Native());
  return native ? native->Rgba() : kOpaqueBlack;
}

ColorBuf ColorBytes(const GAColor& color) {
  const auto* native = static_cast<const GL3Color*>(color.Native());
  if (!native) return {0, 0, 0, 255};
  return {native->Red(), native->Green(), native->Blue(), native->Alpha()};
}
