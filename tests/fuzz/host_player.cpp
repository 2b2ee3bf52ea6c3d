// The random host itself: what it starts with, its values, and what must hold.
#include "tests/fuzz/host_player.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "hostkit/services/current_driver.h"
#include "hostkit/services/registry.h"
#include "platform/gl.h"

namespace {

void Append(Moves& moves, const Moves& more) {
  moves.insert(moves.end(), more.begin(), more.end());
}

/// Now and then through the registry and a new driver, else as a driver sets what it read.
void ChooseSettings(Input& input) {
  constexpr int kQueueLimits[] = {7, 0, 1, 2, 3, 300, -1, INT_MIN, INT_MAX};
  constexpr int kVertexLimits[] = {12000000, 0, 1, 5, -1};
  const int queueLimit = input.OneOf(kQueueLimits);
  const int vertexLimit = input.OneOf(kVertexLimits);
  const bool antialias = input.Flag();
  if (input.Below(16) == 15) {
    hostkit::OverrideRegistryValue("OpenGL3", "Max Transparent Triangles", queueLimit);
    hostkit::OverrideRegistryValue("OpenGL3", "Max Vertices", vertexLimit);
    hostkit::OverrideRegistryValue("OpenGL3", "Antialias", antialias);
    delete HostPlayer::driver;
    HostPlayer::driver = nullptr;
    HostPlayer::MakeSharedDriver();
    Require(GL3GABuffer::m_maxtransparentpolys == queueLimit, "a setting did not arrive");
    return;
  }
  GL3GABuffer::m_maxtransparentpolys = queueLimit;
  GL3GADriver::gl_max_vertices = vertexLimit;
  HostPlayer::driver->SetOption(GL3GADriver::kAntialias, antialias);
}

}  // namespace

Moves TameMoves() {
  const Moves buffers = BufferMoves(), effects = EffectMoves();
  Moves moves = {buffers[0], buffers[1], effects[0], effects[1]};
  Append(moves, {buffers.begin() + 2, buffers.end()});
  Append(moves, {effects.begin() + 2, effects.end()});
  Append(moves, ListMoves());
  return moves;
}

Moves WildMoves() {
  Moves moves = WildBufferMoves();
  Append(moves, WildListMoves());
  return moves;
}

HostPlayer::HostPlayer(Input& from) : input(from) {
  if (!input.Flag()) input.BeTame();
  ChooseSettings(input);
  for (std::size_t i = 0; i < 3; ++i) colors[i].Set(255, static_cast<unsigned char>(90 * i), 7, 99);
  for (AttrProperty& material : materials) material.base = {1, 0.5f, 0.25f};
  materials[1].transparency = 0.5f;
  for (GALight& light : lights) light.owner = &owner;
  RemakeBuffer();
}

HostPlayer::~HostPlayer() {
  for (GAColor& color : colors) color = GAColor();
  for (PlayedBuffer& played : buffers) {
    played.lists.clear();
    played.buffer.reset();
  }
  for (auto& texture : textures) texture.reset();
  for (PlayedProgram& played : programs) {
    played.program.reset();
    played.surfaces.clear();
  }
  GL3GADriver::m_useopenmp = false;
  if (!GL3GADriver::m_context) driver->Initialize();
}

void HostPlayer::Play() {
  constexpr int kMostMoves = 150;
  Moves moves = TameMoves();
  if (!input.IsTame()) Append(moves, WildMoves());
  for (int i = 0; i < kMostMoves && !input.IsEmpty(); ++i) {
    moves[static_cast<std::size_t>(input.Below(static_cast<int>(moves.size())))](*this);
  }
  for (here = 0; here < buffers.size(); ++here) {
    if (!Here().buffer) continue;
    for (const auto& list : Here().lists) list->EndInstructions();
    Buffer().EndScene();
    Buffer().IsFogEnabled();  // makes its context current
    CheckErrors();
  }
  here = 0;
  // The driver's context stays; what went wrong in it is not the next player's.
  driver->MakeCurrent();
  CheckErrors();
}

void HostPlayer::MakeSharedDriver() {
  if (driver) return;
  // Mesa 22.3 reads released memory when it links, as a program of its own, a vertex shader that
  // its cache on disk knows. A game must not depend on what was played before either.
  setenv("MESA_SHADER_CACHE_DISABLE", "true", 1);
  driver = new PlayedDriver;
  hostkit::SetDriver(driver);
  Require(driver->Initialize() == 1, "no driver");
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
  const int mode = input.OneOf(kModes);
  played.buffer.reset(driver->CreateBuffer(&played.info, input.IsTame() ? 1 : mode, 0));
  Require(played.buffer != nullptr, "no buffer");
  played.info.buffer = played.buffer.get();
  played.buffer->Reallocate(16, 16, 1);
  played.buffer->ComputeProjectionMatrices();
}

void HostPlayer::CheckErrors() const {
  constexpr GLenum kKnown[] = {GL_INVALID_VALUE, GL_INVALID_OPERATION,
                               GL_INVALID_FRAMEBUFFER_OPERATION};
  for (int i = 0; i < 10; ++i) {
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) return;
    const bool known = std::find(std::begin(kKnown), std::end(kKnown), error) != std::end(kKnown);
    char text[40];
    std::snprintf(text, sizeof text, "GL error 0x%x", error);
    Require(known && !input.IsTame(), text);
  }
}

void HostPlayer::MakeList() {
  if (Here().lists.size() >= 3) return;
  Here().lists.emplace_back(driver->CreateDisplayList(&Here().info));
  Require(Here().lists.back() != nullptr, "no display list");
}

DisplayList& HostPlayer::List() {
  if (Here().lists.empty()) MakeList();
  const std::size_t count = Here().lists.size();
  return *Here().lists[count == 1 ? 0 : input.Byte() % count];
}

AttrProperty* HostPlayer::Material() {
  const auto which = static_cast<std::size_t>(input.Below(5));
  return which < materials.size() ? &materials[which] : nullptr;
}

LightListNode* HostPlayer::Lights() {
  const auto count = static_cast<std::size_t>(input.Below(8));
  if (count == 0 || count > 6) return nullptr;
  auto& nodes = lightLists.emplace_back();
  for (std::size_t i = 0; i < count; ++i) {
    const auto light = static_cast<std::size_t>(input.Below(7));
    nodes.at(i).light = light < lights.size() ? &lights[light] : nullptr;
    if (i > 0) nodes.at(i - 1).next = &nodes.at(i);
  }
  return nodes.data();
}

GL3GATexture* HostPlayer::Texture() {
  const auto which = static_cast<std::size_t>(input.Below(5));
  return which < textures.size() ? textures[which].get() : nullptr;
}

int HostPlayer::Side() {
  constexpr int kSides[] = {16, 1, 2, 3, 7, 17, 31, 16, 0, -1, 1500, 65552, INT_MAX, INT_MIN};
  return FirstOf(kSides, 8);
}

float HostPlayer::Positive() {
  return input.IsTame() ? static_cast<float>(1 + input.Below(40)) / 4 : input.Float();
}

int HostPlayer::Count(int most) {
  const int byte = input.Byte();
  return byte < 240 ? byte % (most + 1) : 239 - byte;
}

GAVertex HostPlayer::Vertex() {
  return {input.Float(), input.Float(), input.Float(), input.Float(),
          input.Float(), input.Float(), input.Float(), Positive()};
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
  const int step = input.Below(5);
  int next = input.Byte();
  for (unsigned short& index : indices) {
    index = static_cast<unsigned short>(vertices > 0 ? next % vertices : 0);
    next += step;
  }
  return indices;
}
