// The viewer's window: menus, the viewport, the panel of choices and the status bar.
#pragma once

#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QStringList>
#include <memory>
#include <string>

#include "apps/gl3-view/model_loader.h"
#include "apps/gl3-view/options_panel.h"
#include "apps/gl3-view/renderer_dialogs.h"
#include "apps/gl3-view/viewport.h"
#include "apps/work/common/driver_session.h"

namespace view {

class MainWindow : public QMainWindow {
 public:
  /// `session` is a driver that works, made with `device` after gl3::ApplyDriverSettings;
  /// `confined` as ModelLoader takes it.
  MainWindow(std::unique_ptr<gl3::DriverSession> session, gl3::DeviceChoice device,
             bool confined = false);
  /// Lets go of buffers, then the driver, then the windows.
  ~MainWindow() override;

  /// Begins to open files as one model. What goes wrong is told in a box, and the model that is
  /// shown stays.
  void Open(const QStringList& files);
  bool IsLoading() const { return m_loader.IsLoading(); }
  /// Takes choices of how to draw, as OptionsPanel has them, in place of those that are made.
  void SetChoices(const QStringList& arguments);
  /// Saves what is seen as large as the window is.
  bool Save(const QString& file, std::string* error);
  /// The command that makes the picture Save makes.
  QString Command(const QString& file) const;
  void ShowSettings();
  void ShowReport();

  Viewport& View() { return *m_viewport; }
  OptionsPanel& Panel() { return *m_panel; }

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void MakePanel();
  void MakeMenus();
  void MakeViewMenu();
  void MakeStatusBar();
  void Restore();
  void AskForFiles();
  void AskForPicture();
  void FillRecent();
  void FillCameras();
  void ApplyChoices();
  /// Makes the driver anew, with its settings and what `asked` needs beyond them.
  void RestartDriver(const gl3::RenderOptions& asked);
  void Show(std::unique_ptr<hostkit::Scene> scene, const QStringList& files);
  void Complain(const std::string& text);
  void ShowFigures(const FrameFigures& figures);
  void ShowSelection(const std::vector<PickedVertex>& selection);

  gl3::DeviceChoice m_device;
  std::unique_ptr<gl3::DriverSession> m_session;
  ModelLoader m_loader;
  RendererDialogs m_dialogs;
  QStringList m_files, m_recent;
  int m_driverWish = 0;  // what the driver was made for, beyond its settings
  Viewport* m_viewport;
  OptionsPanel* m_panel = nullptr;
  QMenu* m_recentMenu = nullptr;
  QMenu* m_cameraMenu = nullptr;
  QAction *m_save = nullptr, *m_copy = nullptr, *m_cancel = nullptr, *m_parallel = nullptr;
  QLabel *m_modelLabel = nullptr, *m_frameLabel = nullptr, *m_selectionLabel = nullptr;
};

}  // namespace view
