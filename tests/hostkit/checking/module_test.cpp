// The checks on the module: untouched when off, told what only a GL knows, and the same pictures.
#include <cstring>
#include <typeinfo>

#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/GATexture.h"
#include "host/RenderInfo.h"
#include "hostkit/checking/checking.h"
#include "hostkit/services/bitmap_ptr.h"
#include "hostkit/services/flat_drawing.h"
#include "hostkit/services/module_loader.h"
#include "platform/gl.h"
#include "platform/platform.h"
#include "tests/support/common/holds.h"

namespace {

using hostkit::LoadedModule;
using hostkit::Misuse;

const void* TableOf(const void* object) {
  const void* table = nullptr;
  std::memcpy(&table, object, sizeof table);
  return table;
}

/// The tables of a driver and of what it makes.
std::vector<const void*> TablesOf(GADriver& driver) {
  RenderInfo info;
  const std::unique_ptr<GABuffer> buffer(driver.CreateBuffer(&info, GABuffer::kOffScreen, 0));
  info.buffer = buffer.get();
  const std::unique_ptr<DisplayList> list(driver.CreateDisplayList(&info));
  const std::unique_ptr<GATexture> texture(driver.CreateTexture());
  return {TableOf(&driver), TableOf(buffer.get()), TableOf(list.get()), TableOf(texture.get())};
}

std::unique_ptr<LoadedModule> Load() {
  std::string error;
  auto module = LoadedModule::Load(GL3_LIB_DIR "/OpenGL3.so", &error);
  EXPECT_TRUE(module) << error;
  return module;
}

class CheckedModule : public testing::Test {
 protected:
  void SetUp() override {
    hostkit::CheckCalls(
        [](const Misuse& misuse, void* told) {
          static_cast<std::vector<Misuse>*>(told)->push_back(misuse);
        },
        &m_told);
  }
  void TearDown() override { hostkit::LeaveCallsUnchecked(); }

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const Misuse& misuse : m_told) names.emplace_back(misuse.name);
    return names;
  }

  std::vector<Misuse> m_told;
};

/// On surfaces. Whether the GL tells its errors, or is asked for them.
class CheckedGl : public CheckedModule, public testing::WithParamInterface<bool> {
 protected:
  ~CheckedGl() override { __GLEW_KHR_debug = GL_TRUE; }

  static std::unique_ptr<LoadedModule> Start() {
    auto module = Load();
    EXPECT_TRUE(module->Driver()->Initialize());
    __GLEW_KHR_debug = GetParam() ? GL_TRUE : GL_FALSE;
    return module;
  }
};

INSTANTIATE_TEST_SUITE_P(TellsErrors, CheckedGl, testing::Bool());

TEST(UncheckedModule, HasTheTablesOfItsClasses) {
  const auto module = Load();
  const auto create = reinterpret_cast<CreateDriverFunction>(module->Symbol("CreateDriver"));
  const std::unique_ptr<GADriver> bare(create());
  EXPECT_EQ(TablesOf(*module->Driver()), TablesOf(*bare));
}

TEST_F(CheckedModule, KeepsItsTypesBehindOtherTables) {
  const auto module = Load();
  const auto create = reinterpret_cast<CreateDriverFunction>(module->Symbol("CreateDriver"));
  const std::unique_ptr<GADriver> bare(create());
  const std::vector<const void*> checked = TablesOf(*module->Driver()), own = TablesOf(*bare);
  for (std::size_t i = 0; i < own.size(); ++i) EXPECT_NE(checked[i], own[i]) << i;
  const GADriver &driver = *module->Driver(), &other = *bare;
  EXPECT_TRUE(typeid(driver) == typeid(other));
}

TEST_P(CheckedGl, TellsErrorsOfTheGl) {
  const auto module = Start();
  RenderInfo info;
  const std::unique_ptr<GABuffer> buffer(
      module->Driver()->CreateBuffer(&info, GABuffer::kOnScreen, 0));
  buffer->Reallocate(8, -1, GABuffer::kWithDepth);  // of a viewport
  EXPECT_EQ(Names(), (std::vector<std::string>{"unusual-size", "gl-error"}));
  EXPECT_TRUE(Holds(m_told.back().values, {"GL_INVALID_VALUE"}));
}

/// A surface, its view and its list, with instructions begun.
struct Surface {
  explicit Surface(GADriver* driver) {
    hostkit::FillPixelView(16, 16, &info);
    buffer.reset(driver->CreateBuffer(&info, GABuffer::kOffScreen, 0));
    buffer->Reallocate(16, 16, GABuffer::kWithDepth);
    info.buffer = buffer.get();
    list.reset(driver->CreateDisplayList(&info));
    buffer->ComputeProjectionMatrices();
    list->BeginInstructions();
  }
  RenderInfo info;
  std::unique_ptr<GABuffer> buffer;
  std::unique_ptr<DisplayList> list;
};

/// What is drawn goes to the surface that was used last.
TEST_P(CheckedGl, TellsAnotherSurfacesContext) {
  const auto module = Start();
  const Surface first(module->Driver()), second(module->Driver());
  EXPECT_EQ(Names(), std::vector<std::string>());
  first.list->AddSolidRectangle(0, 0, 1, 1, -2);
  EXPECT_EQ(Names(), std::vector<std::string>{"other-context"});
}

/// In a block the GL may not be asked for anything.
TEST_P(CheckedGl, LeavesTheGlAloneInABlock) {
  const auto module = Start();
  const Surface surface(module->Driver());
  GALight light;
  LightListNode lights{nullptr, &light};
  surface.list->PrepForPoints();
  surface.list->AddTransformedPoint({0, 0, -2});
  surface.list->SetupLights(&lights);
  surface.list->EndInstructions();
  EXPECT_EQ(Names(), std::vector<std::string>());
}

