// What the checks remember.
#include "hostkit/checking/session.h"

#include <algorithm>

namespace hostkit::checking {
namespace {

template <class Map, class Key>
typename Map::mapped_type* FindIn(Map& map, Key key) {
  const auto found = map.find(key);
  return found == map.end() ? nullptr : &found->second;
}

}  // namespace

ViewValues ViewOf(const RenderInfo& info) {
  return {info.perspective,
          info.nearZ,
          info.farZ,
          info.viewLeft,
          info.viewRight,
          info.viewTop,
          info.viewBottom,
          static_cast<float>(info.pixelLeft),
          static_cast<float>(info.pixelRight),
          static_cast<float>(info.pixelTop),
          static_cast<float>(info.pixelBottom)};
}

BufferState* Session::Find(const GABuffer* buffer) {
  return FindIn(buffers, buffer);
}
ListState* Session::Find(const DisplayList* list) {
  return FindIn(lists, list);
}
TextureState* Session::Find(const GATexture* texture) {
  return FindIn(textures, texture);
}
EffectState* Session::Find(const GAShaderProgram* program) {
  return FindIn(effects, program);
}

BufferState* Session::BufferOf(const ListState& list) {
  return list.isBufferGone ? nullptr : Find(list.buffer);
}

ListState* Session::ListOf(const BufferState& buffer) {
  return buffer.list ? Find(buffer.list) : nullptr;
}

bool Session::IsBlockOpen() const {
  return std::any_of(lists.begin(), lists.end(),
                     [](const auto& list) { return list.second.isBlockOpen; });
}

bool Session::IsTransparent(const ListState& list) {
  const TextureState* texture = list.texture ? Find(list.texture) : nullptr;
  return list.isMaterialTransparent || (texture && texture->isTransparent);
}

Session& TheSession() {
  static Session& session = *new Session;
  return session;
}

}  // namespace hostkit::checking
