// The random host itself: its moves, what it starts with, and what must hold.
#include "tests/fuzz/host_player.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "hostkit/services/current_driver.h"
#include "hostkit/services/registry.h"
#include "platform/gl.h"

// Tame hosts take the first moves alone: those that leave no block of vertices open. BeginScene and
// EndScene come first, for inputs to find them.
const HostPlayer::Move HostPlayer::kMoves[] = {
    &HostPlayer::BeginScene, &HostPlayer::EndScene, &HostPlayer::SetListState,
    &HostPlayer::ChooseBuffer, &HostPlayer::RemakeBuffer, &HostPlayer::MakeList,
    &HostPlayer::DropList, &HostPlayer::ChangeColor, &HostPlayer::ChangeMaterial,
    &HostPlayer::ChangeLight, &HostPlayer::MakeTexture, &HostPlayer::FreeTexture,
    &HostPlayer::DeleteTexture, &HostPlayer::Reallocate, &HostPlayer::ChangeView,
    &HostPlayer::SetFog, &HostPlayer::Overlay, &HostPlayer::ReadBack, &HostPlayer::BlitSomething,
    &HostPlayer::QueueRecords, &HostPlayer::Instruct, &HostPlayer::AddLines,
    &HostPlayer::AddLineArrays, &HostPlayer::AddShadedLines, &HostPlayer::AddRectangles,
    &HostPlayer::AddCurves, &HostPlayer::AddPolygons, &HostPlayer::AddTriangles,
    &HostPlayer::AddPolyline, &HostPlayer::AddFan, &HostPlayer::AddIndexedLists,
    &HostPlayer::MakeProgram, &HostPlayer::DropProgram, &HostPlayer::InitEffect,
    &HostPlayer::RunEffect, &HostPlayer::UploadPicture, &HostPlayer::MergePixels,
    &HostPlayer::CompileShaders, &HostPlayer::Occlude,
    // From here on wild hosts alone.
    &HostPlayer::RestartDriver, &HostPlayer::SetBufferState, &HostPlayer::Prepare,
    &HostPlayer::AddVertices, &HostPlayer::AddPoints};
const int HostPlayer::kMoveCount = static_cast<int>(std::size(kMoves));
const int HostPlayer::kTameMoves = kMoveCount - 5;
const int HostPlayer::kInitEffect = kTameMoves - 6;

PlayedDriver* HostPlayer::m_driver = nullptr;

HostPlayer::HostPlayer(Input& input) : m_input(input) {
  if (!input.Flag()) input.BeTame();
  ChooseSettings();
  for (std::size_t i = 0; i < 3; ++i)
    m_colors[i].Set(255, static_cast<unsigned char>(90 * i), 7, 99);
  for (AttrProperty& material : m_materials) material.base = {1, 0.5f, 0.25f};
  m_materials[1].transparency = 0.5f;
  for (GALight& light : m_lights) light.owner = &m_owner;
  RemakeBuffer();
}

HostPlayer::~HostPlayer() {
  for (GAColor& color : m_colors) color = GAColor();
  for (PlayedBuffer& played : m_buffers) {
    played.lists.clear();
    played.buffer.reset();
  }
  for (auto& texture : m_textures) texture.reset();
  for (PlayedProgram& played : m_programs) {
    played.program.reset();
    played.surfaces.clear();
  }
  GL3GADriver::m_useopenmp = false;
  if (!GL3GADriver::m_context) m_driver->Initialize();
}

void HostPlayer::Play() {
  constexpr int kMostMoves = 150;
  for (int i = 0; i < kMostMoves && !m_input.IsEmpty(); ++i) {
    const int move = m_input.Below(m_input.IsTame() ? kTameMoves : kMoveCount);
    (this->*kMoves[move])();
  }
  for (m_here = 0; m_here < m_buffers.size(); ++m_here) {
    if (!Here().buffer) continue;
    for (const auto& list : Here().lists) list->EndInstructions();
    Buffer().EndScene();
    Buffer().IsFogEnabled();  // makes its context current
    CheckErrors();
  }
  m_here = 0;
  // The driver's context stays; what went wrong in it is not the next player's.
  m_driver->MakeCurrent();
  CheckErrors();
}

void HostPlayer::MakeSharedDriver() {
  if (m_driver) return;
  // Mesa 22.3 reads released memory when it links, as a program of its own, a vertex shader that
  // its cache on disk knows. A game must not depend on what was played before either.
  setenv("MESA_SHADER_CACHE_DISABLE", "true", 1);
  m_driver = new PlayedDriver;
  hostkit::SetDriver(m_driver);
  Require(m_driver->Initialize() == 1, "no driver");
}

