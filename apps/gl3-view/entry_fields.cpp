// Fields for the parameters of an entry in a list.
#include "apps/gl3-view/entry_fields.h"

#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QSpinBox>
#include <utility>

#include "apps/gl3-view/texts.h"

namespace view {
namespace {

constexpr int kDecimals = 3;
constexpr double kSteps = 100;  // from the least number to the largest

/// A number whose least one has a name: it is next to 0.
class NamedLeastSpin : public QSpinBox {
 public:
  using QSpinBox::QSpinBox;
  void stepBy(int steps) override {
    const bool isNamed = !specialValueText().isEmpty() && minimum() < 0;
    if (isNamed && value() == minimum() && steps > 0) return setValue(steps - 1);
    if (isNamed && value() >= 0 && value() + steps < 0) return setValue(minimum());
    QSpinBox::stepBy(steps);
  }
};

}  // namespace

EntryFields::EntryFields(EntryKind kind, std::function<void(const QString&)> changed,
                         QWidget* parent)
    : QWidget(parent), m_kind(std::move(kind)), m_changed(std::move(changed)) {
  m_form = new QFormLayout(this);
  m_form->setContentsMargins(0, 0, 0, 0);
  hide();
}

void EntryFields::Show(const QString& entry) {
  if (entry == m_entry) return;
  m_entry = entry;
  while (m_form->rowCount() > 0) m_form->removeRow(0);
  m_fields = entry.isEmpty() ? std::vector<EntryField>() : m_kind.takeApart(entry);
  for (std::size_t i = 0; i < m_fields.size(); ++i) AddField(i);
  setVisible(!m_fields.empty());
}

void EntryFields::AddField(std::size_t index) {
  const EntryField& field = m_fields[index];
  QWidget* widget = nullptr;
  if (field.value.typeId() == QMetaType::Int) {
    auto* const spin = new NamedLeastSpin(this);
    spin->setRange(static_cast<int>(field.least), static_cast<int>(field.most));
    spin->setValue(field.value.toInt());
    spin->setSpecialValueText(field.leastText);
    connect(spin, &QSpinBox::valueChanged, this,
            [this, index](int value) { Change(index, value); });
    widget = spin;
  } else if (field.value.typeId() == QMetaType::Double) {
    auto* const spin = new QDoubleSpinBox(this);
    spin->setDecimals(kDecimals);
    spin->setRange(field.least, field.most);
    spin->setSingleStep((field.most - field.least) / kSteps);
    spin->setValue(field.value.toDouble());
    connect(spin, &QDoubleSpinBox::valueChanged, this,
            [this, index](double value) { Change(index, value); });
    widget = spin;
  } else {
    auto* const line = new QLineEdit(field.value.toString(), this);
    connect(line, &QLineEdit::editingFinished, this,
            [this, index, line] { Change(index, line->text()); });
    widget = line;
  }
  widget->setObjectName(field.name);
  widget->setToolTip(field.tip);
  m_form->addRow(Tr(field.name.toUtf8().constData()), widget);
}

void EntryFields::Change(std::size_t index, const QVariant& value) {
  if (m_fields[index].value == value) return;
  m_fields[index].value = value;
  m_entry = m_kind.putTogether(m_entry, m_fields).trimmed();
  m_changed(m_entry);
}

}  // namespace view
