// The panel with the choices of how to draw.
#pragma once

#include <QColor>
#include <QLabel>
#include <QStringList>
#include <QWidget>
#include <functional>
#include <span>
#include <utility>
#include <vector>

#include "apps/gl3-view/entry_list.h"

class QFormLayout;
class QPushButton;
class QSpinBox;

namespace view {

/// Each choice is an option of `gl3 render`. What is at its default is not among the arguments, and
/// neither is what cannot be drawn: that is marked where it stands, and its last value that could
/// be drawn goes on to count.
class OptionsPanel : public QWidget {
 public:
  explicit OptionsPanel(QWidget* parent);

  /// Called after every change by the user.
  void SetListener(std::function<void()> changed) { m_listener = std::move(changed); }
  /// What a linear fog begins and ends with that was not on before, in world units from the eye.
  void SetFogSuggestion(std::function<std::pair<float, float>()> suggest) {
    m_suggestFog = std::move(suggest);
  }

  /// Looks anew at what the user has chosen: takes what can be drawn, marks the rest.
  void Judge();
  /// The choices that were taken, as words "--name=value" or "--name".
  QStringList Arguments() const;
  /// Shows and takes these instead; words that are no choices of the panel are left out.
  void SetArguments(const QStringList& arguments);
  /// Chooses as the user does: values of an option of the panel, none for its default; the other
  /// way of one that is on or off.
  void Choose(const QString& option, const QStringList& values);
  void Toggle(const QString& option);
  /// One line about what is wrong with all of it; empty for nothing.
  void ShowProblem(const QString& text);

 private:
  /// One of a few values of an option, and how the panel calls it.
  struct Named {
    const char *name, *text;
  };
  /// A choice: its values are none for the default, an empty one for the bare option.
  struct Field {
    QString option, label{};
    std::function<QStringList()> values;
    std::function<void(const QStringList&)> set;
    QLabel *caption = nullptr, *problem = nullptr;
    EntryList* list = nullptr;  // of its own values, when there may be several
    QStringList accepted{};
  };

  void AddSurfaces();
  void AddHelpers();
  void AddSurroundings();
  void AddLists();
  void AddEnd();
  void AddField(const QString& label, QWidget* widget, Field field);
  void AddCombo(const QString& label, const QString& option, std::span<const Named> names,
                int standard = 0);
  QSpinBox* AddSpin(const QString& label, const QString& option, int least, int most, int standard);
  void AddFlag(const QString& label, const QString& option);
  void AddSwitch(const QString& label, const QString& option, const QString& standard,
                 const QString& hint);
  void AddOptionalColor(const QString& label, const QString& option, const QColor& standard);
  void AddList(const QString& label, const QString& option, EntryKind kind,
               const std::function<void(EntryList*)>& prepare);
  QString InOwnWords(const Field& field, QString problem) const;
  void Mark(const Field& field, const QStringList& problems);
  void Changed();

  std::vector<Field> m_fields;
  std::function<void()> m_listener;
  std::function<std::pair<float, float>()> m_suggestFog;
  QFormLayout* m_form = nullptr;
  QLabel* m_problem = nullptr;
  QPushButton* m_reset = nullptr;
  bool m_setting = false;  // the program changes the widgets, not the user
};

}  // namespace view
