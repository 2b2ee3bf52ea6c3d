// The viewer's window: the whole of it, the choices, and the driver.
#include "apps/gl3-view/main_window.h"

#include <QApplication>
#include <QDockWidget>
#include <QMessageBox>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QStatusBar>
#include <QVBoxLayout>
#include <utility>
#include <vector>

#include "apps/gl3-view/render_command.h"
#include "apps/gl3-view/report_dialog.h"
#include "apps/gl3-view/texts.h"
#include "apps/work/render/frame_setup.h"
#include "hostkit/services/registry.h"

namespace view {
namespace {

constexpr int kPlaceDigits = 10;    // of coordinates: millimetres over the whole earth
constexpr int kNoticeTime = 10000;  // milliseconds
// Frames that are farther apart than this are no motion.
constexpr int kLongestFrame = 2000;

/// What ApplyDriverSettings asks for: 0 for nothing, else a number for each kind of outlines.
int DriverWishOf(const gl3::RenderOptions& options) {
  if (options.drawing.mode != hostkit::DrawMode::kDriverWireframe) return 0;
  return options.samplesPerSide > 1 ? 2 : 1;
}

QString Place(const Imath::V3d& place) {
  return QString("%1, %2, %3")
      .arg(place.x, 0, 'g', kPlaceDigits)
      .arg(place.y, 0, 'g', kPlaceDigits)
      .arg(place.z, 0, 'g', kPlaceDigits);
}

}  // namespace

MainWindow::MainWindow(std::unique_ptr<gl3::DriverSession> session, gl3::DeviceChoice device,
                       bool confined)
    : m_device(std::move(device)),
      m_session(std::move(session)),
      m_loader(confined),
      m_watch([this] { Reload(true); }),
      m_dialogs(this),
      m_viewport(new Viewport(this)),
      m_end({this, m_viewport}, [this] { End(); }) {
  setWindowTitle("gl3-view");
  setAcceptDrops(true);
  setCentralWidget(m_viewport);
  m_viewport->SetListener(
      {[this](const FrameFigures& figures) { ShowFigures(figures); },
       [this](const std::string& text) { Complain(text); },
       [this](const std::vector<PickedVertex>& selection) { ShowSelection(selection); }});
  MakePanel();
  m_animation = new AnimationBar([this](const ShownTime& time) { ShowTime(time); }, this);
  addToolBar(Qt::BottomToolBarArea, m_animation);
  MakeFileMenu();
  MakeViewMenu();
  MakeRendererMenu();
  MakeHelpMenu();
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
  auto* const dock = new QDockWidget(Tr("Drawing"), this);
  dock->setObjectName("drawing");
  auto* const scroll = new QScrollArea(dock);
  scroll->setWidget(m_panel);
  scroll->setWidgetResizable(true);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  dock->setWidget(scroll);
  dock->setMinimumWidth(m_panel->minimumWidth() + scroll->verticalScrollBar()->sizeHint().width());
  addDockWidget(Qt::RightDockWidgetArea, dock);
  m_parts = new SceneList({[this](std::vector<bool> hidden) { Hide(std::move(hidden)); },
                           [this](int part) { m_viewport->Mark(part); }},
                          this);
  addDockWidget(Qt::LeftDockWidgetArea, m_parts);
  m_parts->hide();
}

void MainWindow::MakeStatusBar() {
  m_modelLabel = new QLabel(Tr("No model"), this);
  m_troubleLabel = new QLabel(this);
  m_troubleLabel->setObjectName("reload problem");
  m_troubleLabel->setStyleSheet("color: #b00020");
  m_selectionLabel = new QLabel(this);
  m_frameLabel = new QLabel(this);
  for (QLabel* label : {m_modelLabel, m_troubleLabel, m_selectionLabel, m_frameLabel}) {
    label->setTextFormat(Qt::PlainText);
  }
  // A long text is cut off instead of widening the window.
  m_troubleLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  m_troubleLabel->hide();
  statusBar()->addWidget(m_modelLabel);
  statusBar()->addWidget(m_troubleLabel, 1);
  statusBar()->addPermanentWidget(m_selectionLabel);
  statusBar()->addPermanentWidget(m_frameLabel);
  // Lies over the picture, which is a window of its own.
  m_hint = new QLabel(Tr("Open a model with Ctrl+O, or drop its file here"), m_viewport);
  m_hint->setObjectName("hint");
  m_hint->setAlignment(Qt::AlignCenter);
  m_hint->setWordWrap(true);
  m_hint->setAutoFillBackground(true);
  m_hint->setMargin(12);
  auto* const middle = new QVBoxLayout(m_viewport);
  middle->setSizeConstraint(QLayout::SetNoConstraint);
  middle->addWidget(m_hint, 0, Qt::AlignCenter);
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
  m_animation->SetModel(nullptr, {}, false);
  m_parallel->setChecked(settings.value("parallel").toBool());
  m_axes->setChecked(settings.value("axes").toBool());
  m_follow->setChecked(settings.value("follow", true).toBool());
  FillRecent();
  SetChoices(settings.value("drawing").toStringList());
}

void MainWindow::Store() {
  QSettings settings;
  settings.setValue("geometry", saveGeometry());
  settings.setValue("layout", saveState());
  settings.setValue("recent", m_recent);
  settings.setValue("parallel", m_parallel->isChecked());
  settings.setValue("follow", m_follow->isChecked());
  settings.setValue("axes", m_axes->isChecked());
  settings.setValue("drawing", m_panel->Arguments());
}

void MainWindow::closeEvent(QCloseEvent* event) {
  Store();
  QMainWindow::closeEvent(event);
}

void MainWindow::End() {
  Store();
  if (m_gone) m_gone();
}

void MainWindow::SetChoices(const QStringList& arguments) {
  m_panel->SetArguments(arguments);
  ApplyChoices();
}

void MainWindow::ApplyChoices() {
  gl3::RenderOptions options;
  std::string error;
  m_panel->Judge();
  bool good = ReadChoices(m_panel->Arguments(), &options, &error);
  if (good) good = m_viewport->SetOptions(options, &error);
  m_panel->ShowProblem(good ? QString() : QString::fromStdString(error));
  if (!good) FillCameras();  // perhaps there is no model any more
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

void MainWindow::ShowTime(const ShownTime& time) {
  std::string error;
  if (m_viewport->SetTime(time, &error)) return;
  Complain(error);
  FillCameras();
}

void MainWindow::Hide(std::vector<bool> hidden) {
  std::string error;
  if (m_viewport->Hide(std::move(hidden), &error)) return;
  statusBar()->showMessage(QString::fromStdString(error), kNoticeTime);
  m_parts->ShowHidden(m_viewport->Parts());
  FillCameras();
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
  QString text = Tr("%1 ms, %2×%3")
                     .arg(figures.milliseconds, 0, 'f', 1)
                     .arg(figures.width)
                     .arg(figures.height);
  const bool isMoving =
      m_viewport->Scene() && m_sinceFrame.isValid() && !m_sinceFrame.hasExpired(kLongestFrame);
  if (figures.refined) {
    text = Tr("at rest: %1").arg(text);
    m_sinceFrame.invalidate();
  } else {
    const double between = static_cast<double>(m_sinceFrame.isValid() ? m_sinceFrame.elapsed() : 0);
    if (isMoving && between > 0) {
      text = Tr("%1 frames/s, %2").arg(1000 / between, 0, 'f', 0).arg(text);
    }
    if (figures.reduced) text = Tr("%1, less detail").arg(text);
    m_sinceFrame.start();
  }
  m_frameLabel->setText(text);
}

void MainWindow::ShowSelection(const std::vector<PickedVertex>& selection) {
  if (selection.empty()) return m_selectionLabel->clear();
  const PickedVertex& last = selection.back();
  m_parts->ShowPart(m_viewport->Parts().PartOf(last.instance));
  QString text = Tr("%1 selected, vertex %2 at %3")
                     .arg(selection.size())
                     .arg(last.vertex)
                     .arg(Place(m_viewport->Scene()->origin + Imath::V3d(last.place)));
  if (selection.size() > 1) {
    const Imath::V3d apart(last.place - selection[selection.size() - 2].place);
    text += Tr(", %1 from the one before (%2)")
                .arg(apart.length(), 0, 'g', kPlaceDigits)
                .arg(Place(apart));
  }
  m_selectionLabel->setText(text);
}

void MainWindow::ToggleFullScreen() {
  setWindowState(windowState() ^ Qt::WindowFullScreen);
}

}  // namespace view
