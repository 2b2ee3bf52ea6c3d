// Which of the panel's choices can be drawn.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace view {

/// One choice as it stands in the panel.
struct ChoiceWish {
  QString option;                 ///< Of `gl3 render`, such as "--fog".
  QString value;                  ///< Empty for the option without a value.
  std::optional<QString> before;  ///< The value that was accepted last in its place, if any.
};

/// What becomes of it.
struct ChoiceVerdict {
  std::optional<QString> accepted;  ///< The value to draw with: the wish, what was before, or none.
  QString problem;                  ///< One line in terms of options; empty: the wish is accepted.
};

/// "--name=value" or "--name".
QString ChoiceWord(const QString& option, const QString& value);

/// Takes the wishes one by one, as `gl3 render` would take them together with those accepted
/// before: options, what they mean together, and pictures that are laid over. One that cannot be
/// drawn changes nothing for the others.
std::vector<ChoiceVerdict> JudgeChoices(const std::vector<ChoiceWish>& wishes);

}  // namespace view
