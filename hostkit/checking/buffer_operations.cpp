// Checks of the buffer's operations.
#include <fmt/format.h>

#include <cmath>
#include <cstring>

#include "host/Bitmap.h"
#include "host/GABuffer.h"
#include "hostkit/checking/thunk.h"
#include "hostkit/services/without_controls.h"

namespace hostkit::checking {
namespace {

using Buffer = GABuffer;

constexpr int kMostPixels = 32767;

const char* ModeName(int mode) {
  if (mode == Buffer::kOffScreen) return "kOffScreen";
  return mode == Buffer::kKeepContext ? "kKeepContext" : "kOnScreen";
}

void ForgetWaiting(BufferState* buffer) {
  buffer->glassWaits = false;
  buffer->waitingTextures.clear();
}

void BeforeReallocate(Visit& visit, Buffer& self, int width, int height, int) {
  if (!visit.State().driver.initialized) {
    visit.Note(Kind::kBeforeInitialize, "the driver is not operational");
  }
  if (width < 1 || height < 1 || width > kMostPixels || height > kMostPixels) {
    visit.Note(Kind::kUnusualSize, fmt::format("the size is {}x{}", width, height));
  }
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer || !buffer->knowsLooks || buffer->mode == Buffer::kKeepContext) return;
  visit.Note(Kind::kStaleCaches,
             fmt::format("mode {} makes a new context, and the buffer takes material and lights of "
                         "the old one for sent",
                         ModeName(buffer->mode)));
}

void AfterReallocate(Visit& visit, Buffer& self, int result, int width, int height, int options) {
  BufferState* buffer = visit.State().Find(&self);
  if (!buffer) return;
  using Surface = BufferState::Surface;
  const bool keeps = buffer->mode == Buffer::kKeepContext && buffer->surface == Surface::kReady;
  buffer->surface = result ? Surface::kReady : Surface::kFailed;
  buffer->width = width;
  buffer->height = height;
  buffer->hasDepth = (options & Buffer::kWithDepth) != 0;
  buffer->isProjected = false;
  if (!keeps) ForgetWaiting(buffer);
  if (buffer->mode != Buffer::kOffScreen) visit.State().driver.hasGlyphs = true;
}

void BeforeAllocateforShader(Visit& visit, Buffer&, int, int) {
  visit.Note(Kind::kNothingDone, "the surface is for the module's own effects");
}

void AfterDestroy(Visit& visit, Buffer& self, int) {
  BufferState* buffer = visit.State().Find(&self);
  if (!buffer) return;
  buffer->surface = BufferState::Surface::kNone;
  buffer->isProjected = false;
  buffer->context = nullptr;
  ForgetWaiting(buffer);
}

/// Notes a depth at which nothing is seen.
void CheckDepth(Visit& visit, const Buffer& self, float z) {
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer || !buffer->info) return;
  const RenderInfo& info = *buffer->info;
  if (z <= info.nearZ && z >= info.farZ) return;
  visit.Note(Kind::kDepthOutside, fmt::format("z is {}, with nearZ {} and farZ {}: nothing is seen",
                                              z, info.nearZ, info.farZ));
}

void BeforeTransparentBlit(Visit& visit, Buffer& self, GATexture* texture, const CRect&, float z,
                           const Vector2&, float) {
  CheckDepth(visit, self, z);
  const TextureState* known = visit.State().Find(texture);
  if (!texture || (known && !known->hasPicture)) {
    visit.Note(Kind::kNull, texture ? "the texture has no picture" : "the texture is null");
  } else if (!known) {
    visit.Note(Kind::kTextureUnknown, "the texture is none that lives");
  }
  constexpr float kNearestMapped = -0.99f;
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer || !buffer->info || buffer->info->perspective == 0 || !(z > kNearestMapped)) return;
  visit.Note(Kind::kDepthTooNear,
             fmt::format("z is {}, nearer than {} under perspective: pixels count as view units", z,
                         kNearestMapped));
}

/// Buffers of a name stay beside the new one.
bool HasColors(const HBitmapNode& node) {
  for (const HBitmapBuffer* buffer = node.GetBufferHead(); buffer; buffer = buffer->Next()) {
    if (std::strcmp(buffer->Name().Text(), "ColorAlpha") == 0) return true;
  }
  return false;
}

void BeforeFillBitmapNode(Visit& visit, Buffer& self, HBitmapNode* node, int) {
  if (!node) {
    visit.Note(Kind::kNull, "the bitmap is null");
    return;
  }
  if (HasColors(*node)) visit.Note(Kind::kPictureStays, "the bitmap has a \"ColorAlpha\" already");
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer || buffer->surface != BufferState::Surface::kReady) return;
  if (node->GetWidth() <= buffer->width && node->GetHeight() <= buffer->height) return;
  visit.Note(Kind::kPictureLarger,
             fmt::format("the bitmap is {}x{}, the surface {}x{}", node->GetWidth(),
                         node->GetHeight(), buffer->width, buffer->height));
}

