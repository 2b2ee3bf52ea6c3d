// The list of the scene: hiding and marking what is in it.
#include <QAction>
#include <QTreeWidget>

#include "tests/view/view_fixture.h"

namespace {

class PartsTest : public ViewTest {
 protected:
  QTreeWidget* Tree() { return m_window->Parts().findChild<QTreeWidget*>(); }
  QTreeWidgetItem* Part(int index) { return Tree()->topLevelItem(0)->child(index); }
};

}  // namespace

TEST_F(PartsTest, WhatIsHiddenIsAsIfItWereNotThere) {
  // Two cubes, of which the second stands far aside.
  Write("two.obj",
        "o near\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"
        "o far\nv 5 0 0\nv 7 0 0\nv 5 2 0\nv 5 0 2\nf 4 5 6\nf 4 5 7\n");
  Write("one.obj", "o near\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  Open(Path("one.obj"));
  QTest::keyClick(m_window.get(), Qt::Key_1);
  Rest();
  const Frame alone = Shown();
  Open(Path("two.obj"));
  ASSERT_EQ(Tree()->topLevelItem(0)->childCount(), 2);
  EXPECT_EQ(Part(1)->text(0), "far");
  EXPECT_EQ(Part(1)->text(1), "2");
  EXPECT_EQ(Part(1)->text(2), "2 × 2 × 2");
  const Frame both = Shown();
  Part(1)->setCheckState(0, Qt::Unchecked);
  EXPECT_EQ(View().Scene()->TriangleCount(), 1u);
  QTest::keyClick(m_window.get(), Qt::Key_1);
  Rest();
  EXPECT_EQ(DifferentPixels(Shown(), alone), 0);
  EXPECT_TRUE(m_window->Command("a.png").contains("--hide=far"));
  std::string error;
  ASSERT_TRUE(m_window->Save(Path("saved.png"), &error)) << error;
  EXPECT_TRUE(QImage(Path("saved.png")) == Made());
  Part(0)->setCheckState(0, Qt::Unchecked);  // not the last one
  EXPECT_EQ(Part(0)->checkState(0), Qt::Checked);
  EXPECT_EQ(View().Scene()->TriangleCount(), 1u);
  m_window->Parts().ShowAll();
  Tree()->setCurrentItem(Part(1));
  const QList<QAction*> menu = Tree()->actions();  // this alone, all
  menu.at(0)->trigger();
  EXPECT_EQ(View().Scene()->TriangleCount(), 2u);
  EXPECT_EQ(Part(0)->checkState(0), Qt::Unchecked);
  menu.at(1)->trigger();
  EXPECT_EQ(View().Scene()->TriangleCount(), 3u);
  EXPECT_EQ(DifferentPixels(both, alone) > 0, true);
}

TEST_F(PartsTest, StayHiddenWhereAnotherModelCannotBeShown) {
  Write("two.obj", "o near\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\no far\nv 5 0 0\nf 4 2 3\n");
  Open(Path("two.obj"));
  Part(0)->setCheckState(0, Qt::Unchecked);
  View().SetDriver(nullptr, nullptr);
  Open(Path("cube.obj"));
  while (DismissBox() != "") continue;
  m_window->SetChoices({"--mode=wireframe-gl"});  // takes a driver of its own
  ASSERT_NE(View().Scene(), nullptr);
  EXPECT_EQ(View().Scene()->TriangleCount(), 1u);
  ASSERT_EQ(Tree()->topLevelItem(0)->childCount(), 2);
  EXPECT_EQ(Part(0)->checkState(0), Qt::Unchecked);
  m_window->Parts().ShowAll();
  EXPECT_EQ(View().Scene()->TriangleCount(), 2u);
}

TEST_F(PartsTest, FactsAreThoseOfInfo) {
  Open(Path("room.glb"));
  QProcess info;
  info.start(GL3_BIN_DIR "/gl3", {"info", Path("room.glb")});
  ASSERT_TRUE(info.waitForFinished(60000));
  QStringList told;  // the first line is the file's name
  for (const QByteArray& line : info.readAllStandardOutput().trimmed().split('\n').mid(1)) {
    told << QString::fromUtf8(line).simplified();
  }
  const QTreeWidgetItem* facts = Tree()->topLevelItem(Tree()->topLevelItemCount() - 1);
  QStringList listed;
  for (int i = 0; i < facts->childCount(); ++i) {
    listed << facts->child(i)->text(0).replace(": ", " ").simplified();
  }
  EXPECT_GT(listed.size(), 7);
  EXPECT_EQ(listed, told) << listed.join('\n').toStdString();
}

TEST_F(PartsTest, ListAndPictureSelectInEachOther) {
  Open(Path("room.glb"));
  m_window->SetChoices({"--antialias=1"});
  Rest();
  const Frame before = Shown();
  Tree()->setCurrentItem(Part(0));
  Rest();
  EXPECT_GT(DifferentPixels(Shown(), before), 50);  // the corners of its box
  Tree()->setCurrentItem(nullptr);
  Rest();
  EXPECT_EQ(DifferentPixels(Shown(), before), 0);
  // Some vertex is near the middle of the picture or around it.
  for (int x = 100; x < View().width() && View().Selection().empty(); x += 7) {
    QTest::mouseClick(&View(), Qt::LeftButton, Qt::NoModifier, {x, View().height() / 2});
  }
  ASSERT_EQ(View().Selection().size(), 1u);
  EXPECT_EQ(Tree()->currentItem(), Part(View().Selection()[0].instance));
}
