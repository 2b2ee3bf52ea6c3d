// Which files the window shows: together, one after the other, and written anew.
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QTimer>

#include "tests/view/view_fixture.h"

namespace {

/// A triangle as large as this, with a picture of its own.
std::string Triangle(int size) {
  const std::string s = std::to_string(size);
  return "mtllib t.mtl\nusemtl m\nv 0 0 0\nv " + s + " 0 0\nv 0 " + s +
         " 0\nvt 0 0\nvt 1 0\nvt 0 1\nf 1/1 2/2 3/3\n";
}

class FilesTest : public ViewTest {
 protected:
  /// Waits until the window has read its files anew, and is at rest.
  void AwaitOther(const hostkit::Scene* before) {
    const auto isThere = [&] {
      return View().Scene() != before && !m_window->IsLoading() && m_window->Watch().IsQuiet();
    };
    ASSERT_TRUE(QTest::qWaitFor(isThere, kPatience));
    Rest();
  }
  void WritePicture(const QColor& color) {
    QImage picture(8, 4, QImage::Format_RGB32);
    picture.fill(color);
    ASSERT_TRUE(picture.save(Path("p.png")));
  }
  QString Label(const char* name) {
    auto* const label = m_window->findChild<QLabel*>(name);
    return label->isVisible() ? label->text() : QString();
  }
};

}  // namespace

TEST_F(FilesTest, WhatIsWrittenAnewIsShownFromWhereItWasSeen) {
  m_window->Watch().SetQuietTime(50);
  WritePicture(Qt::red);
  Write("t.mtl", "newmtl m\nmap_Kd p.png\n");
  Write("t.obj", Triangle(1).c_str());
  Open(Path("t.obj"));
  m_window->SetChoices({"--mode=flat"});
  QTest::keyClick(&View(), Qt::Key_Left);
  Rest();
  const Frame first = Shown();
  const gl3::RenderOptions seen = View().Options();
  const auto expectOther = [&](const hostkit::Scene* before, const Frame& frame) {
    AwaitOther(before);
    EXPECT_EQ(View().Options().eye, seen.eye);
    EXPECT_EQ(View().Options().drawing.mode, hostkit::DrawMode::kFlat);
    EXPECT_GT(DifferentPixels(Shown(), frame), 1000);
  };
  const hostkit::Scene* before = View().Scene();
  Write("t.obj", Triangle(2).c_str());
  expectOther(before, first);

  before = View().Scene();
  const Frame red = Shown();
  WritePicture(Qt::blue);
  expectOther(before, red);

  const Frame blue = Shown();
  before = View().Scene();
  Write("t.obj", "this is no model\n");
  ASSERT_TRUE(QTest::qWaitFor([&] { return Label("reload problem") != ""; }, kPatience));
  EXPECT_TRUE(Label("reload problem").contains("t.obj"));
  Rest();
  EXPECT_EQ(View().Scene(), before);
  EXPECT_EQ(DifferentPixels(Shown(), blue), 0);
  QTimer busy;  // others write in the folder all the time
  QObject::connect(&busy, &QTimer::timeout, [this] {
    Write("other.txt", "x");
    QFile::remove(Path("other.txt"));
  });
  busy.start(20);
  Write("t.obj", Triangle(3).c_str());
  ASSERT_TRUE(QTest::qWaitFor([&] { return View().Scene() != before; }, kPatience));
  busy.stop();
  expectOther(before, blue);
  EXPECT_EQ(Label("reload problem"), "");

  Action("Reload when files &change")->setChecked(false);
  QTest::keyClick(m_window.get(), Qt::Key_F5);
  EXPECT_TRUE(m_window->IsLoading());
  ASSERT_TRUE(QTest::qWaitFor([&] { return !m_window->IsLoading(); }, kPatience));
  EXPECT_EQ(View().Options().eye, seen.eye);
}

TEST_F(FilesTest, ModelsThatWereOpenedTogetherStayTogether) {
  Open(Path("cube.obj"));
  EXPECT_TRUE(Tells("12 triangles, 1 mesh, placed once"));
  EXPECT_FALSE(m_window->findChild<QLabel*>("hint")->isVisible());
  m_window->Open({Path("cube.stl"), Path("cube.ply")});
  ASSERT_TRUE(QTest::qWaitFor([this] { return !m_window->IsLoading(); }, kPatience));
  EXPECT_EQ(m_window->windowTitle(), "cube.stl + cube.ply – gl3-view");
  EXPECT_EQ(View().Scene()->TriangleCount(), 24u);
  Open(Path("room.glb"));
  QAction* together = nullptr;
  for (QAction* action : m_window->findChildren<QAction*>()) {
    if (action->text().startsWith("&2 ")) together = action;
  }
  ASSERT_NE(together, nullptr);
  EXPECT_TRUE(together->text().endsWith("/cube.stl + cube.ply"));
  together->trigger();
  ASSERT_TRUE(QTest::qWaitFor([this] { return !m_window->IsLoading(); }, kPatience));
  EXPECT_EQ(View().Scene()->TriangleCount(), 24u);
}

TEST_F(FilesTest, KeysGoThroughTheFolder) {
  ASSERT_TRUE(QDir(Path("")).mkdir("f"));
  for (const char* name : {"f/a10.stl", "f/a2.stl", "f/A3.stl", "f/notes.txt"}) {
    ASSERT_TRUE(QFile::copy(Path("cube.stl"), Path(name)));
  }
  Write("f/a5.stl", "broken");
  Open(Path("f/a2.stl"));
  const std::pair<Qt::Key, const char*> keys[] = {{Qt::Key_PageDown, "A3.stl"},
                                                  {Qt::Key_PageDown, ""},
                                                  {Qt::Key_PageDown, "a10.stl"},
                                                  {Qt::Key_PageDown, "a2.stl"},
                                                  {Qt::Key_PageUp, "a10.stl"}};
  for (const auto& [key, name] : keys) {
    QTest::keyClick(m_window.get(), key);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !m_window->IsLoading(); }, kPatience));
    if (*name) {
      EXPECT_EQ(m_window->windowTitle(), QString(name) + " – gl3-view");
    } else {
      EXPECT_TRUE(DismissBox().contains("a5.stl"));
      m_window->activateWindow();
      ASSERT_TRUE(
          QTest::qWaitFor([this] { return QApplication::activeWindow() == m_window.get(); }));
    }
  }
}

TEST_F(FilesTest, AFileWithoutASuffixIsToldSo) {
  ASSERT_TRUE(QFile::copy(Path("cube.stl"), Path("cube")));
  Open(Path("cube"));
  EXPECT_TRUE(DismissBox().contains("no suffix"));
}
