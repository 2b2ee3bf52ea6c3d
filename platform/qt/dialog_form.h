// The widgets of one dialog, built from its model.
#pragma once

#include <QWidget>
#include <map>

#include "platform/dialog_view.h"

class QCheckBox;
class QGridLayout;
class QListWidget;

namespace platform {

/// A panel with the controls of a dialog or page, laid out in its grid. What the user does goes to
/// the model, which has the last word: the widgets then show what it says.
class DialogForm : public QWidget {
 public:
  /// The model must outlive the form.
  DialogForm(DialogModel& model, QWidget* parent);

  /// Shows what is different about a control now; `item` is the line of a list, else -1.
  void Update(const DialogControl& control, ControlChange change, int item);
  /// The widget of a control, null when there is none (a control of another dialog).
  QWidget* WidgetOf(const DialogControl* control) const;
  /// Of a sheet: where its pages go; else null.
  QWidget* PlaceOfPages() const { return m_pages; }

 private:
  void Build();
  void Place(const DialogControl& control, QWidget* widget);
  QGridLayout* GridOf(int group);
  QWidget* Make(const DialogControl& control, QWidget* parent);
  QWidget* MakeCheckBox(const DialogControl& control, QWidget* parent);
  QWidget* MakeButton(const DialogControl& control, QWidget* parent);
  QWidget* MakeList(const DialogControl& control, QWidget* parent);
  void SetText(const DialogControl& control, QWidget* widget);
  void SetItem(const DialogControl& control, QListWidget* list, int item);
  void SetVisibility(const DialogControl& control);
  void JoinLabels();

  DialogModel& m_model;
  std::map<const DialogControl*, QWidget*> m_widgets;
  std::map<int, QGridLayout*> m_grids;  // by group
  std::map<int, QWidget*> m_frames;     // of groups
  QWidget* m_pages = nullptr;
};

}  // namespace platform
