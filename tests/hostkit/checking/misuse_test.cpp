// Each misuse is told once, with the operation, what was wrong and what to do instead. A driver
// that does nothing stands for the module.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <cmath>
#include <optional>
#include <thread>

#include "host/RenderInfo.h"
#include "host/VornPoly.h"
#include "hostkit/checking/checking.h"
#include "hostkit/services/bitmap_ptr.h"
#include "hostkit/services/flat_drawing.h"
#include "tests/hostkit/checking/fake_driver.h"

namespace {

using hostkit::Misuse;

/// Everything that a host has once it has done all right, between BeginInstructions and
/// EndInstructions. Misuses are kept as "name operation".
struct World {
  World() {
    hostkit::CheckCalls(Keep, this);
    driver = std::make_unique<FakeDriver>();
    hostkit::CheckDriver(driver.get());
    driver->Initialize();
    hostkit::FillPixelView(64, 32, &info);
    for (GAVertex& vertex : vertices) vertex.nz = -1;
    info.scene = &scene;
    info.objectToView = kNoMotion;
    buffer = NewBuffer(GABuffer::kOffScreen);
    list.reset(driver->CreateDisplayList(&info));
    buffer->ComputeProjectionMatrices();
    texture.reset(driver->CreateTexture());
    texture->MakeGATexture(picture.get(), 0, 0, 0);
    program.reset(driver->CreateShaderProgram(&info));
    list->BeginInstructions();
  }
  ~World() {
    FakeBuffer::reallocates = FakeDriver::initializes = 1;
    hostkit::LeaveCallsUnchecked();
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  static void Keep(const Misuse& misuse, void* world) {
    auto& told = static_cast<World*>(world)->told;
    EXPECT_FALSE(misuse.values.empty() || !*misuse.remedy) << misuse.name;
    told.push_back(fmt::format("{} {}", misuse.name, misuse.operation));
    static_cast<World*>(world)->values.push_back(misuse.values);
  }

  /// A buffer with a surface, which info.buffer is then.
  std::unique_ptr<GABuffer> NewBuffer(int mode) {
    std::unique_ptr<GABuffer> made(driver->CreateBuffer(&info, mode, 0));
    made->Reallocate(64, 32, GABuffer::kWithDepth);
    info.buffer = made.get();
    return made;
  }
  /// A glass triangle that waits for the end of the scene, and no batch.
  void AddGlass() {
    glass.transparency = 0.5f;
    list->SetMaterial(&glass, 0);
    list->AddTransformedTri(vertices.data(), DisplayList::kCheckTransparency);
  }
  void AddLine() { list->AddTransformedLine({0, 0, -2}, {1, 0, -2}); }
  void SetUpBlur() { program->Init(GAShaderProgram::kBlur, parameters.data(), 5); }

  static constexpr float kNoMotion[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
  std::vector<std::string> told, values;
  SceneRecord scene;
  RenderInfo info;
  AttrProperty glass;
  std::array<GAVertex, 4> vertices = {};
  std::array<GALitVertex, 3> lit = {};
  std::array<unsigned short, 3> indices = {0, 1, 2};
  std::array<float, 5> parameters = {0, 1, 3, 64, 32};
  GAColor color;
  hostkit::BitmapPtr picture = hostkit::NewByteBitmap(64, 32);
  std::unique_ptr<GADriver> driver;
  std::unique_ptr<GATexture> texture;
  std::unique_ptr<GAShaderProgram> program;
  std::unique_ptr<GABuffer> buffer;
  std::unique_ptr<DisplayList> list;
};

struct Case {
  const char* told;
  void (*act)(World&);
};

constexpr float kNan = NAN;

const Case kDriverCases[] = {
    {"before-initialize GATexture::MakeGATexture",
     [](World& w) {
       w.list.reset(), w.buffer.reset(), w.texture.reset(), w.program.reset();
       w.driver->Terminate();
       w.texture.reset(w.driver->CreateTexture());
       w.texture->MakeGATexture(w.picture.get(), 0, 0, 0);
     }},
    {"second-thread GABuffer::Clear",
     [](World& w) { std::thread([&] { w.buffer->Clear(); }).join(); }},
    {"second-driver CreateDriver, left-behind ~GADriver",
     [](World&) {
       const std::unique_ptr<GADriver> other = std::make_unique<FakeDriver>();
       hostkit::CheckDriver(other.get());
     }},
    {"no-surface GABuffer::Clear, left-behind ~GADriver, no-surface ~GADriver",
     [](World& w) {
       w.buffer->Destroy(), w.buffer->Clear(), w.buffer->Clear(), w.buffer->BeginScene();
       w.driver.reset();
     }},
    {"initialize-failed GADriver::Initialize",
     [](World& w) {
       w.list.reset(), w.buffer.reset(), w.texture.reset(), w.program.reset();
       FakeDriver::initializes = 0;
       w.driver->Initialize();
     }},
    {"left-behind GADriver::Terminate", [](World& w) { w.driver->Terminate(); }},
    {"left-behind ~GADriver", [](World& w) { w.driver.reset(); }},
    {"driver-forgotten GADriver::SetDefaults", [](World& w) { w.driver->SetDefaults(); }},
    {"null GADriver::CreateColor", [](World& w) { w.driver->CreateColor(GAColor()); }},
    {"null GADriver::CreateDisplayList",
     [](World& w) {
       w.info.buffer = nullptr;
       const std::unique_ptr<DisplayList> none(w.driver->CreateDisplayList(&w.info));
     }},
    {"null GADriver::CreateShaderProgram",
     [](World& w) { delete w.driver->CreateShaderProgram(nullptr); }},
    {"unknown-number GADriver::CreateBuffer",
     [](World& w) { delete w.driver->CreateBuffer(&w.info, 7, 0); }},
    {"nothing-done GADriver::CreateBuffer",
     [](World& w) { delete w.driver->CreateBuffer(&w.info, GABuffer::kKeepContext, 1); }},
    {"shared-buffer GADriver::CreateDisplayList",
     [](World& w) { delete w.driver->CreateDisplayList(&w.info); }},
    {"list-before-surface GADriver::CreateDisplayList",
     [](World& w) {
       const std::unique_ptr<GABuffer> bare(w.driver->CreateBuffer(&w.info, 1, 0));
       w.info.buffer = bare.get();
       delete w.driver->CreateDisplayList(&w.info);
     }},
};

const Case kBufferCases[] = {
    {"unusual-size GABuffer::Reallocate", [](World& w) { w.buffer->Reallocate(40000, 8, 1); }},
    {"no-surface GABuffer::Clear", [](World& w) { w.buffer->Destroy(), w.buffer->Clear(); }},
    {"surface-failed GABuffer::Clear",
     [](World& w) {
       FakeBuffer::reallocates = 0;
       w.buffer->Reallocate(64, 32, 1);
       w.buffer->Clear();
     }},
    {"stale-caches GABuffer::Reallocate",
     [](World& w) { w.list->SetupLights(nullptr), w.buffer->Reallocate(64, 32, 1); }},
    {"no-projection DisplayList::AddTransformedLine",
     [](World& w) { w.buffer->Reallocate(64, 32, 1), w.AddLine(); }},
    {"view-changed DisplayList::AddTransformedLine",
     [](World& w) { w.info.viewLeft = -9, w.AddLine(); }},
    {"view-record GABuffer::ComputeProjectionMatrices",
     [](World& w) { w.info.farZ = 1, w.buffer->ComputeProjectionMatrices(); }},
    {"view-record GABuffer::ComputeProjectionMatrices",
     [](World& w) { w.info.scaleX = 0, w.buffer->ComputeProjectionMatrices(); }},
    {"view-record GABuffer::ComputeProjectionMatrices",
     [](World& w) { w.info.viewRight = 66, w.buffer->ComputeProjectionMatrices(); }},
    {"empty-color GABuffer::SetBackground", [](World& w) { w.buffer->SetBackground(w.color); }},
    {"null GABuffer::ComputeProjectionMatrices",
     [](World& w) {
       const std::unique_ptr<GABuffer> bare(w.driver->CreateBuffer(nullptr, 1, 0));
       bare->Reallocate(8, 8, 0);
       bare->ComputeProjectionMatrices();
     }},
    {"shared-buffer GADriver::CreateDisplayList, buffer-before-list ~GABuffer, "
     "list-after-buffer ~DisplayList",
     [](World& w) {
       delete w.driver->CreateDisplayList(&w.info);
       w.buffer.reset(), w.list.reset();
     }},
    {"buffer-before-list ~GABuffer, list-after-buffer DisplayList::SetTexture, "
     "list-after-buffer ~DisplayList",
     [](World& w) { w.buffer.reset(), w.list->SetTexture(nullptr), w.list.reset(); }},
    {"buffer-exchanged DisplayList::AddTransformedLine",
     [](World& w) {
       const auto other = w.NewBuffer(GABuffer::kOffScreen);
       w.AddLine();
       w.info.buffer = w.buffer.get();
     }},
    {"null GABuffer::TransparentBlit",
     [](World& w) {
       w.buffer->TransparentBlit(nullptr, CRect(0, 0, 8, 8), -1, {1, 1}, 1);
     }},
    {"z-outside GABuffer::TransparentBlit",
     [](World& w) {
       w.buffer->TransparentBlit(w.texture.get(), {0, 0, 8, 8}, 0, {1, 1}, 1);
     }},
    {"z-outside GABuffer::AfxFillRect",
     [](World& w) { w.buffer->AfxFillRect(0, 0, 8, 8, -1001, w.color); }},
    {"z-outside DisplayList::AddSolidRectangle",
     [](World& w) { w.list->AddSolidRectangle(0, 0, 8, 8, 0, w.color); }},
    {"z-outside DisplayList::AddRectangle", [](World& w) { w.list->AddRectangle(0, 0, 8, 8, 0); }},
    {"z-outside DisplayList::AddRoundRect",
     [](World& w) { w.list->AddRoundRect(0, 0, 8, 8, 0, 2, 2, w.color); }},
    {"z-too-near GABuffer::TransparentBlit",
     [](World& w) {
       w.info.nearZ = w.info.perspective = -0.5f;
       w.buffer->ComputeProjectionMatrices();
       w.buffer->TransparentBlit(w.texture.get(), CRect(0, 0, 8, 8), -0.5f, {1, 1}, 1);
     }},
    {"no-glyphs GABuffer::TextOutA", [](World& w) { w.buffer->TextOutA(4, 4, "a", w.color, 0); }},
    {"text-outside GABuffer::TextOutA",
     [](World& w) {
       std::unique_ptr<GABuffer>(w.driver->CreateBuffer(&w.info, 0, 0))->Reallocate(1, 1, 0);
       w.buffer->TextOutA(-2, 4, "a", w.color, 0);
     }},
    {"text-bytes GABuffer::TextOutA",
     [](World& w) {
       std::unique_ptr<GABuffer>(w.driver->CreateBuffer(&w.info, 0, 0))->Reallocate(1, 1, 0);
       w.buffer->TextOutA(4, 4, "\xc3\xa4", w.color, 0);
     }},
    {"wrong-projection GABuffer::TransparentBlit",
     [](World& w) {
       w.buffer->SetProjection(GABuffer::kScreenProjection);
       w.buffer->TransparentBlit(w.texture.get(), CRect(0, 0, 8, 8), -1, {1, 1}, 1);
     }},
    {"batches-wait GABuffer::AfxFillRect",
     [](World& w) {
       w.buffer->SetProjection(GABuffer::kScreenProjection);
       w.AddLine(), w.buffer->AfxFillRect(0, 0, 8, 8, -2, w.color);
     }},
    {"z-outside DisplayList::AddTransformedLine",
     [](World& w) {
       w.buffer->SetProjection(GABuffer::kScreenProjection);
       w.list->AddTransformedLine({0, 0, 0}, {1, 0, 0});
     }},
    {"fog-cut GABuffer::SetFogState",
     [](World& w) { w.scene.fogStart = w.scene.fogEnd = 2, w.buffer->SetFogState(1); }},
    {"fog-cut GABuffer::SetFogState",
     [](World& w) { w.scene.fogEnd = 2.7f, w.buffer->SetFogState(1); }},
    {"pixel-outside GABuffer::GetZValue", [](World& w) { w.buffer->GetZValue(3, 32); }},
    {"null GABuffer::FillBitmapNode", [](World& w) { w.buffer->FillBitmapNode(nullptr, 0); }},
    {"picture-larger GABuffer::FillBitmapNode",
     [](World& w) { w.buffer->FillBitmapNode(hostkit::NewByteBitmap(65, 32).get(), 0); }},
    {"picture-stays GABuffer::FillBitmapNode",
     [](World& w) { w.buffer->FillBitmapNode(hostkit::NewHalfBitmap(8, 8).get(), 0); }},
    {"nothing-done GABuffer::AllocateforShader",
     [](World& w) { w.buffer->AllocateforShader(8, 8); }},
};

const Case kStateCases[] = {
    {"outside-frame DisplayList::AddTransformedLine, outside-frame DisplayList::EndInstructions",
     [](World& w) { w.list->EndInstructions(), w.AddLine(), w.list->EndInstructions(); }},
    {"frame-open DisplayList::BeginInstructions", [](World& w) { w.list->BeginInstructions(); }},
    {"unknown-number DisplayList::SetDepthFunc", [](World& w) { w.list->SetDepthFunc(6); }},
    {"stale-projection DisplayList::SetProjection",
     [](World& w) { w.buffer->SetProjection(0), w.list->SetProjection(1); }},
    {"no-block DisplayList::AddTransformedPoint",
     [](World& w) {
       w.list->AddTransformedPoint({0, 0, -2});
     }},
    {"block-open DisplayList::SetTexture, block-open GABuffer::Clear",
     [](World& w) { w.list->PrepForLines(), w.list->SetTexture(nullptr), w.buffer->Clear(); }},
    {"prepared-before DisplayList::PrepForPoints",
     [](World& w) {
       w.list->PrepForPoints(), w.list->ExecuteInstructions(), w.list->PrepForPoints();
     }},
    {"batches-wait DisplayList::SetDepthFunc",
     [](World& w) { w.AddLine(), w.list->SetDepthFunc(DisplayList::kDepthTestOff); }},
    {"batches-wait DisplayList::SetProjection",
     [](World& w) { w.AddLine(), w.list->SetProjection(0); }},
    {"batches-wait DisplayList::FlushTransparentPolys",
     [](World& w) { w.AddLine(), w.list->FlushTransparentPolys(); }},
    {"batches-wait GABuffer::EndScene", [](World& w) { w.AddLine(), w.buffer->EndScene(); }},
    {"batches-wait GABuffer::FillBitmapNode",
     [](World& w) { w.AddLine(), w.buffer->FillBitmapNode(w.picture.get(), 0); }},
    {"glass-waits GABuffer::BlitToFront",
     [](World& w) { w.AddGlass(), w.buffer->BlitToFront(nullptr, 0, 0); }},
    {"headlight-out DisplayList::SetDepthFunc",
     [](World& w) {
       w.list->SetupLights(nullptr), w.AddGlass();
       w.list->SetDepthFunc(DisplayList::kLightingOff);
     }},
    {"many-lights DisplayList::SetupLights",
     [](World& w) {
       GALight light;
       std::array<LightListNode, 9> nodes;
       for (std::size_t i = 0; i < nodes.size(); ++i) {
         nodes[i] = {i + 1 < nodes.size() ? &nodes[i + 1] : nullptr, &light};
       }
       w.list->SetupLights(nodes.data());
     }},
    {"light-circle DisplayList::SetupLights",
     [](World& w) {
       GALight dark;
       dark.on = false;
       LightListNode first{nullptr, &dark}, second{&first, &dark};
       first.next = &second;
       w.list->SetupLights(&first);
     }},
    {"light-circle DisplayList::SetupLights",
     [](World& w) {
       LightOwner inner, outer{true, &inner};
       inner.owner = &outer;
       GALight light;
       light.owner = &inner;
       LightListNode node{nullptr, &light};
       w.list->SetupLights(&node);
     }},
    {"glass-waits GABuffer::EndScene",
     [](World& w) { w.AddGlass(), w.buffer->SetProjection(0), w.buffer->EndScene(); }},
    {"normals-turned DisplayList::EndInstructions",
     [](World& w) {
       w.vertices[1].x = w.vertices[3].y = 1;
       for (GAVertex& vertex : w.vertices) vertex.nz = 1;
       w.list->SetupLights(nullptr), w.list->AddTransformedTri(w.vertices.data(), 0);
       w.list->EndInstructions();
     }},
    {"no-normal DisplayList::AddTransformedQuad",
     [](World& w) {
       w.vertices[2].nz = 0;
       w.list->SetupLights(nullptr), w.list->AddTransformedQuad(w.vertices.data(), 0, 0);
     }},
    {"texture-unknown DisplayList::SetTexture",
     [](World& w) {
       FakeTexture other;
       w.list->SetTexture(&other);
     }},
    {"texture-waits ~GATexture",
     [](World& w) { w.list->SetTexture(w.texture.get()), w.AddGlass(), w.texture.reset(); }},
    {"texture-twice GATexture::MakeGATexture",
     [](World& w) { w.texture->MakeGATexture(w.picture.get(), 0, 0, 0); }},
    {"texture-scaled GATexture::MakeGATextureForShader",
     [](World& w) {
       w.texture->FreeGATexture();
       w.texture->MakeGATextureForShader(hostkit::NewByteBitmap(64, 33).get());
     }},
    {"empty-picture GATexture::MakeGATexture",
     [](World& w) {
       w.texture->FreeGATexture();
       w.picture->RemoveBuffers("Color");
       w.texture->MakeGATexture(w.picture.get(), 0, 0, 0);
     }},
    {"unknown-number GATexture::MakeGATexture",
     [](World& w) {
       w.texture->FreeGATexture(), w.texture->MakeGATexture(w.picture.get(), 7, 0, 0);
     }},
    {"parameter-count GAShaderProgram::Init",
     [](World& w) { w.program->Init(GAShaderProgram::kBlur, w.parameters.data(), 4); }},
    {"effect-again GAShaderProgram::Init", [](World& w) { w.SetUpBlur(), w.SetUpBlur(); }},
    {"effect-size GAShaderProgram::Init", [](World& w) { w.parameters[3] = 60, w.SetUpBlur(); }},
    {"unknown-number GAShaderProgram::Init",
     [](World& w) {
       w.parameters[2] = 9;
       w.program->Init(GAShaderProgram::kFilter, w.parameters.data(), 5);
     }},
    {"null GAShaderProgram::Init", [](World& w) { w.program->Init(0, nullptr, 5); }},
    {"effect-missing GAShaderProgram::Process",
     [](World& w) { w.program->Process(1, w.picture.get(), w.picture.get(), 0); }},
    {"null GAShaderProgram::Process",
     [](World& w) { w.SetUpBlur(), w.program->Process(0, w.picture.get(), nullptr, 0); }},
    {"effect-size GAShaderProgram::Process",
     [](World& w) {
       const auto small = hostkit::NewByteBitmap(32, 32);
       w.SetUpBlur(), w.program->Process(0, small.get(), small.get(), 0);
     }},
};

const Case kAdderCases[] = {
    {"null DisplayList::AddTransformedQuad",
     [](World& w) { w.list->AddTransformedQuad(static_cast<GAVertex*>(nullptr), 0, 0); }},
    {"null DisplayList::AddTransformedShadedLineList",
     [](World& w) { w.list->AddTransformedShadedLineList(nullptr, 0, 0); }},
    {"null DisplayList::AddTransformedLineList",
     [](World& w) { w.list->AddTransformedLineList(nullptr, 2); }},
    {"null DisplayList::TransformAndAddVertex",
     [](World& w) {
       w.info.objectToView = nullptr;
       w.list->PrepForPoints(), w.list->TransformAndAddVertex({0, 0, -2}, w.color);
     }},
    {"index-beyond DisplayList::AddIndexedTriangleFan",
     [](World& w) { w.list->AddIndexedTriangleFan(w.vertices.data(), 2, w.indices.data(), 3, 0); }},
    {"index-beyond DisplayList::AddIndexedLitTriangleList",
     [](World& w) { w.list->AddIndexedLitTriangleList(w.lit.data(), 2, w.indices.data(), 3, 0); }},
    {"index-beyond DisplayList::AddIndexedLineList",
     [](World& w) {
       std::vector<GALitVertex> vertices(2);
       std::vector<unsigned int> indices = {0, 2};
       w.list->AddIndexedLineList(vertices, indices);
     }},
    {"index-count DisplayList::AddIndexedLitTriangleList",
     [](World& w) { w.list->AddIndexedLitTriangleList(w.lit.data(), 3, w.indices.data(), 2, 0); }},
    {"nothing-done DisplayList::AddIndexedLitTriangleListWT",
     [](World& w) {
       GALitVertexWT vertex;
       w.list->AddIndexedLitTriangleListWT(&vertex, 1, w.indices.data(), 0, 0);
     }},
    {"nothing-done DisplayList::AddPoint", [](World& w) { w.list->AddPoint(1); }},
    {"not-a-number DisplayList::AddCircle",
     [](World& w) {
       w.list->AddCircle({0, kNan, -2}, {1, 0, 0}, {0, 1, 0});
     }},
    {"not-a-number DisplayList::AddSphere",
     [](World& w) {
       w.list->AddSphere({0, 0, -2}, INFINITY, w.color);
     }},
    {"not-a-number DisplayList::AddTransformedTri",
     [](World& w) { w.vertices[3].z = kNan, w.list->AddTransformedTri(w.vertices.data(), 0); }},
    {"not-a-number DisplayList::AddTransformedQuad",
     [](World& w) {
       w.vertices[2].ny = kNan, w.list->AddTransformedQuad(w.vertices.data(), 0, 0);
     }},
    {"not-a-number DisplayList::AddTransformedPolygon",
     [](World& w) {
       VornPoly polygon;
       polygon.p1.x = kNan;
       w.list->AddTransformedPolygon(polygon, 0);
     }},
};

class Misuses : public testing::TestWithParam<Case> {};

TEST_P(Misuses, AreToldOnce) {
  World world;
  ASSERT_EQ(world.told, std::vector<std::string>()) << "though all was done right";
  GetParam().act(world);
  EXPECT_EQ(fmt::format("{}", fmt::join(world.told, ", ")), GetParam().told);
}

INSTANTIATE_TEST_SUITE_P(Driver, Misuses, testing::ValuesIn(kDriverCases));
INSTANTIATE_TEST_SUITE_P(Buffer, Misuses, testing::ValuesIn(kBufferCases));
INSTANTIATE_TEST_SUITE_P(State, Misuses, testing::ValuesIn(kStateCases));
INSTANTIATE_TEST_SUITE_P(Adder, Misuses, testing::ValuesIn(kAdderCases));

TEST(Checking, TellsOnceAnOperationWithValues) {
  World world;
  for (int i = 0; i < 3; ++i) {
    world.buffer->AfxFillRect(0, 0, 8, 8, 0, world.color);
    world.list->AddRectangle(0, 0, 8, 8, -2000, world.color);
  }
  EXPECT_EQ(world.values, (std::vector<std::string>{
                              "z is 0, with nearZ -1 and farZ -1000: nothing is seen",
                              "z is -2000, with nearZ -1 and farZ -1000: nothing is seen"}));
}

TEST(Checking, GivesBackWhatTheDriverAnswers) {
  World world;
  EXPECT_EQ(world.buffer->GetZValue(3, 2), 23);
  EXPECT_EQ(world.buffer->GetFogColor().red, 0.75f);
  EXPECT_NE(dynamic_cast<FakeBuffer*>(world.buffer.get()), nullptr);
}

TEST(Checking, ForgetsWhatTheCallbackDeletes) {
  World world;
  const auto drop = [](const Misuse& misuse, void* told) {
    World::Keep(misuse, told);
    static_cast<World*>(told)->texture.reset();
  };
  hostkit::CheckCalls(drop, &world);
  world.buffer->FillBitmapNode(nullptr, 0);
  world.driver->Terminate();
  EXPECT_EQ(world.values.back(), "left are 1 list, 1 buffer, 0 textures and 1 effect");
}

/// A thread may take over when the one before has ended.
TEST(Checking, LetsAnotherThreadTakeOver) {
  std::optional<World> world;
  std::thread([&] { world.emplace(); }).join();
  world->buffer->Clear();
  EXPECT_EQ(world->told, std::vector<std::string>());
}

}  // namespace
