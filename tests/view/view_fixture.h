// The viewer's window on an X server, with models to show.
#pragma once

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "apps/gl3-view/main_window.h"
#include "apps/work/render/frame_setup.h"
#include "hostkit/effects/byte_image.h"
#include "hostkit/services/registry.h"
#include "platform/gl.h"
#include "platform/platform.h"
#include "samples/showroom.h"
#include "samples/small_models.h"
#include "samples/write_file.h"
#include "tests/support/common/x_client.h"

/// A driver as the viewer starts it.
inline std::unique_ptr<gl3::DriverSession> StartDriver() {
  gl3::Outcome outcome;
  gl3::ApplyDriverSettings(gl3::RenderOptions());
  auto session = gl3::DriverSession::Start({}, &outcome);
  EXPECT_NE(session, nullptr) << outcome.message;
  return session;
}

/// Rows from the top, 0xRRGGBB.
using Frame = std::vector<std::uint32_t>;
/// How many pixels differ; -1 for frames of different sizes.
inline int DifferentPixels(const Frame& a, const Frame& b) {
  if (a.size() != b.size()) return -1;
  int count = 0;
  for (std::size_t i = 0; i < a.size(); ++i) count += a[i] != b[i];
  return count;
}

class ViewTest : public testing::Test {
 protected:
  static constexpr int kPatience = 120000;  // milliseconds; for sanitizers on a busy machine

  void SetUp() override {
    QFile::remove(qEnvironmentVariable("GL3_REGISTRY"));
    QFile::remove(QSettings().fileName());
    hostkit::ReloadRegistry();
    m_before = platform::CountHandles();
    m_screen = std::make_unique<XClient>();
    std::string error;
    ASSERT_TRUE(samples::WriteCubes(m_folder.path().toStdString(), &error)) << error;
    ASSERT_TRUE(samples::WriteFile(Path("room.glb").toStdString(),
                                   samples::ToGlb(samples::Showroom(256)), &error))
        << error;
    m_window = std::make_unique<view::MainWindow>(StartDriver(), gl3::DeviceChoice{});
    View().Detail().SetLimit(1e9);  // not by how busy the machine is
    m_window->resize(1000, 700);
    m_window->show();
    m_window->activateWindow();
    ASSERT_TRUE(QTest::qWaitFor([this] { return QApplication::activeWindow() == m_window.get(); }));
  }
  void TearDown() override {
    if (m_window) {
      EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
      EXPECT_EQ(DismissBox(), "");
      m_window->close();
      m_window.reset();
    }
    QCoreApplication::processEvents();
    const platform::HandleCounts after = platform::CountHandles();
    EXPECT_EQ(after.contexts, m_before.contexts + m_effectContexts);
    EXPECT_EQ(after.pbuffers, m_before.pbuffers);
    EXPECT_EQ(after.windows, m_before.windows);
    EXPECT_EQ(after.deviceContexts, m_before.deviceContexts);
  }

  QString Path(const QString& name) const { return m_folder.filePath(name); }
  view::Viewport& View() { return m_window->View(); }
  void Write(const QString& name, const char* text) {
    std::string error;
    ASSERT_TRUE(samples::WriteFile(Path(name).toStdString(), text, &error)) << error;
  }
  /// An entry of the window's menus.
  QAction* Action(const QString& text) const {
    for (QAction* action : m_window->findChildren<QAction*>()) {
      if (action->text() == text) return action;
    }
    ADD_FAILURE() << "no entry " << text.toStdString();
    return nullptr;
  }
  /// Whether a label of the window has these words.
  bool Tells(const QString& words) const {
    const auto labels = m_window->findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(),
                       [&](const QLabel* label) { return label->text().contains(words); });
  }
  /// Opens a file and waits until that has worked or failed.
  void Open(const QString& file) {
    m_window->Open({file});
    ASSERT_TRUE(QTest::qWaitFor([this] { return !m_window->IsLoading(); }, kPatience));
    Rest();
  }
  /// Waits until the window shows the frame as it is at rest.
  void Rest() {
    QCoreApplication::processEvents();
    View().DrawFrame();  // the toolkit asks for it some milliseconds later
    ASSERT_TRUE(QTest::qWaitFor([this] { return View().IsAtRest(); }, kPatience));
    View().DrawFrame();
  }
  /// What the screen shows of the viewport.
  Frame Shown() {
    const gl3::RenderOptions seen = View().Options();
    return m_screen->Pixels(View().winId(), seen.width, seen.height);
  }
  /// What an off-screen frame of the view has, with so many samples a side.
  Frame OffScreen(int samplesPerSide) {
    gl3::RenderOptions options = View().Options();
    options.samplesPerSide = samplesPerSide;
    std::string renderer, error;
    const hostkit::Picture picture = View().Render(options, &renderer, &error);
    Frame frame;
    if (!picture.bitmap) {
      ADD_FAILURE() << error;
      return frame;
    }
    const hostkit::BitmapPtr bytes = hostkit::BytesFromHalves(*picture.bitmap);
    for (int y = 0; y < bytes->GetHeight(); ++y) {
      const unsigned char* pixel = hostkit::ByteRow(*bytes, y);
      for (int x = 0; x < bytes->GetWidth(); ++x, pixel += 4) {
        frame.push_back(static_cast<std::uint32_t>(pixel[0] << 16 | pixel[1] << 8 | pixel[2]));
      }
    }
    return frame;
  }
  /// The picture that the copied command makes.
  QImage Made() {
    QString command = m_window->Command(Path("made.png"));
    command.replace(0, 3, QString(GL3_BIN_DIR) + "/gl3");
    QProcess process;
    process.start("sh", {"-c", "unset GL3_PLATFORM DISPLAY; " + command});
    EXPECT_TRUE(process.waitForFinished(120000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    return QImage(Path("made.png"));
  }
  /// Closes the message box that is open, and returns its text; empty when there is none.
  QString DismissBox() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
      auto* const box = qobject_cast<QMessageBox*>(widget);
      if (!box || !box->isVisible()) continue;
      const QString text = box->text();
      QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
      return text;
    }
    return "";
  }

  std::unique_ptr<view::MainWindow> m_window;
  /// Contexts that the renderer never gives back: one for each effect that was set up.
  int m_effectContexts = 0;

 private:
  QTemporaryDir m_folder;
  std::unique_ptr<XClient> m_screen;
  platform::HandleCounts m_before;
};
