// The models that were opened last.
#include "apps/gl3-view/recent_files.h"

#include <QFileInfo>

#include "apps/gl3-view/texts.h"

namespace view {
namespace {

// Between the files of an entry; no file's name has it.
constexpr QChar kSeparator(u'\0');

}  // namespace

QStringList WithRecent(const QStringList& list, const QStringList& files) {
  constexpr qsizetype kMost = 9;  // one digit each, as access keys
  QStringList paths;
  for (const QString& file : files) paths << QFileInfo(file).absoluteFilePath();
  const QString entry = paths.join(kSeparator);
  QStringList recent = list;
  recent.removeAll(entry);
  recent.prepend(entry);
  return recent.mid(0, kMost);
}

QStringList FilesOfRecent(const QString& entry) {
  return entry.split(kSeparator);
}

QString NamesOf(const QStringList& files) {
  QString first = QFileInfo(files.value(0)).fileName();
  if (files.size() < 2) return first;
  if (files.size() == 2) return first + " + " + QFileInfo(files[1]).fileName();
  return Tr("%1 + %2 more").arg(first, QString::number(files.size() - 1));
}

QString RecentText(const QString& entry) {
  const QStringList files = FilesOfRecent(entry);
  return QFileInfo(files.first()).path() + '/' + NamesOf(files);
}

}  // namespace view
