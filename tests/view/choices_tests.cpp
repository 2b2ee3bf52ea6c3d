// What the panel makes of choices that cannot be drawn.
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>

#include "apps/gl3-view/entry_list.h"
#include "tests/view/view_fixture.h"

namespace {

class ChoicesTest : public ViewTest {
 protected:
  view::EntryList* List(const QString& option) {
    for (auto* list : m_window->findChildren<QWidget*>(option)) {
      if (auto* const entries = dynamic_cast<view::EntryList*>(list)) return entries;
    }
    return nullptr;
  }
  /// Edits an entry of a list as the user does.
  void Edit(const QString& option, int row, const QString& text) {
    List(option)->findChild<QListWidget*>()->item(row)->setText(text);
  }
  /// What stands below a choice; empty where nothing is shown.
  QString Problem(const QString& option) {
    auto* const label = m_window->Panel().findChild<QLabel*>("problem " + option);
    return label->isVisible() ? label->text() : QString();
  }
  void SetGrid(const QString& spacing) {
    auto* const box = m_window->Panel().findChild<QCheckBox*>("--grid");
    auto* const value = box->parentWidget()->findChild<QLineEdit*>();
    value->setText(spacing);
    box->isChecked() ? Q_EMIT value->editingFinished() : box->click();
  }
};

}  // namespace

TEST_F(ChoicesTest, AWrongEntryIsMarkedAndStopsNoOther) {
  Open(Path("cube.obj"));
  SetGrid("0.5");
  List("--effect")->Add("blur:radius=zz", false);
  SetGrid("abc");
  List("--text")->Add("Hello,9,9", false);
  auto* const mode = m_window->Panel().findChild<QComboBox*>("--mode");
  mode->setCurrentIndex(mode->findData("flat"));
  // The grid as it was last accepted, and no effect.
  const QStringList accepted = {"--mode=flat", "--grid=0.5", "--text=Hello,9,9"};
  EXPECT_EQ(m_window->Panel().Arguments(), accepted);
  EXPECT_EQ(View().Options().drawing.mode, hostkit::DrawMode::kFlat);
  EXPECT_EQ(View().Options().drawing.grid.spacing, 0.5f);
  EXPECT_TRUE(m_window->Command("a.png").contains("--grid=0.5 '--text=Hello,9,9' --size") ||
              m_window->Command("a.png").contains("--grid=0.5 --text=Hello,9,9 --size"))
      << m_window->Command("a.png").toStdString();
  for (const char* option : {"--effect", "--grid"}) {
    EXPECT_NE(Problem(option), "") << option;
    EXPECT_FALSE(Problem(option).contains("--")) << Problem(option).toStdString();
  }
  EXPECT_EQ(Problem("--mode") + Problem("--text"), "");
  EXPECT_EQ(List("--effect")->findChild<QListWidget*>()->item(0)->foreground().color().red(), 0xb0);

  Edit("--text", 0, "Hello,9,9999999");  // what was there goes on to count
  EXPECT_EQ(m_window->Panel().Arguments(), accepted);
  EXPECT_NE(Problem("--text"), "");
  m_window->close();
  EXPECT_EQ(QSettings().value("drawing").toStringList(), accepted);

  Edit("--effect", 0, "");
  SetGrid("2");
  EXPECT_EQ(Problem("--effect") + Problem("--grid"), "");
  EXPECT_EQ(View().Options().drawing.grid.spacing, 2);
}

