// The viewer's window on an X server, with models to show.
#pragma once

#include <gtest/gtest.h>

#include <QAction>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <cstdint>
#include <memory>
#include <vector>

#include "apps/gl3-view/main_window.h"
#include "platform/platform.h"
#include "tests/support/common/x_server.h"

/// Rows from the top, 0xRRGGBB.
using Frame = std::vector<std::uint32_t>;
/// How many pixels differ; -1 for frames of different sizes.
int DifferentPixels(const Frame& a, const Frame& b);

class ViewTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  QString Path(const QString& name) const { return m_folder.filePath(name); }
  view::Viewport& View() { return m_window->View(); }
  /// An entry of the window's menus.
  QAction* Action(const QString& text) const;
  /// Opens a file and waits until that has worked or failed.
  void Open(const QString& file);
  /// Waits until the window shows the frame as it is at rest.
  void Rest();
  /// What the screen shows of the viewport.
  Frame Shown();
  /// What an off-screen frame of the view has, with so many samples a side.
  Frame OffScreen(int samplesPerSide);
  /// Closes the message box that is open, and returns its text; empty when there is none.
  QString DismissBox();
  /// Keeps a picture of the screen where GL3_VIEW_SHOTS names a folder.
  void Shoot(const QString& name);

  std::unique_ptr<view::MainWindow> m_window;
  /// Contexts that the renderer never gives back: one for each effect that was set up.
  int m_effectContexts = 0;

 private:
  QTemporaryDir m_folder;
  std::unique_ptr<XClient> m_screen;
  platform::HandleCounts m_before;
};

/// A driver as the viewer starts it.
std::unique_ptr<gl3::DriverSession> StartDriver();
