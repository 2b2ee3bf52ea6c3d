// The host's colour records and the colour handle that every drawing call carries.
//
// Blue comes first in memory in these, and red everywhere else: RGBFloat; half floats and floats of
// an HRGBABuffer, hence all that the module reads back or makes; GALitVertex in the one call
// DisplayList::AddTransformedQuad(GALitVertex*), where what is named blue is drawn red.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "host/Heaps.h"

/// Float colour. The members lie in memory as blue, green, red: always name them.
struct RGBFloat {
  /// Channels, 0 to 1 nominally.
  float blue = 0, green = 0, red = 0;
};
static_assert(sizeof(RGBFloat) == 12 && offsetof(RGBFloat, green) == 4 &&
              offsetof(RGBFloat, red) == 8);

/// 8-bit colour, 0 to 255 a channel.
struct ColorBuf {
  /// Channels; alpha 255 is opaque, and is not multiplied in.
  std::uint8_t red = 0, green = 0, blue = 0, alpha = 0;
};
static_assert(sizeof(ColorBuf) == 4 && offsetof(ColorBuf, green) == 1 &&
              offsetof(ColorBuf, blue) == 2 && offsetof(ColorBuf, alpha) == 3);

/// A colour in the form its driver draws with. Channels go in and out as bytes, 0 to 255; the
/// module keeps floats, so that a colour made of such (GADriver::CreateColor) comes out rounded.
/// Made by a driver and owned by a GAColor as a rule. Needs no context.
class GANativeColor : public GAssistObject {
 public:
  virtual ~GANativeColor() = default;

  /// Sets all four channels; alpha 255 is opaque.
  virtual void Set(unsigned char red, unsigned char green, unsigned char blue,
                   unsigned char alpha) = 0;
  virtual void SetRed(unsigned char red) = 0;      ///< Sets one channel.
  virtual void SetGreen(unsigned char green) = 0;  ///< Sets one channel.
  virtual void SetBlue(unsigned char blue) = 0;    ///< Sets one channel.
  virtual void SetAlpha(unsigned char alpha) = 0;  ///< Sets one channel.
  virtual unsigned char Red() const = 0;           ///< One channel, rounded.
  virtual unsigned char Green() const = 0;         ///< One channel, rounded.
  virtual unsigned char Blue() const = 0;          ///< One channel, rounded.
  virtual unsigned char Alpha() const = 0;         ///< One channel, rounded.
  /// Takes red, green and blue; alpha becomes opaque.
  virtual void Set(const RGBFloat& color) = 0;
};

/// Handle that owns one native colour. Copying makes a new native colour through the current
/// driver's CreateColor(GAColor const&); moving hands the native colour over and leaves an empty
/// handle behind. A handle is empty until it is set, or when there was no driver to make a colour;
/// what is drawn with an empty one is opaque black. A native colour is code of its module: handles
/// go before a module is unloaded (which LoadedModule of the host kit never does).
class GAColor {
 public:
  GAColor() = default;
  /// Takes ownership of `native`, which may be null.
  explicit GAColor(GANativeColor* native) : m_native(native) {}
  /// Empty when `other` is, or when there is no driver or no memory.
  GAColor(const GAColor& other);
  /// Leaves `other` empty.
  GAColor(GAColor&& other) noexcept : m_native(std::exchange(other.m_native, nullptr)) {}
  /// A colour that cannot be copied leaves the handle as it was; an empty one empties it.
  GAColor& operator=(const GAColor& other);
  /// Exchanges the two.
  GAColor& operator=(GAColor&& other) noexcept {
    std::swap(m_native, other.m_native);
    return *this;
  }
  /// Deletes the native colour.
  ~GAColor() { delete m_native; }

  /// Sets all four channels, 0 to 255, making a native colour first when the handle is empty: of
  /// the current driver. Nothing happens when there is none.
  void Set(unsigned char red, unsigned char green, unsigned char blue, unsigned char alpha);

  /// The native colour, owned by the handle; null when empty.
  GANativeColor* Native() const { return m_native; }

 private:
  GANativeColor* m_native = nullptr;
};
static_assert(sizeof(GAColor) == sizeof(void*));
