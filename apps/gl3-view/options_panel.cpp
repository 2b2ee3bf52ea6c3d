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
#include <QRegularExpression>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>
#include <optional>

#include "apps/gl3-view/background_choice.h"
#include "apps/gl3-view/choice_judge.h"
#include "apps/gl3-view/color_button.h"
#include "apps/gl3-view/entry_list.h"
#include "apps/gl3-view/fog_choice.h"
#include "apps/gl3-view/section_choice.h"
#include "apps/gl3-view/texts.h"
#include "hostkit/effects/effect_table.h"

namespace view {
namespace {

constexpr int kLeastWidth = 240;
constexpr const char* kProblemStyle = "color: #b00020";

QLabel* NewProblemLabel(const QString& name, QWidget* parent) {
  auto* const label = new QLabel(parent);
  label->setObjectName(name);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  label->setStyleSheet(kProblemStyle);
  return label;
}

}  // namespace

OptionsPanel::OptionsPanel(QWidget* parent) : QWidget(parent) {
  auto* const layout = new QVBoxLayout(this);
  m_form = new QFormLayout();
  layout->addLayout(m_form);
  AddSurfaces();
  AddSurroundings();
  AddHelpers();
  AddLists();
  AddEnd();
  layout->addStretch();
  setMinimumWidth(kLeastWidth);
}

void OptionsPanel::Changed() {
  if (!m_setting && m_listener) m_listener();
}

void OptionsPanel::AddSurfaces() {
  static constexpr Named kModes[] = {{"shaded", TrMark("Shaded")},
                                     {"flat", TrMark("Flat: a colour a triangle")},
                                     {"wireframe", TrMark("Wireframe: all edges")},
                                     {"wireframe-gl", TrMark("Wireframe, lit by the driver")},
                                     {"lines", TrMark("Line drawing")},
                                     {"points", TrMark("Points: all vertices")}};
  static constexpr Named kLights[] = {{"auto", TrMark("Automatic")},
                                      {"scene", TrMark("The model's")},
                                      {"headlight", TrMark("Headlight")},
                                      {"three-point", TrMark("Three-point")}};
  static constexpr Named kMaterials[] = {{"file", TrMark("The model's")},
                                         {"clay", TrMark("Clay: light grey, opaque")},
                                         {"matte", TrMark("Matte: without highlights")},
                                         {"shiny", TrMark("Shiny: with bright highlights")},
                                         {"unlit", TrMark("Unlit: the colours alone")}};
  static constexpr Named kSamples[] = {{"1", TrMark("1 sample: fastest")},
                                       {"2", TrMark("2 × 2 samples")},
                                       {"3", TrMark("3 × 3 samples")},
                                       {"4", TrMark("4 × 4 samples")}};
  AddCombo(Tr("&Mode"), "--mode", kModes);
  AddFlag(Tr("Ed&ges"), "--edges");
  AddOptionalColor(Tr("Line &colour"), "--line-color", Qt::black);
  AddCombo(Tr("Mater&ial"), "--material", kMaterials);
  AddOptionalColor(Tr("O&ne colour"), "--color", QColor(0xc8, 0xb8, 0x98));
  AddCombo(Tr("&Lights"), "--lights", kLights);
  AddFlag(Tr("Bac&kfaces"), "--backfaces");
  AddCombo(Tr("&Antialias"), "--antialias", kSamples, 1);
}

void OptionsPanel::AddHelpers() {
  static constexpr Named kAxes[] = {{"auto", TrMark("As the file says")},
                                    {"+X", "+X"},
                                    {"-X", "−X"},
                                    {"+Y", "+Y"},
                                    {"-Y", "−Y"},
                                    {"+Z", "+Z"},
                                    {"-Z", "−Z"}};
  AddCombo(Tr("U&p axis"), "--up-axis", kAxes);
  AddSpin(Tr("Point si&ze"), "--point-size", 0, 64, 0)->setSpecialValueText(Tr("automatic"));
  AddSwitch(Tr("Gri&d"), "--grid", "", Tr("spacing, world units"));
  AddSwitch(Tr("Verte&x markers"), "--control-points", "", Tr("automatic; half a side, pixels"));
  AddSwitch(Tr("Scale &bar"), "--scale-bar", "", Tr("unit, such as mm"));
  auto* const section = new SectionChoice([this] { Changed(); }, this);
  AddField(Tr("Cut a&way"), section,
           {.option = "--section",
            .values = [section] { return section->Values(); },
            .set = [section](const QStringList& values) { section->SetValues(values); }});
}

/// What is behind the model, and before it.
void OptionsPanel::AddSurroundings() {
  auto* const behind = new BackgroundChoice([this] { Changed(); }, this);
  AddField(Tr("Backgro&und"), behind,
           {.option = "--background",
            .values = [behind] { return behind->Values(); },
            .set = [behind](const QStringList& values) { behind->SetValues(values); }});
  auto* const fog = new FogChoice([this] { Changed(); }, this);
  fog->SetSuggestion([this] { return m_suggestFog ? m_suggestFog() : std::pair(1.f, 10.f); });
  AddField(Tr("F&og"), fog,
           {.option = "--fog",
            .values = [fog] { return fog->Values(); },
            .set = [fog](const QStringList& values) { fog->SetValues(values); }});
}

void OptionsPanel::AddLists() {
  AddList(Tr("&Effects"), "--effect", EffectEntries(), [](EntryList* list) {
    auto* const menu = new QMenu(list);
    for (const hostkit::EffectKind& kind : hostkit::kEffectKinds) {
      QString text = QString::fromLatin1(kind.name);
      QAction* action = menu->addAction(text + " – " + QString::fromLatin1(kind.summary), list,
                                        [list, text] { list->Add(text, false); });
      action->setToolTip(QString::fromLatin1(kind.summary));
    }
    list->AddButton()->setMenu(menu);
  });
  AddList(Tr("Overla&ys"), "--overlay", OverlayEntries(), [](EntryList* list) {
    connect(list->AddButton(), &QPushButton::clicked, list, [list] {
      const QString file = QFileDialog::getOpenFileName(list->window(), Tr("Overlay a picture"));
      if (!file.isEmpty()) list->Add(file, false);
    });
  });
  AddList(Tr("&Texts"), "--text", TextEntries(), [](EntryList* list) {
    connect(list->AddButton(), &QPushButton::clicked, list,
            [list] { list->Add(Tr("Text"), true); });
  });
}

void OptionsPanel::AddEnd() {
  m_problem = NewProblemLabel("problem", this);
  m_form->addRow(m_problem);
  m_form->setRowVisible(m_problem, false);
  m_reset = new QPushButton(Tr("Re&set all"), this);
  m_reset->setObjectName("reset");
  m_reset->setEnabled(false);
  m_form->addRow(m_reset);
  connect(m_reset, &QPushButton::clicked, this, [this] {
    SetArguments({});
    Changed();
  });
}

/// A row, and below it the place for what is wrong with it.
void OptionsPanel::AddField(const QString& label, QWidget* widget, Field field) {
  field.label = QString(label).remove('&');
  m_form->addRow(label, widget);
  field.caption = static_cast<QLabel*>(m_form->labelForField(widget));
  field.problem = NewProblemLabel("problem " + field.option, this);
  m_form->addRow(field.problem);
  m_form->setRowVisible(field.problem, false);
  m_fields.push_back(std::move(field));
}

void OptionsPanel::AddCombo(const QString& label, const QString& option,
                            std::span<const Named> names, int standard) {
  auto* const combo = new QComboBox(this);
  combo->setObjectName(option);
  // The longest entry is not to make the panel wide.
  combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  for (const auto& [name, text] : names) combo->addItem(Tr(text), name);
  combo->setCurrentIndex(standard);
  connect(combo, &QComboBox::currentIndexChanged, this, [this] { Changed(); });
  AddField(label, combo,
           {.option = option,
            .values =
                [combo, standard] {
                  if (combo->currentIndex() == standard) return QStringList();
                  return QStringList{combo->currentData().toString()};
                },
            .set =
                [combo, standard](const QStringList& values) {
                  const int found = values.isEmpty() ? -1 : combo->findData(values.first());
                  combo->setCurrentIndex(found < 0 ? standard : found);
                }});
}

QSpinBox* OptionsPanel::AddSpin(const QString& label, const QString& option, int least, int most,
                                int standard) {
  auto* const spin = new QSpinBox(this);
  spin->setObjectName(option);
  spin->setRange(least, most);
  spin->setValue(standard);
  spin->setSuffix(' ' + Tr("pixels"));
  connect(spin, &QSpinBox::valueChanged, this, [this] { Changed(); });
  AddField(label, spin,
           {.option = option,
            .values =
                [spin, standard] {
                  if (spin->value() == standard) return QStringList();
                  return QStringList{QString::number(spin->value())};
                },
            .set =
                [spin, standard](const QStringList& values) {
                  spin->setValue(values.isEmpty() ? standard : values.first().toInt());
                }});
  return spin;
}

void OptionsPanel::AddFlag(const QString& label, const QString& option) {
  auto* const box = new QCheckBox(this);
  box->setObjectName(option);
  connect(box, &QCheckBox::toggled, this, [this] { Changed(); });
  AddField(label, box,
           {.option = option,
            .values = [box] { return box->isChecked() ? QStringList{QString()} : QStringList(); },
            .set = [box](const QStringList& values) { box->setChecked(!values.isEmpty()); }});
}

/// An option whose value may be left out: a check box, and a field for the value.
void OptionsPanel::AddSwitch(const QString& label, const QString& option, const QString& standard,
                             const QString& hint) {
  auto* const row = new QWidget(this);
  auto* const layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* const box = new QCheckBox(row);
  box->setObjectName(option);
  auto* const value = new QLineEdit(standard, row);
  value->setPlaceholderText(hint);
  layout->addWidget(box);
  layout->addWidget(value);
  connect(box, &QCheckBox::toggled, this, [this] { Changed(); });
  connect(value, &QLineEdit::editingFinished, this, [this, box] {
    if (box->isChecked()) Changed();
  });
  AddField(label, row,
           {.option = option,
            .values =
                [box, value] {
                  if (!box->isChecked()) return QStringList();
                  return QStringList{value->text().trimmed()};
                },
            .set =
                [box, value, standard](const QStringList& values) {
                  box->setChecked(!values.isEmpty());
                  value->setText(values.isEmpty() ? standard : values.first());
                }});
  m_fields.back().caption->setBuddy(box);
}

/// A colour that is chosen or not.
void OptionsPanel::AddOptionalColor(const QString& label, const QString& option,
                                    const QColor& standard) {
  auto* const row = new QWidget(this);
  auto* const layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* const box = new QCheckBox(row);
  box->setObjectName(option);
  auto* const color = new ColorButton(
      standard,
      [this, box] {
        m_setting = true;  // who chooses a colour wants it
        box->setChecked(true);
        m_setting = false;
        Changed();
      },
      row);
  layout->addWidget(box);
  layout->addWidget(color, 1);
  connect(box, &QCheckBox::toggled, this, [this] { Changed(); });
  AddField(label, row,
           {.option = option,
            .values =
                [box, color] {
                  if (!box->isChecked()) return QStringList();
                  return QStringList{color->Color().name()};
                },
            .set =
                [box, color, standard](const QStringList& values) {
                  const QColor read(values.value(0));
                  box->setChecked(read.isValid());
                  color->SetColor(read.isValid() ? read : standard);
                }});
  m_fields.back().caption->setBuddy(box);
}

void OptionsPanel::AddList(const QString& label, const QString& option, EntryKind kind,
                           const std::function<void(EntryList*)>& prepare) {
  auto* const list = new EntryList(
      QString(label).remove('&'), std::move(kind), [this] { Changed(); }, this);
  list->setObjectName(option);
  prepare(list);
  AddField(label, list,
           {.option = option,
            .values = [list] { return list->Entries(); },
            .set = [list](const QStringList& values) { list->SetEntries(values); },
            .list = list});
}

void OptionsPanel::Judge() {
  std::vector<ChoiceWish> wishes;
  for (const Field& field : m_fields) {
    const QStringList values = field.values();
    for (qsizetype i = 0; i < values.size(); ++i) {
      std::optional<QString> before;
      if (field.list) before = field.list->Accepted(i);
      if (!field.list && !field.accepted.isEmpty()) before = field.accepted.first();
      wishes.push_back({field.option, values[i], before});
    }
  }
  const std::vector<ChoiceVerdict> verdicts = JudgeChoices(wishes);
  auto verdict = verdicts.begin();
  bool areDefaults = true;
  for (Field& field : m_fields) {
    const qsizetype count = field.values().size();
    QStringList problems;
    field.accepted.clear();
    for (qsizetype i = 0; i < count; ++i, ++verdict) {
      const QString problem = InOwnWords(field, verdict->problem);
      if (verdict->accepted) field.accepted << *verdict->accepted;
      if (!problem.isEmpty()) problems << problem;
      if (field.list) field.list->Judge(i, verdict->accepted, problem);
    }
    Mark(field, problems);
    areDefaults = areDefaults && count == 0;
  }
  m_reset->setEnabled(!areDefaults);
}

/// What is wrong with a field, in the panel's words instead of those of the command line.
QString OptionsPanel::InOwnWords(const Field& field, QString problem) const {
  if (problem.startsWith(field.option + ": ")) problem.remove(0, field.option.size() + 2);
  for (const Field& other : m_fields) {
    problem.replace(QRegularExpression(other.option + "(?![a-z-])"), other.label);
  }
  return problem;
}

/// Captions of choices that differ from the defaults are bold.
void OptionsPanel::Mark(const Field& field, const QStringList& problems) {
  field.problem->setText(problems.join('\n'));
  m_form->setRowVisible(field.problem, !problems.isEmpty());
  field.caption->setStyleSheet(problems.isEmpty() ? "" : kProblemStyle);
  QFont font = field.caption->font();
  font.setBold(!field.values().isEmpty());
  field.caption->setFont(font);
}

QStringList OptionsPanel::Arguments() const {
  QStringList arguments;
  for (const Field& field : m_fields) {
    for (const QString& value : field.accepted) arguments << ChoiceWord(field.option, value);
  }
  return arguments;
}

void OptionsPanel::SetArguments(const QStringList& arguments) {
  m_setting = true;
  for (Field& field : m_fields) {
    QStringList values;
    for (const QString& argument : arguments) {
      if (argument.section('=', 0, 0) == field.option) values << argument.section('=', 1);
    }
    field.set(values);
    field.accepted.clear();
  }
  m_setting = false;
  Judge();
}

void OptionsPanel::Choose(const QString& option, const QStringList& values) {
  for (const Field& field : m_fields) {
    if (field.option != option || field.values() == values) continue;
    m_setting = true;  // its widgets tell of each step
    field.set(values);
    m_setting = false;
    Changed();
  }
}

void OptionsPanel::Toggle(const QString& option) {
  const auto isIt = [&](const Field& field) { return field.option == option; };
  const auto found = std::find_if(m_fields.begin(), m_fields.end(), isIt);
  Choose(option, found->values().isEmpty() ? QStringList{QString()} : QStringList());
}

void OptionsPanel::ShowProblem(const QString& text) {
  m_problem->setText(text);
  m_form->setRowVisible(m_problem, !text.isEmpty());
}

}  // namespace view
