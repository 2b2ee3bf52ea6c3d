// The viewer's program from outside, and what needs no window.
#include <gtest/gtest.h>

#include <QFile>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QTest>

#include "apps/gl3-view/entry_list.h"
#include "platform/platform.h"
#include "tests/support/common/x_client.h"

TEST(EntryList, TheCurrentEntryCanBeRemoved) {
  view::EntryList list(
      "Texts", view::TextEntries(), [] {}, nullptr);
  QPushButton* remove = nullptr;
  for (QPushButton* button : list.findChildren<QPushButton*>()) {
    if (button->text() == "Remove") remove = button;
  }
  ASSERT_NE(remove, nullptr);
  list.SetEntries({"a"});
  EXPECT_FALSE(remove->isEnabled());
  list.Add("b", false);
  ASSERT_TRUE(remove->isEnabled());
  remove->click();
  EXPECT_EQ(list.Entries(), QStringList{"a"});
  EXPECT_TRUE(remove->isEnabled());  // the one before is current now
  list.SetEntries({"c"});
  EXPECT_FALSE(remove->isEnabled());
  list.Add("d", false);
  list.show();
  list.activateWindow();
  auto* const rows = list.findChild<QListWidget*>();
  rows->setFocus();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&list));
  QTest::keyClick(rows, Qt::Key_Delete);
  EXPECT_EQ(list.Entries(), QStringList{"c"});
}

TEST(ViewProgram, EndsWhenItsWindowIsDestroyed) {
  QFile::remove(QSettings().fileName());
  XClient screen;
  QProcess process;
  process.start(GL3_BIN_DIR "/gl3-view");
  unsigned long window = 0;
  ASSERT_TRUE(QTest::qWaitFor([&] { return (window = screen.Find("gl3-view")) != 0; }, 60000));
  const auto isDrawn = [&] {
    const std::vector<std::uint32_t> pixels = screen.Pixels(window, 100, 200);
    return !pixels.empty() && pixels.back() == 0x292B30u;  // the background
  };
  ASSERT_TRUE(QTest::qWaitFor(isDrawn, 60000));
  screen.Destroy(window);
  ASSERT_TRUE(process.waitForFinished(60000));
  EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(process.exitCode(), 1);
  EXPECT_TRUE(process.readAllStandardError().contains("the window was destroyed"));
}

TEST(ViewProgram, SaysInOneLineWhyItCannotStart) {
  const bool software = platform::DescribeDisplay().software;
  const struct {
    const char* command;
    const char* remedy;
    bool fails;
  } cases[] = {
      {"GL3_DEVICE=0 $VIEW", "set GL3_DEVICE to auto, cpu or gpu; ", true},
      {"$VIEW --device gpu",
       "--device gpu: the x11 platform draws on the processor here; set "
       "--device to auto; ",
       software},
      {"unset DISPLAY; exec $VIEW x.obj", "gl3 render", true},
  };
  for (const auto& each : cases) {
    if (!each.fails) continue;
    QProcess process;
    process.start("sh", {"-c", QString("VIEW=" GL3_BIN_DIR "/gl3-view; ") + each.command});
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 4);
    const QByteArray text = process.readAllStandardError();
    EXPECT_EQ(text.count('\n'), 1) << text.data();
    EXPECT_TRUE(text.startsWith("gl3-view: ") && text.contains(each.remedy)) << text.data();
    EXPECT_FALSE(text.contains("GL3_PLATFORM")) << text.data();
  }
}
