// The settings page in a sheet, with the host's answers to it recorded.
#pragma once

#include "platform/scripted_view.h"
#include "settings/DialogTemplates.h"
#include "tests/support/common/temp_folder.h"
#include "tests/support/driver_fixture.h"

/// What the module asked of its host since the fixture was set up.
struct HostCalls {
  Lines read;                  ///< "section/key=fallback" in order
  Lines stored;                ///< "section/key=value" in order
  std::vector<int> fileModes;  ///< of files opened
};
HostCalls& TheHostCalls();

using Steps = std::vector<platform::ScriptStep>;

/// Has a registry in a folder of its own, and the module registered as the loader does it.
class PageFixture : public DriverFixture {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// Plays the steps in the driver's settings sheet; those that are left out at the end cancel it.
  /// Returns whether the page has stored something.
  bool Play(Steps steps, int reduced = 0);
  /// A control of the page as it is when the page is shown.
  platform::DialogControl Read(int id, int reduced = 0);
  Lines& Stored() const { return TheHostCalls().stored; }
  const TempFolder& Folder() const { return *m_folder; }

 private:
  std::unique_ptr<TempFolder> m_folder;
  std::string m_registry;
};

/// The texts of a list, each with '+' before it when it is checked, else '-'.
Lines Items(const platform::DialogControl& list);
