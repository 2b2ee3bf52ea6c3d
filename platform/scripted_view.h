// A view without a user: it plays a script, for programs that want something of a dialog, and for
// tests.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "platform/dialog_view.h"

namespace platform {

/// One thing that a script does. `act` gets the dialog on top and answers whether it could be done.
struct ScriptStep {
  std::string what;                       ///< For the message when it could not.
  std::function<bool(DialogModel&)> act;  ///< What is done.
};

/// Clicks a control. Ids are looked for in the dialog on top, then in its page in front.
ScriptStep ClickStep(int id);
/// Brings a check box into a state.
ScriptStep CheckStep(int id, bool checked);
/// Presses an access key.
ScriptStep KeyStep(char key);
/// Brings a page to the front.
ScriptStep PageStep(int page);
/// Copies a control as it is then; `*control` must live until the script is done.
ScriptStep ReadStep(int id, DialogControl* control);
/// Presses Enter.
ScriptStep ConfirmStep();
/// Presses Escape.
ScriptStep CancelStep();
/// Whatever the caller likes, with the dialog on top.
ScriptStep DoStep(std::function<void(DialogModel&)> act);

/// Plays its steps, one after the other, in whatever dialogs open for as long as it lives. A step
/// that opens another dialog hands the next steps on to that one until it ends. A step that cannot
/// be done ends the script; when no steps are left, dialogs that are still open are cancelled. It
/// is the program's view while it lives, and restores the one before.
class ScriptedView : public DialogView {
 public:
  /// Becomes the program's view.
  explicit ScriptedView(std::vector<ScriptStep> steps);
  /// Brings back the view before.
  ~ScriptedView() override;
  ScriptedView(const ScriptedView&) = delete;
  ScriptedView& operator=(const ScriptedView&) = delete;

  /// Why the script ended early, empty when it did not: which step, in which dialog.
  const std::string& Error() const { return m_error; }
  /// Whether every step was done.
  bool IsDone() const { return m_error.empty() && m_next == m_steps.size(); }

  void Open(DialogModel&) override {}
  void Run(DialogModel& dialog) override;
  void Close(DialogModel&) override {}

 private:
  std::vector<ScriptStep> m_steps;
  std::size_t m_next = 0;
  std::string m_error;
  DialogView* m_previous;
};

}  // namespace platform
