// The widgets of one dialog, built from its model.
#include "platform/qt/dialog_form.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <algorithm>
#include <string>

namespace platform {
namespace {

// Longer values scroll.
constexpr int kValueWidthInLetters = 48;
constexpr int kLeastLinesOfLists = 8;

QString ToQt(const std::string& text) {
  return QString::fromStdString(text);
}

QKeySequence AltKey(char key) {
  return QKeySequence(QString("Alt+") + QChar::fromLatin1(key));
}

bool IsList(ControlKind kind) {
  return kind == ControlKind::kList || kind == ControlKind::kCheckList;
}

void SetButtonText(QAbstractButton* button, const DialogControl& control) {
  bool marked = false;
  button->setText(ToQt(MarkAccessKey(control.text, control.accessKey, &marked)));
  if (!marked && control.accessKey != 0) button->setShortcut(AltKey(control.accessKey));
}

}  // namespace

DialogForm::DialogForm(DialogModel& model, QWidget* parent) : QWidget(parent), m_model(model) {
  auto* grid = new QGridLayout(this);
  grid->setContentsMargins(0, 0, 0, 0);
  m_grids[kNoGroup] = grid;
  Build();
}

void DialogForm::Build() {
  QWidget* lastTabStop = nullptr;
  for (const DialogControl& control : m_model.Controls()) {
    const int outer = control.kind == ControlKind::kGroup ? kNoGroup : control.group;
    QWidget* const widget = Make(control, GridOf(outer)->parentWidget());
    m_widgets[&control] = widget;
    widget->setToolTip(ToQt(control.toolTip));
    widget->setEnabled(control.enabled);
    Place(control, widget);
    const bool takesFocus = control.kind != ControlKind::kGroup &&
                            control.kind != ControlKind::kLabel &&
                            control.kind != ControlKind::kPages;
    if (!takesFocus) continue;
    if (lastTabStop) setTabOrder(lastTabStop, widget);
    lastTabStop = widget;
  }
  JoinLabels();
  for (const DialogControl& control : m_model.Controls()) SetVisibility(control);
}

void DialogForm::Place(const DialogControl& control, QWidget* widget) {
  const bool isGroup = control.kind == ControlKind::kGroup;
  QGridLayout* const grid = GridOf(isGroup ? kNoGroup : control.group);
  const GridCell& cell = control.cell;
  grid->addWidget(widget, cell.row, cell.column, std::max(cell.rows, 1), std::max(cell.columns, 1));
  const int lastRow = cell.row + std::max(cell.rows, 1) - 1;
  if (control.kind == ControlKind::kValue) grid->setColumnStretch(cell.column, 1);
  if (!IsList(control.kind) && control.kind != ControlKind::kPages) return;
  // The dialog's spare height goes to its lists, through the groups they are in.
  grid->setRowStretch(lastRow, 1);
  grid->setColumnStretch(cell.column, 1);
  for (const DialogControl& group : m_model.Controls()) {
    if (group.kind != ControlKind::kGroup || group.group != control.group) continue;
    GridOf(kNoGroup)->setRowStretch(group.cell.row + std::max(group.cell.rows, 1) - 1, 1);
  }
}

QGridLayout* DialogForm::GridOf(int group) {
  const auto found = m_grids.find(group);
  return found == m_grids.end() ? m_grids.at(kNoGroup) : found->second;
}

QWidget* DialogForm::Make(const DialogControl& control, QWidget* parent) {
  switch (control.kind) {
    case ControlKind::kGroup: {
      auto* const frame = new QGroupBox(ToQt(MarkAccessKey(control.text, 0)), parent);
      m_frames[control.group] = frame;
      m_grids[control.group] = new QGridLayout(frame);
      return frame;
    }
    case ControlKind::kLabel: {
      auto* const label = new QLabel(ToQt(control.text), parent);
      label->setTextFormat(Qt::PlainText);
      return label;
    }
    case ControlKind::kValue: {
      auto* const value = new QLineEdit(ToQt(control.text), parent);
      value->setReadOnly(true);
      value->setMinimumWidth(kValueWidthInLetters * value->fontMetrics().averageCharWidth());
      value->setCursorPosition(0);
      return value;
    }
    case ControlKind::kCheckBox:
      return MakeCheckBox(control, parent);
    case ControlKind::kButton:
    case ControlKind::kDefaultButton:
      return MakeButton(control, parent);
    case ControlKind::kList:
    case ControlKind::kCheckList:
      return MakeList(control, parent);
    case ControlKind::kPages:
      break;
  }
  m_pages = new QWidget(parent);
  return m_pages;
}

QWidget* DialogForm::MakeCheckBox(const DialogControl& control, QWidget* parent) {
  auto* const box = new QCheckBox(parent);
  SetButtonText(box, control);
  box->setChecked(control.checked);
  connect(box, &QCheckBox::clicked, this, [this, box, &control](bool checked) {
    m_model.SetChecked(control.id, checked);
    const QSignalBlocker quiet(box);
    box->setChecked(control.checked);
  });
  return box;
}

QWidget* DialogForm::MakeButton(const DialogControl& control, QWidget* parent) {
  auto* const button = new QPushButton(parent);
  SetButtonText(button, control);
  button->setAutoDefault(false);  // Enter presses the default button, wherever the focus is
  button->setDefault(control.kind == ControlKind::kDefaultButton);
  connect(button, &QPushButton::clicked, this, [this, id = control.id] { m_model.Click(id); });
  return button;
}

QWidget* DialogForm::MakeList(const DialogControl& control, QWidget* parent) {
  auto* const list = new QListWidget(parent);
  list->setUniformItemSizes(true);
  list->setMinimumHeight(kLeastLinesOfLists * list->fontMetrics().lineSpacing());
  for (int i = 0; i < static_cast<int>(control.items.size()); ++i) SetItem(control, list, i);
  connect(list, &QListWidget::itemChanged, this, [this, list, &control](QListWidgetItem* item) {
    const int row = list->row(item);
    m_model.CheckItem(control.id, row, item->checkState() == Qt::Checked);
    SetItem(control, list, row);
  });
  return list;
}

void DialogForm::SetItem(const DialogControl& control, QListWidget* list, int item) {
  if (item < 0 || item >= static_cast<int>(control.items.size())) return;
  const QSignalBlocker quiet(list);
  const ListItem& line = control.items[static_cast<std::size_t>(item)];
  while (list->count() <= item) list->addItem(QString());
  QListWidgetItem* const shown = list->item(item);
  shown->setText(ToQt(line.text));
  if (control.kind != ControlKind::kCheckList) return;
  // A line that cannot be checked is still there to be read, so it is not greyed out.
  Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
  if (line.enabled) flags |= Qt::ItemIsUserCheckable;
  shown->setFlags(flags);
  shown->setCheckState(line.checked ? Qt::Checked : Qt::Unchecked);
}

/// Labels take the focus to the control that follows in the table.
void DialogForm::JoinLabels() {
  const DialogControl* label = nullptr;
  for (const DialogControl& control : m_model.Controls()) {
    if (label) {
      auto* const text = static_cast<QLabel*>(m_widgets[label]);
      QWidget* const partner = m_widgets[&control];
      bool marked = false;
      const std::string caption = MarkAccessKey(label->text, label->accessKey, &marked);
      text->setBuddy(partner);
      text->setText(ToQt(caption));
      partner->setAccessibleName(ToQt(label->text));
      if (!marked && label->accessKey != 0) {
        auto* const key = new QShortcut(AltKey(label->accessKey), this);
        connect(key, &QShortcut::activated, partner,
                [partner] { partner->setFocus(Qt::ShortcutFocusReason); });
      }
    }
    label = control.kind == ControlKind::kLabel ? &control : nullptr;
  }
}

void DialogForm::SetText(const DialogControl& control, QWidget* widget) {
  if (auto* const button = qobject_cast<QAbstractButton*>(widget)) {
    SetButtonText(button, control);
  } else if (auto* const value = qobject_cast<QLineEdit*>(widget)) {
    value->setText(ToQt(control.text));
    value->setCursorPosition(0);
  } else if (auto* const label = qobject_cast<QLabel*>(widget)) {
    const bool keyed = label->buddy() != nullptr;
    label->setText(ToQt(keyed ? MarkAccessKey(control.text, control.accessKey) : control.text));
  } else if (auto* const frame = qobject_cast<QGroupBox*>(widget)) {
    frame->setTitle(ToQt(MarkAccessKey(control.text, 0)));
  }
}

void DialogForm::SetVisibility(const DialogControl& control) {
  const bool isGroup = control.kind == ControlKind::kGroup;
  if (!isGroup) m_widgets[&control]->setVisible(control.visible);
  const auto frame = m_frames.find(control.group);
  if (frame != m_frames.end()) frame->second->setVisible(m_model.IsGroupVisible(control.group));
}

void DialogForm::Update(const DialogControl& control, ControlChange change, int item) {
  QWidget* const widget = WidgetOf(&control);
  if (!widget) return;
  switch (change) {
    case ControlChange::kText:
      return SetText(control, widget);
    case ControlChange::kEnabled:
      return widget->setEnabled(control.enabled);
    case ControlChange::kVisible:
      return SetVisibility(control);
    case ControlChange::kChecked:
      if (auto* const box = qobject_cast<QCheckBox*>(widget)) {
        const QSignalBlocker quiet(box);
        box->setChecked(control.checked);
      }
      return;
    case ControlChange::kItemAdded:
    case ControlChange::kItemChanged:
      if (auto* const list = qobject_cast<QListWidget*>(widget)) SetItem(control, list, item);
      return;
  }
}

QWidget* DialogForm::WidgetOf(const DialogControl* control) const {
  const auto found = m_widgets.find(control);
  return found == m_widgets.end() ? nullptr : found->second;
}

}  // namespace platform