/// Now and then through the registry and a new driver, else as a driver sets what it read.
void HostPlayer::ChooseSettings() {
  constexpr int kQueueLimits[] = {7, 0, 1, 2, 3, 300, -1, INT32_MIN, INT32_MAX};
  constexpr int kVertexLimits[] = {12000000, 0, 1, 5, -1};
  const int queueLimit = m_input.OneOf(kQueueLimits);
  const int vertexLimit = m_input.OneOf(kVertexLimits);
  const bool antialias = m_input.Flag();
  if (m_input.Below(16) == 15) {
    hostkit::OverrideRegistryValue("OpenGL3", "Max Transparent Triangles", queueLimit);
    hostkit::OverrideRegistryValue("OpenGL3", "Max Vertices", vertexLimit);
    hostkit::OverrideRegistryValue("OpenGL3", "Antialias", antialias);
    delete m_driver;
    m_driver = nullptr;
    MakeSharedDriver();
    Require(GL3GABuffer::m_maxtransparentpolys == queueLimit, "a setting did not arrive");
    return;
  }
  GL3GABuffer::m_maxtransparentpolys = queueLimit;
  GL3GADriver::gl_max_vertices = vertexLimit;
  m_driver->SetOption(GL3GADriver::kAntialias, antialias);
}

void HostPlayer::RestartDriver() {
  if (m_input.Flag()) m_driver->Terminate();
  if (m_input.Flag()) Require(m_driver->Initialize() == 1, "no second driver");
}

void HostPlayer::ChooseBuffer() {
  m_here = static_cast<std::size_t>(m_input.Below(3));
  if (!Here().buffer) RemakeBuffer();
}

void HostPlayer::RemakeBuffer() {
  constexpr int kModes[] = {1, 1, 1, 1, 1, 2, 0};
  PlayedBuffer& played = Here();
  played.lists.clear();
  played.info.scene = &played.scene;
  played.info.objectToView = played.objectToView;
  played.info.viewLeft = played.info.viewBottom = -8;
  played.info.viewRight = played.info.viewTop = 8;
  played.info.imageWidth = played.info.pixelRight = 16;
  played.info.imageHeight = played.info.pixelBottom = 16;
  const int mode = m_input.OneOf(kModes);
  played.buffer.reset(m_driver->CreateBuffer(&played.info, m_input.IsTame() ? 1 : mode, 0));
  Require(played.buffer != nullptr, "no buffer");
  played.info.buffer = played.buffer.get();
  played.buffer->Reallocate(16, 16, 1);
  played.buffer->ComputeProjectionMatrices();
}

DisplayList& HostPlayer::List() {
  if (Here().lists.empty()) MakeList();
  const std::size_t count = Here().lists.size();
  return *Here().lists[count == 1 ? 0 : m_input.Byte() % count];
}

void HostPlayer::MakeList() {
  if (Here().lists.size() >= 3) return;
  Here().lists.emplace_back(m_driver->CreateDisplayList(&Here().info));
  Require(Here().lists.back() != nullptr, "no display list");
}

void HostPlayer::DropList() {
  if (!Here().lists.empty()) Here().lists.erase(Here().lists.begin());
}

void HostPlayer::ChangeColor() {
  GAColor& color = Color();
  RGBFloat rgb;
  const Things things = {
      [&] { color = GAColor(); },
      [&] { color = Color(); },
      [&] {
        rgb = {m_input.Float(), m_input.Float(), m_input.Float()};
        color = GAColor(m_driver->CreateColor(rgb));
        if (color.Native()) color.Native()->SetAlpha(color.Native()->Red());
      },
      [&] {
        color = GAColor(m_driver->CreateColor(
            Vector4{m_input.Float(), m_input.Float(), m_input.Float(), m_input.Float()}));
      },
      [&] { color = GAColor(m_driver->CreateColor(Color())); },
      [&] {
        const std::array<unsigned char, 4> rgba{m_input.Byte(), m_input.Byte(), m_input.Byte(),
                                                m_input.Byte()};
        color.Set(rgba[0], rgba[1], rgba[2], rgba[3]);
      },
  };
  DoOne(things);
}

AttrProperty* HostPlayer::Material() {
  const auto which = static_cast<std::size_t>(m_input.Below(5));
  return which < m_materials.size() ? &m_materials[which] : nullptr;
}

void HostPlayer::ChangeMaterial() {
  AttrProperty& material = m_materials[static_cast<std::size_t>(m_input.Below(4))];
  material.base = {m_input.Float(), m_input.Float(), m_input.Float()};
  material.ambientSource = m_input.Byte();
  material.ambient.red = m_input.Float();
  material.ambientFactor = m_input.Float();
  material.specularSource = m_input.Byte();
  material.specular.blue = m_input.Float();
  material.roughness = Positive();
  material.specularFactor = m_input.Float();
  material.transparency = m_input.Float();
}

LightListNode* HostPlayer::Lights() {
  int count = m_input.Below(8);
  if (count > 6) count = 0;
  if (count == 0) return nullptr;
  auto& nodes = m_lightLists.emplace_back();
  for (int i = 0; i < count; ++i) {
    const auto light = static_cast<std::size_t>(m_input.Below(7));
    nodes.at(static_cast<std::size_t>(i)).light =
        light < m_lights.size() ? &m_lights[light] : nullptr;
    if (i > 0)
      nodes.at(static_cast<std::size_t>(i) - 1).next = &nodes.at(static_cast<std::size_t>(i));
  }
  return nodes.data();
}

