// The checks on the module: untouched when off, told what only a GL knows, and the same pictures.
#include <cstring>
#include <typeinfo>

#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/GATexture.h"
#include "host/RenderInfo.h"
#include "hostkit/checking/checking.h"
#include "hostkit/services/module_loader.h"
#include "platform/gl.h"
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
    info.pixelRight = info.pixelBottom = info.imageWidth = info.imageHeight = 16;
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
  GAVertex corners[4] = {{0, 0, -2}, {1, 0, -2}, {}, {0, 1, -2}};
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

}  // namespace
