// A list of texts that the user adds to, edits, reorders and removes from.
#include "apps/gl3-view/entry_list.h"

#include <QBrush>
#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QListWidget>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <utility>

#include "apps/gl3-view/texts.h"

namespace view {
namespace {

constexpr int kAcceptedText = Qt::UserRole;
const QColor kWrong(0xb0, 0x00, 0x20);

QString PlainTip(const QString& line) {
  return line.isEmpty() ? line : "<p>" + line.toHtmlEscaped() + "</p>";
}

}  // namespace

EntryList::EntryList(const QString& name, EntryKind kind, std::function<void()> changed,
                     QWidget* parent)
    : QWidget(parent), m_changed(std::move(changed)) {
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  m_list = new QListWidget(this);
  m_list->setAccessibleName(name);
  m_list->setDragDropMode(QAbstractItemView::InternalMove);
  constexpr int kLines = 3;
  m_list->setFixedHeight((m_list->fontMetrics().lineSpacing() + 4) * kLines + 4);
  layout->addWidget(m_list);
  auto* const buttons = new QHBoxLayout();
  m_add = new QPushButton(Tr("Add"), this);
  auto* const remove = new QPushButton(Tr("Remove"), this);
  remove->setEnabled(false);
  buttons->addWidget(m_add);
  buttons->addWidget(remove);
  layout->addLayout(buttons);
  m_fields = new EntryFields(
      std::move(kind),
      [this](const QString& entry) {
        if (m_list->currentItem()) m_list->currentItem()->setText(entry);
      },
      this);
  layout->addWidget(m_fields);
  // The list's own signals are blocked while it is filled, but not those of its selection.
  connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, remove,
          [this, remove](const QModelIndex& current) {
            remove->setEnabled(current.isValid());
            ShowFields();
          });
  connect(remove, &QPushButton::clicked, this, [this] { RemoveCurrent(); });
  auto* const key = new QShortcut(QKeySequence::Delete, m_list);
  key->setContext(Qt::WidgetShortcut);  // not while an entry is edited
  connect(key, &QShortcut::activated, this, [this] { RemoveCurrent(); });
  connect(m_list, &QListWidget::itemChanged, this, [this] {
    ShowFields();
    m_changed();
  });
  connect(m_list->model(), &QAbstractItemModel::rowsMoved, this, [this] { m_changed(); });
}

void EntryList::Add(const QString& text, bool edit) {
  {
    const QSignalBlocker quiet(m_list);
    auto* const item = new QListWidgetItem(text, m_list);
    item->setFlags(item->flags() | Qt::ItemIsEditable);
    m_list->setCurrentItem(item);
    if (edit) m_list->editItem(item);
  }
  m_changed();
}

void EntryList::ShowFields() {
  const QListWidgetItem* const item = m_list->currentItem();
  m_fields->Show(item ? item->text().trimmed() : QString());
}

void EntryList::RemoveCurrent() {
  if (m_list->currentRow() < 0) return;
  delete m_list->takeItem(m_list->currentRow());
  m_changed();
}

std::vector<QListWidgetItem*> EntryList::Filled() const {
  std::vector<QListWidgetItem*> filled;
  for (int i = 0; i < m_list->count(); ++i) {
    if (!m_list->item(i)->text().trimmed().isEmpty()) filled.push_back(m_list->item(i));
  }
  return filled;
}

QStringList EntryList::Entries() const {
  QStringList entries;
  for (const QListWidgetItem* item : Filled()) entries << item->text().trimmed();
  return entries;
}

void EntryList::SetEntries(const QStringList& entries) {
  const QSignalBlocker quiet(m_list);
  m_list->clear();
  for (const QString& text : entries) {
    auto* const item = new QListWidgetItem(text, m_list);
    item->setFlags(item->flags() | Qt::ItemIsEditable);
  }
}

std::optional<QString> EntryList::Accepted(qsizetype index) const {
  const QVariant text = Filled()[static_cast<std::size_t>(index)]->data(kAcceptedText);
  return text.isValid() ? std::optional(text.toString()) : std::nullopt;
}

void EntryList::Judge(qsizetype index, const std::optional<QString>& accepted,
                      const QString& problem) {
  const QSignalBlocker quiet(m_list);
  QListWidgetItem* const item = Filled()[static_cast<std::size_t>(index)];
  item->setData(kAcceptedText, accepted ? QVariant(*accepted) : QVariant());
  item->setData(Qt::ForegroundRole, problem.isEmpty() ? QVariant() : QBrush(kWrong));
  item->setToolTip(PlainTip(problem));
}

}  // namespace view
