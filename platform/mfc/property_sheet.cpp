// Property pages, and the sheet that they lie in.
#include <cstddef>
#include <memory>

#include "platform/mfc/dialog_window.h"
#include "platform/mfc_dialogs.h"

using namespace platform;

namespace {

enum SheetText { kOkText, kCancelText };

constexpr DialogText kTexts[] = {{"OK", "", 0}, {"Cancel", "", 0}};

constexpr ControlTemplate kControls[] = {
    {kNoControlId, ControlKind::kPages, kNoText, kNoGroup, {0, 0, 1, 3}},
    {IDOK, ControlKind::kDefaultButton, kOkText, kNoGroup, {1, 1, 1, 1}},
    {IDCANCEL, ControlKind::kButton, kCancelText, kNoGroup, {1, 2, 1, 1}}};

constexpr DialogTemplate kSheet = {0, kNoText, kControls};
constexpr DialogResources kResources = {{}, kTexts};

}  // namespace

BOOL CPropertyPage::OnSetActive() {
  if (m_wasActive) return UpdateData(0);
  m_wasActive = true;
  return 1;
}

BOOL CPropertyPage::OnKillActive() {
  return UpdateData(1);
}

CPropertySheet::CPropertySheet(const char* title, CWnd* parent)
    : CDialog(0, parent), m_title(title) {}

int CPropertySheet::DoModal() {
  if (!CreateWindows(kSheet, kResources, m_parent ? m_parent->m_hWnd : nullptr)) return -1;
  const std::shared_ptr<DialogWindow> sheet = FindDialog(m_hWnd);
  sheet->SetTitle(m_title);
  m_active = -1;
  for (CPropertyPage* page : m_pages) {
    page->m_wasActive = false;
    if (!page->CreateFromTemplate(m_hWnd)) {
      DestroyWindow();
      return -1;
    }
    sheet->AddPage(*FindDialog(page->m_hWnd));
  }
  if (!m_pages.empty() && !SetActivePage(0)) {
    DestroyWindow();
    return -1;
  }
  return RunModal();
}

BOOL CPropertySheet::SetActivePage(int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= m_pages.size() || !m_hWnd) return 0;
  if (index == m_active) return 1;
  if (m_active >= 0 && !m_pages[static_cast<std::size_t>(m_active)]->OnKillActive()) return 0;
  CPropertyPage& page = *m_pages[static_cast<std::size_t>(index)];
  if (!page.m_wasActive) page.OnInitDialog();
  if (!page.OnSetActive()) return 0;
  m_active = index;
  const std::shared_ptr<DialogWindow> sheet = FindDialog(m_hWnd);
  if (sheet) sheet->SetActivePage(index);
  return 1;
}

void CPropertySheet::OnOK() {
  if (m_active >= 0 && !m_pages[static_cast<std::size_t>(m_active)]->OnKillActive()) return;
  for (CPropertyPage* page : m_pages) {
    if (page->m_wasActive) page->OnOK();
  }
  EndDialog(IDOK);
}

void CPropertySheet::OnCancel() {
  for (CPropertyPage* page : m_pages) {
    if (page->m_wasActive) page->OnCancel();
  }
  EndDialog(IDCANCEL);
}
