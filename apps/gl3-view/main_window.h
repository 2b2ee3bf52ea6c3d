// The viewer's window: menus, the viewport, the panel of choices and the status bar.
#pragma once

#include <QElapsedTimer>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QStringList>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/gl3-view/animation_bar.h"
#include "apps/gl3-view/model_loader.h"
#include "apps/gl3-view/model_watch.h"
#include "apps/gl3-view/options_panel.h"
#include "apps/gl3-view/renderer_dialogs.h"
#include "apps/gl3-view/save_picture.h"
#include "apps/gl3-view/scene_list.h"
#include "apps/gl3-view/viewport.h"
#include "apps/gl3-view/window_end.h"
#include "apps/work/common/driver_session.h"

namespace view {

/// Bodies by theme: main_window.cpp (the whole, choices, driver), main_window_menus.cpp,
/// main_window_files.cpp (opening and reloading), main_window_picture.cpp (what goes out).
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
  /// Reads the files anew that are shown; camera, choices and time stay. `unasked`: because they
  /// have changed, so that what goes wrong is told in the status bar.
  void Reload(bool unasked);
  bool IsLoading() const { return m_loader.IsLoading(); }
  /// Takes choices of how to draw, as OptionsPanel has them, in place of those that are made.
  void SetChoices(const QStringList& arguments);
  /// Saves what is seen as large as the window is.
  bool Save(const QString& file, std::string* error);
  /// Puts that picture into the clipboard.
  bool CopyPicture(std::string* error);
  /// The command that makes the picture Save makes.
  QString Command(const QString& file) const;
  void ShowSettings();
  void ShowReport();
  /// Called when the window was destroyed by somebody else, and the program is to end.
  void SetGoneListener(std::function<void()> gone) { m_gone = std::move(gone); }

  Viewport& View() { return *m_viewport; }
  OptionsPanel& Panel() { return *m_panel; }
  AnimationBar& Animation() { return *m_animation; }
  SceneList& Parts() { return *m_parts; }
  ModelWatch& Watch() { return m_watch; }

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void MakePanel();
  void LeaveKeyToControls(QAction* action);
  void MakeFileMenu();
  void MakeViewMenu();
  void MakeModeMenu(QMenu* view);
  void MakeAnimationMenu(QMenu* view);
  void MakeRendererMenu();
  void MakeHelpMenu();
  void MakeStatusBar();
  void ShowKeys();
  void ShowAbout();
  void Restore();
  void Store();
  void End();
  void AskForFiles(bool add);
  void OpenNeighbour(int step);
  void Load(const QStringList& files, bool stays, bool unasked);
  SaveChoice AsSeen(const QString& file) const;
  void AskForPicture();
  void FillRecent();
  void FillCameras();
  void ApplyChoices();
  void ToggleFullScreen();
  /// Makes the driver anew, with its settings and what `asked` needs beyond them.
  void RestartDriver(const gl3::RenderOptions& asked);
  void Show(std::unique_ptr<hostkit::Scene> scene, const QStringList& files, bool stays);
  void ShowFacts(const hostkit::Scene& model);
  void ShowTime(const ShownTime& time);
  void Hide(std::vector<bool> hidden);
  void Complain(const std::string& text);
  void ShowFigures(const FrameFigures& figures);
  void ShowSelection(const std::vector<PickedVertex>& selection);

  gl3::DeviceChoice m_device;
  std::unique_ptr<gl3::DriverSession> m_session;
  ModelLoader m_loader;
  ModelWatch m_watch;
  RendererDialogs m_dialogs;
  QStringList m_files, m_recent;
  QStringList m_asked;        // those that were asked for last, and not stopped
  QStringList m_watched;      // m_files, and what they consist of
  int m_driverWish = 0;       // what the driver was made for, beyond its settings
  bool m_wasChanged = false;  // the files, while others were loading
  QElapsedTimer m_sinceFrame;
  Viewport* m_viewport;
  OptionsPanel* m_panel = nullptr;
  AnimationBar* m_animation = nullptr;
  SceneList* m_parts = nullptr;
  QMenu* m_recentMenu = nullptr;
  QMenu* m_cameraMenu = nullptr;
  QAction *m_save = nullptr, *m_copy = nullptr, *m_copyPicture = nullptr, *m_add = nullptr;
  QAction *m_reload = nullptr, *m_follow = nullptr, *m_cancel = nullptr, *m_parallel = nullptr;
  QAction* m_axes = nullptr;
  QLabel *m_modelLabel = nullptr, *m_frameLabel = nullptr, *m_selectionLabel = nullptr;
  QLabel *m_troubleLabel = nullptr, *m_hint = nullptr;
  std::function<void()> m_gone;
  WindowEnd m_end;
};

}  // namespace view
