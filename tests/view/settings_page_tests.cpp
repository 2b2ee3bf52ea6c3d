// The renderer's settings page with the toolkit: clicked, and worked with keys.

#include <QCheckBox>
#include <QDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QTimer>
#include <functional>

#include "apps/gl3-view/renderer_dialogs.h"
#include "host/GADriver.h"
#include "hostkit/services/registry.h"
#include "tests/view/view_fixture.h"

namespace {

QDialog* TopDialog() {
  return qobject_cast<QDialog*>(QApplication::activeModalWidget());
}

template <class Button>
Button* ButtonOf(const QString& text) {
  for (Button* button : TopDialog()->findChildren<Button*>()) {
    if (QString(button->text()).remove('&').startsWith(text)) return button;
  }
  ADD_FAILURE() << "no button " << text.toStdString();
  return nullptr;
}

void Click(QAbstractButton* button) {
  ASSERT_NE(button, nullptr);
  // On the left, where the mark and the text are.
  QTest::mouseClick(button, Qt::LeftButton, Qt::NoModifier, {10, button->height() / 2});
}

QByteArray RegistryBytes() {
  QFile file(qEnvironmentVariable("GL3_REGISTRY"));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class SettingsPageTest : public testing::Test {
 protected:
  void SetUp() override {
    QFile::remove(qEnvironmentVariable("GL3_REGISTRY"));
    hostkit::ReloadRegistry();
    m_session = StartDriver();
  }

  /// Shows the sheet, lets `user` work when it is there, and returns whether settings were stored.
  bool Show(const std::function<void()>& user) {
    view::RendererDialogs dialogs(nullptr);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
      if (!TopDialog() || !QTest::qWaitForWindowExposed(TopDialog())) return;
      timer.stop();
      user();
    });
    timer.start(10);
    std::string error;
    const bool stored = dialogs.ShowSettings(*m_session->Driver(), &error);
    EXPECT_EQ(error, "");
    return stored;
  }

  std::unique_ptr<gl3::DriverSession> m_session;
};

}  // namespace

TEST_F(SettingsPageTest, ClicksAreStoredByOkInOneOrder) {
  EXPECT_TRUE(Show([] {
    Click(ButtonOf<QCheckBox>("Smooth"));
    Click(ButtonOf<QCheckBox>("Inverse"));
    Click(ButtonOf<QPushButton>("OK"));
  }));
  const QByteArray bytes = RegistryBytes();
  const char* const lines[] = {"Polygonmode = 0", "Antialias = 1",
                               "SortInverse Transparent Triangles = 1", "Textures Powerof2 = 0",
                               "Textures Compression = 1"};
  for (const char* line : lines)
    EXPECT_TRUE(bytes.contains(line)) << line << " in " << bytes.data();
  // What software is spared stays as it was: not stored.
  EXPECT_EQ(bytes.count(" = "), 7);
  EXPECT_FALSE(bytes.contains("Anisotropic"));
}

TEST_F(SettingsPageTest, AnUntouchedOrCancelledPageStoresNothing) {
  EXPECT_FALSE(Show([] { Click(ButtonOf<QPushButton>("OK")); }));
  EXPECT_FALSE(Show([] {
    Click(ButtonOf<QCheckBox>("Wireframe"));
    EXPECT_TRUE(ButtonOf<QCheckBox>("Wireframe")->isChecked());
    QTest::keyClick(TopDialog(), Qt::Key_Escape);
  }));
  EXPECT_FALSE(Show([] {
    Click(ButtonOf<QCheckBox>("Wireframe"));
    TopDialog()->close();
  }));
  EXPECT_EQ(RegistryBytes(), "");
}

TEST_F(SettingsPageTest, KeysAloneDoIt) {
  EXPECT_TRUE(Show([] {
    QDialog* const sheet = TopDialog();
    sheet->activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([=] { return QApplication::activeWindow() == sheet; }));
    QTest::keyClick(sheet, Qt::Key_W, Qt::AltModifier);
    // The toolkit shows the box pressed for a moment.
    EXPECT_TRUE(QTest::qWaitFor([] { return ButtonOf<QCheckBox>("Wireframe")->isChecked(); }));
    // Tab goes through the page in its order; what can be read can be reached.
    QLineEdit* const version = sheet->findChildren<QLineEdit*>().first();
    version->setFocus();
    QTest::keyClick(version, Qt::Key_Tab);
    EXPECT_EQ(sheet->focusWidget(), sheet->findChildren<QLineEdit*>().at(1));
    QTest::keyClick(sheet->focusWidget(), Qt::Key_Return);
  }));
  EXPECT_TRUE(RegistryBytes().contains("Polygonmode = 1"));
}

TEST_F(SettingsPageTest, ThePageTellsWhatThereIsAndListsExtensions) {
  Show([] {
    QDialog* const sheet = TopDialog();
    const QList<QLineEdit*> values = sheet->findChildren<QLineEdit*>();
    for (QLineEdit* value : values) EXPECT_FALSE(value->text().isEmpty());
    auto* const list = sheet->findChild<QListWidget*>();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->count(), 11);
    const Qt::CheckState state = list->item(0)->checkState();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                      list->visualItemRect(list->item(0)).center() * 0 + QPoint(10, 8));
    EXPECT_EQ(list->item(0)->checkState(), state);  // for reading alone
    QTimer::singleShot(0, [sheet] {
      ASSERT_TRUE(QTest::qWaitFor([=] { return TopDialog() && TopDialog() != sheet; }));
      EXPECT_GT(TopDialog()->findChild<QListWidget*>()->count(), 50);
      QTest::keyClick(TopDialog(), Qt::Key_Escape);
    });
    Click(ButtonOf<QPushButton>("All extensions"));
    EXPECT_EQ(TopDialog(), sheet);
    QTest::keyClick(sheet, Qt::Key_Escape);
  });
}
