// Fields for the parameters of an entry in a list.
#pragma once

#include <QString>
#include <QVariant>
#include <QWidget>
#include <functional>
#include <vector>

class QFormLayout;

namespace view {

/// A parameter of an entry with its value: a text, a whole number or a number.
struct EntryField {
  QString name, tip;
  QVariant value;
  double least = 0, most = 0;  ///< Of numbers.
  QString leastText;           ///< What the least one is called; empty: as it is.
};

/// How the entries of a list are taken apart, and put together again from fields whose values have
/// changed. An entry that cannot be read has no fields.
struct EntryKind {
  std::function<std::vector<EntryField>(const QString& entry)> takeApart;
  std::function<QString(const QString& entry, const std::vector<EntryField>& fields)> putTogether;
};

/// Entries of --effect, --text and --overlay.
EntryKind EffectEntries();
EntryKind TextEntries();
EntryKind OverlayEntries();

/// Shows the fields of one entry.
class EntryFields : public QWidget {
 public:
  /// `changed` is called with the entry as the user has changed it.
  EntryFields(EntryKind kind, std::function<void(const QString&)> changed, QWidget* parent);

  /// Shows the fields of an entry in place of those that are there; empty: none. Does nothing for
  /// the entry that they have made.
  void Show(const QString& entry);

 private:
  void AddField(std::size_t index);
  void Change(std::size_t index, const QVariant& value);

  const EntryKind m_kind;
  const std::function<void(const QString&)> m_changed;
  QFormLayout* m_form;
  QString m_entry;
  std::vector<EntryField> m_fields;
};

}  // namespace view
