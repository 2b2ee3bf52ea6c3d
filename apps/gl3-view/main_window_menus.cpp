// The viewer's window: its menus.
#include <QAction>
#include <QClipboard>
#include <QDockWidget>
#include <QGuiApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QStatusBar>

#include "apps/gl3-view/main_window.h"
#include "apps/gl3-view/texts.h"

namespace view {
namespace {

constexpr int kMessageTime = 10000;  // milliseconds

struct StandardView {
  const char* text;
  const char* key;
  Imath::V3f direction;  // from the model to the eye
};
const StandardView kViews[] = {
    {TrMark("&Front"), "1", {0, 0, 1}},     {TrMark("&Back"), "2", {0, 0, -1}},
    {TrMark("&Left"), "3", {-1, 0, 0}},     {TrMark("&Right"), "4", {1, 0, 0}},
    {TrMark("&Top"), "5", {0, 1, 0}},       {TrMark("B&ottom"), "6", {0, -1, 0}},
    {TrMark("&Isometric"), "7", {1, 1, 1}},
};

constexpr struct {
  const char *text, *key, *mode;  // the mode as --mode has it
} kModes[] = {{TrMark("&Shaded"), "S", ""},
              {TrMark("&Flat"), "Shift+F", "flat"},
              {TrMark("&Wireframe"), "W", "wireframe"},
              {TrMark("Wireframe, &lit"), "Shift+W", "wireframe-gl"},
              {TrMark("Li&nes"), "L", "lines"},
              {TrMark("&Points"), "O", "points"}};

/// Keys that no menu shows.
constexpr struct {
  const char *key, *text;
} kOtherKeys[] = {
    {TrMark("Arrow keys"), TrMark("Orbit; with Shift pan")},
    {TrMark("+ and −"), TrMark("Nearer, farther")},
    {TrMark("Left button"), TrMark("Orbit; a click selects a vertex, with Ctrl one more or less")},
    {TrMark("Middle button, or Shift and left"), TrMark("Pan")},
    {TrMark("Wheel, right button"), TrMark("Zoom")},
    {TrMark("Delete"), TrMark("In a list: remove the entry")}};

}  // namespace

/// The key of an action is for the picture alone: in lists, boxes and buttons it means something of
/// their own.
void MainWindow::LeaveKeyToControls(QAction* action) {
  action->setShortcutContext(Qt::WidgetShortcut);
  m_viewport->addAction(action);
}

void MainWindow::MakeFileMenu() {
  QMenu* file = menuBar()->addMenu(Tr("&File"));
  file->addAction(Tr("&Open…"), QKeySequence::Open, this, [this] { AskForFiles(false); });
  m_add = file->addAction(Tr("&Add to the scene…"), QKeySequence("Ctrl+Shift+O"), this,
                          [this] { AskForFiles(true); });
  m_recentMenu = file->addMenu(Tr("Open r&ecent"));
  m_reload = file->addAction(Tr("&Reload"), QKeySequence::Refresh, this, [this] { Reload(false); });
  m_follow = file->addAction(Tr("Reload when files &change"));
  m_follow->setCheckable(true);
  m_cancel = file->addAction(Tr("Stop &loading"), QKeySequence("Esc"), this, [this] {
    m_loader.Cancel();
    m_wasChanged = false;
    m_asked = m_files;
    m_cancel->setEnabled(false);
    statusBar()->showMessage(Tr("Loading was stopped"), kMessageTime);
  });
  m_cancel->setEnabled(false);
  LeaveKeyToControls(file->addAction(Tr("&Next file of the folder"), QKeySequence("PgDown"), this,
                                     [this] { OpenNeighbour(1); }));
  LeaveKeyToControls(file->addAction(Tr("&Previous file of the folder"), QKeySequence("PgUp"), this,
                                     [this] { OpenNeighbour(-1); }));
  file->addSeparator();
  m_save =
      file->addAction(Tr("&Save picture…"), QKeySequence::Save, this, [this] { AskForPicture(); });
  m_copyPicture = file->addAction(Tr("Copy p&icture"), QKeySequence::Copy, this, [this] {
    std::string error;
    if (!CopyPicture(&error)) Complain(error);
  });
  m_copy = file->addAction(Tr("&Copy command line"), QKeySequence("Ctrl+Shift+C"), this, [this] {
    QGuiApplication::clipboard()->setText(Command("picture.png"));
    bool isExact = false;
    m_viewport->HiddenNames(&isExact);
    statusBar()->showMessage(
        isExact ? Tr("Copied the gl3 render command that draws this view")
                : Tr("Copied the gl3 render command; it draws hidden parts, too, which "
                     "names do not tell from others"),
        kMessageTime);
  });
  for (QAction* action : {m_save, m_copy, m_copyPicture, m_add, m_reload}) {
    action->setEnabled(false);
  }
  file->addSeparator();
  file->addAction(Tr("&Quit"), QKeySequence::Quit, this, [this] { close(); });
}

void MainWindow::MakeViewMenu() {
  QMenu* menu = menuBar()->addMenu(Tr("&View"));
  menu->addAction(Tr("&Fit"), QKeySequence("F"), this, [this] { m_viewport->Fit(); });
  for (const StandardView& view : kViews) {
    menu->addAction(Tr(view.text), QKeySequence(view.key), this,
                    [this, &view] { m_viewport->LookFrom(view.direction); });
  }
  m_cameraMenu = menu->addMenu(Tr("&Cameras of the model"));
  m_cameraMenu->setEnabled(false);
  menu->addSeparator();
  m_parallel = menu->addAction(Tr("&Parallel projection"));
  m_parallel->setShortcut(QKeySequence("P"));
  m_parallel->setCheckable(true);
  connect(m_parallel, &QAction::toggled, this, [this](bool on) { m_viewport->SetParallel(on); });
  m_axes = menu->addAction(Tr("A&xes in the corner"));
  m_axes->setShortcut(QKeySequence("X"));
  m_axes->setCheckable(true);
  connect(m_axes, &QAction::toggled, this, [this](bool on) { m_viewport->ShowAxes(on); });
  MakeModeMenu(menu);
  menu->addAction(Tr("&Edges"), QKeySequence("E"), this, [this] { m_panel->Toggle("--edges"); });
  menu->addAction(Tr("&Grid"), QKeySequence("G"), this, [this] { m_panel->Toggle("--grid"); });
  menu->addAction(Tr("Reset &drawing choices"), this, [this] { SetChoices({}); });
  MakeAnimationMenu(menu);
  menu->addSeparator();
  menu->addAction(findChild<QDockWidget*>("drawing")->toggleViewAction());
  QAction* const parts = m_parts->toggleViewAction();
  parts->setShortcut(QKeySequence("N"));
  menu->addAction(parts);
  menu->addAction(m_animation->toggleViewAction());
  menu->addAction(Tr("F&ull screen"), QKeySequence("F11"), this, [this] { ToggleFullScreen(); });
}

void MainWindow::MakeModeMenu(QMenu* view) {
  QMenu* const menu = view->addMenu(Tr("&Mode"));
  for (const auto& mode : kModes) {
    menu->addAction(Tr(mode.text), QKeySequence(mode.key), this, [this, &mode] {
      const QString name = mode.mode;
      m_panel->Choose("--mode", name.isEmpty() ? QStringList() : QStringList{name});
    });
  }
}

void MainWindow::MakeAnimationMenu(QMenu* view) {
  QMenu* const menu = view->addMenu(Tr("&Animation"));
  LeaveKeyToControls(menu->addAction(Tr("&Play or pause"), QKeySequence("Space"), this, [this] {
    m_animation->SetPlaying(!m_animation->IsPlaying());
  }));
  menu->addAction(Tr("One frame &on"), QKeySequence("."), this, [this] { m_animation->Step(1); });
  menu->addAction(Tr("One frame &back"), QKeySequence(","), this,
                  [this] { m_animation->Step(-1); });
}

void MainWindow::MakeRendererMenu() {
  QMenu* renderer = menuBar()->addMenu(Tr("&Renderer"));
  renderer->addAction(Tr("&Settings…"), this, [this] { ShowSettings(); });
  renderer->addAction(Tr("&GPU report…"), this, [this] { ShowReport(); });
}

void MainWindow::MakeHelpMenu() {
  QMenu* help = menuBar()->addMenu(Tr("&Help"));
  help->addAction(Tr("&Keys and mouse"), QKeySequence::HelpContents, this, [this] { ShowKeys(); });
  help->addAction(Tr("&About"), this, [this] { ShowAbout(); });
}

/// All keys of the menus, as they stand there, and what no menu tells.
void MainWindow::ShowKeys() {
  QString rows;
  const auto add = [&](const QString& key, const QString& text) {
    rows += "<tr><td><b>" + key.toHtmlEscaped() + "</b>&nbsp;&nbsp;</td><td>" +
            text.toHtmlEscaped() + "</td></tr>";
  };
  for (const auto& other : kOtherKeys) add(Tr(other.key), Tr(other.text));
  for (const QAction* action : findChildren<QAction*>()) {
    if (action->shortcut().isEmpty()) continue;
    add(action->shortcut().toString(QKeySequence::NativeText),
        QString(action->text()).remove('&').remove("…"));
  }
  auto* const box = new QMessageBox(QMessageBox::NoIcon, Tr("Keys and mouse"),
                                    "<table>" + rows + "</table>", QMessageBox::Ok, this);
  box->setTextFormat(Qt::RichText);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->open();
}

void MainWindow::ShowAbout() {
  auto* const box = new QMessageBox(
      QMessageBox::Information, Tr("About gl3-view"),
      "gl3-view " GL3_VERSION "\n\n" +
          Tr("Shows 3D models, drawn through OpenGL. What it saves is what gl3 render makes."),
      QMessageBox::Ok, this);
  box->setTextFormat(Qt::PlainText);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->open();
}

}  // namespace view
