// CDialog: made from a template, shown, ended.
#include <memory>
#include <new>

#include "platform/mfc/dialog_window.h"
#include "platform/mfc_dialogs.h"
#include "platform/mfc_modules.h"

using namespace platform;

namespace platform {

FoundDialog FindDialogTemplate(int id) {
  for (const CDynLinkLibrary* at = CDynLinkLibrary::First(); at; at = at->Next()) {
    const DialogResources* resources = at->Module().resources;
    if (!resources) continue;
    for (const DialogTemplate& dialog : resources->dialogs) {
      if (dialog.id == id) return {&dialog, resources};
    }
  }
  return {};
}

}  // namespace platform

const AFX_MSGMAP* CDialog::GetMessageMap() const {
  static constexpr AFX_MSGMAP_ENTRY kEntries[] = {{IDOK, &CDialog::OnOK},
                                                  {IDCANCEL, &CDialog::OnCancel}};
  static constexpr AFX_MSGMAP kMap{nullptr, kEntries, 2};
  return &kMap;
}

BOOL CDialog::OnCommand(int id) {
  for (const AFX_MSGMAP* map = GetMessageMap(); map; map = map->base) {
    for (std::size_t i = 0; i < map->count; ++i) {
      if (map->entries[i].id != id) continue;
      (this->*map->entries[i].method)();
      return 1;
    }
  }
  return 0;
}

bool CDialog::CreateWindows(const DialogTemplate& dialog, const DialogResources& resources,
                            HWND parent) {
  if (m_hWnd) return false;
  try {
    const auto window = std::make_shared<DialogWindow>(dialog, resources, parent, this);
    if (!DialogWindow::Register(window)) return false;
    m_hWnd = window->Handle();
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

bool CDialog::CreateFromTemplate(HWND parent) {
  const FoundDialog found = FindDialogTemplate(m_templateId);
  return found.dialog && CreateWindows(*found.dialog, *found.resources, parent);
}

int CDialog::DoModal() {
  if (!CreateFromTemplate(m_parent ? m_parent->m_hWnd : nullptr)) return -1;
  OnInitDialog();
  return RunModal();
}

int CDialog::RunModal() {
  const std::shared_ptr<DialogWindow> window = FindDialog(m_hWnd);
  const int result = window ? window->RunModal() : IDCANCEL;
  DestroyWindow();
  return result;
}

void CDialog::EndDialog(int result) {
  const std::shared_ptr<DialogWindow> window = FindDialog(m_hWnd);
  if (window) window->End(result);
}

BOOL CDialog::UpdateData(BOOL save) {
  if (!m_hWnd) return 0;
  CDataExchange exchange(this, save);
  DoDataExchange(&exchange);
  return 1;
}

CWnd* CDialog::GetDlgItem(int id) const {
  const std::shared_ptr<DialogWindow> window = FindDialog(m_hWnd);
  return window ? CWnd::FromHandle(window->ControlHandle(id)) : nullptr;
}

void CDialog::SetDlgItemText(int id, const char* text) {
  const std::shared_ptr<DialogWindow> window = FindDialog(m_hWnd);
  const auto control = window ? FindControl(window->ControlHandle(id)) : nullptr;
  if (control) control->SetText(text ? text : "");
}

BOOL CDialog::OnInitDialog() {
  UpdateData(0);
  return 1;
}

void CDialog::OnOK() {
  UpdateData(1);
  EndDialog(IDOK);
}

void CDialog::OnCancel() {
  EndDialog(IDCANCEL);
}
