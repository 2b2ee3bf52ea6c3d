// Shows the layer's dialogs with Qt.
#include "platform/qt/qt_dialog_view.h"

#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "platform/mfc.h"
#include "platform/qt/dialog_form.h"

namespace platform {
namespace {

constexpr int kOkButton = 1;

MessageBoxView g_previousBoxes = nullptr;

int ShowMessageBox(const char* text, unsigned int) {
  QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(),
                  QString::fromUtf8(text ? text : ""), QMessageBox::Ok,
                  QApplication::activeWindow());
  box.setTextFormat(Qt::PlainText);
  box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  box.exec();
  return kOkButton;
}

/// A window that leaves its end to the model: Escape and the frame's cross only ask for it.
class DialogFrame : public QDialog {
 public:
  DialogFrame(DialogModel& model, QWidget* parent) : QDialog(parent), m_model(model) {}
  void reject() override { m_model.Cancel(); }
  void accept() override { m_model.Confirm(); }

 private:
  DialogModel& m_model;
};

}  // namespace

/// An open dialog or sheet.
struct QtDialogView::Shown {
  Shown(DialogModel& useModel, QWidget* parent) : model(useModel), window(useModel, parent) {}

  void Build();
  void BuildPages(QWidget* place);
  void EnsurePage(int page);
  void ShowPage(int page);

  DialogModel& model;
  DialogFrame window;
  QEventLoop loop;
  QTabWidget* tabs = nullptr;    // of a sheet with several pages
  std::vector<QWidget*> places;  // of a sheet's pages
  std::map<const DialogModel*, DialogForm*> forms;
};

void QtDialogView::Shown::Build() {
  window.setWindowTitle(QString::fromStdString(model.Title()));
  auto* const layout = new QVBoxLayout(&window);
  auto* const form = new DialogForm(model, &window);
  layout->addWidget(form);
  forms[&model] = form;
  if (form->PlaceOfPages()) BuildPages(form->PlaceOfPages());
}

void QtDialogView::Shown::BuildPages(QWidget* place) {
  auto* const layout = new QVBoxLayout(place);
  layout->setContentsMargins(0, 0, 0, 0);
  const std::vector<DialogModel*>& pages = model.Pages();
  if (pages.size() > 1) {
    tabs = new QTabWidget(place);
    layout->addWidget(tabs);
  }
  for (DialogModel* page : pages) {
    auto* const pagePlace = new QWidget(place);
    pagePlace->setLayout(new QVBoxLayout());
    places.push_back(pagePlace);
    if (tabs) {
      tabs->addTab(pagePlace, QString::fromStdString(MarkAccessKey(page->Title(), 0)));
    } else {
      pagePlace->layout()->setContentsMargins(0, 0, 0, 0);
      layout->addWidget(pagePlace);
    }
  }
  ShowPage(model.ActivePage());
  if (!tabs) return;
  QObject::connect(tabs, &QTabWidget::currentChanged, tabs, [this](int page) {
    model.ShowPage(page);
    ShowPage(model.ActivePage());  // the page before, when one of the two refuses
  });
}

/// Pages get their controls when they are shown for the first time.
void QtDialogView::Shown::EnsurePage(int page) {
  DialogModel* const shown = model.Pages()[static_cast<std::size_t>(page)];
  if (forms.contains(shown)) return;
  QWidget* const place = places[static_cast<std::size_t>(page)];
  auto* const form = new DialogForm(*shown, place);
  place->layout()->addWidget(form);
  forms[shown] = form;
}

void QtDialogView::Shown::ShowPage(int page) {
  if (page < 0 || page >= static_cast<int>(places.size())) return;
  EnsurePage(page);
  if (!tabs) return;
  const QSignalBlocker quiet(tabs);
  tabs->setCurrentIndex(page);
}

QtDialogView::QtDialogView(QWidget* parent) : m_parent(parent), m_previous(SetDialogView(this)) {
  g_previousBoxes = SetMessageBoxView(ShowMessageBox);
}

QtDialogView::~QtDialogView() {
  SetMessageBoxView(g_previousBoxes);
  SetDialogView(m_previous);
}

QtDialogView::Shown* QtDialogView::Find(const DialogModel& dialog) const {
  for (const std::unique_ptr<Shown>& shown : m_shown) {
    if (&shown->model == &dialog || shown->forms.contains(&dialog)) return shown.get();
  }
  return nullptr;
}

QWidget* QtDialogView::ParentWindow() const {
  if (!m_shown.empty()) return &m_shown.back()->window;
  return m_parent;
}

QWidget* QtDialogView::WindowOf(const DialogModel& dialog) const {
  Shown* const shown = Find(dialog);
  return shown ? &shown->window : nullptr;
}

void QtDialogView::Open(DialogModel& dialog) {
  m_shown.push_back(std::make_unique<Shown>(dialog, ParentWindow()));
  m_shown.back()->Build();
}

void QtDialogView::Run(DialogModel& dialog) {
  Shown* const shown = Find(dialog);
  if (!shown || dialog.IsEnded()) return;
  shown->window.setWindowModality(Qt::ApplicationModal);
  shown->window.show();
  shown->loop.exec();
  shown->window.hide();
}

void QtDialogView::Close(DialogModel& dialog) {
  std::erase_if(m_shown, [&](const auto& shown) { return &shown->model == &dialog; });
}

void QtDialogView::Changed(DialogModel& dialog, const DialogControl& control, ControlChange change,
                           int item) {
  Shown* const shown = Find(dialog);
  if (!shown) return;
  const auto form = shown->forms.find(&dialog);
  if (form != shown->forms.end()) form->second->Update(control, change, item);
}

void QtDialogView::PageShown(DialogModel& sheet, int page) {
  if (Shown* const shown = Find(sheet)) shown->ShowPage(page);
}

void QtDialogView::Redraw(DialogModel& dialog) {
  Shown* const shown = Find(dialog);
  if (shown && shown->window.isVisible()) shown->window.repaint();
}

void QtDialogView::Ended(DialogModel& dialog) {
  if (Shown* const shown = Find(dialog)) shown->loop.quit();
}

void QtDialogView::ShowBusy(bool busy) {
  if (busy) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
  } else {
    QApplication::restoreOverrideCursor();
  }
}

}  // namespace platform
