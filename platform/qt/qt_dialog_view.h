// Shows the layer's dialogs with Qt. For programs that have a QApplication.
#pragma once

#include <QPointer>
#include <QWidget>
#include <map>
#include <memory>
#include <vector>

#include "platform/dialog_view.h"

namespace platform {

/// The program's view of dialogs and message boxes for as long as it lives; restores those before.
/// To be made and used on the thread of the user interface, after the QApplication and gone before
/// it.
class QtDialogView : public DialogView {
 public:
  /// `parent`, which may be null, is the window that the outermost dialogs belong to.
  explicit QtDialogView(QWidget* parent = nullptr);
  ~QtDialogView() override;
  QtDialogView(const QtDialogView&) = delete;
  QtDialogView& operator=(const QtDialogView&) = delete;

  void Open(DialogModel& dialog) override;
  void Run(DialogModel& dialog) override;
  void Close(DialogModel& dialog) override;
  void Changed(DialogModel& dialog, const DialogControl& control, ControlChange change,
               int item) override;
  void PageShown(DialogModel& sheet, int page) override;
  void Redraw(DialogModel& dialog) override;
  void Ended(DialogModel& dialog) override;
  void ShowBusy(bool busy) override;

  /// The window of a dialog, null when it is not open.
  QWidget* WindowOf(const DialogModel& dialog) const;

 private:
  struct Shown;
  Shown* Find(const DialogModel& dialog) const;
  QWidget* ParentWindow() const;

  QPointer<QWidget> m_parent;
  std::vector<std::unique_ptr<Shown>> m_shown;  // those on top last
  DialogView* m_previous;
};

}  // namespace platform
