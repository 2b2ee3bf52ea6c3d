// The choice of what is behind the model: a colour, a gradient or a picture.
#pragma once

#include <QStringList>
#include <QWidget>
#include <functional>

class QComboBox;
class QPushButton;

namespace view {

class ColorButton;

class BackgroundChoice : public QWidget {
 public:
  /// `changed` is called after every change by the user.
  BackgroundChoice(std::function<void()> changed, QWidget* parent);

  /// The value of --background ("#204060", "#ffffff,#204060", a file), or none for the usual one.
  QStringList Values() const;
  /// Takes such a value; others stand for the usual one.
  void SetValues(const QStringList& values);

 private:
  void ShowFields();
  void AskForPicture();
  void SetPicture(const QString& file);

  std::function<void()> m_changed;
  QComboBox* m_kind;
  ColorButton *m_color, *m_bottom;
  QPushButton* m_choose;
  QString m_picture;
};

}  // namespace view