/// The second scene of a host that follows the plain order.
TEST_P(CheckedGl, TellsLostLighting) {
  const auto module = Start();
  const Surface surface(module->Driver());
  GALight light;
  LightListNode lights{nullptr, &light};
  AttrProperty glass;
  glass.transparency = 0.5f;
  GAVertex corners[4] = {{0, 0, -2, 0, 0, -1}, {1, 0, -2, 0, 0, -1}, {}, {0, 1, -2, 0, 0, -1}};
  surface.list->SetupLights(&lights);
  surface.list->SetMaterial(&glass, 0);
  surface.list->AddTransformedTri(corners, DisplayList::kCheckTransparency);
  surface.list->EndInstructions();
  surface.buffer->EndScene();
  surface.list->BeginInstructions();
  EXPECT_EQ(Names(), std::vector<std::string>());
  surface.list->SetupLights(&lights);
  EXPECT_EQ(Names(), std::vector<std::string>{"lighting-lost"});
}

/// Scenes of a textured panel with textured glass before it, in half of a surface.
struct PanelAndGlass {
  explicit PanelAndGlass(GADriver* driver) : surface(driver), texture(driver->CreateTexture()) {
    surface.list->EndInstructions();  // while its context is current
    const hostkit::BitmapPtr picture = hostkit::NewByteBitmap(8, 8);
    auto* colors = static_cast<ColorBuf*>(picture->FindBuffer("Color")->Data());
    for (int i = 0; i < 64; ++i) colors[i] = {255, 120, static_cast<std::uint8_t>(3 * i), 255};
    texture->MakeGATexture(picture.get(), GATexture::kRepeat, 0, 0);
    panel.base = {1, 0.5f, 0.25f};
    glass.transparency = 0.5f;
    light.type = GALight::kDirectional;
    light.target = {0, 0, -1};
  }
  /// A square from (left, -12), clockwise with normals to the viewer, or the other way round.
  void Add(float left, float z, bool clockwise) {
    const float sign = clockwise ? -1.f : 1.f;
    GAVertex strip[4];
    for (int i = 0; i < 4; ++i) {
      const float across = (i % 2 == 0) == clockwise ? 1.f : 0.f, up = i < 2 ? 0.f : 1.f;
      strip[i] = {left + 8 * across, 8 * up - 12, z, 0, 0, -sign, across, 1 - up};
    }
    surface.list->AddTransformedQuad(strip, DisplayList::kQuadSorted, 1);
  }
  /// `cured`: what the last scene has left is put right at the beginning.
  std::vector<unsigned char> Draw(bool cured, bool clockwise) {
    DisplayList& list = *surface.list;
    surface.buffer->Clear();
    list.BeginInstructions();
    list.SetDepthFunc(DisplayList::kLightingOff);
    if (cured) list.SetTexture(nullptr);
    list.SetupLights(&lights);
    list.SetTexture(texture.get());
    list.SetMaterial(&panel, 0);
    Add(2, -3, clockwise);
    if (behind) {
      Add(2, -5, !clockwise);
      Add(2, 1, !clockwise);
      Add(4, 2, !clockwise);
    }
    list.SetMaterial(&glass, 0);
    Add(5, -2, false);
    list.EndInstructions();
    surface.buffer->EndScene();
    const hostkit::BitmapPtr picture(new HBitmapNode(16, 16));
    surface.buffer->FillBitmapNode(picture.get(), GABuffer::kTopRowFirst);
    const auto* pixels = static_cast<unsigned char*>(picture->FindBuffer("ColorAlpha")->Data());
    return {pixels, pixels + 16 * 16 * 4 * 2};
  }

  Surface surface;
  std::unique_ptr<GATexture> texture;
  AttrProperty panel, glass;
  GALight light;
  LightListNode lights{nullptr, &light};
  bool behind = false;  ///< Whether there are surfaces the other way round that nobody sees.
};

TEST_F(CheckedModule, DrawsFramesAlikeThatBeginRight) {
  const auto module = Load();
  ASSERT_TRUE(module->Driver()->Initialize());
  PanelAndGlass scene(module->Driver());
  const auto first = scene.Draw(true, true);
  for (int frame = 0; frame < 3; ++frame) EXPECT_EQ(scene.Draw(true, true), first);
  EXPECT_EQ(Names(), std::vector<std::string>());
}

TEST_F(CheckedModule, TellsLostTexturing) {
  const auto module = Load();
  ASSERT_TRUE(module->Driver()->Initialize());
  PanelAndGlass scene(module->Driver());
  const auto first = scene.Draw(false, true);
  EXPECT_EQ(Names(), std::vector<std::string>());
  EXPECT_NE(scene.Draw(false, true), first);
  EXPECT_EQ(Names(), std::vector<std::string>{"texture-lost"});
}

TEST_F(CheckedModule, TellsSidesThatADriverDoesNotLight) {
  const auto module = Load();
  ASSERT_TRUE(module->Driver()->Initialize());
  PanelAndGlass scene(module->Driver());
  if (!Holds(platform::CurrentRenderer(), {"llvmpipe"})) GTEST_SKIP() << "another driver";
  const auto first = scene.Draw(true, false);
  EXPECT_EQ(first, scene.Draw(true, true)) << "both ways are lit at first";
  EXPECT_EQ(Names(), std::vector<std::string>());
  scene.behind = true;
  scene.Draw(true, true);
  EXPECT_EQ(Names(), std::vector<std::string>()) << "a far side is covered, or behind the eye";
  scene.behind = false;
  scene.Draw(true, false);
  EXPECT_EQ(Names(), std::vector<std::string>{"sides-unlit"});
}

}  // namespace
