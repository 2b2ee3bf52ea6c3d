// The viewer, driven as a user drives it.
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QDropEvent>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QProcess>
#include <QUrl>
#include <QWheelEvent>
#include <algorithm>

#include "apps/gl3-view/report_dialog.h"
#include "tests/view/view_fixture.h"

namespace {

void Drag(QWidget* widget, Qt::MouseButton button, const QPoint& from, const QPoint& to,
          Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
  QTest::mousePress(widget, button, modifiers, from);
  // QTest moves without modifiers and buttons of its own knowledge; a drag has both.
  for (int i = 1; i <= 4; ++i) {
    const QPoint at = from + (to - from) * i / 4;
    QMouseEvent move(QEvent::MouseMove, at, widget->mapToGlobal(at), Qt::NoButton, button,
                     modifiers);
    QApplication::sendEvent(widget, &move);
  }
  QTest::mouseRelease(widget, button, modifiers, to);
}

void Wheel(QWidget* widget, int clicks) {
  const QPointF at(widget->width() / 2.0, widget->height() / 2.0);
  QWheelEvent event(at, widget->mapToGlobal(at), {}, {0, clicks * 120}, Qt::NoButton,
                    Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(widget, &event);
}

}  // namespace

TEST_F(ViewTest, NoControlOfThePanelLiesOnAnother) {
  auto* const panel = m_window->findChild<QDockWidget*>("drawing");
  ASSERT_NE(panel, nullptr);
  const QList<QWidget*> controls = panel->widget()->findChildren<QWidget*>();
  int count = 0;
  for (const QWidget* control : controls) {
    for (const QWidget* other : controls) {
      if (control == other || control->parent() != other->parent()) continue;
      if (!control->isVisible() || !other->isVisible()) continue;
      ++count;
      EXPECT_FALSE(control->geometry().intersects(other->geometry()))
          << control->metaObject()->className() << " and " << other->metaObject()->className();
    }
  }
  EXPECT_GT(count, 50);
}

TEST_F(ViewTest, TheMouseAndKeysMoveTheCamera) {
  Open(Path("room.glb"));
  m_window->SetChoices({"--antialias=1"});
  Rest();
  Frame before = Shown();
  EXPECT_EQ(DifferentPixels(before, OffScreen(1)), 0);
  EXPECT_GT(std::count(before.begin(), before.end(), before[0]), 1000);  // the background
  const QPoint middle(View().width() / 2, View().height() / 2);
  const auto expectChange = [&](const char* what) {
    Rest();
    const Frame now = Shown();
    EXPECT_GT(DifferentPixels(now, before), 1000) << what;
    before = now;
  };
  const auto fromTarget = [this] {
    const gl3::RenderOptions options = View().Options();
    return *options.eye - *options.target;
  };
  const Imath::V3d atFirst = fromTarget();
  Drag(&View(), Qt::LeftButton, middle, middle + QPoint(120, 40));
  expectChange("orbit");
  const Imath::V3d turned = fromTarget();
  EXPECT_NEAR(turned.length() / atFirst.length(), 1, 1e-4);
  EXPECT_LT(turned.normalized() ^ atFirst.normalized(), 0.99);
  Drag(&View(), Qt::MiddleButton, middle, middle + QPoint(60, 20));
  expectChange("pan");
  Drag(&View(), Qt::LeftButton, middle, middle + QPoint(60, 20), Qt::ShiftModifier);
  expectChange("pan with shift");
  Drag(&View(), Qt::RightButton, middle, middle + QPoint(0, -80));
  expectChange("zoom by dragging");
  EXPECT_LT(fromTarget().length(), turned.length() * 0.9);
  EXPECT_NEAR(fromTarget().normalized() ^ turned.normalized(), 1, 1e-6);
  Wheel(&View(), 2);
  expectChange("zoom by the wheel");
  for (const Qt::Key key : {Qt::Key_F, Qt::Key_1, Qt::Key_2, Qt::Key_3, Qt::Key_4, Qt::Key_5,
                            Qt::Key_6, Qt::Key_7, Qt::Key_P}) {
    QTest::keyClick(m_window.get(), key);
    expectChange(QKeySequence(key).toString().toStdString().c_str());
    EXPECT_EQ(DifferentPixels(before, OffScreen(1)), 0) << key;
  }
  for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Up, Qt::Key_Plus, Qt::Key_Minus}) {
    QTest::keyClick(&View(), key);
    expectChange(QKeySequence(key).toString().toStdString().c_str());
  }
  QTest::keyClick(&View(), Qt::Key_Right, Qt::ShiftModifier);
  expectChange("pan by keys");
  EXPECT_TRUE(View().Options().parallel);
}

