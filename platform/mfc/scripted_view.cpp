// A view that plays a script.
#include "platform/scripted_view.h"

#include <utility>

namespace platform {
namespace {

/// The dialog that has the control: the one on top or its page in front. Null when neither has.
DialogModel* Holder(DialogModel& dialog, int id) {
  if (dialog.Find(id)) return &dialog;
  if (dialog.ActivePage() < 0) return nullptr;
  DialogModel* page = dialog.Pages()[static_cast<std::size_t>(dialog.ActivePage())];
  return page->Find(id) ? page : nullptr;
}

}  // namespace

ScriptStep ClickStep(int id) {
  return {"click control " + std::to_string(id), [id](DialogModel& dialog) {
            DialogModel* holder = Holder(dialog, id);
            return holder && holder->Click(id);
          }};
}

ScriptStep CheckStep(int id, bool checked) {
  return {(checked ? "check control " : "uncheck control ") + std::to_string(id),
          [id, checked](DialogModel& dialog) {
            DialogModel* holder = Holder(dialog, id);
            return holder && holder->SetChecked(id, checked);
          }};
}

ScriptStep KeyStep(char key) {
  return {std::string("press the key ") + key,
          [key](DialogModel& dialog) { return dialog.PressKey(key); }};
}

ScriptStep PageStep(int page) {
  return {"show page " + std::to_string(page),
          [page](DialogModel& dialog) { return dialog.ShowPage(page); }};
}

ScriptStep ReadStep(int id, DialogControl* control) {
  return {"read control " + std::to_string(id), [id, control](DialogModel& dialog) {
            const DialogModel* holder = Holder(dialog, id);
            if (holder) *control = *holder->Find(id);
            return holder != nullptr;
          }};
}

ScriptStep ConfirmStep() {
  return {"confirm", [](DialogModel& dialog) { return dialog.Confirm(); }};
}

ScriptStep CancelStep() {
  return {"cancel", [](DialogModel& dialog) { return dialog.Cancel(); }};
}

ScriptStep DoStep(std::function<void(DialogModel&)> act) {
  return {"do what is asked", [act = std::move(act)](DialogModel& dialog) {
            act(dialog);
            return true;
          }};
}

ScriptedView::ScriptedView(std::vector<ScriptStep> steps)
    : m_steps(std::move(steps)), m_previous(SetDialogView(this)) {}

ScriptedView::~ScriptedView() {
  SetDialogView(m_previous);
}

void ScriptedView::Run(DialogModel& dialog) {
  while (!dialog.IsEnded() && m_next < m_steps.size() && m_error.empty()) {
    const ScriptStep& step = m_steps[m_next++];
    if (!step.act(dialog) && m_error.empty()) {
      m_error = "cannot " + step.what + " in the dialog \"" + dialog.Title() + "\"";
    }
  }
}

}  // namespace platform
