// The viewer's window.
#include "apps/gl3-view/main_window.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QLocale>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QUrl>
#include <utility>

#include "apps/base/warning_digest.h"
#include "apps/gl3-view/recent_files.h"
#include "apps/gl3-view/render_command.h"
#include "apps/gl3-view/report_dialog.h"
#include "apps/gl3-view/save_picture.h"
#include "apps/work/render/frame_setup.h"
#include "hostkit/services/registry.h"

namespace view {
namespace {

constexpr int kMessageTime = 10000;  // milliseconds
constexpr int kPlaceDigits = 10;     // of coordinates: millimetres over the whole earth

struct StandardView {
  const char* text;
  const char* key;
  Imath::V3f direction;  // from the model to the eye
};
const StandardView kViews[] = {
    {"&Front", "1", {0, 0, 1}},     {"&Back", "2", {0, 0, -1}}, {"&Left", "3", {-1, 0, 0}},
    {"&Right", "4", {1, 0, 0}},     {"&Top", "5", {0, 1, 0}},   {"B&ottom", "6", {0, -1, 0}},
    {"&Isometric", "7", {1, 1, 1}},
};

/// What ApplyDriverSettings asks for: 0 for nothing, else a number for each kind of outlines.
int DriverWishOf(const gl3::RenderOptions& options) {
  if (options.drawing.mode != hostkit::DrawMode::kDriverWireframe) return 0;
  return options.samplesPerSide > 1 ? 2 : 1;
}

/// Lines for a tool tip, which Qt would take for HTML if they looked like it: names out of a model
/// could have pictures fetched from any file.
QString PlainToolTip(const QString& lines) {
  return lines.isEmpty() ? lines : "<p style='white-space:pre'>" + lines.toHtmlEscaped() + "</p>";
}

QStringList LocalFiles(const QMimeData* data) {
  QStringList files;
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) files << url.toLocalFile();
  }
  return files;
}

}  // namespace

MainWindow::MainWindow(std::unique_ptr<gl3::DriverSession> session, gl3::DeviceChoice device,
                       bool confined)
    : m_device(std::move(device)),
      m_session(std::move(session)),
      m_loader(confined),
      m_dialogs(this),
      m_viewport(new Viewport(this)) {
  setWindowTitle("gl3-view");
  setAcceptDrops(true);
  setCentralWidget(m_viewport);
  m_viewport->SetListener(
      {[this](const FrameFigures& figures) { ShowFigures(figures); },
       [this](const std::string& text) { Complain(text); },
       [this](const std::vector<PickedVertex>& selection) { ShowSelection(selection); }});
  MakePanel();
  MakeMenus();
  MakeViewMenu();
  MakeStatusBar();
  std::string error;
  m_viewport->SetDriver(m_session->Driver(), &error);
  Restore();
}

MainWindow::~MainWindow() {
  m_loader.Cancel();
  m_viewport->SetListener({});
  m_viewport->SetDriver(nullptr, nullptr);
  m_session.reset();
}

void MainWindow::MakePanel() {
  m_panel = new OptionsPanel(this);
  m_panel->SetListener([this] { ApplyChoices(); });
  m_panel->SetFogSuggestion([this] { return m_viewport->SceneDistances(); });
  auto* const dock = new QDockWidget("Drawing", this);
  dock->setObjectName("drawing");
  auto* const scroll = new QScrollArea(dock);
  scroll->setWidget(m_panel);
  scroll->setWidgetResizable(true);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  dock->setWidget(scroll);
  dock->setMinimumWidth(m_panel->minimumWidth() + scroll->verticalScrollBar()->sizeHint().width());
  addDockWidget(Qt::RightDockWidgetArea, dock);
}

void MainWindow::MakeMenus() {
  QMenu* file = menuBar()->addMenu("&File");
  file->addAction("&Open…", QKeySequence::Open, this, [this] { AskForFiles(); });
  m_recentMenu = file->addMenu("Open &recent");
  m_save = file->addAction("&Save picture…", QKeySequence::Save, this, [this] { AskForPicture(); });
  m_copy = file->addAction("&Copy command line", QKeySequence("Ctrl+Shift+C"), this, [this] {
    QGuiApplication::clipboard()->setText(Command("picture.png"));
    statusBar()->showMessage("Copied the gl3 render command that draws this view", kMessageTime);
  });
  m_save->setEnabled(false);
  m_copy->setEnabled(false);
  m_cancel = file->addAction("Stop &loading", QKeySequence("Esc"), this, [this] {
    m_loader.Cancel();
    m_cancel->setEnabled(false);
    statusBar()->showMessage("Loading was stopped", kMessageTime);
  });
  m_cancel->setEnabled(false);
  file->addSeparator();
  file->addAction("&Quit", QKeySequence::Quit, this, [this] { close(); });
  QMenu* renderer = menuBar()->addMenu("&Renderer");
  renderer->addAction("&Settings…", this, [this] { ShowSettings(); });
  renderer->addAction("&GPU report…", this, [this] { ShowReport(); });
}

