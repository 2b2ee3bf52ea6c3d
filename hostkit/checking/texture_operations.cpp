// Checks of the texture's operations.
#include <fmt/format.h>

#include <string_view>

#include "host/Bitmap.h"
#include "host/GATexture.h"
#include "hostkit/checking/gl_errors.h"
#include "hostkit/checking/thunk.h"
#include "platform/gl.h"

namespace hostkit::checking {
namespace {

/// Textures are this many texels or multiples a side.
constexpr int kSideStep = 4;

void CheckMaker(Visit& visit, const GATexture& self) {
  if (!visit.State().driver.initialized) {
    visit.Note(Kind::kBeforeInitialize, "the driver is not operational");
  }
  const TextureState* texture = visit.State().Find(&self);
  if (!texture || !texture->hasPicture) return;
  visit.Note(Kind::kTextureTwice, "the texture has a picture, which stays in the GL's memory");
}

/// Whether there is a buffer to make a texture of.
bool HasPicture(const HBitmapNode& bitmap) {
  for (const HBitmapBuffer* buffer = bitmap.GetBufferHead(); buffer; buffer = buffer->Next()) {
    const std::string_view name = buffer->Name().Text();
    if ((name == "Color" || name == "ColorAlpha") && buffer->Data() &&
        buffer->Width() == bitmap.GetWidth() && buffer->Height() == bitmap.GetHeight()) {
      return true;
    }
  }
  return false;
}

void CheckBitmap(Visit& visit, const GATexture& self, const HBitmapNode* bitmap) {
  CheckMaker(visit, self);
  if (!bitmap) {
    visit.Note(Kind::kNull, "the bitmap is null");
    return;
  }
  const int width = bitmap->GetWidth(), height = bitmap->GetHeight();
  if (!HasPicture(*bitmap)) {
    visit.Note(
        Kind::kEmptyPicture,
        fmt::format("the bitmap of {}x{} has no \"Color\" or \"ColorAlpha\" of that size with "
                    "storage",
                    width, height));
    return;
  }
  if (width % kSideStep == 0 && height % kSideStep == 0) return;
  visit.Note(Kind::kTextureScaled, fmt::format("the picture of {}x{} is scaled", width, height));
}

void KeepBitmap(Visit& visit, const GATexture& self, int result, HBitmapNode* bitmap) {
  TextureState* texture = visit.State().Find(&self);
  if (!texture || !bitmap) return;
  texture->hasPicture = result != 0;
  if (!result) return;
  int flags = 0;
  if (HByteBlock* pixels = bitmap->CreateByteBlock(0, &flags, 0)) pixels->DeleteHandle();
  texture->isTransparent = (flags & 1) != 0;
  const int limit = GlInteger(GL_MAX_TEXTURE_SIZE, 0);
  const int width = bitmap->GetWidth(), height = bitmap->GetHeight();
  if (limit <= 0 || (width < limit && height < limit)) return;
  visit.Note(Kind::kTextureScaled,
             fmt::format("the picture of {}x{} is halved, since the GL's limit is {}", width,
                         height, limit));
}

void BeforeMakeFromPlanes(Visit& visit, GATexture& self, const unsigned char* planes) {
  CheckMaker(visit, self);
  if (!planes) visit.Note(Kind::kNull, "the planes are null");
}

void AfterMakeFromPlanes(Visit& visit, GATexture& self, int result, unsigned char*) {
  if (TextureState* texture = visit.State().Find(&self)) texture->hasPicture = result != 0;
}

void BeforeMakeForShader(Visit& visit, GATexture& self, HBitmapNode* bitmap) {
  CheckBitmap(visit, self, bitmap);
}

void AfterMakeForShader(Visit& visit, GATexture& self, int result, HBitmapNode* bitmap) {
  KeepBitmap(visit, self, result, bitmap);
}

void BeforeMake(Visit& visit, GATexture& self, HBitmapNode* bitmap, int wrap, int, int) {
  CheckBitmap(visit, self, bitmap);
  if (wrap == GATexture::kRepeat || wrap == GATexture::kBorder) return;
  visit.Note(Kind::kUnknownNumber, fmt::format("wrap is {}, which counts as kBorder", wrap));
}

void AfterMake(Visit& visit, GATexture& self, int result, HBitmapNode* bitmap, int, int, int) {
  KeepBitmap(visit, self, result, bitmap);
}

void CheckWaiting(Visit& visit, const GATexture& self) {
  for (const auto& [buffer, state] : visit.State().buffers) {
    if (!state.waitingTextures.contains(&self)) continue;
    visit.Note(Kind::kTextureWaits, "triangles with the texture wait for EndScene");
    return;
  }
}

void BeforeFree(Visit& visit, GATexture& self) {
  CheckWaiting(visit, self);
}

void AfterFree(Visit& visit, GATexture& self) {
  if (TextureState* texture = visit.State().Find(&self)) texture->hasPicture = false;
}

void BeforeDeleteTexture(Visit& visit, GATexture& self) {
  CheckWaiting(visit, self);
  visit.State().textures.erase(&self);
  for (auto& [list, state] : visit.State().lists) {
    if (state.texture == &self) state.texture = nullptr;
  }
}

template <class... Arguments>
using Maker = int (GATexture::*)(Arguments...);

std::vector<SlotChange> TextureRows() {
  return {
      DeletingThunk<GATexture, BeforeDeleteTexture>::Install("~GATexture"),
      On<Maker<unsigned char*>(&GATexture::MakeGATexture), BeforeMakeFromPlanes,
         AfterMakeFromPlanes>("GATexture::MakeGATexture", kFree),
      On<&GATexture::MakeGATextureForShader, BeforeMakeForShader, AfterMakeForShader>(
          "GATexture::MakeGATextureForShader", kFree),
      On<Maker<HBitmapNode*, int, int, int>(&GATexture::MakeGATexture), BeforeMake, AfterMake>(
          "GATexture::MakeGATexture", kFree),
      On<&GATexture::FreeGATexture, BeforeFree, AfterFree>("GATexture::FreeGATexture", kFree),
  };
}

}  // namespace

void Watch(GATexture* texture) {
  static const std::vector<SlotChange> rows = TextureRows();
  if (texture) ExchangeTable(texture, rows);
}

}  // namespace hostkit::checking