TEST_F(ChoicesTest, WhatModesRefuseIsToldInThePanelsWordsAndComesBack) {
  QImage picture(32, 24, QImage::Format_RGB32);
  picture.fill(Qt::magenta);
  ASSERT_TRUE(picture.save(Path("overlay.png")));
  const QString overlay = "--overlay=" + Path("overlay.png");
  m_window->SetChoices({"--mode=wireframe-gl", overlay});
  EXPECT_EQ(m_window->Panel().Arguments(), QStringList{"--mode=wireframe-gl"});
  EXPECT_TRUE(Problem("--overlay").contains("Mode wireframe-gl"))
      << Problem("--overlay").toStdString();
  QTest::keyClick(m_window.get(), Qt::Key_S);
  EXPECT_EQ(m_window->Panel().Arguments(), QStringList{overlay});
  m_window->SetChoices({"--background=" + Path("overlay.png"), overlay});
  EXPECT_EQ(m_window->Panel().Arguments().size(), 2);
  ASSERT_TRUE(QFile::remove(Path("overlay.png")));
  QTest::keyClick(m_window.get(), Qt::Key_W);
  EXPECT_TRUE(Problem("--background").contains("overlay.png"));
  EXPECT_EQ(m_window->Panel().Arguments(), QStringList{"--mode=wireframe"});
  EXPECT_TRUE(Problem("--overlay").contains("overlay.png"));
}

TEST_F(ChoicesTest, ADecoderThatCrashesIsToldAndPicturesAreDecodedOnce) {
  QImage picture(320, 240, QImage::Format_RGB32);
  for (const char* name : {"good.png", "behind.png", "bad.png"}) {
    picture.fill(Qt::magenta);
    ASSERT_TRUE(picture.save(Path(name)));
  }
  Open(Path("cube.obj"));
  const QStringList good = {"--background=" + Path("behind.png"), "--overlay=" + Path("good.png")};
  m_window->SetChoices(good);
  // The color of the background beside the overlays.
  const auto behind = [this] {
    Rest();
    return Shown()[static_cast<std::size_t>(View().Options().width) - 1];
  };
  EXPECT_EQ(behind(), 0xff00ffu);
  const Frame before = Shown();
  setenv("LD_PRELOAD", GL3_IMPORT_FAULTS, 1);
  setenv("GL3_IMPORT_FAULT", "SEGV", 1);
  List("--overlay")->Add(Path("bad.png"), false);
  EXPECT_TRUE(Problem("--overlay").contains("bad.png: decoding it crashed (Segmentation fault); "))
      << Problem("--overlay").toStdString();
  EXPECT_EQ(m_window->Panel().Arguments(), good);  // the others are not decoded anew
  Rest();
  EXPECT_EQ(DifferentPixels(Shown(), before), 0);
  m_window->resize(900, 650);
  EXPECT_EQ(behind(), 0xff00ffu);
  picture.fill(Qt::green);
  ASSERT_TRUE(picture.save(Path("behind.png")));
  QTest::keyClick(m_window.get(), Qt::Key_G);
  EXPECT_TRUE(Problem("--background").contains("crashed")) << "another file by that name";
  unsetenv("GL3_IMPORT_FAULT");
  unsetenv("LD_PRELOAD");
  picture.fill(Qt::blue);
  ASSERT_TRUE(picture.save(Path("bad.png")));
  ASSERT_TRUE(picture.save(Path("behind.png")));
  QTest::keyClick(m_window.get(), Qt::Key_G);
  EXPECT_EQ(Problem("--background") + Problem("--overlay"), "");
  EXPECT_EQ(behind(), 0x0000ffu);
}

