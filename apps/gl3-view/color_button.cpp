// A button that shows a colour, and asks for another when it is pressed.
#include "apps/gl3-view/color_button.h"

#include <QColorDialog>
#include <QPixmap>
#include <utility>

namespace view {

ColorButton::ColorButton(const QColor& color, std::function<void()> changed, QWidget* parent)
    : QPushButton(parent) {
  SetColor(color);
  connect(this, &QPushButton::clicked, this, [this, changed = std::move(changed)] {
    const QColor chosen = QColorDialog::getColor(m_color, window());
    if (!chosen.isValid() || chosen == m_color) return;
    SetColor(chosen);
    changed();
  });
}

void ColorButton::SetColor(const QColor& color) {
  m_color = color;
  QPixmap swatch(iconSize());
  swatch.fill(color);
  setIcon(swatch);
  setText(color.name());
}

}  // namespace view