TEST_F(ViewTest, AWindowThatIsResizedShowsTheWholeFrameAtOnce) {
  Open(Path("room.glb"));
  m_window->SetChoices({"--antialias=1"});
  Rest();
  OffScreen(1);  // whose context is there from now on
  const int contexts = platform::CountHandles().contexts;
  for (int i = 0; i < 10; ++i) {
    const QSize before = View().size();
    m_window->resize(700 + i * 61 % 500, 500 + i * 37 % 300);
    Rest();
    EXPECT_NE(View().size(), before) << i;
    EXPECT_EQ(View().Options().width, View().width()) << i;
    EXPECT_EQ(DifferentPixels(Shown(), OffScreen(1)), 0) << i;
    EXPECT_EQ(platform::CountHandles().contexts, contexts) << i;
  }
}

TEST_F(ViewTest, NothingIsDrawnWhileNothingChanges) {
  Open(Path("cube.obj"));
  Rest();
  int frames = 0;
  View().SetListener({[&](const view::FrameFigures&) { ++frames; }, {}, {}});
  QTest::qWait(400);
  EXPECT_EQ(frames, 0);
}

TEST_F(ViewTest, EveryModeIsWhatIsDrawnOffScreen) {
  Open(Path("room.glb"));
  QImage picture(32, 24, QImage::Format_RGB32);
  picture.fill(Qt::magenta);
  ASSERT_TRUE(picture.save(Path("overlay.png")));
  const QStringList choices[] = {
      {"--mode=flat"},
      {"--mode=wireframe"},
      {"--mode=lines"},
      {"--mode=points", "--point-size=3"},
      {"--lights=headlight", "--background=#204060"},
      {"--lights=three-point", "--grid", "--control-points=2"},
      {"--up-axis=+Z", "--grid"},
      {"--fog=2,12,#808080"},
      {"--fog=exp:0.1"},
      {"--overlay=" + Path("overlay.png") + ",40,30,0.5", "--text=Hello,50,60"},
      {"--edges", "--control-points"},
      {"--mode=flat", "--edges", "--line-color=#ff0000"},
      {"--material=matte", "--color=#c03020", "--text=Large,50,60,24px"},
      {"--section=x=50%", "--scale-bar=mm"},
      {"--section=-z=30%", "--background=" + Path("overlay.png")},
      {"--background=#ffffff,#204060"},
      {"--mode=wireframe-gl"},
      {"--mode=shaded"},
  };
  Frame before = Shown();
  for (const QStringList& choice : choices) {
    m_window->SetChoices(choice + QStringList{"--antialias=1"});
    EXPECT_EQ(m_window->Panel().Arguments().size(), choice.size() + (choice[0] != "--mode=shaded"))
        << choice.join(' ').toStdString();
    Rest();
    const Frame now = Shown();
    const std::string name = choice.join(' ').toStdString();
    EXPECT_GT(DifferentPixels(now, before), 50) << name;
    EXPECT_EQ(DifferentPixels(now, OffScreen(1)), 0) << name;
    before = now;
  }
  m_window->SetChoices({"--fog=9,2"});
  EXPECT_NE(m_window->Panel().findChild<QLabel*>("problem --fog")->text(), "");
}

