// Dialogs: their state, what the user does to it, and being shown.
#include "platform/mfc/dialog_window.h"

#include <utility>

#include "platform/mfc_dialogs.h"

namespace platform {
namespace {

DialogControl MakeControl(const ControlTemplate& place, const DialogResources& resources) {
  const DialogText& text = resources.Text(place.text);
  DialogControl control;
  control.id = place.id;
  control.kind = place.kind;
  control.group = place.group;
  control.cell = place.cell;
  control.text = text.text;
  control.toolTip = text.toolTip;
  control.accessKey = text.accessKey;
  return control;
}

bool IsButton(const DialogControl& control) {
  return control.kind == ControlKind::kButton || control.kind == ControlKind::kDefaultButton;
}

bool IsCheckBox(const DialogControl& control) {
  return control.kind == ControlKind::kCheckBox;
}

}  // namespace

bool StateWindow::Move(const WindowPlace& place) {
  m_place = place;
  return true;
}

DialogWindow::DialogWindow(const DialogTemplate& dialog, const DialogResources& resources,
                           HWND parent, CDialog* owner)
    : StateWindow({0, 0, 1, 1}, parent, owner),
      m_title(resources.Text(dialog.title).text),
      m_dialog(owner) {
  m_controls.reserve(dialog.controls.size());
  for (const ControlTemplate& control : dialog.controls) {
    m_controls.push_back(MakeControl(control, resources));
  }
}

bool DialogWindow::Register(const std::shared_ptr<DialogWindow>& dialog) {
  if (!Window::Register(dialog)) return false;
  for (std::size_t i = 0; i < dialog->m_controls.size(); ++i) {
    const auto control = std::make_shared<ControlWindow>(dialog, i);
    if (!Window::Register(control)) {
      Close(dialog->Handle());
      return false;
    }
    dialog->m_handles.push_back(control->Handle());
  }
  return true;
}

HWND DialogWindow::ControlHandle(int id) const {
  const DialogControl* control = Find(id);
  return control ? m_handles[static_cast<std::size_t>(control - m_controls.data())] : nullptr;
}

/// The dialog that this one lies in, or was opened from.
DialogWindow* DialogWindow::Outer() const {
  return FindDialog(Parent()).get();
}

DialogView* DialogWindow::View() const {
  return m_isPage && Outer() ? Outer()->View() : m_view;
}

bool DialogWindow::TakesInput() const {
  if (m_ended || m_blocks > 0 || IsClosed()) return false;
  if (!m_isPage) return true;
  const DialogWindow* sheet = Outer();
  return sheet && sheet->TakesInput() && sheet->m_activePage >= 0 &&
         sheet->m_pages[static_cast<std::size_t>(sheet->m_activePage)] == this;
}

void DialogWindow::Block(int count) {
  for (DialogWindow* outer = Outer(); outer; outer = outer->Outer()) outer->m_blocks += count;
}

DialogControl* DialogWindow::Usable(int id) {
  const DialogControl* control = TakesInput() ? Find(id) : nullptr;
  if (!control || !control->visible || !control->enabled) return nullptr;
  return &m_controls[static_cast<std::size_t>(control - m_controls.data())];
}

bool DialogWindow::Press(DialogControl& control) {
  if (!IsButton(control) && !IsCheckBox(control)) return false;
  if (IsCheckBox(control)) {
    control.checked = !control.checked;
    Notify(control, ControlChange::kChecked);
  }
  m_dialog->OnCommand(control.id);
  return true;
}

bool DialogWindow::Click(int id) {
  const std::shared_ptr<DialogWindow> keep = shared_from_this();  // a command may end the dialog
  DialogControl* control = Usable(id);
  return control && Press(*control);
}

bool DialogWindow::SetChecked(int id, bool checked) {
  const DialogControl* control = Usable(id);
  if (!control || !IsCheckBox(*control)) return false;
  return control->checked == checked || Click(id);
}

bool DialogWindow::CheckItem(int id, int item, bool checked) {
  DialogControl* control = Usable(id);
  const auto line = static_cast<std::size_t>(item);
  if (!control || control->kind != ControlKind::kCheckList || item < 0 ||
      line >= control->items.size() || !control->items[line].enabled) {
    return false;
  }
  if (control->items[line].checked == checked) return true;
  control->items[line].checked = checked;
  Notify(*control, ControlChange::kItemChanged, item);
  return true;
}

bool DialogWindow::PressKey(char key) {
  for (const DialogControl& control : m_controls) {
    if (!control.accessKey || !IsSameKey(control.accessKey, key)) continue;
    if ((IsButton(control) || IsCheckBox(control)) && Usable(control.id)) return Click(control.id);
  }
  return m_activePage >= 0 && m_pages[static_cast<std::size_t>(m_activePage)]->PressKey(key);
}

bool DialogWindow::ShowPage(int page) {
  auto* sheet = dynamic_cast<CPropertySheet*>(m_dialog);
  return TakesInput() && sheet && sheet->SetActivePage(page) != 0;
}

bool DialogWindow::Confirm() {
  if (m_isPage) return Outer() && Outer()->Confirm();
  for (const DialogControl& control : m_controls) {
    if (control.kind == ControlKind::kDefaultButton) return Click(control.id);
  }
  return false;
}

bool DialogWindow::Cancel() {
  if (m_isPage) return Outer() && Outer()->Cancel();
  const std::shared_ptr<DialogWindow> keep = shared_from_this();
  return TakesInput() && m_dialog->OnCommand(IDCANCEL) != 0;
}

int DialogWindow::RunModal() {
  if (m_ended) return m_result;
  const std::shared_ptr<DialogWindow> keep = shared_from_this();
  DialogView& view = CurrentDialogView();
  m_view = &view;
  Block(1);
  view.Open(*this);
  if (!m_ended) view.Run(*this);
  if (!m_ended) Cancel();
  if (!m_ended) End(IDCANCEL);
  Block(-1);
  m_view = nullptr;
  view.Close(*this);
  return m_result;
}

void DialogWindow::End(int result) {
  if (m_ended) return;
  m_result = result;
  m_ended = true;
  if (m_view) m_view->Ended(*this);
}

/// Its window is gone: that is an end too.
void DialogWindow::Release() {
  End(IDCANCEL);
}

void DialogWindow::Flush() {
  if (View()) View()->Redraw(*this);
}

void DialogWindow::AddPage(DialogWindow& page) {
  page.m_isPage = true;
  m_pages.push_back(&page);
}

void DialogWindow::SetActivePage(int page) {
  m_activePage = page;
  if (m_view) m_view->PageShown(*this, page);
}

void DialogWindow::Notify(const DialogControl& control, ControlChange change, int item) {
  if (View()) View()->Changed(*this, control, change, item);
}

std::shared_ptr<DialogWindow> FindDialog(HWND window) {
  return std::dynamic_pointer_cast<DialogWindow>(Windows().Get(window));
}

}  // namespace platform
