// Animations in the window, and what is drawn while things move.
#include <QClipboard>
#include <QColorSpace>
#include <QComboBox>
#include <QImage>
#include <QSlider>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <utility>

#include "apps/gl3-view/reduced_scene.h"
#include "samples/orrery.h"
#include "samples/shapes.h"
#include "tests/view/view_fixture.h"

namespace {

class MotionTest : public ViewTest {
 protected:
  template <class Control>
  Control* Of(const char* name) {
    return m_window->Animation().findChild<Control*>(name);
  }
  void OpenOrrery() {
    std::string error;
    ASSERT_TRUE(samples::WriteFile(Path("orrery.glb").toStdString(),
                                   samples::ToGlb(samples::Orrery()), &error))
        << error;
    Open(Path("orrery.glb"));
  }
};

}  // namespace

TEST_F(MotionTest, TheMomentThatIsShownIsSavedAndCopied) {
  Open(Path("cube.obj"));
  EXPECT_FALSE(m_window->Animation().isVisible());
  OpenOrrery();
  EXPECT_TRUE(m_window->Animation().isVisible());
  const Frame atRest = Shown();
  Of<QComboBox>("which animation")->setCurrentIndex(1);
  Of<QSlider>("time")->setValue(77);
  Rest();
  EXPECT_GT(DifferentPixels(Shown(), atRest), 500);
  EXPECT_EQ(View().Time().frame, 77);
  std::string error;
  ASSERT_TRUE(m_window->Save(Path("saved.png"), &error)) << error;
  const QImage saved(Path("saved.png")), made = Made();
  ASSERT_FALSE(saved.isNull());
  EXPECT_TRUE(saved == made);
  EXPECT_EQ(saved.text("gl3:frame"), "77");
  ASSERT_TRUE(m_window->CopyPicture(&error)) << error;
  // A file tells its colour space, too.
  const auto pixelsOf = [](const QImage& image) {
    QImage pixels = image.convertToFormat(QImage::Format_RGB32);
    pixels.setColorSpace(QColorSpace());
    return pixels;
  };
  EXPECT_TRUE(pixelsOf(QGuiApplication::clipboard()->image()) == pixelsOf(saved));
  m_window->SetChoices({"--section=z=60%"});  // cut open anew at each moment
  Of<QSlider>("time")->setValue(33);
  ASSERT_TRUE(m_window->Save(Path("saved.png"), &error)) << error;
  EXPECT_TRUE(QImage(Path("saved.png")) == Made());
  m_window->SetChoices({});
  Of<QComboBox>("which animation")->setCurrentIndex(0);
  Rest();
  EXPECT_EQ(DifferentPixels(Shown(), atRest), 0);
}

TEST_F(MotionTest, AnimationsPlayAtTheirSpeedAndInALoop) {
  OpenOrrery();
  view::AnimationBar& bar = m_window->Animation();
  QTest::keyClick(m_window.get(), Qt::Key_Space);
  EXPECT_TRUE(bar.IsPlaying());
  EXPECT_TRUE(View().Time().isAnimated);
  QTest::keyClick(m_window.get(), Qt::Key_Space);
  EXPECT_FALSE(bar.IsPlaying());
  auto* const slider = Of<QSlider>("time");
  const int count = slider->maximum();
  ASSERT_GT(count, 120);
  slider->setValue(1);
  bar.SetPlaying(true);  // at 60 frames a second
  bar.Advance(0.5);
  EXPECT_EQ(View().Time().frame, 31);
  auto* const speed = Of<QComboBox>("speed");
  speed->setCurrentIndex(speed->findData(0.5));
  bar.Advance(0.5);
  EXPECT_EQ(View().Time().frame, 46);
  speed->setCurrentIndex(speed->findData(1.0));
  bar.Advance((count - 46 + 10) / 60.0);
  EXPECT_EQ(View().Time().frame, 10);
  for (QAction* action : bar.actions()) {
    if (action->text() == "Loop") action->setChecked(false);
  }
  bar.Advance(count / 60.0);
  EXPECT_EQ(View().Time().frame, count);
  EXPECT_FALSE(bar.IsPlaying());
  QTest::keyClick(m_window.get(), Qt::Key_Comma);
  EXPECT_EQ(View().Time().frame, count - 1);
}

