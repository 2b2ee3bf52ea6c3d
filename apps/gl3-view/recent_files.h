// The models that were opened last.
#pragma once

#include <QStringList>

namespace view {

/// `list` with `file` (made absolute) in front, at most nine, none twice.
QStringList WithRecent(const QStringList& list, const QString& file);

}  // namespace view
