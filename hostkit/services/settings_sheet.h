// The host's settings sheet with a driver's page in it, and what hosts learn of the GL by it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/mfc_dialogs.h"

class GADriver;

namespace hostkit {

/// A sheet with one page, that of a driver. What shows it is the program's view: see
/// platform::SetDialogView. The driver must outlive the sheet.
class SettingsSheet {
 public:
  /// Non-zero `reduced` asks for a page that shows information alone; the driver keeps that for its
  /// later pages.
  explicit SettingsSheet(GADriver& driver, int reduced = 0);

  /// How it ended.
  enum class Result {
    kConfirmed,  ///< Changed settings, if any, are in effect and stored.
    kCancelled,  ///< Nothing has changed.
    kFailed,     ///< The driver has no page, or its module does not carry the page's dialog.
  };
  /// Shows the sheet until the user has done with it. Once for each object.
  Result Run();
  /// Whether the page has stored changed settings.
  bool IsStored() const { return (m_sheet.m_nFlags & CWnd::kSettingsStored) != 0; }

 private:
  std::unique_ptr<CPropertyPage> m_page;
  CPropertySheet m_sheet;
};

/// What a driver reports of the GL beyond GADriver::GetDriverInfo.
struct DriverReport {
  std::string extended;                 ///< The short report with the GL's limits, one a line.
  std::vector<std::string> extensions;  ///< As the driver's dialog lists them.
};

/// Has the driver's dialogs write their report file, unseen, and reads it. Nothing is written to
/// any disk, no setting changes, and the program's view and file question are afterwards what they
/// were. The driver need not be initialised. On failure both parts are empty, and `*error` (may be
/// null) says what went wrong and what to do.
DriverReport ReadDriverReport(GADriver& driver, std::string* error);

/// Its first part; a null driver is a failure.
std::string ExtendedReport(GADriver* driver, std::string* error);

}  // namespace hostkit
