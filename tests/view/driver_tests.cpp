// The viewer's window when its driver is made anew.
#include <QCheckBox>
#include <QTimer>

#include "tests/view/view_fixture.h"

namespace {

/// Clicks a box of the settings page, whose text begins so, and confirms.
void SwitchSetting(view::MainWindow* window, const QString& text) {
  QTimer::singleShot(0, [text] {
    ASSERT_TRUE(QTest::qWaitFor([] { return QApplication::activeModalWidget() != nullptr; }));
    QWidget* const sheet = QApplication::activeModalWidget();
    for (QCheckBox* box : sheet->findChildren<QCheckBox*>()) {
      if (box->text().startsWith(text)) box->click();
    }
    QTest::keyClick(sheet, Qt::Key_Return);
  });
  window->ShowSettings();
}

}  // namespace

TEST_F(ViewTest, ChangedSettingsTakeEffectAtOnceAndTheModelStays) {
  Open(Path("cube.obj"));
  m_window->SetChoices({"--antialias=1"});
  Rest();
  const Frame before = Shown();
  SwitchSetting(m_window.get(), "&Wireframe");
  Rest();
  EXPECT_GT(DifferentPixels(Shown(), before), 1000);
  EXPECT_EQ(DifferentPixels(Shown(), OffScreen(1)), 0);
  // The same goes for a frame at rest: it is not replaced by the outlines of a picture.
  m_window->SetChoices({});
  View().DrawFrame();
  const Frame moving = Shown();
  Rest();
  EXPECT_EQ(DifferentPixels(Shown(), moving), 0);
}

TEST_F(ViewTest, WhatAModeAsksOfTheDriverIsNotStoredWithTheSettings) {
  Open(Path("cube.obj"));
  m_window->SetChoices({"--mode=wireframe-gl"});
  Rest();
  const Frame before = Shown();
  SwitchSetting(m_window.get(), "&Compress");
  QFile registry(qEnvironmentVariable("GL3_REGISTRY"));
  ASSERT_TRUE(registry.open(QIODevice::ReadOnly));
  const QByteArray stored = registry.readAll();
  for (const char* line : {"Polygonmode = 0", "Antialias = 0", "Textures Compression = 0"}) {
    EXPECT_TRUE(stored.contains(line)) << line << " in " << stored.data();
  }
  EXPECT_FALSE(stored.contains("Anisotropic")) << stored.data();
  Rest();
  EXPECT_EQ(DifferentPixels(Shown(), before), 0);
}

TEST_F(ViewTest, WithoutADriverNothingIsSavedUntilOneStarts) {
  m_window.reset();
  const QString module = Path("module.so");
  ASSERT_TRUE(QFile::link(QString(GL3_LIB_DIR) + "/OpenGL3.so", module));
  m_window = std::make_unique<view::MainWindow>(StartDriver(),
                                                gl3::DeviceChoice{"", module.toStdString()});
  m_window->show();
  Open(Path("cube.obj"));
  EXPECT_TRUE(Action("&Save picture…")->isEnabled());
  ASSERT_TRUE(QFile::rename(module, Path("gone.so")));
  m_window->SetChoices({"--mode=wireframe-gl"});
  EXPECT_NE(DismissBox().indexOf("module.so"), -1);
  EXPECT_FALSE(Action("&Save picture…")->isEnabled());
  EXPECT_EQ(View().Scene(), nullptr);
  QCoreApplication::processEvents();
  DismissBox();  // for the frame that could not be drawn
  ASSERT_TRUE(QFile::rename(Path("gone.so"), module));
  m_window->SetChoices({});
  EXPECT_TRUE(Action("&Save picture…")->isEnabled());
  std::string error;
  EXPECT_TRUE(m_window->Save(Path("saved.png"), &error)) << error;
}
