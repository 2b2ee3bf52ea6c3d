// Checks of the buffer's operations.
#include <fmt/format.h>

#include <cstring>

#include "host/Bitmap.h"
#include "host/GABuffer.h"
#include "hostkit/checking/record_checks.h"
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

void BeforeSetBackground(Visit& visit, Buffer&, const GAColor& color) {
  if (color.Native()) return;
  visit.Note(Kind::kEmptyColor, "the colour is empty, and the background will be black");
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
  if (!keeps) {
    buffer->ForgetWaiting();
    buffer->drewGlass = false;
  }
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
  buffer->ForgetWaiting();
}

/// Notes a depth at which nothing is seen. Whether it is none such.
bool CheckDepth(Visit& visit, const Buffer& self, float z) {
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer || !buffer->info) return true;
  const RenderInfo& info = *buffer->info;
  if (z <= info.nearZ && z >= info.farZ) return true;
  visit.Note(Kind::kDepthOutside, fmt::format("z is {}, with nearZ {} and farZ {}: nothing is seen",
                                              z, info.nearZ, info.farZ));
  return false;
}

void BeforeTransparentBlit(Visit& visit, Buffer& self, GATexture* texture, const CRect&, float z,
                           const Vector2&, float) {
  const bool isInside = CheckDepth(visit, self, z);
  const TextureState* known = visit.State().Find(texture);
  if (!texture || (known && !known->hasPicture)) {
    visit.Note(Kind::kNull, texture ? "the texture has no picture" : "the texture is null");
  } else if (!known) {
    visit.Note(Kind::kTextureUnknown, "the texture is none that lives");
  }
  constexpr float kNearestMapped = -0.99f;
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer || !buffer->info) return;
  if (buffer->isProjected && buffer->projection == Buffer::kScreenProjection) {
    visit.Note(Kind::kWrongProjection,
               "the screen's projection is loaded, and the picture goes elsewhere");
  }
  if (!isInside || buffer->info->perspective == 0 || !(z > kNearestMapped)) return;
  visit.Note(Kind::kDepthTooNear,
             fmt::format("z is {}, nearer than {} under perspective: pixels count as view units", z,
                         kNearestMapped));
}

/// The last buffer of pixels that were read; null without one. Those of the name before it stay.
const HBitmapBuffer* ColorsOf(const HBitmapNode& node) {
  const HBitmapBuffer* found = nullptr;
  for (const HBitmapBuffer* buffer = node.GetBufferHead(); buffer; buffer = buffer->Next()) {
    if (std::strcmp(buffer->Name().Text(), "ColorAlpha") == 0) found = buffer;
  }
  return found;
}

void BeforeFillBitmapNode(Visit& visit, Buffer& self, HBitmapNode* node, int) {
  if (!node) {
    visit.Note(Kind::kNull, "the bitmap is null");
    return;
  }
  if (ColorsOf(*node)) visit.Note(Kind::kPictureStays, "the bitmap has a \"ColorAlpha\" already");
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer || buffer->surface != BufferState::Surface::kReady) return;
  if (node->GetWidth() <= buffer->width && node->GetHeight() <= buffer->height) return;
  visit.Note(Kind::kPictureLarger,
             fmt::format("the bitmap is {}x{}, the surface {}x{}", node->GetWidth(),
                         node->GetHeight(), buffer->width, buffer->height));
}

/// Of bitmaps that the program has made itself: rows are written one behind the other.
void AfterFillBitmapNode(Visit& visit, Buffer&, int, HBitmapNode* node, int) {
  const HBitmapBuffer* colors = node ? ColorsOf(*node) : nullptr;
  if (!colors || colors->RowStep() == colors->Width() * colors->Channels()) return;
  visit.Note(Kind::kPaddedRows,
             fmt::format("RowStep() is {} for {} pixels of {} channels, and the rows were written "
                         "without a gap",
                         colors->RowStep(), colors->Width(), colors->Channels()));
}

/// Notes what waits in batches, when the scene's projection is loaded before it is drawn.
void CheckBatches(Visit& visit, const Buffer& self) {
  const BufferState* buffer = visit.State().Find(&self);
  const ListState* list = buffer ? visit.State().ListOf(*buffer) : nullptr;
  if (!list || !list->batchesWait || buffer->projection != Buffer::kScreenProjection) return;
  visit.Note(Kind::kBatchesWait,
             "what waits in batches will be drawn in the scene's projection, which is loaded now");
}

void BeforeAfxFillRect(Visit& visit, Buffer& self, int, int, int, int, float z, const GAColor&) {
  CheckDepth(visit, self, z);
  CheckBatches(visit, self);
}

void BeforeTextOut(Visit& visit, Buffer& self, int x, int y, const char* text, const GAColor&,
                   int) {
  if (!text) return;
  CheckBatches(visit, self);
  if (!*text) return;
  CheckText(visit, text);
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
  if (BufferState* buffer = visit.State().Find(&self)) buffer->KeepGlassDrawn();
}

void BeforeEndScene(Visit& visit, Buffer& self) {
  const BufferState* buffer = visit.State().Find(&self);
  if (buffer && buffer->glassWaits && buffer->projection != buffer->glassProjection) {
    visit.Note(Kind::kGlassWaits, "what is transparent was added in the other projection");
  }
  const ListState* list = buffer ? visit.State().ListOf(*buffer) : nullptr;
  if (!list || !list->batchesWait) return;
  visit.Note(Kind::kBatchesWait, buffer->glassWaits
                                     ? "batches wait, and will cover the glass before them"
                                     : "batches wait, and are not in this scene");
}

void BeforeComputeProjectionMatrices(Visit& visit, Buffer& self) {
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer) return;
  if (!buffer->info) {
    visit.Note(Kind::kNull, "the buffer was made without a RenderInfo");
    return;
  }
  CheckView(visit, *buffer->info);
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

void BeforeSetFogState(Visit& visit, Buffer& self, int on) {
  const BufferState* buffer = visit.State().Find(&self);
  const SceneRecord* scene = on && buffer && buffer->info ? buffer->info->scene : nullptr;
  if (scene && buffer->isFogLinear) CheckLinearFog(visit, *scene);
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
      On<&Buffer::SetBackground, BeforeSetBackground>("GABuffer::SetBackground", kFree),
      On<&Buffer::Destroy, kNone, AfterDestroy>("GABuffer::Destroy", kFree),
      On<&Buffer::Clear>("GABuffer::Clear", kPicture),
      On<&Buffer::Blit>("GABuffer::Blit", kFree),
      On<&Buffer::TransparentBlit, BeforeTransparentBlit>("GABuffer::TransparentBlit",
                                                          kPicture | kProjected),
      On<&Buffer::BlitToFront>("GABuffer::BlitToFront", kPicture | kReadsPicture),
      On<&Buffer::RepaintFront>("GABuffer::RepaintFront", kFree),
      On<&Buffer::FillBitmapNode, BeforeFillBitmapNode, AfterFillBitmapNode>(
          "GABuffer::FillBitmapNode", kPicture | kReadsPicture),
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