TEST_F(ChoicesTest, EntriesHaveFieldsForTheirParameters) {
  List("--effect")->Add("blur:radius=zz", false);
  EXPECT_EQ(List("--effect")->findChild<QDoubleSpinBox*>(), nullptr);
  Edit("--effect", 0, "blur:radius=4");
  auto* const radius = List("--effect")->findChild<QAbstractSpinBox*>("radius");
  ASSERT_NE(radius, nullptr);
  EXPECT_EQ(radius->text().toDouble(), 4);
  radius->stepUp();
  const QStringList blurred = List("--effect")->Entries();
  ASSERT_EQ(blurred.size(), 1);
  EXPECT_TRUE(blurred[0].startsWith("blur:radius=") && blurred[0] != "blur:radius=4")
      << blurred[0].toStdString();
  EXPECT_EQ(m_window->Panel().Arguments(), QStringList{"--effect=" + blurred[0]});
  m_window->SetChoices({});
  List("--text")->Add("Two, three,9,9,#ff0000", false);
  auto* const text = List("--text");
  EXPECT_EQ(text->findChild<QLineEdit*>("Text")->text(), "Two, three");
  text->findChild<QSpinBox*>("X")->setValue(30);
  EXPECT_EQ(text->Entries(), QStringList{"Two, three,30,9,#ff0000"});
  m_window->SetChoices({});
  text->Add("Large,24px", false);
  auto* const x = text->findChild<QSpinBox*>("X");
  EXPECT_EQ(x->text(), "automatic");
  x->stepUp();  // the nearest place
  EXPECT_EQ(text->Entries(), QStringList{"Large,0,8,24px"});
  text->findChild<QSpinBox*>("Size")->setValue(40);
  EXPECT_EQ(text->Entries(), QStringList{"Large,0,8,40px"});
  m_window->SetChoices({});
  text->Add("b", false);
  auto* const written = text->findChild<QLineEdit*>("Text");
  written->setText("b,1,2");  // is no place
  Q_EMIT written->editingFinished();
  EXPECT_EQ(text->Entries(), QStringList{"b,1,2,8,8"});
  written->clear();
  Q_EMIT written->editingFinished();
  EXPECT_EQ(text->Entries(), QStringList());
  List("--overlay")->Add("a,%1b.png", false);
  List("--overlay")->findChild<QDoubleSpinBox*>("Opacity")->setValue(0.5);
  EXPECT_EQ(List("--overlay")->Entries(), QStringList{"a,%1b.png,0,0,0.5"});
  EXPECT_NE(Problem("--overlay"), "");  // it is not there
}

TEST_F(ChoicesTest, KeysOfThePictureStayThoseOfControls) {
  auto* const box = m_window->Panel().findChild<QCheckBox*>("--backfaces");
  box->setFocus();
  QTest::keyClick(box, Qt::Key_Space);
  EXPECT_TRUE(box->isChecked());
  EXPECT_EQ(m_window->Panel().Arguments(), QStringList{"--backfaces"});
}

TEST_F(ChoicesTest, EachLetterWithAltMeansOneThing) {
  QStringList keys;
  const auto add = [&](const QString& text) {
    const QString key = QKeySequence::mnemonic(text).toString();
    if (!key.isEmpty()) keys << key;
  };
  for (const QAction* menu : m_window->menuBar()->actions()) add(menu->text());
  for (const QLabel* label : m_window->Panel().findChildren<QLabel*>()) add(label->text());
  for (const auto* button : m_window->Panel().findChildren<QPushButton*>()) add(button->text());
  EXPECT_GT(keys.size(), 20);
  EXPECT_EQ(keys.removeDuplicates(), 0);
}

TEST_F(ChoicesTest, KeysChooseAndResetTakesAllBack) {
  const std::pair<Qt::Key, QStringList> keys[] = {
      {Qt::Key_W, {"--mode=wireframe"}}, {Qt::Key_L, {"--mode=lines"}},
      {Qt::Key_O, {"--mode=points"}},    {Qt::Key_G, {"--mode=points", "--grid"}},
      {Qt::Key_S, {"--grid"}},           {Qt::Key_E, {"--edges", "--grid"}}};
  auto* const reset = m_window->Panel().findChild<QPushButton*>("reset");
  EXPECT_FALSE(reset->isEnabled());
  for (const auto& [key, expected] : keys) {
    QTest::keyClick(m_window.get(), key);
    EXPECT_EQ(m_window->Panel().Arguments(), expected);
  }
  ASSERT_TRUE(reset->isEnabled());
  reset->click();
  EXPECT_EQ(m_window->Panel().Arguments(), QStringList());
  EXPECT_FALSE(reset->isEnabled());
}
