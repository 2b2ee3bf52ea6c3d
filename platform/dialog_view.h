// Dialogs as models, and the views that show them. A dialog of the layer (CDialog, CPropertySheet)
// knows nothing of any toolkit: it has controls with states, and commands. A view shows it to a
// user, or plays one, and drives it through DialogModel alone.
//
// The life of a dialog, all on one thread:
//
//   CDialog::DoModal ──> controls made from the template, OnInitDialog fills them
//                    ──> DialogView::Open(dialog)    build widgets from Controls() as they are now
//                    ──> DialogView::Run(dialog)     let the user work until dialog.IsEnded()
//                          user clicks  ──> dialog.Click(id), SetChecked, CheckItem, ShowPage,
//                                           Confirm (Enter), Cancel (Escape, the frame's cross)
//                          model changes ──> DialogView::Changed, also as the answer to the above
//                          a command opens another dialog ──> Open, Run and Close of that one nest
//                          it ends      ──> DialogView::Ended
//                    ──> DialogView::Close(dialog)   take the widgets down: the model goes next
//
// A sheet is a dialog with a control of the kind kPages. What lies there is Pages(): dialogs of
// their own, which are built, changed and driven like any, but are neither opened nor run by
// themselves. All have their controls from the start; a page is filled when it first comes to the
// front, which tells its changes (Changed) before PageShown.
//
// What a toolkit's view does with a template:
//   groups     a frame each, its grid inside; one none of whose controls is visible is hidden too
//   labels     go before the control that follows in the table, and take the focus to it
//   tab order  the order of Controls()
//   access key marked in the text where the text has that letter, else as a shortcut of its own
//   values     can be selected and copied, and reached with Tab
//   lists      grow with the dialog; lines that are not enabled cannot be checked
#pragma once

#include <string>
#include <vector>

#include "platform/dialog_template.h"

namespace platform {

/// A line of a list.
struct ListItem {
  std::string text;      ///< UTF-8.
  bool checked = false;  ///< Of check lists.
  bool enabled = true;   ///< Whether the user may change the check mark.
};

/// A control as it is now. Texts are UTF-8 and shown as they are: '&' has no meaning in them.
struct DialogControl {
  int id = kNoControlId;                   ///< As in the template.
  ControlKind kind = ControlKind::kLabel;  ///< As in the template.
  int group = kNoGroup;                    ///< As in the template.
  GridCell cell;                           ///< As in the template.
  std::string text;                        ///< What is shown.
  std::string toolTip;                     ///< What is told of it; may be empty.
  char accessKey = 0;                      ///< See DialogText.
  bool visible = true;                     ///< Whether it is shown.
  bool enabled = true;                     ///< Whether the user can use it.
  bool checked = false;                    ///< Of check boxes.
  std::vector<ListItem> items;             ///< Of lists.
};

/// A dialog, a page or a sheet as views see it: what there is, and what a user can do with it. What
/// cannot be done just now (a control that is hidden, disabled or not there, another dialog on top,
/// a dialog that has ended) does nothing and answers false.
class DialogModel {
 public:
  /// UTF-8.
  virtual const std::string& Title() const = 0;
  /// In tab order. The controls stay in place as long as the dialog is there.
  virtual const std::vector<DialogControl>& Controls() const = 0;
  /// The control of an id, or null.
  const DialogControl* Find(int id) const;
  /// Whether any control of the group is visible.
  bool IsGroupVisible(int group) const;
  /// Of a sheet: its pages in order, those that were never in front not being filled yet.
  virtual const std::vector<DialogModel*>& Pages() const = 0;
  /// Of a sheet: the page that is shown, -1 when there is none.
  virtual int ActivePage() const = 0;
  /// Whether the dialog takes no more input and Run should return.
  virtual bool IsEnded() const = 0;

  /// Presses a button, or changes a check box to its other state.
  virtual bool Click(int id) = 0;
  /// Brings a check box into a state; true also when it was in it before.
  virtual bool SetChecked(int id, bool checked) = 0;
  /// The same for a line of a check list.
  virtual bool CheckItem(int id, int item, bool checked) = 0;
  /// Clicks the button or check box of an access key, in either case of the letter. For views that
  /// have no such keys of their own.
  virtual bool PressKey(char key) = 0;
  /// Brings a page of a sheet to the front; true also when it was there before.
  virtual bool ShowPage(int page) = 0;
  /// Enter: presses the default button.
  virtual bool Confirm() = 0;
  /// Escape, or closing the window.
  virtual bool Cancel() = 0;

 protected:
  DialogModel() = default;
  DialogModel(const DialogModel&) = delete;
  DialogModel& operator=(const DialogModel&) = delete;
  ~DialogModel() = default;
};

/// What of a control is different now.
enum class ControlChange {
  kText,        ///< Its text.
  kChecked,     ///< Its check mark.
  kEnabled,     ///< Whether it can be used.
  kVisible,     ///< Whether it is shown.
  kItemAdded,   ///< A list has one line more, at its end.
  kItemChanged  ///< Text, mark or state of a line.
};

/// Shows dialogs, and tells them what the user does. Called on the thread that runs the dialog.
class DialogView {
 public:
  virtual ~DialogView() = default;

  /// A dialog is there and filled in. Its pages, if any, too, the active one being initialised.
  virtual void Open(DialogModel& dialog) = 0;
  /// Serves the user until dialog.IsEnded(). A view that has no user may return at once: a dialog
  /// that was not ended then counts as cancelled.
  virtual void Run(DialogModel& dialog) = 0;
  /// The dialog goes: nothing may refer to it or its pages after this.
  virtual void Close(DialogModel& dialog) = 0;

  /// Something about a control is different now: `dialog` is the one it lies in, a page perhaps;
  /// `item` is the line of a list that was added or changed, else -1.
  virtual void Changed(DialogModel& /*dialog*/, const DialogControl& /*control*/,
                       ControlChange /*change*/, int /*item*/) {}
  /// Another page of a sheet is in front.
  virtual void PageShown(DialogModel& /*sheet*/, int /*page*/) {}
  /// Shows at once all that has changed, before the program goes on with something long.
  virtual void Redraw(DialogModel& /*dialog*/) {}
  /// The dialog takes no more input: Run is to return.
  virtual void Ended(DialogModel& /*dialog*/) {}
  /// The program is busy (true), and is so no longer (false): the pointer shows it.
  virtual void ShowBusy(bool /*busy*/) {}
};

/// Sets what shows the dialogs that are opened from now on; not owned. Null brings back the view at
/// the start: there is no user, a line on standard error names the dialog, and it counts as
/// cancelled. Returns the view before, null for that one.
DialogView* SetDialogView(DialogView* view);

/// `text` with '&' before the letter of the access key and every other '&' doubled, the form that
/// Qt reads. `*marked` (may be null) tells whether the text has that letter.
std::string MarkAccessKey(const std::string& text, char accessKey, bool* marked = nullptr);

}  // namespace platform
