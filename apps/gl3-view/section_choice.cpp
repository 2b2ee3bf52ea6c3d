// The choice of where the model is cut open.
#include "apps/gl3-view/section_choice.h"

#include <QComboBox>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "apps/gl3-view/texts.h"

namespace view {
namespace {

constexpr struct {
  const char *text, *axis;
} kSides[] = {{TrMark("none"), ""},      {TrMark("beyond x"), "x"},  {TrMark("beyond y"), "y"},
              {TrMark("beyond z"), "z"}, {TrMark("before x"), "-x"}, {TrMark("before y"), "-y"},
              {TrMark("before z"), "-z"}};
// At the ends there would be all of it or nothing.
constexpr int kLeast = 1, kMiddle = 50, kMost = 99;

}  // namespace

SectionChoice::SectionChoice(std::function<void()> changed, QWidget* parent) : QWidget(parent) {
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  m_axis = new QComboBox(this);
  m_axis->setObjectName("--section");
  for (const auto& [text, axis] : kSides) m_axis->addItem(Tr(text), axis);
  setFocusProxy(m_axis);
  layout->addWidget(m_axis);
  m_percent = new QSpinBox(this);
  m_percent->setObjectName("section place");
  m_percent->setRange(kLeast, kMost);
  m_percent->setValue(kMiddle);
  m_percent->setSuffix(" %");
  m_percent->setToolTip(Tr("Of the model's extent along the axis"));
  m_percent->setKeyboardTracking(false);
  m_percent->hide();
  layout->addWidget(m_percent);
  connect(m_axis, &QComboBox::currentIndexChanged, this, [this, changed](int index) {
    m_percent->setVisible(index > 0);
    changed();
  });
  connect(m_percent, &QSpinBox::valueChanged, this, [changed = std::move(changed)] { changed(); });
}

QStringList SectionChoice::Values() const {
  if (m_axis->currentIndex() <= 0) return {};
  return {QString("%1=%2%").arg(m_axis->currentData().toString()).arg(m_percent->value())};
}

void SectionChoice::SetValues(const QStringList& values) {
  const QSignalBlocker quietAxis(m_axis), quietPercent(m_percent);
  const QStringList parts = values.value(0).split('=');
  const int axis = parts.size() == 2 && parts[1].endsWith('%') ? m_axis->findData(parts[0]) : 0;
  m_axis->setCurrentIndex(std::max(axis, 0));
  m_percent->setVisible(axis > 0);
  m_percent->setValue(axis > 0 ? parts[1].chopped(1).toInt() : kMiddle);
}

}  // namespace view
