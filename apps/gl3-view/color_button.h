// A button that shows a colour, and asks for another when it is pressed.
#pragma once

#include <QColor>
#include <QPushButton>
#include <functional>

namespace view {

class ColorButton : public QPushButton {
 public:
  ColorButton(const QColor& color, std::function<void()> changed, QWidget* parent);

  const QColor& Color() const { return m_color; }
  void SetColor(const QColor& color);

 private:
  QColor m_color;
};

}  // namespace view