void MainWindow::MakeViewMenu() {
  QMenu* menu = menuBar()->addMenu("&View");
  menu->addAction("&Fit", QKeySequence("F"), this, [this] { m_viewport->Fit(); });
  for (const StandardView& view : kViews) {
    menu->addAction(view.text, QKeySequence(view.key), this,
                    [this, &view] { m_viewport->LookFrom(view.direction); });
  }
  m_cameraMenu = menu->addMenu("&Cameras of the model");
  m_cameraMenu->setEnabled(false);
  menu->addSeparator();
  m_parallel = menu->addAction("&Parallel projection");
  m_parallel->setShortcut(QKeySequence("P"));
  m_parallel->setCheckable(true);
  connect(m_parallel, &QAction::toggled, this, [this](bool on) { m_viewport->SetParallel(on); });
  menu->addSeparator();
  menu->addAction(findChild<QDockWidget*>("drawing")->toggleViewAction());
}

void MainWindow::MakeStatusBar() {
  m_modelLabel = new QLabel("No model: open one, or drop it here", this);
  m_selectionLabel = new QLabel(this);
  m_frameLabel = new QLabel(this);
  for (QLabel* label : {m_modelLabel, m_selectionLabel, m_frameLabel}) {
    label->setTextFormat(Qt::PlainText);
  }
  statusBar()->addWidget(m_modelLabel, 1);
  statusBar()->addPermanentWidget(m_selectionLabel);
  statusBar()->addPermanentWidget(m_frameLabel);
}

void MainWindow::Restore() {
  const QSettings settings;
  m_recent = settings.value("recent").toStringList();
  if (!restoreGeometry(settings.value("geometry").toByteArray())) {
    resize(QSize(1200, 800).boundedTo(screen()->availableSize() * 9 / 10));
  }
  if (!restoreState(settings.value("layout").toByteArray())) {
    auto* const dock = findChild<QDockWidget*>("drawing");
    resizeDocks({dock}, {dock->minimumWidth()}, Qt::Horizontal);
  }
  m_parallel->setChecked(settings.value("parallel").toBool());
  FillRecent();
  SetChoices(settings.value("drawing").toStringList());
}

void MainWindow::closeEvent(QCloseEvent* event) {
  QSettings settings;
  settings.setValue("geometry", saveGeometry());
  settings.setValue("layout", saveState());
  settings.setValue("recent", m_recent);
  settings.setValue("parallel", m_parallel->isChecked());
  settings.setValue("drawing", m_panel->Arguments());
  QMainWindow::closeEvent(event);
}

void MainWindow::SetChoices(const QStringList& arguments) {
  m_panel->SetArguments(arguments);
  ApplyChoices();
}

void MainWindow::ApplyChoices() {
  gl3::RenderOptions options;
  std::string error;
  bool good = ReadChoices(m_panel->Arguments(), &options, &error);
  if (good) good = m_viewport->SetOptions(options, &error);
  m_panel->ShowProblem(good ? QString() : QString::fromStdString(error));
  // The driver reads how it draws polygons when it is made.
  if (good && DriverWishOf(options) != m_driverWish) {
    RestartDriver(m_viewport->Options());
  }
}

void MainWindow::RestartDriver(const gl3::RenderOptions& asked) {
  m_viewport->SetDriver(nullptr, nullptr);
  m_session.reset();
  hostkit::ReloadRegistry();  // without what another mode asked for
  gl3::ApplyDriverSettings(asked);
  m_driverWish = DriverWishOf(asked);
  gl3::Outcome outcome;
  m_session = gl3::DriverSession::Start(m_device, &outcome);
  std::string error = outcome.message;
  if (!m_session || !m_viewport->SetDriver(m_session->Driver(), &error)) Complain(error);
  FillCameras();
}

void MainWindow::ShowSettings() {
  // The page shows how its driver was made: without what a mode asked for, which the user did not
  // set there.
  RestartDriver(gl3::RenderOptions());
  if (!m_session) return;
  std::string error;
  m_dialogs.ShowSettings(*m_session->Driver(), &error);
  if (!error.empty()) Complain(error);
  RestartDriver(m_viewport->Options());
}

void MainWindow::ShowReport() {
  if (!m_session) return;
  auto* const dialog = new ReportDialog(*m_session->Driver(), this);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->open();
}

void MainWindow::AskForFiles() {
  const QString folder = m_recent.isEmpty() ? QString() : QFileInfo(m_recent.first()).path();
  const QStringList files = QFileDialog::getOpenFileNames(this, "Open a model", folder);
  if (!files.isEmpty()) Open(files);
}

QString MainWindow::Command(const QString& file) const {
  const gl3::RenderOptions seen = m_viewport->Options();
  const SaveChoice choice{file, seen.width, seen.height, false};
  return RenderCommand(m_files, file, PictureArguments(*m_viewport, m_panel->Arguments(), choice));
}

bool MainWindow::Save(const QString& file, std::string* error) {
  const gl3::RenderOptions seen = m_viewport->Options();
  const SaveChoice choice{file, seen.width, seen.height, false};
  return SavePicture(*m_viewport, m_files,
                     PictureArguments(*m_viewport, m_panel->Arguments(), choice), file, error);
}

