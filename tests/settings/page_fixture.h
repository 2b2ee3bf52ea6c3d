// The settings page in a sheet, with the host's answers to it recorded.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/services/registry.h"
#include "hostkit/services/settings_sheet.h"
#include "platform/scripted_view.h"
#include "settings/DialogTemplates.h"
#include "tests/support/common/temp_folder.h"
#include "tests/support/driver_fixture.h"

extern "C" int DllMain(HINSTANCE instance, DWORD reason, void* reserved);

/// What the module asked of its host since the fixture was set up.
struct HostCalls {
  Lines read;                  ///< "section/key=fallback" in order
  Lines stored;                ///< "section/key=value" in order
  std::vector<int> fileModes;  ///< of files opened
};
inline HostCalls g_hostCalls;

using Steps = std::vector<platform::ScriptStep>;

/// Has a registry in a folder of its own, and the module registered as the loader does it.
class PageFixture : public DriverFixture {
 protected:
  void SetUp() override {
    static const int attached =
        DllMain(reinterpret_cast<HINSTANCE>(0x100), DLL_PROCESS_ATTACH, nullptr);
    ASSERT_EQ(attached, 1);
    m_folder = std::make_unique<TempFolder>();
    const char* registry = std::getenv("GL3_REGISTRY");
    m_registry = registry ? registry : "";
    setenv("GL3_REGISTRY", m_folder->Path("registry.ini").c_str(), 1);
    hostkit::ReloadRegistry();
    g_hostCalls = {};
    DriverFixture::SetUp();
  }
  void TearDown() override {
    DriverFixture::TearDown();
    setenv("GL3_REGISTRY", m_registry.c_str(), 1);
    hostkit::ReloadRegistry();
  }

  /// Plays the steps in the driver's settings sheet; those that are left out at the end cancel it.
  /// Returns whether the page has stored something.
  bool Play(Steps steps, int reduced = 0) {
    const platform::ScriptedView script(std::move(steps));
    hostkit::SettingsSheet sheet(*Driver(), reduced);
    EXPECT_NE(sheet.Run(), hostkit::SettingsSheet::Result::kFailed);
    EXPECT_TRUE(script.IsDone()) << script.Error();
    return sheet.IsStored();
  }
  /// A control of the page as it is when the page is shown.
  platform::DialogControl Read(int id, int reduced = 0) {
    platform::DialogControl control;
    Play({platform::ReadStep(id, &control)}, reduced);
    return control;
  }
  /// A new driver, initialised.
  void RestartDriver() {
    ASSERT_NE(RemakeDriver(), nullptr);
    ASSERT_EQ(Driver()->Initialize(), 1);
  }
  Lines& Stored() const { return g_hostCalls.stored; }
  const TempFolder& Folder() const { return *m_folder; }

 private:
  std::unique_ptr<TempFolder> m_folder;
  std::string m_registry;
};
