// The windows of dialogs and of their controls: handles with a state, and nothing to draw into.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/dialog_view.h"
#include "platform/mfc/window.h"

class CDialog;

namespace platform {

/// A window that only stands in the table of handles.
class StateWindow : public Window {
 public:
  using Window::Window;
  EGLSurface SurfaceFor(EGLConfig) override { return EGL_NO_SURFACE; }
  EGLSurface Refit(EGLConfig) override { return EGL_NO_SURFACE; }
  EGLint Present() override { return EGL_BAD_SURFACE; }
  bool Move(const WindowPlace& place) override;
};

/// A dialog, a page or a sheet: the state of its controls, and who is told of it.
class DialogWindow : public StateWindow,
                     public DialogModel,
                     public std::enable_shared_from_this<DialogWindow> {
 public:
  /// A dialog with its controls, which has no handles before Register.
  DialogWindow(const DialogTemplate& dialog, const DialogResources& resources, HWND parent,
               CDialog* owner);
  /// Gives the dialog and its controls their handles. False when there are no more.
  static bool Register(const std::shared_ptr<DialogWindow>& dialog);

  const std::string& Title() const override { return m_title; }
  const std::vector<DialogControl>& Controls() const override { return m_controls; }
  const std::vector<DialogModel*>& Pages() const override { return m_pages; }
  int ActivePage() const override { return m_activePage; }
  bool IsEnded() const override { return m_ended; }
  bool Click(int id) override;
  bool SetChecked(int id, bool checked) override;
  bool CheckItem(int id, int item, bool checked) override;
  bool PressKey(char key) override;
  bool ShowPage(int page) override;
  bool Confirm() override;
  bool Cancel() override;

  /// Shows the dialog until it is ended and returns the result; the dialogs that it lies in take no
  /// input meanwhile.
  int RunModal();
  void End(int result);
  /// Brings forward what the view has put off.
  void Flush() override;

  void SetTitle(const char* title) { m_title = title; }
  void AddPage(DialogWindow& page);
  void SetActivePage(int page);

  /// The handle of a control, null for an unknown id.
  HWND ControlHandle(int id) const;

 private:
  friend class ControlWindow;

  void Release() override;
  DialogWindow* Outer() const;
  DialogView* View() const;
  bool TakesInput() const;
  void Block(int count);
  /// The control when it is there and the user can get at it now, else null.
  DialogControl* Usable(int id);
  bool Press(DialogControl& control);
  void Notify(const DialogControl& control, ControlChange change, int item = -1);

  std::string m_title;
  CDialog* m_dialog;
  std::vector<DialogControl> m_controls;
  std::vector<HWND> m_handles;  // of the controls
  std::vector<DialogModel*> m_pages;
  int m_activePage = -1;
  bool m_isPage = false;
  DialogView* m_view = nullptr;  // while it is open
  int m_blocks = 0;              // modal dialogs on top of it
  bool m_ended = false;
  int m_result = IDCANCEL;
};

/// A control's window: the way to its state through a handle.
class ControlWindow : public StateWindow {
 public:
  ControlWindow(std::shared_ptr<DialogWindow> dialog, std::size_t index);

  const DialogControl& State() const { return m_state; }
  void SetText(const char* text);
  void SetChecked(bool checked);
  void Show(bool visible) override;
  bool Enable(bool enabled) override;
  std::intptr_t Message(DWORD message, WPARAM wParam, LPARAM lParam) override;

  /// A line of a list, null when there is none of that number.
  const ListItem* Item(int line) const;
  void SetItem(int line, const ListItem& item);

 private:
  int AddItem(const char* text);

  std::shared_ptr<DialogWindow> m_dialog;
  DialogControl& m_state;
};

/// The dialog or the control behind a handle; null for any other handle.
std::shared_ptr<DialogWindow> FindDialog(HWND window);
std::shared_ptr<ControlWindow> FindControl(HWND window);

/// Whether two letters or digits are the same access key: case does not matter.
bool IsSameKey(char a, char b);

/// What shows dialogs now.
DialogView& CurrentDialogView();

/// A template by id from the modules that are registered, the latest first; null when none has it.
struct FoundDialog {
  const DialogTemplate* dialog = nullptr;
  const DialogResources* resources = nullptr;
};
FoundDialog FindDialogTemplate(int id);

}  // namespace platform
