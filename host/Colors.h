// The host's colour records and the colour handle that every drawing call carries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "host/Heaps.h"

/// Float colour. The members lie in memory as blue, green, red: always name them.
struct RGBFloat {
  float blue = 0, green = 0, red = 0;
};
static_assert(sizeof(RGBFloat) == 12 && offsetof(RGBFloat, green) == 4 &&
              offsetof(RGBFloat, red) == 8);

/// 8-bit colour, 0 to 255 a channel.
struct ColorBuf {
  std::uint8_t red = 0, green = 0, blue = 0, alpha = 0;
};
static_assert(sizeof(ColorBuf) == 4 && offsetof(ColorBuf, green) == 1 &&
              offsetof(ColorBuf, blue) == 2 && offsetof(ColorBuf, alpha) == 3);

/// A colour in the form its driver draws with. Channels go in and out as bytes, 0 to 255.
class GANativeColor : public GAssistObject {
 public:
  virtual ~GANativeColor() = default;

  virtual void Set(unsigned char red, unsigned char green, unsigned char blue,
                   unsigned char alpha) = 0;
  virtual void SetRed(unsigned char red) = 0;
  virtual void SetGreen(unsigned char green) = 0;
  virtual void SetBlue(unsigned char blue) = 0;
  virtual void SetAlpha(unsigned char alpha) = 0;
  virtual unsigned char Red() const = 0;
  virtual unsigned char Green() const = 0;
  virtual unsigned char Blue() const = 0;
  virtual unsigned char Alpha() const = 0;
  /// Takes red, green and blue; alpha becomes opaque.
  virtual void Set(const RGBFloat& color) = 0;
};

/// Handle that owns one native colour. Copying makes a new native colour through the current
/// driver's CreateColor(GAColor const&); moving hands the native colour over and leaves an empty
/// handle behind. A handle is empty until it is set, or when there was no driver to make a colour.
class GAColor {
 public:
  GAColor() = default;
  /// Takes ownership of `native`, which may be null.
  explicit GAColor(GANativeColor* native) : m_native(native) {}
  GAColor(const GAColor& other);
  GAColor(GAColor&& other) noexcept : m_native(std::exchange(other.m_native, nullptr)) {}
  GAColor& operator=(const GAColor& other);
  GAColor& operator=(GAColor&& other) noexcept {
    std::swap(m_native, other.m_native);
    return *this;
  }
  ~GAColor() { delete m_native; }

  /// Sets all four channels, making a native colour first when the handle is empty.
  void Set(unsigned char red, unsigned char green, unsigned char blue, unsigned char alpha);

  /// The native colour, owned by the handle; null when empty.
  GANativeColor* Native() const { return m_native; }

 private:
  GANativeColor* m_native = nullptr;
};
static_assert(sizeof(GAColor) == sizeof(void*));
