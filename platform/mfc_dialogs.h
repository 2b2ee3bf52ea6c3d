// Dialogs of MFC, as far as the module and the host's settings sheet use them: data exchange,
// message maps, list boxes, property pages and sheets. What shows them is a platform::DialogView.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/mfc_windows.h"
#include "platform/win32.h"

namespace platform {
class DialogWindow;
struct DialogResources;
struct DialogTemplate;
}  // namespace platform

/// Text of a control, UTF-8.
class CString {
 public:
  CString() = default;
  /// A copy; null gives the empty text.
  CString(const char* text) : m_text(text ? text : "") {}
  /// The text, never null; valid until it changes.
  operator const char*() const { return m_text.c_str(); }

 private:
  std::string m_text;
};

/// The direction of an exchange between a dialog's controls and its members.
class CDataExchange {
 public:
  /// `dialog` is not owned.
  CDataExchange(CWnd* dialog, BOOL save) : m_bSaveAndValidate(save), m_pDlgWnd(dialog) {}
  const BOOL m_bSaveAndValidate;  ///< From the controls into the members, or else back.
  CWnd* const m_pDlgWnd;          ///< The dialog.
};

/// A control's text. An id that the dialog does not have changes nothing, here and below.
void DDX_Text(CDataExchange* exchange, int id, CString& value);
/// A check box's state.
void DDX_Check(CDataExchange* exchange, int id, BOOL& value);
/// Makes `control` the object of the control; nothing happens when it is one already.
void DDX_Control(CDataExchange* exchange, int id, CWnd& control);

class CDialog;

/// What a dialog does when a button or check box is clicked.
struct AFX_MSGMAP_ENTRY {
  int id;                     ///< The control's.
  void (CDialog::*method)();  ///< What is called.
};
/// Commands of one class, and those of its base to look in afterwards.
struct AFX_MSGMAP {
  const AFX_MSGMAP* base;           ///< Null where there is none.
  const AFX_MSGMAP_ENTRY* entries;  ///< The class's own.
  std::size_t count;                ///< Of the entries.
};

/// A dialog of a template that an extension module carries (CDynLinkLibrary).
class CDialog : public CWnd {
 public:
  /// Of the template of that id; `parent`, not owned, may be null.
  explicit CDialog(int templateId, CWnd* parent = nullptr)
      : m_templateId(templateId), m_parent(parent) {}

  /// Shows the dialog until it is ended, and returns what EndDialog was given; -1 when no module
  /// has the template, or when there are no more windows.
  virtual int DoModal();
  /// Lets DoModal return `result`. Nothing happens when it does not run.
  void EndDialog(int result);

  /// Carries data from controls to members (non-zero) or from members to controls. Returns 0 when
  /// there is no window.
  BOOL UpdateData(BOOL save = 1);
  /// The object of a control, as CWnd::FromHandle gives it; null for an unknown id.
  CWnd* GetDlgItem(int id) const;
  /// Gives a control a text, UTF-8. Nothing happens for an unknown id.
  void SetDlgItemText(int id, const char* text);

  /// Fills the controls from the members. Returns non-zero when the focus may go to the first
  /// control.
  virtual BOOL OnInitDialog();
  /// Enter, or OK: carries data into the members and ends with IDOK.
  virtual void OnOK();
  /// Escape, or Cancel: ends with IDCANCEL.
  virtual void OnCancel();
  /// Carries out a command by the message map. Returns 0 when there is none of that id.
  BOOL OnCommand(int id);

 protected:
  /// The exchange of a derived class: its lines of DDX calls.
  virtual void DoDataExchange(CDataExchange*) {}
  /// The commands of a derived class.
  virtual const AFX_MSGMAP* GetMessageMap() const;
  /// Makes the window with the controls of the template, inside of `parent`, which may be null.
  bool CreateWindows(const platform::DialogTemplate& dialog,
                     const platform::DialogResources& resources, HWND parent);
  /// The same with the template of the dialog's id; false when no module has it.
  bool CreateFromTemplate(HWND parent);
  /// Shows the window that was made, until it is ended.
  int RunModal();

 private:
  friend class CPropertySheet;

  int m_templateId;
  CWnd* m_parent;
};

/// One of the pages of a sheet.
class CPropertyPage : public CDialog {
 public:
  /// Of the template of that id.
  explicit CPropertyPage(int templateId) : CDialog(templateId) {}

  /// The page comes to the front. The first time it has been initialised just before; later its
  /// controls are filled again from the members. Returns 0 to refuse.
  virtual BOOL OnSetActive();
  /// The page leaves the front, or the sheet is about to be confirmed: its members take over what
  /// the controls say. Returns 0 to refuse.
  virtual BOOL OnKillActive();
  /// The sheet is confirmed: the page puts its members into effect.
  void OnOK() override {}
  /// The sheet is cancelled.
  void OnCancel() override {}

 private:
  friend class CPropertySheet;
  bool m_wasActive = false;
};

/// A dialog of pages with the buttons OK and Cancel. Confirming it lets the page in front leave
/// (OnKillActive), and then calls OnOK of every page that was ever in front.
class CPropertySheet : public CDialog {
 public:
  /// `title` stays in place as long as the sheet does.
  explicit CPropertySheet(const char* title, CWnd* parent = nullptr);

  /// Pages are not owned. To be added before the sheet is shown.
  void AddPage(CPropertyPage* page) { m_pages.push_back(page); }
  /// IDOK or IDCANCEL; -1 as CDialog, or when the first page has no template or refuses to be
  /// shown.
  int DoModal() override;
  /// Brings a page to the front. Returns 0 when there is no such page, no template for it, or when
  /// one of the two pages refuses; the page in front then stays.
  BOOL SetActivePage(int page);
  /// Confirms the sheet, unless the page in front refuses to leave.
  void OnOK() override;
  /// Cancels the sheet: calls OnCancel of its pages.
  void OnCancel() override;

 private:
  const char* m_title;
  std::vector<CPropertyPage*> m_pages;
  int m_active = -1;
};

/// A list of lines. Lines are numbered from 0.
class CListBox : public CWnd {
 public:
  /// The new line's number; LB_ERR when there is no window, or for null.
  int AddString(const char* text);
};

/// A list of lines with a check mark each, which the user may change on lines that are enabled.
/// A line that there is not changes nothing, and is neither checked nor enabled.
class CCheckListBox : public CListBox {
 public:
  void SetCheck(int line, BOOL checked);    ///< Sets a line's mark.
  BOOL GetCheck(int line) const;            ///< A line's mark.
  void Enable(int line, BOOL enabled = 1);  ///< Whether the user may change a line's mark.
  BOOL IsEnabled(int line) const;           ///< As Enable had it last; lines are at first.
};

/// The program is busy for as long as one of these lives.
class CWaitCursor {
 public:
  CWaitCursor();   ///< Shows that the program is busy.
  ~CWaitCursor();  ///< Shows that it is so no longer, when it is the last.
  CWaitCursor(const CWaitCursor&) = delete;
  CWaitCursor& operator=(const CWaitCursor&) = delete;
};