void MainWindow::AskForPicture() {
  const gl3::RenderOptions seen = m_viewport->Options();
  SaveChoice choice{{}, seen.width, seen.height, false};
  choice.recipe = QSettings().value("recipe", choice.recipe).toString();
  const QString suggestion = QFileInfo(m_files.value(0)).completeBaseName() + ".png";
  std::string error;
  if (!AskWhatToSave(this, suggestion, &choice)) return;
  QSettings().setValue("recipe", choice.recipe);
  const QStringList arguments = PictureArguments(*m_viewport, m_panel->Arguments(), choice);
  if (!SavePicture(*m_viewport, m_files, arguments, choice.file, &error)) return Complain(error);
  statusBar()->showMessage("Saved " + choice.file, kMessageTime);
}

void MainWindow::FillRecent() {
  m_recentMenu->clear();
  m_recentMenu->setEnabled(!m_recent.isEmpty());
  int number = 1;
  for (const QString& file : m_recent) {
    const QString name = QString(file).replace('&', "&&");
    m_recentMenu->addAction(QString("&%1 %2").arg(number++).arg(name), this,
                            [this, file] { Open({file}); });
  }
}

/// Also what can be done only with a model.
void MainWindow::FillCameras() {
  const hostkit::Scene* const model = m_viewport->Scene();
  m_save->setEnabled(model != nullptr);
  m_copy->setEnabled(model != nullptr);
  m_cameraMenu->clear();
  m_cameraMenu->setEnabled(model && !model->cameras.empty());
  if (!model) return;
  for (const hostkit::SceneCamera& camera : model->cameras) {
    const QString name = QString::fromStdString(camera.name).replace('&', "&&");
    m_cameraMenu->addAction(name, this, [this, camera] {
      m_viewport->TakeCamera(camera);
      const QSignalBlocker quiet(m_parallel);
      m_parallel->setChecked(m_viewport->Camera().IsParallel());
    });
  }
}

void MainWindow::Open(const QStringList& files) {
  if (files.isEmpty()) return;
  statusBar()->showMessage("Loading " + files.join(", ") + " … (Esc stops it)");
  m_cancel->setEnabled(true);
  m_loader.Load(files,
                [this, files](std::unique_ptr<hostkit::Scene> scene, const std::string& error) {
                  m_cancel->setEnabled(false);
                  statusBar()->clearMessage();
                  if (scene) {
                    Show(std::move(scene), files);
                  } else {
                    Complain(error);
                  }
                });
}

void MainWindow::Show(std::unique_ptr<hostkit::Scene> scene, const QStringList& files) {
  std::string error;
  if (!m_viewport->SetScene(std::move(scene), &error)) return Complain(error);
  const hostkit::Scene& model = *m_viewport->Scene();
  m_files = files;
  for (const QString& file : files) m_recent = WithRecent(m_recent, file);
  QSettings().setValue("recent", m_recent);
  FillRecent();
  FillCameras();
  setWindowTitle(QFileInfo(files.first()).fileName() + " – gl3-view");
  const QLocale locale;
  m_modelLabel->setText(QString("%1 triangles, %2 meshes, %3 placed")
                            .arg(locale.toString(static_cast<qlonglong>(model.TriangleCount())))
                            .arg(locale.toString(static_cast<qlonglong>(model.meshes.size())))
                            .arg(locale.toString(static_cast<qlonglong>(model.instances.size()))));
  QStringList warnings;
  for (const std::string& line : gl3::DigestOf(model.warnings)) {
    warnings << QString::fromStdString(line);
  }
  m_modelLabel->setToolTip(PlainToolTip(warnings.join('\n')));
  if (!warnings.empty()) statusBar()->showMessage(warnings.first(), kMessageTime);
}

void MainWindow::Complain(const std::string& text) {
  auto* box = new QMessageBox(QMessageBox::Warning, "gl3-view", QString::fromStdString(text),
                              QMessageBox::Ok, this);
  box->setTextFormat(Qt::PlainText);
  box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->open();
}

void MainWindow::ShowFigures(const FrameFigures& figures) {
  m_frameLabel->setText(QString("%1%2 ms, %3×%4")
                            .arg(figures.refined ? "at rest: " : "")
                            .arg(figures.milliseconds, 0, 'f', 1)
                            .arg(figures.width)
                            .arg(figures.height));
}

void MainWindow::ShowSelection(const std::vector<PickedVertex>& selection) {
  if (selection.empty()) return m_selectionLabel->clear();
  const PickedVertex& last = selection.back();
  const Imath::V3d place = m_viewport->Scene()->origin + Imath::V3d(last.place);
  m_selectionLabel->setText(QString("%1 selected, vertex %2 at %3, %4, %5")
                                .arg(selection.size())
                                .arg(last.vertex)
                                .arg(place.x, 0, 'g', kPlaceDigits)
                                .arg(place.y, 0, 'g', kPlaceDigits)
                                .arg(place.z, 0, 'g', kPlaceDigits));
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (!LocalFiles(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  event->acceptProposedAction();
  Open(LocalFiles(event->mimeData()));
}

}  // namespace view