TEST_F(ViewTest, WhatIsBehindTheModelMovesWithTheWindow) {
  Open(Path("cube.obj"));
  m_window->SetChoices({"--background=#f0e000,#002060"});
  for (const int height : {700, 520}) {
    m_window->resize(900, height);
    Rest();
    EXPECT_EQ(DifferentPixels(Shown(), OffScreen(2)), 0);
    const Frame atRest = OffScreen(1);
    View().SetParallel(false);  // something changed, but not what is seen
    View().DrawFrame();
    View().DrawFrame();  // the server has shown the one before by now
    const Frame moving = Shown();
    EXPECT_EQ(DifferentPixels(moving, atRest), 0) << "all of it but smoothness";
    EXPECT_GT(moving.front() >> 16 & 255, 230u);  // 240 at the upper edge, 0 at the lower one
    EXPECT_LT(moving.back() >> 16 & 255, 10u);
  }
}

TEST_F(ViewTest, AxesStandInACornerOfTheWindowAlone) {
  Open(Path("cube.obj"));
  m_window->SetChoices({"--antialias=1"});
  Rest();
  const Frame before = Shown();
  QTest::keyClick(m_window.get(), Qt::Key_X);
  Rest();
  const Frame now = Shown();
  EXPECT_GT(DifferentPixels(now, before), 50);
  EXPECT_EQ(DifferentPixels(OffScreen(1), before), 0);
  const auto width = static_cast<std::size_t>(View().width());
  for (std::size_t i = 0; i < now.size(); ++i) {
    const bool isInCorner = i / width > now.size() / width * 3 / 4 && i % width > width * 3 / 4;
    ASSERT_TRUE(isInCorner || now[i] == before[i]) << i % width << ", " << i / width;
  }
}

TEST_F(ViewTest, AtRestTheFrameHasItsEffectsAndIsSmooth) {
  Open(Path("room.glb"));
  Rest();
  EXPECT_EQ(DifferentPixels(Shown(), OffScreen(2)), 0);
  for (const char* effect : {"blur:radius=6", "grayscale", "tint", "negative", "sharpen", "dilate",
                             "erode", "laplacian", "prewitt", "sobel"}) {
    m_window->SetChoices({QString("--effect=") + effect});
    ++m_effectContexts;
    Rest();
    EXPECT_EQ(DifferentPixels(Shown(), OffScreen(2)), 0) << effect;
  }
}

TEST_F(ViewTest, ABrokenFileIsToldAndTheModelStays) {
  Open(Path("cube.ply"));
  const Frame before = Shown();
  Write("broken.glb", "glTF\2");
  for (const char* name : {"broken.glb", "missing.obj"}) {
    Open(Path(name));
    EXPECT_NE(DismissBox().indexOf(name), -1);
    ASSERT_NE(View().Scene(), nullptr);
    Rest();
    EXPECT_EQ(DifferentPixels(Shown(), before), 0);
  }
}

