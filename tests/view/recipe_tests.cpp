// What saved pictures tell about how they were made.
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QImage>
#include <QLineEdit>
#include <QSpinBox>
#include <QTimer>

#include "tests/view/view_fixture.h"

namespace {

/// Types a file's name: selectFile leaves the text alone once that has the focus.
void Type(QFileDialog* files, const QString& name) {
  files->findChild<QLineEdit*>()->setText(name);
}

/// Answers the dialogs of "Save picture" when they come: the file, and the entry of the choice of
/// recipes, or -1 for the one that stands there.
void Answer(QTimer* timer, const QString& file, int recipe) {
  QObject::connect(timer, &QTimer::timeout, [=] {
    auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog || !dialog->isVisible()) return;
    if (auto* const files = qobject_cast<QFileDialog*>(dialog)) {
      Type(files, file);
    } else {
      timer->stop();
      if (recipe >= 0) dialog->findChild<QComboBox*>()->setCurrentIndex(recipe);
    }
    dialog->accept();
  });
  timer->start(10);
}

}  // namespace

TEST_F(ViewTest, SavingRemembersFolderAndSizeAndAddsTheSuffix) {
  Open(Path("cube.obj"));
  ASSERT_TRUE(QDir(Path("")).mkdir("out"));
  for (const int width : {333, 0}) {  // 0: as it stands there
    QTimer timer;
    QString folder;
    QObject::connect(&timer, &QTimer::timeout, [&] {
      auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
      if (!dialog || !dialog->isVisible()) return;
      if (auto* const files = qobject_cast<QFileDialog*>(dialog)) {
        folder = files->directory().path();
        for (const char* pattern : {"*.png", "*.jpeg", "*.webp", "*.tiff", "*.ppm"}) {
          EXPECT_TRUE(files->nameFilters()[0].contains(pattern)) << pattern;
        }
        Type(files, width ? Path("out/first") : QString("second"));
      } else {
        timer.stop();
        if (width) dialog->findChildren<QSpinBox*>()[0]->setValue(width);
      }
      dialog->accept();
    });
    timer.start(10);
    Action("&Save picture…")->trigger();
    if (width == 0) {
      EXPECT_EQ(folder, Path("out"));
    }
  }
  EXPECT_EQ(QImage(Path("out/first.png")).width(), 333);
  EXPECT_EQ(QImage(Path("out/second.png")).width(), 333);
}

TEST_F(ViewTest, ASavedPictureTellsWhatWasChosenLast) {
  Open(Path("cube.obj"));
  const std::tuple<int, bool, bool> cases[] = {
      {-1, true, false}, {1, true, true}, {-1, true, true}, {2, false, false}, {-1, false, false}};
  int number = 0;
  for (const auto& [chosen, tells, tellsFolders] : cases) {
    const QString file = Path(QString("saved%1.png").arg(++number));
    QTimer timer;
    Answer(&timer, file, chosen);
    Action("&Save picture…")->trigger();
    const QString command = QImage(file).text("gl3:command");
    EXPECT_EQ(command.contains("cube.obj"), tells) << command.toStdString();
    EXPECT_EQ(command.contains(Path("cube.obj")), tellsFolders) << command.toStdString();
    EXPECT_EQ(command.contains(Path("")), tellsFolders);
  }
}
