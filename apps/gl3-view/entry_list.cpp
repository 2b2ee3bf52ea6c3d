// A list of texts that the user adds to, edits, reorders and removes from.
#include "apps/gl3-view/entry_list.h"

#include <QHBoxLayout>
#include <QItemSelectionModel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <utility>

namespace view {

EntryList::EntryList(const QString& name, std::function<void()> changed, QWidget* parent)
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
  m_add = new QPushButton("Add", this);
  auto* const remove = new QPushButton("Remove", this);
  remove->setEnabled(false);
  buttons->addWidget(m_add);
  buttons->addWidget(remove);
  layout->addLayout(buttons);
  // The list's own signals are blocked while it is filled, but not those of its selection.
  connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, remove,
          [remove](const QModelIndex& current) { remove->setEnabled(current.isValid()); });
  connect(remove, &QPushButton::clicked, this, [this] {
    delete m_list->takeItem(m_list->currentRow());
    m_changed();
  });
  connect(m_list, &QListWidget::itemChanged, this, [this] { m_changed(); });
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

QStringList EntryList::Entries() const {
  QStringList entries;
  for (int i = 0; i < m_list->count(); ++i) {
    const QString text = m_list->item(i)->text().trimmed();
    if (!text.isEmpty()) entries << text;
  }
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

}  // namespace view
