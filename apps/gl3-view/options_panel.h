// The panel with the choices of how to draw.
#pragma once

#include <QLabel>
#include <QStringList>
#include <QWidget>
#include <functional>
#include <utility>
#include <vector>

class QFormLayout;
class QSpinBox;

namespace view {

/// Each choice is an option of `gl3 render`. What is at its default is not among the arguments.
class OptionsPanel : public QWidget {
 public:
  explicit OptionsPanel(QWidget* parent);

  /// Called after every change by the user.
  void SetListener(std::function<void()> changed) { m_listener = std::move(changed); }
  /// What a linear fog begins and ends with that was not on before, in world units from the eye.
  void SetFogSuggestion(std::function<std::pair<float, float>()> suggest) {
    m_suggestFog = std::move(suggest);
  }

  /// The choices as words "--name=value" or "--name".
  QStringList Arguments() const;
  /// Shows these instead; words that are no choices of the panel are left out.
  void SetArguments(const QStringList& arguments);
  /// One line about a choice that cannot be drawn; empty for none.
  void ShowProblem(const QString& text);

 private:
  /// A choice: its values are none for the default, an empty one for the bare option.
  struct Field {
    QString option;
    std::function<QStringList()> values;
    std::function<void(const QStringList&)> set;
  };

  void AddSurfaces(QFormLayout* form);
  void AddHelpers(QFormLayout* form);
  void AddFog(QFormLayout* form);
  void AddLists(QFormLayout* form);
  void AddCombo(QFormLayout* form, const QString& label, const QString& option,
                const QStringList& names);
  QSpinBox* AddSpin(QFormLayout* form, const QString& label, const QString& option, int least,
                    int most, int standard);
  void AddFlag(QFormLayout* form, const QString& label, const QString& option);
  void AddSwitch(QFormLayout* form, const QString& label, const QString& option,
                 const QString& standard, const QString& hint);
  void AddList(QFormLayout* form, const QString& label, const QString& option,
               const std::function<void(class EntryList*)>& prepare);
  void Changed();

  std::vector<Field> m_fields;
  std::function<void()> m_listener;
  std::function<std::pair<float, float>()> m_suggestFog;
  QLabel* m_problem = nullptr;
  bool m_setting = false;  // the program changes the widgets, not the user
};

}  // namespace view
