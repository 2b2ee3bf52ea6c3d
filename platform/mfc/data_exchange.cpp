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

/// Whether a line of a check list has a mark; false when there is no such list or line.
bool HasMark(HWND window, int line, bool ListItem::*mark) {
  const auto list = FindControl(window);
  const ListItem* item = list ? list->Item(line) : nullptr;
  return item && item->*mark;
}

void SetMark(HWND window, int line, bool ListItem::*mark, bool value) {
  const auto list = FindControl(window);
  const ListItem* item = list ? list->Item(line) : nullptr;
  if (!item) return;
  ListItem changed = *item;
  changed.*mark = value;
  list->SetItem(line, changed);
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
  if (!m_hWnd) return LB_ERR;
  return static_cast<int>(SendMessageA(m_hWnd, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text)));
}

void CCheckListBox::SetCheck(int line, BOOL checked) {
  SetMark(m_hWnd, line, &ListItem::checked, checked != 0);
}

BOOL CCheckListBox::GetCheck(int line) const {
  return HasMark(m_hWnd, line, &ListItem::checked);
}

void CCheckListBox::Enable(int line, BOOL enabled) {
  SetMark(m_hWnd, line, &ListItem::enabled, enabled != 0);
}

BOOL CCheckListBox::IsEnabled(int line) const {
  return HasMark(m_hWnd, line, &ListItem::enabled);
}
