// A list of texts that the user adds to, edits, reorders and removes from.
#pragma once

#include <QStringList>
#include <QWidget>
#include <functional>

class QListWidget;
class QPushButton;

namespace view {

class EntryList : public QWidget {
 public:
  /// `changed` is called after every change by the user.
  EntryList(const QString& name, std::function<void()> changed, QWidget* parent);

  /// The button that adds; what it does is up to the owner.
  QPushButton* AddButton() { return m_add; }
  /// Adds an entry and, with `edit`, lets the user change it at once.
  void Add(const QString& text, bool edit);
  QStringList Entries() const;
  void SetEntries(const QStringList& entries);

 private:
  QListWidget* m_list;
  QPushButton* m_add;
  std::function<void()> m_changed;
};

}  // namespace view
