// The choice of where the model is cut open.
#pragma once

#include <QStringList>
#include <QWidget>
#include <functional>

class QComboBox;
class QSpinBox;

namespace view {

/// An axis and a share of the model's extent along it.
class SectionChoice : public QWidget {
 public:
  /// `changed` is called after every change by the user.
  SectionChoice(std::function<void()> changed, QWidget* parent);

  /// The value of --section, such as "x=50%", or none.
  QStringList Values() const;
  /// Takes such a value; others stand for none.
  void SetValues(const QStringList& values);

 private:
  QComboBox* m_axis;
  QSpinBox* m_percent;
};

}  // namespace view
