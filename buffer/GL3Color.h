// The module's native colour: four floats, ready for OpenGL.
#pragma once

#include "host/Colors.h"
#include "host/Vectors.h"

/// A colour as glColor4fv takes it. Channels are 0 to 1 nominally; values outside are stored as
/// given. Bytes go in as value / 255 and come out rounded, half away from zero, low eight bits.
class GL3Color final : public GANativeColor {
 public:
  /// The value is not set.
  GL3Color() = default;
  explicit GL3Color(const ColorBuf& color);
  /// Alpha becomes opaque.
  explicit GL3Color(const RGBFloat& color);
  explicit GL3Color(const Vector4& color);
  /// Copies `other`; a null pointer gives opaque black.
  explicit GL3Color(const GL3Color* other);

  void Set(unsigned char red, unsigned char green, unsigned char blue,
           unsigned char alpha) override;
  void SetRed(unsigned char red) override;
  void SetGreen(unsigned char green) override;
  void SetBlue(unsigned char blue) override;
  void SetAlpha(unsigned char alpha) override;
  unsigned char Red() const override;
  unsigned char Green() const override;
  unsigned char Blue() const override;
  unsigned char Alpha() const override;
  void Set(const RGBFloat& color) override;

  /// Red, green, blue, alpha.
  const float* Rgba() const { return m_rgba; }

 private:
  float m_rgba[4];
};

/// The four floats of a host colour; opaque black for an empty handle.
const float* ColorFloats(const GAColor& color);

/// The channels of a host colour as bytes; opaque black for an empty handle.
ColorBuf ColorBytes(const GAColor& color);