TEST_F(ViewTest, DroppedFilesOpenAndAreRemembered) {
  QMimeData data;
  data.setUrls({QUrl::fromLocalFile(Path("cube.stl"))});
  QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(m_window.get(), &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(m_window.get(), &drop);
  ASSERT_TRUE(QTest::qWaitFor([this] { return View().Scene() != nullptr; }, 60000));
  m_window->SetChoices({"--mode=flat"});
  m_window->close();
  m_window = nullptr;
  const QSettings kept;
  EXPECT_EQ(kept.value("recent").toStringList(), QStringList{Path("cube.stl")});
  EXPECT_EQ(kept.value("drawing").toStringList(), QStringList{"--mode=flat"});
  m_window = std::make_unique<view::MainWindow>(StartDriver(), gl3::DeviceChoice{});
  m_window->show();
  EXPECT_EQ(m_window->Panel().findChild<QComboBox*>("--mode")->currentData(), "flat");
}

TEST_F(ViewTest, ASavedPictureIsTheOneThatItsCommandMakes) {
  Open(Path("room.glb"));
  const QStringList choices = {
      "--mode=flat",      "--edges",       "--color=#c0a080",  "--background=#ffffff,#204060",
      "--grid",           "--scale-bar=m", "--section=-z=40%", "--effect=sharpen",
      "--text=a 'b',20px"};
  m_window->SetChoices(choices);
  EXPECT_EQ(m_window->Panel().Arguments(), choices);
  m_effectContexts = 1;
  Drag(&View(), Qt::LeftButton, {300, 300}, {371, 333});
  Wheel(&View(), 1);
  for (const bool parallel : {false, true}) {
    View().SetParallel(parallel);
    Rest();
    std::string error;
    ASSERT_TRUE(m_window->Save(Path("saved.png"), &error)) << error;
    QString command = m_window->Command(Path("made.png"));
    ASSERT_TRUE(command.startsWith("gl3 render "));
    command.replace(0, 3, QString(GL3_BIN_DIR) + "/gl3");
    QProcess process;
    process.start("sh", {"-c", "unset GL3_PLATFORM DISPLAY; " + command});
    ASSERT_TRUE(process.waitForFinished(120000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    // On one device the two are the same to the last bit.
    const QImage saved(Path("saved.png")), made(Path("made.png"));
    ASSERT_FALSE(saved.isNull());
    EXPECT_TRUE(saved == made) << command.toStdString();
  }
  std::string error;
  EXPECT_FALSE(m_window->Save("/no/such/folder/a.png", &error));
  EXPECT_NE(error, "");
}

TEST_F(ViewTest, AClickSelectsTheNearestVertexThatIsSeen) {
  Open(Path("cube.obj"));
  m_window->SetChoices({"--antialias=1"});
  QTest::keyClick(m_window.get(), Qt::Key_1);
  Rest();
  const view::Projection projection(View().CurrentView(), View().width(), View().height());
  const auto pixelOf = [&](const Imath::V3f& place) {
    const view::ScreenPoint at = projection.Project(place);
    return QPoint(static_cast<int>(at.x), static_cast<int>(at.y));
  };
  const Imath::V3f nearCorner(0.5f, 0.5f, 0.5f), farCorner(0.5f, 0.5f, -0.5f);
  const Frame before = Shown();
  QTest::mouseClick(&View(), Qt::LeftButton, Qt::NoModifier, pixelOf(nearCorner) + QPoint(2, 2));
  ASSERT_EQ(View().Selection().size(), 1u);
  EXPECT_EQ(View().Selection()[0].place, nearCorner);
  Rest();
  EXPECT_GT(DifferentPixels(Shown(), before), 50);  // the control point
  // Under perspective the front hides the corner behind it, which lies inside its outline.
  QTest::mouseClick(&View(), Qt::LeftButton, Qt::ControlModifier, pixelOf(farCorner));
  EXPECT_EQ(View().Selection().size(), 1u);
  QTest::mouseClick(&View(), Qt::LeftButton, Qt::ControlModifier,
                    pixelOf({-0.5f, 0.5f, 0.5f}) - QPoint(1, 0));
  EXPECT_EQ(View().Selection().size(), 2u);
  EXPECT_TRUE(Tells(", 1 from the one before (-1"));
  QTest::mouseClick(&View(), Qt::LeftButton, Qt::ControlModifier, pixelOf(nearCorner));
  ASSERT_EQ(View().Selection().size(), 1u) << "not taken out again";
  EXPECT_NE(View().Selection()[0].place, nearCorner);
  QTest::mouseClick(&View(), Qt::LeftButton, Qt::NoModifier, {5, 5});
  EXPECT_TRUE(View().Selection().empty());
  m_window->SetChoices({"--section=x=50%"});  // the corner is cut away
  QTest::mouseClick(&View(), Qt::LeftButton, Qt::NoModifier, pixelOf(nearCorner));
  EXPECT_TRUE(View().Selection().empty());
}

TEST_F(ViewTest, FramesASecondAreToldWhileItMoves) {
  Open(Path("cube.obj"));
  EXPECT_FALSE(Tells(" frames/s"));
  for (int i = 0; i < 2; ++i) {
    QTest::keyClick(&View(), Qt::Key_Left);
    View().DrawFrame();
  }
  EXPECT_TRUE(Tells(" frames/s"));
  Rest();
  EXPECT_FALSE(Tells(" frames/s"));
}

TEST_F(ViewTest, HelpTellsKeysAndTheScreenCanBeFilled) {
  QTest::keyClick(m_window.get(), Qt::Key_F1);
  const QString keys = DismissBox();
  EXPECT_TRUE(keys.contains("<b>F11</b>") && keys.contains("Full screen")) << keys.toStdString();
  Action("&About")->trigger();
  EXPECT_TRUE(DismissBox().startsWith("gl3-view "));
  QTest::keyClick(m_window.get(), Qt::Key_F11);
  EXPECT_TRUE(m_window->isFullScreen());
  QTest::keyClick(m_window.get(), Qt::Key_F11);
  EXPECT_FALSE(m_window->isFullScreen());
}

TEST_F(ViewTest, TheReportCanBeCopied) {
  m_window->ShowReport();
  auto* const dialog = m_window->findChild<view::ReportDialog*>();
  ASSERT_NE(dialog, nullptr);
  dialog->activateWindow();
  ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == dialog; }));
  QTest::keyClick(dialog, Qt::Key_T, Qt::AltModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] {
    const QString copied = QGuiApplication::clipboard()->text();
    return copied.contains("GL_EXT_texture_filter_anisotropic") && copied.contains("gl3-view ");
  }));
  QTest::keyClick(dialog, Qt::Key_Escape);
}

