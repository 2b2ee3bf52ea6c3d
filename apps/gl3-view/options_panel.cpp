// The panel with the choices of how to draw.
#include "apps/gl3-view/options_panel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>

#include "apps/gl3-view/color_button.h"
#include "apps/gl3-view/entry_list.h"
#include "apps/gl3-view/fog_choice.h"
#include "hostkit/effects/effect_table.h"

namespace view {
namespace {

const QColor kBackground(0x29, 0x2b, 0x30);  // as gl3 render has it unasked
constexpr int kLeastWidth = 240;

}  // namespace

OptionsPanel::OptionsPanel(QWidget* parent) : QWidget(parent) {
  auto* const layout = new QVBoxLayout(this);
  auto* const form = new QFormLayout();
  layout->addLayout(form);
  AddSurfaces(form);
  AddHelpers(form);
  AddFog(form);
  AddLists(form);
  m_problem = new QLabel(this);
  m_problem->setObjectName("problem");
  m_problem->setTextFormat(Qt::PlainText);
  m_problem->setWordWrap(true);
  m_problem->setTextInteractionFlags(Qt::TextSelectableByMouse);
  m_problem->setStyleSheet("color: #b00020");
  layout->addWidget(m_problem);
  layout->addStretch();
  setMinimumWidth(kLeastWidth);
}

void OptionsPanel::Changed() {
  if (!m_setting && m_listener) m_listener();
}

void OptionsPanel::AddSurfaces(QFormLayout* form) {
  AddCombo(form, "&Mode", "--mode",
           {"shaded", "flat", "wireframe", "wireframe-gl", "lines", "points"});
  AddCombo(form, "&Lights", "--lights", {"auto", "scene", "headlight", "three-point"});
  auto* const color = new ColorButton(
      kBackground, [this] { Changed(); }, this);
  form->addRow("&Background", color);
  m_fields.push_back({"--background",
                      [color] {
                        if (color->Color() == kBackground) return QStringList();
                        return QStringList{color->Color().name()};
                      },
                      [color](const QStringList& values) {
                        const QColor read(values.value(0));
                        color->SetColor(read.isValid() ? read : kBackground);
                      }});
  AddFlag(form, "Bac&kfaces", "--backfaces");
  AddSpin(form, "&Antialias", "--antialias", 1, 4, 2);
}

void OptionsPanel::AddHelpers(QFormLayout* form) {
  AddCombo(form, "&Up axis", "--up-axis", {"auto", "+X", "-X", "+Y", "-Y", "+Z", "-Z"});
  AddSpin(form, "Point &size", "--point-size", 0, 64, 0)->setSpecialValueText("automatic");
  AddSwitch(form, "Gri&d", "--grid", "", "spacing");
  AddSwitch(form, "&Control points", "--control-points", "", "size");
}

void OptionsPanel::AddFog(QFormLayout* form) {
  auto* const fog = new FogChoice([this] { Changed(); }, this);
  fog->SetSuggestion([this] { return m_suggestFog ? m_suggestFog() : std::pair(1.f, 10.f); });
  form->addRow("Fo&g", fog);
  m_fields.push_back({"--fog", [fog] { return fog->Values(); },
                      [fog](const QStringList& values) { fog->SetValues(values); }});
}

void OptionsPanel::AddLists(QFormLayout* form) {
  AddList(form, "&Effects", "--effect", [](EntryList* list) {
    auto* const menu = new QMenu(list);
    for (const hostkit::EffectKind& kind : hostkit::kEffectKinds) {
      QString text = QString::fromLatin1(kind.name);
      QAction* action = menu->addAction(text + " – " + QString::fromLatin1(kind.summary), list,
                                        [list, text] { list->Add(text, false); });
      action->setToolTip(QString::fromLatin1(kind.summary));
    }
    list->AddButton()->setMenu(menu);
  });
  AddList(form, "&Overlays", "--overlay", [](EntryList* list) {
    connect(list->AddButton(), &QPushButton::clicked, list, [list] {
      const QString file = QFileDialog::getOpenFileName(list->window(), "Overlay a picture");
      if (!file.isEmpty()) list->Add(file, false);
    });
  });
  AddList(form, "&Text", "--text", [](EntryList* list) {
    connect(list->AddButton(), &QPushButton::clicked, list, [list] { list->Add("Text", true); });
  });
}

void OptionsPanel::AddCombo(QFormLayout* form, const QString& label, const QString& option,
                            const QStringList& names) {
  auto* const combo = new QComboBox(this);
  combo->setObjectName(option);
  combo->addItems(names);
  form->addRow(label, combo);
  connect(combo, &QComboBox::currentIndexChanged, this, [this] { Changed(); });
  m_fields.push_back({option,
                      [combo] {
                        if (combo->currentIndex() <= 0) return QStringList();
                        return QStringList{combo->currentText()};
                      },
                      [combo](const QStringList& values) {
                        combo->setCurrentIndex(std::max(combo->findText(values.value(0)), 0));
                      }});
}

QSpinBox* OptionsPanel::AddSpin(QFormLayout* form, const QString& label, const QString& option,
                                int least, int most, int standard) {
  auto* const spin = new QSpinBox(this);
  spin->setObjectName(option);
  spin->setRange(least, most);
  spin->setValue(standard);
  form->addRow(label, spin);
  connect(spin, &QSpinBox::valueChanged, this, [this] { Changed(); });
  m_fields.push_back({option,
                      [spin, standard] {
                        if (spin->value() == standard) return QStringList();
                        return QStringList{QString::number(spin->value())};
                      },
                      [spin, standard](const QStringList& values) {
                        spin->setValue(values.isEmpty() ? standard : values.first().toInt());
                      }});
  return spin;
}

void OptionsPanel::AddFlag(QFormLayout* form, const QString& label, const QString& option) {
  auto* const box = new QCheckBox(this);
  box->setObjectName(option);
  form->addRow(label, box);
  connect(box, &QCheckBox::toggled, this, [this] { Changed(); });
  m_fields.push_back({option,
                      [box] { return box->isChecked() ? QStringList{QString()} : QStringList(); },
                      [box](const QStringList& values) { box->setChecked(!values.isEmpty()); }});
}

/// An option whose value may be left out: a check box, and a field for the value.
void OptionsPanel::AddSwitch(QFormLayout* form, const QString& label, const QString& option,
                             const QString& standard, const QString& hint) {
  auto* const row = new QWidget(this);
  auto* const layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* const box = new QCheckBox(row);
  box->setObjectName(option);
  auto* const value = new QLineEdit(standard, row);
  value->setPlaceholderText(hint);
  layout->addWidget(box);
  layout->addWidget(value);
  form->addRow(label, row);
  static_cast<QLabel*>(form->labelForField(row))->setBuddy(box);
  connect(box, &QCheckBox::toggled, this, [this] { Changed(); });
  connect(value, &QLineEdit::editingFinished, this, [this, box] {
    if (box->isChecked()) Changed();
  });
  m_fields.push_back({option,
                      [box, value] {
                        if (!box->isChecked()) return QStringList();
                        return QStringList{value->text().trimmed()};
                      },
                      [box, value, standard](const QStringList& values) {
                        box->setChecked(!values.isEmpty());
                        value->setText(values.isEmpty() ? standard : values.first());
                      }});
}

void OptionsPanel::AddList(QFormLayout* form, const QString& label, const QString& option,
                           const std::function<void(EntryList*)>& prepare) {
  auto* const list = new EntryList(
      QString(label).remove('&'), [this] { Changed(); }, this);
  list->setObjectName(option);
  prepare(list);
  form->addRow(label, list);
  m_fields.push_back({option, [list] { return list->Entries(); },
                      [list](const QStringList& values) { list->SetEntries(values); }});
}

QStringList OptionsPanel::Arguments() const {
  QStringList arguments;
  for (const Field& field : m_fields) {
    for (const QString& value : field.values()) {
      arguments << (value.isEmpty() ? field.option : field.option + '=' + value);
    }
  }
  return arguments;
}

void OptionsPanel::SetArguments(const QStringList& arguments) {
  m_setting = true;
  for (const Field& field : m_fields) {
    QStringList values;
    for (const QString& argument : arguments) {
      if (argument.section('=', 0, 0) == field.option) values << argument.section('=', 1);
    }
    field.set(values);
  }
  m_setting = false;
}

void OptionsPanel::ShowProblem(const QString& text) {
  m_problem->setText(text);
}

}  // namespace view
