// A list of texts that the user adds to, edits, reorders and removes from.
#pragma once

#include <QStringList>
#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

#include "apps/gl3-view/entry_fields.h"

class QListWidget;
class QListWidgetItem;
class QPushButton;

namespace view {

class EntryList : public QWidget {
 public:
  /// `changed` is called after every change by the user. Below the list are the fields of the
  /// current entry.
  EntryList(const QString& name, EntryKind kind, std::function<void()> changed, QWidget* parent);

  /// The button that adds; what it does is up to the owner.
  QPushButton* AddButton() { return m_add; }
  /// Adds an entry and, with `edit`, lets the user change it at once.
  void Add(const QString& text, bool edit);
  /// Those that are not empty.
  QStringList Entries() const;
  void SetEntries(const QStringList& entries);

  /// What Judge told last of the entry at an index of Entries; it goes where the entry goes.
  std::optional<QString> Accepted(qsizetype index) const;
  /// Tells of such an entry which text of its was accepted last, if any, and what is wrong with the
  /// present one, which is then marked; empty for nothing.
  void Judge(qsizetype index, const std::optional<QString>& accepted, const QString& problem);

 private:
  std::vector<QListWidgetItem*> Filled() const;
  void RemoveCurrent();
  void ShowFields();

  QListWidget* m_list;
  QPushButton* m_add;
  EntryFields* m_fields;
  std::function<void()> m_changed;
};

}  // namespace view
