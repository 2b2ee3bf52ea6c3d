// The choice of fog: none, linear between two distances, or exponential.
#pragma once

#include <QStringList>
#include <QWidget>
#include <functional>
#include <utility>

class QComboBox;
class QLineEdit;

namespace view {

class ColorButton;

class FogChoice : public QWidget {
 public:
  /// `changed` is called after every change by the user.
  FogChoice(std::function<void()> changed, QWidget* parent);

  void SetSuggestion(std::function<std::pair<float, float>()> suggest) {
    m_suggest = std::move(suggest);
  }
  /// The value of --fog ("2,9,#808080", "exp:0.1,#808080"), or none.
  QStringList Values() const;
  void SetValues(const QStringList& values);

 private:
  void ShowFields();
  void Suggest();

  std::function<void()> m_changed;
  std::function<std::pair<float, float>()> m_suggest;
  QComboBox* m_kind;
  QLineEdit *m_near, *m_far, *m_density;
  ColorButton* m_color;
};

}  // namespace view