void BeforeAfxFillRect(Visit& visit, Buffer& self, int, int, int, int, float z, const GAColor&) {
  CheckDepth(visit, self, z);
}

void BeforeTextOut(Visit& visit, Buffer& self, int x, int y, const char* text, const GAColor&,
                   int) {
  if (!text || !*text) return;
  if (!visit.State().driver.hasGlyphs) {
    visit.Note(Kind::kNoGlyphs, fmt::format("no buffer of a window has made glyphs for \"{:.40}\"",
                                            WithoutControls(text, '?')));
  }
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer || !buffer->info) return;
  const RenderInfo& info = *buffer->info;
  const long long left = x + 1LL, base = y + 11LL;
  if (left >= info.pixelLeft && left <= info.pixelRight && base >= info.pixelTop &&
      base <= info.pixelBottom) {
    return;
  }
  visit.Note(
      Kind::kTextOutside,
      fmt::format("the base line begins at ({}, {}), in a view from ({}, {}) to ({}, {})", left,
                  base, info.pixelLeft, info.pixelTop, info.pixelRight, info.pixelBottom));
}

void BeforeGetZValue(Visit& visit, Buffer& self, int x, int y) {
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer || buffer->surface != BufferState::Surface::kReady) return;
  const bool isInside = x >= 0 && y >= 0 && x < buffer->width && y < buffer->height;
  if (isInside && buffer->hasDepth) return;
  visit.Note(Kind::kPixelOutside,
             fmt::format("pixel ({}, {}) of a surface of {}x{} {} depth", x, y, buffer->width,
                         buffer->height, buffer->hasDepth ? "with" : "without"));
}

void AfterEndScene(Visit& visit, Buffer& self) {
  if (BufferState* buffer = visit.State().Find(&self)) ForgetWaiting(buffer);
}

void BeforeEndScene(Visit& visit, Buffer& self) {
  const BufferState* buffer = visit.State().Find(&self);
  const ListState* list = buffer ? visit.State().ListOf(*buffer) : nullptr;
  if (!list || !list->batchesWait) return;
  visit.Note(Kind::kBatchesWait, "batches wait, and will cover the glass before them");
}

void BeforeComputeProjectionMatrices(Visit& visit, Buffer& self) {
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer) return;
  if (!buffer->info) {
    visit.Note(Kind::kNull, "the buffer was made without a RenderInfo");
    return;
  }
  const RenderInfo& v = *buffer->info;
  if (!(v.farZ < v.nearZ) || !(v.perspective == 0 || v.nearZ < 0)) {
    visit.Note(Kind::kViewRecord, fmt::format("nearZ is {} and farZ {}", v.nearZ, v.farZ));
  } else if (!(std::fabs(v.viewRight - v.viewLeft) > 0 &&
               std::fabs(v.viewTop - v.viewBottom) > 0)) {
    visit.Note(Kind::kViewRecord, fmt::format("the window is {} to {} by {} to {}", v.viewLeft,
                                              v.viewRight, v.viewBottom, v.viewTop));
  } else if (v.pixelLeft == v.pixelRight || v.pixelTop == v.pixelBottom) {
    visit.Note(Kind::kViewRecord, fmt::format("the pixels are {} to {} by {} to {}", v.pixelLeft,
                                              v.pixelRight, v.pixelTop, v.pixelBottom));
  }
}

void AfterComputeProjectionMatrices(Visit& visit, Buffer& self) {
  BufferState* buffer = visit.State().Find(&self);
  if (!buffer || !buffer->info) return;
  buffer->isProjected = true;
  buffer->view = ViewOf(*buffer->info);
  buffer->projection = Buffer::kSceneProjection;
}

void BeforeSetProjection(Visit& visit, Buffer& self, int scene) {
  const BufferState* buffer = visit.State().Find(&self);
  const ListState* list = buffer ? visit.State().ListOf(*buffer) : nullptr;
  if (!list || !list->batchesWait || (scene != 0) == (buffer->projection != 0)) return;
  visit.Note(Kind::kBatchesWait, "what waits in batches will be drawn in the other projection");
}

void AfterSetProjection(Visit& visit, Buffer& self, int scene) {
  if (BufferState* buffer = visit.State().Find(&self)) buffer->projection = scene != 0;
}

/// TextOutA and AfxFillRect load the scene's projection in the end.
void LoadScene(Visit& visit, Buffer& self) {
  AfterSetProjection(visit, self, Buffer::kSceneProjection);
}
void AfterTextOut(Visit& visit, Buffer& self, int, int, int, const char*, const GAColor&, int) {
  LoadScene(visit, self);
}
void AfterAfxFillRect(Visit& visit, Buffer& self, int, int, int, int, int, float, const GAColor&) {
  LoadScene(visit, self);
}

