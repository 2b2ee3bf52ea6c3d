// The colour handle.
#include "host/Colors.h"

#include "host/GADriver.h"
#include "host/Services.h"

namespace {

/// A native colour like that of `color`; null when that is empty, when there is no driver, or when
/// the driver has no memory.
GANativeColor* CopyNative(const GAColor& color) {
  GADriver* driver = color.Native() ? GetDriver() : nullptr;
  return driver ? driver->CreateColor(color) : nullptr;
}

}  // namespace

GAColor::GAColor(const GAColor& other) : m_native(CopyNative(other)) {}

/// A colour that cannot be copied leaves the handle as it was; an empty one empties it.
GAColor& GAColor::operator=(const GAColor& other) {
  if (this == &other) return *this;
  GANativeColor* copy = CopyNative(other);
  if (!copy && other.m_native) return *this;
  delete m_native;
  m_native = copy;
  return *this;
}

void GAColor::Set(unsigned char red, unsigned char green, unsigned char blue, unsigned char alpha) {
  if (!m_native) {
    if (GADriver* driver = GetDriver()) m_native = driver->CreateColor();
  }
  if (m_native) m_native->Set(red, green, blue, alpha);
}
