// What the renderer reports of the OpenGL, in a window to read and copy from.
#include "apps/gl3-view/report_dialog.h"

#include <QClipboard>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <string>

#include "apps/gl3-view/texts.h"
#include "host/GADriver.h"
#include "hostkit/services/settings_sheet.h"
#include "platform/platform.h"

namespace view {
namespace {

QString ReportText(GADriver& driver) {
  std::string error;
  const hostkit::DriverReport report = hostkit::ReadDriverReport(driver, &error);
  std::string text = report.extended.empty() ? driver.GetDriverInfo() : report.extended;
  const platform::DisplayReport& display = platform::DescribeDisplay();
  text += "\n\ngl3-view " GL3_VERSION "\nDisplay: " + display.platform + " (" + display.reason +
          "), EGL: " + display.vendor + "\nDrawn on the " +
          (display.software ? "processor" : "graphics processor") + "\n";
  if (!error.empty()) text += "The full report is missing: " + error + "\n";
  if (!report.extensions.empty()) text += "\nExtensions\n";
  for (const std::string& extension : report.extensions) text += extension + "\n";
  return QString::fromStdString(text);
}

}  // namespace

ReportDialog::ReportDialog(GADriver& driver, QWidget* parent)
    : QDialog(parent), m_text(ReportText(driver)) {
  setWindowTitle(Tr("GPU report"));
  auto* const layout = new QVBoxLayout(this);
  auto* const text = new QPlainTextEdit(m_text, this);
  text->setReadOnly(true);
  text->setLineWrapMode(QPlainTextEdit::NoWrap);
  text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  layout->addWidget(text);
  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  QPushButton* const copy = buttons->addButton(Tr("Copy &text"), QDialogButtonBox::ActionRole);
  connect(copy, &QPushButton::clicked, this,
          [this] { QGuiApplication::clipboard()->setText(m_text); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  layout->addWidget(buttons);
  resize(720, 560);
}

}  // namespace view