/// Linear fog is cut to whole view units.
void BeforeSetFogState(Visit& visit, Buffer& self, int on) {
  const BufferState* buffer = visit.State().Find(&self);
  const SceneRecord* scene = on && buffer && buffer->info ? buffer->info->scene : nullptr;
  if (!scene || !buffer->isFogLinear) return;
  const float start = scene->fogStart.Current(), end = scene->fogEnd.Current();
  const float asked = end - start, got = std::trunc(end) - std::trunc(start);
  constexpr float kTolerance = 0.1f;
  if (std::fabs(asked - got) <= kTolerance * std::fabs(asked)) return;
  visit.Note(Kind::kFogCut, fmt::format("fog from {} to {} becomes that from {} to {}", start, end,
                                        std::trunc(start), std::trunc(end)));
}

void AfterSetFogDensity(Visit& visit, Buffer& self, float density) {
  if (BufferState* buffer = visit.State().Find(&self)) buffer->isFogLinear = density == 1;
}

void BeforeDeleteBuffer(Visit& visit, Buffer& self) {
  for (auto& [list, state] : visit.State().lists) {
    if (state.buffer != &self || state.isBufferGone) continue;
    visit.Note(Kind::kBufferBeforeList, "the list that draws into the buffer still lives");
    state.isBufferGone = true;
    state.isBlockOpen = false;
  }
  visit.State().buffers.erase(&self);
}

constexpr unsigned kPicture = kSurface | kOutOfBlock | kMakesCurrent;

std::vector<SlotChange> BufferRows() {
  return {
      DeletingThunk<Buffer, BeforeDeleteBuffer>::Install("~GABuffer"),
      On<&Buffer::Reallocate, BeforeReallocate, AfterReallocate>("GABuffer::Reallocate",
                                                                 kNewContext | kMakesCurrent),
      On<&Buffer::AllocateforShader, BeforeAllocateforShader>("GABuffer::AllocateforShader",
                                                              kNewContext | kMakesCurrent),
      On<&Buffer::SetBackground>("GABuffer::SetBackground", kFree),
      On<&Buffer::Destroy, kNone, AfterDestroy>("GABuffer::Destroy", kFree),
      On<&Buffer::Clear>("GABuffer::Clear", kPicture),
      On<&Buffer::Blit>("GABuffer::Blit", kFree),
      On<&Buffer::TransparentBlit, BeforeTransparentBlit>("GABuffer::TransparentBlit",
                                                          kPicture | kProjected),
      On<&Buffer::BlitToFront>("GABuffer::BlitToFront", kPicture | kReadsPicture),
      On<&Buffer::RepaintFront>("GABuffer::RepaintFront", kFree),
      On<&Buffer::FillBitmapNode, BeforeFillBitmapNode>("GABuffer::FillBitmapNode",
                                                        kPicture | kReadsPicture),
      On<&Buffer::AfxFillRect, BeforeAfxFillRect, AfterAfxFillRect>("GABuffer::AfxFillRect",
                                                                    kPicture | kProjected),
      On<&Buffer::TextOutA, BeforeTextOut, AfterTextOut>("GABuffer::TextOutA",
                                                         kPicture | kProjected),
      On<&Buffer::GetZValue, BeforeGetZValue>("GABuffer::GetZValue", kPicture | kReadsPicture),
      On<&Buffer::SetRenderState>("GABuffer::SetRenderState", kPicture),
      On<&Buffer::CopyObjects>("GABuffer::CopyObjects", kFree),
      On<&Buffer::BeginScene>("GABuffer::BeginScene", kSurface),
      On<&Buffer::EndScene, BeforeEndScene, AfterEndScene>("GABuffer::EndScene",
                                                           kSurface | kOutOfBlock),
      On<&Buffer::ComputeProjectionMatrices, BeforeComputeProjectionMatrices,
         AfterComputeProjectionMatrices>("GABuffer::ComputeProjectionMatrices", kPicture),
      On<&Buffer::SetProjection, BeforeSetProjection, AfterSetProjection>("GABuffer::SetProjection",
                                                                          kPicture | kProjected),
      On<&Buffer::IsFogEnabled>("GABuffer::IsFogEnabled", kPicture),
      On<&Buffer::SetFogState, BeforeSetFogState>("GABuffer::SetFogState", kPicture),
      On<&Buffer::GetFogColor>("GABuffer::GetFogColor", kSurface | kInContext),
      On<&Buffer::SetFogColor>("GABuffer::SetFogColor", kSurface | kInContext),
      On<&Buffer::SetFogDensity, kNone, AfterSetFogDensity>("GABuffer::SetFogDensity", kFree),
  };
}

}  // namespace

void Watch(GABuffer* buffer) {
  static const std::vector<SlotChange> rows = BufferRows();
  if (buffer) ExchangeTable(buffer, rows);
}

}  // namespace hostkit::checking