void HostPlayer::ChangeLight() {
  GALight& light = m_lights[static_cast<std::size_t>(m_input.Below(6))];
  const int switches = m_input.Byte();
  light.on = !(switches & 1);
  light.hidden = switches & 2;
  light.diffuseOn = switches & 4;
  light.specularOn = switches & 8;
  m_owner.visible = !(switches & 16);
  light.type = m_input.IsTame() ? m_input.Below(3) : m_input.Int();
  light.position = Point();
  light.target = Point();
  light.placement[m_input.Below(12)] = m_input.Float();
  light.red = m_input.Float();
  light.intensity = m_input.Float();
  light.coneAngle = m_input.Float();
  light.coneSoftness = m_input.IsTame() ? static_cast<float>(m_input.Below(11)) : m_input.Float();
  light.range = Positive();
}

GL3GATexture* HostPlayer::Texture() {
  const auto which = static_cast<std::size_t>(m_input.Below(5));
  return which < m_textures.size() ? m_textures[which].get() : nullptr;
}

void HostPlayer::MakeTexture() {
  auto& texture = m_textures[static_cast<std::size_t>(m_input.Below(4))];
  if (!texture) texture.reset(static_cast<GL3GATexture*>(m_driver->CreateTexture()));
  texture->FreeGATexture();
  const int width = m_input.Below(20);
  const int height = m_input.Below(20);
  const std::uint8_t shade = m_input.Byte();
  if (m_input.Below(4) == 0) {
    texture->m_width = width;
    texture->m_height = height;
    std::vector<unsigned char> planes(static_cast<std::size_t>(width * height * 4) + 1, shade);
    texture->MakeGATexture(planes.data());
    return;
  }
  const PlayedBitmap bitmap(new HBitmapNode(width, height));
  HRGBABuffer* pixels =
      bitmap->CreateRGBABuffer("Color", HBitmapBuffer::kByteChannel, width, height);
  bitmap->AddBuffer(pixels);
  if (pixels->AllocateData(0)) {
    auto* bytes = static_cast<unsigned char*>(pixels->Data());
    for (int i = 0; i < width * height * 4; ++i) bytes[i] = static_cast<unsigned char>(shade + i);
  }
  texture->MakeGATexture(bitmap.get(), m_input.Below(3), 0, 0);
}

void HostPlayer::FreeTexture() {
  if (GL3GATexture* texture = Texture()) texture->FreeGATexture();
}

/// Nothing may be left that was drawn with the texture.
void HostPlayer::DeleteTexture() {
  for (PlayedBuffer& played : m_buffers) {
    if (!played.buffer) continue;
    for (const auto& list : played.lists) {
      list->ExecuteInstructions();
      list->SetTexture(nullptr);
    }
    played.buffer->EndScene();
  }
  m_textures[static_cast<std::size_t>(m_input.Below(4))].reset();
}

/// A tame host causes no GL error. A wild one hands the GL values that it refuses, calls it between
/// the vertices of an open block, and draws where there is no surface; nothing else goes wrong.
void HostPlayer::CheckErrors() {
  constexpr GLenum kKnown[] = {GL_INVALID_VALUE, GL_INVALID_OPERATION,
                               GL_INVALID_FRAMEBUFFER_OPERATION};
  for (int i = 0; i < 10; ++i) {
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) return;
    const bool known = std::find(std::begin(kKnown), std::end(kKnown), error) != std::end(kKnown);
    char text[40];
    std::snprintf(text, sizeof text, "GL error 0x%x", error);
    Require(known && !m_input.IsTame(), text);
  }
}

float HostPlayer::Positive() {
  return m_input.IsTame() ? static_cast<float>(1 + m_input.Below(40)) / 4 : m_input.Float();
}

int HostPlayer::Count(int most) {
  const int byte = m_input.Byte();
  return byte < 240 ? byte % (most + 1) : 239 - byte;
}

GAVertex HostPlayer::Vertex() {
  return {m_input.Float(), m_input.Float(), m_input.Float(), m_input.Float(),
          m_input.Float(), m_input.Float(), m_input.Float(), Positive()};
}

std::vector<GAVertex> HostPlayer::Vertices(int count) {
  std::vector<GAVertex> vertices(count > 0 ? static_cast<std::size_t>(count) : 0);
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    vertices[i] = i < 4 ? Vertex() : vertices[i - 3];
    if (i >= 4) vertices[i].x += 0.5f;
  }
  return vertices;
}

std::vector<unsigned short> HostPlayer::Indices(int count, int vertices) {
  std::vector<unsigned short> indices(count > 0 ? static_cast<std::size_t>(count) : 0);
  const int step = m_input.Below(5);
  int next = m_input.Byte();
  for (unsigned short& index : indices) {
    index = static_cast<unsigned short>(vertices > 0 ? next % vertices : 0);
    next += step;
  }
  return indices;
}
