// Data exchange between a dialog's controls and its members, and list boxes as objects.
#include <memory>

#include "platform/mfc/dialog_window.h"
#include "platform/mfc_dialogs.h"

using namespace platform;

namespace {

std::shared_ptr<ControlWindow> ExchangedControl(const CDataExchange* exchange, int id) {
  const std::shared_ptr<DialogWindow> dialog = FindDialog(exchange->m_pDlgWnd->m_hWnd);
  return dialog ? FindControl(dialog->ControlHandle(id)) : nullptr;
}

LRESULT Send(HWND window, DWORD message, const char* text = nullptr) {
  return SendMessageA(window, message, 0, reinterpret_cast<LPARAM>(text));
}

}  // namespace

void DDX_Text(CDataExchange* exchange, int id, CString& value) {
  const auto control = ExchangedControl(exchange, id);
  if (!control) return;
  if (exchange->m_bSaveAndValidate) {
    value = control->State().text.c_str();
  } else {
    control->SetText(value);
  }
}

void DDX_Check(CDataExchange* exchange, int id, BOOL& value) {
  const auto control = ExchangedControl(exchange, id);
  if (!control) return;
  if (exchange->m_bSaveAndValidate) {
    value = control->State().checked ? 1 : 0;
  } else {
    control->SetChecked(value != 0);
  }
}

void DDX_Control(CDataExchange* exchange, int id, CWnd& control) {
  const auto found = ExchangedControl(exchange, id);
  if (found && !control.m_hWnd) control.Attach(found->Handle());
}

int CListBox::AddString(const char* text) {
  return m_hWnd ? static_cast<int>(Send(m_hWnd, LB_ADDSTRING, text)) : LB_ERR;
}

int CListBox::GetCount() const {
  return static_cast<int>(Send(m_hWnd, LB_GETCOUNT));
}

void CCheckListBox::SetCheck(int line, BOOL checked) {
  const auto list = FindControl(m_hWnd);
  const ListItem* item = list ? list->Item(line) : nullptr;
  if (item) list->SetItem(line, {item->text, checked != 0, item->enabled});
}

BOOL CCheckListBox::GetCheck(int line) const {
  const auto list = FindControl(m_hWnd);
  const ListItem* item = list ? list->Item(line) : nullptr;
  return item && item->checked;
}

void CCheckListBox::Enable(int line, BOOL enabled) {
  const auto list = FindControl(m_hWnd);
  const ListItem* item = list ? list->Item(line) : nullptr;
  if (item) list->SetItem(line, {item->text, item->checked, enabled != 0});
}

BOOL CCheckListBox::IsEnabled(int line) const {
  const auto list = FindControl(m_hWnd);
  const ListItem* item = list ? list->Item(line) : nullptr;
  return item && item->enabled;
}