TEST_F(MotionTest, ThePictureAtRestLetsEventsInAndIsThrownAwayWhenSomethingMoves) {
  Open(Path("room.glb"));
  m_window->SetChoices({"--antialias=4"});
  int turns = 0;
  std::function<void()> act;
  QTimer timer;  // like any other event
  QObject::connect(&timer, &QTimer::timeout, [&] {
    if (!View().IsRefining()) return;
    ++turns;
    if (act) std::exchange(act, nullptr)();
  });
  timer.start(0);
  Rest();
  EXPECT_GT(turns, 1) << "it was made in one go";

  const Frame before = Shown();
  act = [this] {
    QTest::keyClick(&View(), Qt::Key_Left);
    EXPECT_FALSE(View().IsRefining());
    EXPECT_FALSE(View().IsAtRest());
  };
  View().SetParallel(false);
  Rest();
  EXPECT_FALSE(act);
  EXPECT_GT(DifferentPixels(Shown(), before), 1000);
  EXPECT_EQ(DifferentPixels(Shown(), OffScreen(4)), 0);

  // A picture that is saved in between is whole, and so is the one at rest.
  Frame between;
  act = [&] { between = OffScreen(4); };
  View().SetParallel(true);
  Rest();
  EXPECT_EQ(DifferentPixels(Shown(), between), 0);
}

TEST_F(MotionTest, ALargeModelMovesWithLessDetailAndRestsWithAll) {
  std::string error;
  ASSERT_TRUE(samples::WriteBumpySphere(Path("large.ply").toStdString(), 60000, &error)) << error;
  View().Detail().SetLimit(0);
  Open(Path("large.ply"));
  m_window->SetChoices({"--antialias=1"});
  Rest();
  ASSERT_TRUE(View().Detail().Wait());
  bool isReduced = false;
  View().SetListener({[&](const view::FrameFigures& f) { isReduced = f.reduced; }, {}, {}});
  QTest::keyClick(&View(), Qt::Key_Left);
  View().DrawFrame();
  EXPECT_TRUE(isReduced);
  const Frame moving = Shown();
  Rest();
  EXPECT_FALSE(isReduced);
  EXPECT_EQ(DifferentPixels(Shown(), OffScreen(1)), 0);
  EXPECT_GT(DifferentPixels(Shown(), moving), 100);
  // The model is where it was: nearly all of its pixels are covered in both.
  const auto covered = [](const Frame& frame) {
    return std::count_if(frame.begin(), frame.end(), [&](auto p) { return p != frame[0]; });
  };
  EXPECT_NEAR(static_cast<double>(covered(moving)) / static_cast<double>(covered(Shown())), 1,
              0.05);
}

TEST(ReducedScene, HasAShareOfTheTrianglesAndPointsAndTheSameBounds) {
  hostkit::Scene model;
  hostkit::SceneMesh mesh;
  const samples::Shape sphere = samples::BumpySphere(20000);
  mesh.positions = sphere.positions;
  mesh.normals = sphere.normals;
  mesh.triangles = sphere.indices;
  for (std::uint32_t i = 0; i < 5000; ++i) mesh.points.push_back(i);
  model.materials.resize(1);
  model.meshes.push_back(std::move(mesh));
  model.instances.push_back({0, Imath::M44f()});
  const std::unique_ptr<hostkit::Scene> reduced = view::BeginReduced(model);
  view::FinishReduced(model, 0.1, false, reduced.get());
  const hostkit::SceneMesh& few = reduced->meshes.at(0);
  EXPECT_GT(few.triangles.size(), 3u * 500);
  EXPECT_LE(few.triangles.size(), 3u * 2000);
  EXPECT_EQ(few.points.size(), 500u);
  EXPECT_EQ(few.positions.size(), few.normals.size());
  EXPECT_LT(few.positions.size(), 2500u);
  for (const std::uint32_t index : few.triangles) ASSERT_LT(index, few.positions.size());
  const Imath::Box3f all = model.Bounds(), some = reduced->Bounds();
  EXPECT_LT((all.min - some.min).length() + (all.max - some.max).length(),
            0.2f * all.size().length());
}
