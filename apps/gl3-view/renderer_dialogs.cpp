// The renderer's own dialogs, shown with the toolkit.
#include "apps/gl3-view/renderer_dialogs.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <utility>

#include "apps/gl3-view/texts.h"
#include "hostkit/services/registry.h"

namespace view {
namespace {

/// "Text Files(*.txt)|*.txt|" as the toolkit has it: "Text Files (*.txt)".
QString ToFilter(const String& filter) {
  const QStringList parts = QString::fromUtf8(filter.Text()).split('|');
  const QString name = parts.value(0).section('(', 0, 0).trimmed();
  return QString("%1 (%2)").arg(name, parts.value(1, "*"));
}

int AskForFile(QWidget* parent, const hostkit::SaveQuestion& question, String* path) {
  QString file = QFileDialog::getSaveFileName(parent, QString::fromUtf8(question.title.Text()),
                                              QString::fromUtf8(question.suggestion.Text()),
                                              ToFilter(question.filter));
  if (file.isEmpty()) return 0;
  if (QFileInfo(file).suffix().isEmpty() && !question.extension.IsEmpty()) {
    file += '.' + QString::fromUtf8(question.extension.Text());
  }
  *path = file.toLocal8Bit().constData();
  return 1;
}

}  // namespace

RendererDialogs::RendererDialogs(QWidget* parent)
    : m_view(parent),
      m_previous(hostkit::SetSaveRequestHandler(
          [parent](const hostkit::SaveQuestion& question, String* path) {
            QWidget* const top = QApplication::activeModalWidget();
            return AskForFile(top ? top : parent, question, path);
          })) {}

RendererDialogs::~RendererDialogs() {
  hostkit::SetSaveRequestHandler(std::move(m_previous));
}

bool RendererDialogs::ShowSettings(GADriver& driver, std::string* error) {
  hostkit::SettingsSheet sheet(driver);
  error->clear();
  if (sheet.Run() == hostkit::SettingsSheet::Result::kFailed) {
    *error = Tr("the renderer has no settings page; install OpenGL3.so and this program anew")
                 .toStdString();
    return false;
  }
  if (sheet.IsStored()) *error = hostkit::RegistryError();
  return sheet.IsStored();
}

}  // namespace view