TEST_F(ViewTest, NamesOutOfModelsAreNoHtml) {
  Write("named.mtl", "newmtl m\nmap_Kd <b>bold</b>.png\n");
  Write("named.obj",
        "mtllib named.mtl\nusemtl m\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nf 1/1 2/1 3/1\n");
  Open(Path("named.obj"));
  QString tips;
  for (const QLabel* label : m_window->findChildren<QLabel*>()) tips += label->toolTip();
  EXPECT_TRUE(tips.contains("&lt;b&gt;bold")) << tips.toStdString();
  EXPECT_FALSE(tips.contains("<b>")) << tips.toStdString();
}

TEST_F(ViewTest, MenusOfNamesOutOfModelsStayShortAndPlain) {
  constexpr int kCameras = 510;
  std::string nodes = R"({"mesh": 0})";
  for (int i = 0; i < kCameras; ++i) nodes += R"(, {"camera": 0, "name": "a\u202egnp"})";
  std::string numbers = "0";
  for (int i = 1; i <= kCameras; ++i) numbers += ", " + std::to_string(i);
  const std::string model =
      R"({"asset": {"version": "2.0"}, "scenes": [{"nodes": [)" + numbers + R"(]}], "nodes": [)" +
      nodes + R"(], "cameras": [{"type": "perspective", "perspective": {"yfov": 1, "znear": 1}}],
      "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
      "accessors": [{"componentType": 5126, "count": 3, "type": "VEC3"}]})";
  Write("many.gltf", model.c_str());
  Open(Path("many.gltf"));
  const QList<QAction*> cameras = Action("&Cameras of the model")->menu()->actions();
  ASSERT_EQ(cameras.size(), 501);
  EXPECT_FALSE(cameras.first()->text().contains(QChar(0x202e)));
  EXPECT_EQ(cameras.last()->text(), "10 more");
  EXPECT_FALSE(cameras.last()->isEnabled());
}

TEST_F(ViewTest, StoppedLoadingLeavesTheModelAndSaysNothing) {
  Open(Path("cube.obj"));
  const hostkit::Scene* const model = View().Scene();
  EXPECT_FALSE(Action("Stop &loading")->isEnabled());
  for (const char* file : {"room.glb", "missing.obj"}) {
    m_window->Open({Path(file)});
    EXPECT_TRUE(Action("Stop &loading")->isEnabled());
    QTest::keyClick(m_window.get(), Qt::Key_Escape);
    EXPECT_FALSE(m_window->IsLoading());
    EXPECT_FALSE(Action("Stop &loading")->isEnabled());
    QTest::qWait(500);
    EXPECT_EQ(View().Scene(), model);
    EXPECT_EQ(DismissBox(), "");
  }
}

TEST_F(ViewTest, ANameThatLooksLikeAnOptionOpens) {
  ASSERT_TRUE(QFile::copy(Path("cube.stl"), Path("-part.stl")));
  const QString folder = QDir::currentPath();
  ASSERT_TRUE(QDir::setCurrent(QFileInfo(Path("cube.stl")).path()));
  Open("-part.stl");
  QDir::setCurrent(folder);
  EXPECT_EQ(DismissBox(), "");
  EXPECT_NE(View().Scene(), nullptr);
}
