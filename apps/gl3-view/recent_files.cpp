// The models that were opened last.
#include "apps/gl3-view/recent_files.h"

#include <QFileInfo>

namespace view {

QStringList WithRecent(const QStringList& list, const QString& file) {
  constexpr qsizetype kMost = 9;  // one digit each, as access keys
  const QString path = QFileInfo(file).absoluteFilePath();
  QStringList recent = list;
  recent.removeAll(path);
  recent.prepend(path);
  return recent.mid(0, kMost);
}

}  // namespace view
