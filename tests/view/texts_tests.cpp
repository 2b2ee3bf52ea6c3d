// The window's texts in other languages, and the table of them.
#include <QComboBox>
#include <QDir>
#include <QMenuBar>
#include <clocale>
#include <cstdlib>

#include "apps/gl3-view/texts.h"
#include "tests/view/view_fixture.h"

namespace {

constexpr const char* kCatalogue = R"(msgid ""
msgstr "Content-Type: text/plain; charset=UTF-8\n"
"Plural-Forms: nplurals=2; plural=n != 1;\n"
msgid "&File"
msgstr "&Däta"
msgid "Shaded"
msgstr "Schattüert"
msgid "%1 triangle"
msgid_plural "%1 triangles"
msgstr[0] "ain Dreik"
msgstr[1] "%1 Dreiks"
)";

}  // namespace

TEST_F(ViewTest, TextsAreThoseOfTheCatalogueAndElseAsTheyAre) {
  Write("texts.po", kCatalogue);
  ASSERT_TRUE(QDir(Path("")).mkpath("xx/LC_MESSAGES"));
  ASSERT_EQ(
      QProcess::execute("msgfmt", {Path("texts.po"), "-o", Path("xx/LC_MESSAGES/gl3-view.mo")}), 0);
  m_window.reset();
  const std::string locale = std::setlocale(LC_MESSAGES, nullptr);
  ASSERT_NE(std::setlocale(LC_MESSAGES, "C.UTF-8"), nullptr);
  setenv("LANGUAGE", "xx", 1);
  view::UseCatalogues(Path("").toStdString());
  m_window = std::make_unique<view::MainWindow>(StartDriver(), gl3::DeviceChoice{});
  m_window->show();
  Open(Path("cube.obj"));
  const QList<QAction*> menus = m_window->menuBar()->actions();
  EXPECT_EQ(menus.first()->text().toStdString(), "&Däta");
  EXPECT_EQ(menus.last()->text(), "&Help");
  auto* const mode = m_window->Panel().findChild<QComboBox*>("--mode");
  EXPECT_EQ(mode->itemText(0).toStdString(), "Schattüert");
  EXPECT_EQ(mode->itemData(0).toString(), "shaded");
  EXPECT_TRUE(Tells("12 Dreiks, 1 mesh, placed once"));
  unsetenv("LANGUAGE");
  std::setlocale(LC_MESSAGES, locale.c_str());
  view::UseCatalogues("/no/such/folder");
  EXPECT_EQ(view::Tr("&File"), "&File");
}

TEST(Texts, AreAllInTheTable) {
  QProcess list;
  list.start("bash", {GL3_SOURCE_DIR "/cmake/list_texts.sh", GL3_SOURCE_DIR});
  ASSERT_TRUE(list.waitForFinished(60000));
  ASSERT_EQ(list.exitCode(), 0) << list.readAllStandardError().toStdString();
  QFile table(GL3_SOURCE_DIR "/share/locale/gl3-view.pot");
  ASSERT_TRUE(table.open(QIODevice::ReadOnly));
  const QByteArray kept = table.readAll(), listed = list.readAllStandardOutput();
  EXPECT_GT(kept.count("\nmsgid "), 150);
  EXPECT_TRUE(kept == listed) << "./dev texts brings the table up to date";
}
