// What the renderer reports of the OpenGL, in a window to read and copy from.
#pragma once

#include <QDialog>

class GADriver;

namespace view {

class ReportDialog : public QDialog {
 public:
  /// Asks the driver for its report, which takes a moment.
  ReportDialog(GADriver& driver, QWidget* parent);

 private:
  QString m_text;
};

}  // namespace view
