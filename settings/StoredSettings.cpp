// The table of the settings that the registry keeps, and reading and storing it.
#include "settings/StoredSettings.h"

#include "buffer/GL3Buffer.h"
#include "driver/GL3Driver.h"
#include "settings/DialogTemplates.h"

namespace {

using Option = GL3GADriver::OptionFlag;

constexpr char kSection[] = "OpenGL3";

/// Only a number's lowest bit counts.
template <Option kFlag>
constexpr SettingPlace kOption = {
    [](const GL3GADriver& driver) { return driver.HasOption(kFlag) ? 1 : 0; },
    [](GL3GADriver& driver, int value) { driver.SetOption(kFlag, (value & 1) != 0); }};

template <int* kStatic>
constexpr SettingPlace kNumber = {[](const GL3GADriver&) { return *kStatic; },
                                  [](GL3GADriver&, int value) { *kStatic = value; }};

constexpr SettingPlace kWireframe = {
    [](const GL3GADriver& driver) { return driver.IsWireframe() ? 1 : 0; },
    [](GL3GADriver& driver, int value) { driver.SetWireframe(value != 0); }};

enum Row {
  kAntialias,
  kAnisotropic,
  kInverseSort,
  kPolygonMode,
  kCompression,
  kPowerOfTwo,
  kMaxVertices,
  kMaxTransparent,
  kRows
};

constexpr StoredSetting kSettings[kRows] = {
    {"Antialias", 0, kAntialiasBox, kOption<Option::kAntialias>},
    {"Anisotropic", 1, kAnisotropicBox, kOption<Option::kAnisotropicWanted>},
    {"SortInverse Transparent Triangles", 0, kInverseSortBox, kNumber<&GL3GABuffer::m_inversesort>},
    {"Polygonmode", 0, kPolygonModeBox, kWireframe},
    {"Textures Compression", 1, kCompressionBox, kOption<Option::kCompressTextures>},
    {"Textures Powerof2", 0, kPowerOfTwoBox, kOption<Option::kPowerOfTwoTextures>},
    {"Max Vertices", 12000000, platform::kNoControlId, kNumber<&GL3GADriver::gl_max_vertices>},
    {"Max Transparent Triangles", 149999, platform::kNoControlId,
     kNumber<&GL3GABuffer::m_maxtransparentpolys>}};
static_assert(kSettings[kBoxedSettings - 1].box != platform::kNoControlId);
static_assert(kSettings[kBoxedSettings].box == platform::kNoControlId);

// The orders of the calls to the host.
constexpr Row kReadingOrder[kRows] = {kMaxTransparent, kInverseSort, kAnisotropic, kAntialias,
                                      kMaxVertices,    kPowerOfTwo,  kCompression, kPolygonMode};
constexpr Row kStoringOrder[kRows] = {kPolygonMode, kAnisotropic, kAntialias,   kInverseSort,
                                      kPowerOfTwo,  kCompression, kMaxVertices, kMaxTransparent};

}  // namespace

std::span<const StoredSetting, kBoxedSettings> BoxedSettings() {
  return std::span(kSettings).first<kBoxedSettings>();
}

void ReadSettings(GL3GADriver& driver) {
  for (const Row row : kReadingOrder) {
    const StoredSetting& setting = kSettings[row];
    setting.place.set(driver, GetRegistryValue(kSection, setting.key, setting.fallback));
  }
}

void StoreSettings(const GL3GADriver& driver) {
  for (const Row row : kStoringOrder) {
    const StoredSetting& setting = kSettings[row];
    SetRegistryValue(kSection, setting.key, setting.place.get(driver));
  }
}
