// The models that were opened last.
#pragma once

#include <QString>
#include <QStringList>

namespace view {

/// Each entry of a list of recent models stands for files that were opened together.
/// `list` with that of `files` (made absolute) in front, at most nine, none twice.
QStringList WithRecent(const QStringList& list, const QStringList& files);

/// The files of an entry.
QStringList FilesOfRecent(const QString& entry);

/// Files as a title names them: "a.obj", "a.obj + b.obj", "a.obj + 2 more".
QString NamesOf(const QStringList& files);

/// What an entry is called in a menu: where its first file is, and how many come with it.
QString RecentText(const QString& entry);

}  // namespace view
