// The settings page in a sheet, with the host's answers to it recorded.
#include "tests/settings/page_fixture.h"

#include <cstdlib>
#include <utility>

#include "host/Streams.h"
#include "hostkit/services/registry.h"
#include "hostkit/services/settings_sheet.h"
#include "tests/support/next_symbol.h"

extern "C" int DllMain(HINSTANCE instance, DWORD reason, void* reserved);

HostCalls& TheHostCalls() {
  static HostCalls calls;
  return calls;
}

// In front of the host kit's.

void SetRegistryValue(const String& section, const String& key, int value) {
  static auto* const next =
      NextSymbol<decltype(SetRegistryValue)>("_Z16SetRegistryValueRK6StringS1_i");
  TheHostCalls().stored.push_back(std::string(section.Text()) + "/" + key.Text() + "=" +
                                  std::to_string(value));
  next(section, key, value);
}

int GetRegistryValue(const String& section, const String& key, int fallback) {
  static auto* const next =
      NextSymbol<decltype(GetRegistryValue)>("_Z16GetRegistryValueRK6StringS1_i");
  TheHostCalls().read.push_back(std::string(section.Text()) + "/" + key.Text() + "=" +
                                std::to_string(fallback));
  return next(section, key, fallback);
}

int FileStream::Open(const String& path, int mode) {
  static auto* const next =
      NextSymbol<int(FileStream*, const String&, int)>("_ZN10FileStream4OpenERK6Stringi");
  TheHostCalls().fileModes.push_back(mode);
  return next(this, path, mode);
}

void PageFixture::SetUp() {
  static const int attached =
      DllMain(reinterpret_cast<HINSTANCE>(0x100), DLL_PROCESS_ATTACH, nullptr);
  ASSERT_EQ(attached, 1);
  m_folder = std::make_unique<TempFolder>();
  const char* registry = std::getenv("GL3_REGISTRY");
  m_registry = registry ? registry : "";
  setenv("GL3_REGISTRY", m_folder->Path("registry.ini").c_str(), 1);
  hostkit::ReloadRegistry();
  TheHostCalls() = {};
  DriverFixture::SetUp();
}

void PageFixture::TearDown() {
  DriverFixture::TearDown();
  setenv("GL3_REGISTRY", m_registry.c_str(), 1);
  hostkit::ReloadRegistry();
}

bool PageFixture::Play(Steps steps, int reduced) {
  const platform::ScriptedView script(std::move(steps));
  hostkit::SettingsSheet sheet(*Driver(), reduced);
  EXPECT_NE(sheet.Run(), hostkit::SettingsSheet::Result::kFailed);
  EXPECT_TRUE(script.IsDone()) << script.Error();
  return sheet.IsStored();
}

platform::DialogControl PageFixture::Read(int id, int reduced) {
  platform::DialogControl control;
  Play({platform::ReadStep(id, &control)}, reduced);
  return control;
}

Lines Items(const platform::DialogControl& list) {
  Lines items;
  for (const platform::ListItem& item : list.items) {
    items.push_back((item.checked ? "+" : "-") + item.text);
  }
  return items;
}
