// The settings that the registry keeps for the module: keys, defaults, and where they take effect.
#pragma once

#include <span>

class GL3GADriver;

/// Where a setting takes effect.
struct SettingPlace {
  int (*get)(const GL3GADriver& driver);
  void (*set)(GL3GADriver& driver, int value);
};

/// One number of the registry's section "OpenGL3".
struct StoredSetting {
  const char* key;
  int fallback;  ///< Taken where the registry has none.
  int box;       ///< Check box on the settings page; kNoControlId: it is not on the page.
  SettingPlace place;
};

/// The settings on the page, in its order.
constexpr int kBoxedSettings = 6;
std::span<const StoredSetting, kBoxedSettings> BoxedSettings();

/// Takes all settings from the registry.
void ReadSettings(GL3GADriver& driver);

/// Stores all settings as they are, those that are not on the page too.
void StoreSettings(const GL3GADriver& driver);
