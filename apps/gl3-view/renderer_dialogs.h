// The renderer's own dialogs, its settings page above all, shown with the toolkit.
#pragma once

#include <QWidget>
#include <string>

#include "hostkit/services/save_request.h"
#include "hostkit/services/settings_sheet.h"
#include "platform/qt/qt_dialog_view.h"

class GADriver;

namespace view {

/// While it lives, dialogs, message boxes and questions for a file of the renderer appear above
/// `parent` (may be null).
class RendererDialogs {
 public:
  explicit RendererDialogs(QWidget* parent);
  ~RendererDialogs();
  RendererDialogs(const RendererDialogs&) = delete;
  RendererDialogs& operator=(const RendererDialogs&) = delete;

  /// Shows the driver's settings until the user has done with them. Returns whether settings were
  /// stored; they count for drivers that are made afterwards. `*error` is one line when the page
  /// cannot be shown, else empty.
  bool ShowSettings(GADriver& driver, std::string* error);

 private:
  platform::QtDialogView m_view;
  hostkit::SaveRequestHandler m_previous;
};

}  // namespace view
