// The dialog that lists all extensions, and the report file.
#include <cstddef>
#include <iterator>
#include <string>

#include "settings/DialogTemplates.h"
#include "settings/GL3Property.h"

namespace {

/// What the host's file question is to know beside its texts; the host gives it its meaning.
constexpr int kSaveOption = 2499;

}  // namespace

CExtensionsDlg::CExtensionsDlg(COpenGLPropertyPage* page)
    : CDialog(kExtensionsDialog, page), m_page(page) {}

const AFX_MSGMAP* CExtensionsDlg::GetMessageMap() const {
  static const AFX_MSGMAP_ENTRY entries[] = {
      {kSaveButton, static_cast<void (CDialog::*)()>(&CExtensionsDlg::OnButton1)}};
  static const AFX_MSGMAP map{CDialog::GetMessageMap(), entries, std::size(entries)};
  return &map;
}

BOOL CExtensionsDlg::OnInitDialog() {
  CDialog::OnInitDialog();
  const CWnd* list = GetDlgItem(kExtensionList);
  if (!list) return 0;
  // A name ends at a space: what follows the last one is not listed, and between two there is an
  // empty name.
  const String& names = m_page->GLExtensions();
  int start = 0;
  for (int end = names.Find(start, ' '); end >= 0; end = names.Find(start, ' ')) {
    const String name = names.Mid(start, end - start);
    SendMessageA(list->m_hWnd, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name.Text()));
    start = end + 1;
  }
  return 0;
}

void CExtensionsDlg::OnButton1() {
  String name("GLExtensions.txt");
  if (!SaveRequest("Choose a filename for saving the extensions", "Text Files(*.txt)|*.txt|", &name,
                   "txt", "TXT", kSaveOption, nullptr, nullptr)) {
    return;
  }
  FileStream file;
  if (!file.Open(name, FileStream::kWriteText)) return;
  const CWaitCursor busy;
  WriteReport(file);
  file.Close();
}

void CExtensionsDlg::WriteReport(FileStream& file) {
  file << m_page->Driver()->GetExtendedDriverInfo() << nl;
  file << "" << nl;
  file << "Extensions" << nl;
  const CWnd* list = GetDlgItem(kExtensionList);
  if (!list) return;
  const LRESULT count = SendMessageA(list->m_hWnd, LB_GETCOUNT, 0, 0);
  for (LRESULT i = 0; i < count; ++i) {
    const auto line = static_cast<WPARAM>(i);
    const LRESULT length = SendMessageA(list->m_hWnd, LB_GETTEXTLEN, line, 0);
    std::string name(static_cast<std::size_t>(length), '\0');
    SendMessageA(list->m_hWnd, LB_GETTEXT, line, reinterpret_cast<LPARAM>(name.data()));
    file << name.c_str() << nl;
  }
}
