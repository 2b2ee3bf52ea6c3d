// The choice of fog.
#include "apps/gl3-view/fog_choice.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "apps/gl3-view/color_button.h"
#include "apps/gl3-view/texts.h"

namespace view {
namespace {

enum FogKind { kNone, kLinear, kExponential };
const QString kExponentialMark = "exp:";
const QColor kFogColor(0x80, 0x80, 0x80);
constexpr int kDigits = 4;
// Of an exponential fog that is switched on: what stands in the middle of the suggestion lets
// about a third through.
constexpr float kThickness = 2;

}  // namespace

FogChoice::FogChoice(std::function<void()> changed, QWidget* parent)
    : QWidget(parent), m_changed(std::move(changed)) {
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  m_kind = new QComboBox(this);
  m_kind->setObjectName("--fog");
  m_kind->addItems({Tr("none"), Tr("linear"), Tr("exponential")});
  setFocusProxy(m_kind);
  layout->addWidget(m_kind);
  auto* const row = new QHBoxLayout();
  layout->addLayout(row);
  const auto addField = [this, row](const QString& hint) {
    auto* const field = new QLineEdit(this);
    field->setPlaceholderText(hint);
    field->setToolTip(hint);
    row->addWidget(field);
    connect(field, &QLineEdit::editingFinished, this, [this] { m_changed(); });
    return field;
  };
  m_near = addField(Tr("distance from the eye where it begins"));
  m_far = addField(Tr("distance from the eye where nothing else is seen"));
  m_density = addField(Tr("density, a world unit"));
  m_color = new ColorButton(
      kFogColor, [this] { m_changed(); }, this);
  layout->addWidget(m_color);
  connect(m_kind, &QComboBox::currentIndexChanged, this, [this] {
    Suggest();
    ShowFields();
    m_changed();
  });
  ShowFields();
}

void FogChoice::ShowFields() {
  const int kind = m_kind->currentIndex();
  m_near->setVisible(kind == kLinear);
  m_far->setVisible(kind == kLinear);
  m_density->setVisible(kind == kExponential);
  m_color->setVisible(kind != kNone);
}

/// Fills fields that are still empty with what suits the view.
void FogChoice::Suggest() {
  if (!m_suggest) return;
  const auto [begin, end] = m_suggest();
  if (m_near->text().isEmpty()) m_near->setText(QString::number(begin, 'g', kDigits));
  if (m_far->text().isEmpty()) m_far->setText(QString::number(end, 'g', kDigits));
  if (m_density->text().isEmpty()) {
    m_density->setText(QString::number(kThickness / (begin + end), 'g', kDigits));
  }
}

QStringList FogChoice::Values() const {
  const QString color = ',' + m_color->Color().name();
  switch (m_kind->currentIndex()) {
    case kLinear:
      return {m_near->text().trimmed() + ',' + m_far->text().trimmed() + color};
    case kExponential:
      return {kExponentialMark + m_density->text().trimmed() + color};
    default:
      return {};
  }
}

void FogChoice::SetValues(const QStringList& values) {
  const QSignalBlocker quiet(m_kind);
  QStringList parts = values.value(0).split(',');
  if (values.isEmpty()) {
    m_kind->setCurrentIndex(kNone);
  } else if (parts.first().startsWith(kExponentialMark)) {
    m_kind->setCurrentIndex(kExponential);
    m_density->setText(parts.takeFirst().mid(kExponentialMark.size()));
  } else {
    m_kind->setCurrentIndex(kLinear);
    m_near->setText(parts.takeFirst());
    if (!parts.isEmpty()) m_far->setText(parts.takeFirst());
  }
  const QColor color(parts.value(0));
  if (color.isValid()) m_color->SetColor(color);
  ShowFields();
}

}  // namespace view
