// Pictures of a model: embedded in it, or in files near it.
#include "hostkit/import/import_pictures.h"

#include <assimp/scene.h>
#include <assimp/texture.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "hostkit/pictures/picture_guards.h"
#include "hostkit/pictures/picture_in.h"

namespace hostkit {
namespace {

BitmapPtr BitmapFromTexels(const aiTexture& texture, std::uint64_t mostBytes,
                           const std::string& name, std::string* error) {
  const std::string refusal = SizeRefusal(texture.mWidth, texture.mHeight, mostBytes);
  if (!refusal.empty()) {
    *error = fmt::format("{}: {}", name, refusal);
    return nullptr;
  }
  const std::size_t count = static_cast<std::size_t>(texture.mWidth) * texture.mHeight;
  std::vector<unsigned char> rgba;
  rgba.reserve(count * 4);
  for (std::size_t i = 0; i < count; ++i) {
    const aiTexel& texel = texture.pcData[i];
    rgba.insert(rgba.end(), {texel.r, texel.g, texel.b, texel.a});
  }
  BitmapPtr bitmap = BitmapFromRgba(rgba.data(), static_cast<int>(texture.mWidth),
                                    static_cast<int>(texture.mHeight));
  if (!bitmap) *error = fmt::format("{}: no memory for the picture; scale it down", name);
  return bitmap;
}

/// All bytes of a file; false when it is shorter by now than it was, or cannot be read.
bool ReadWhole(const OpenedFile& file, std::vector<unsigned char>* bytes) {
  bytes->resize(file.size);
  for (std::size_t done = 0; done < bytes->size();) {
    const ssize_t count = pread(file.file.Get(), bytes->data() + done, bytes->size() - done,
                                static_cast<off_t>(done));
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

void ApplyAlpha(const HBitmapNode& bitmap, const PictureUse& use) {
  auto* buffer = static_cast<HRGBABuffer*>(bitmap.FindBuffer("Color"));
  const int cutoff = static_cast<int>(std::ceil(std::clamp(use.cutoff, 0.0f, 1.0f) * 255));
  bool anyAlpha = false;
  for (int y = 0; y < bitmap.GetHeight(); ++y) {
    auto* row = static_cast<unsigned char*>(buffer->GetData(y));
    for (int x = 0; x < bitmap.GetWidth(); ++x) {
      unsigned char& alpha = row[4 * x + 3];
      if (use.alpha == AlphaUse::kIgnore) alpha = 255;
      if (use.alpha == AlphaUse::kMask) alpha = alpha >= cutoff ? 255 : 0;
      anyAlpha = anyAlpha || alpha != 0;
    }
  }
  if (anyAlpha) return;
  // A picture that is invisible everywhere has an alpha channel that was never filled.
  ApplyAlpha(bitmap, {AlphaUse::kIgnore, 0, true});
}

}  // namespace

BitmapPtr PictureStore::LoadFile(const OpenedFile& file, const std::string& name,
                                 std::string* error) const {
  if (file.size > kLargestPictureFile) {
    *error =
        fmt::format("{}: {} bytes are too many for a picture; the limit is {} MiB; scale it down",
                    name, file.size, kLargestPictureFile >> 20);
    return nullptr;
  }
  std::vector<unsigned char> bytes;
  if (!ReadWhole(file, &bytes)) {
    *error = fmt::format("{}: reading stopped half-way; check the disk", name);
    return nullptr;
  }
  return LoadPictureFromMemory(bytes.data(), bytes.size(), name, error, nullptr, m_bytesLeft);
}

BitmapPtr PictureStore::LoadEmbedded(const aiTexture& texture, const std::string& name,
                                     std::string* error) const {
  if (texture.mHeight > 0) return BitmapFromTexels(texture, m_bytesLeft, name, error);
  return LoadPictureFromMemory(reinterpret_cast<const unsigned char*>(texture.pcData),
                               texture.mWidth, name, error, nullptr, m_bytesLeft);
}

std::string PictureStore::NotFoundText(const std::string& reference, FileFault fault) const {
  if (fault != FileFault::kMissing) return m_files.FaultText(reference, fault);
  return fmt::format(
      "{}: its picture {} was not found; put it beside the model or in a folder \"textures\" there",
      m_context.path, NameForMessage(reference));
}

int PictureStore::Add(const std::string& reference, const PictureUse& use) {
  const aiTexture* embedded = m_context.source->GetEmbeddedTexture(reference.c_str());
  if (embedded && !embedded->pcData) embedded = nullptr;
  const OpenedFile file = embedded ? OpenedFile() : m_files.Open(reference);
  if (!embedded && !file.IsOpen()) {
    m_context.Warn(NotFoundText(reference, file.fault));
    return -1;
  }
  const auto [entry, isNew] = m_loaded.try_emplace({embedded, file.id, use}, -1);
  if (!isNew) return entry->second;
  if (m_loaded.size() > kMostPictures) {
    m_context.Warn(
        fmt::format("{}: it has more than {} pictures; the others are left out; use fewer",
                    m_context.path, kMostPictures));
    return -1;
  }
  const std::string shown = NameForMessage(reference);
  std::string error;
  SceneImage image;
  image.name = reference;
  image.repeat = use.repeat;
  image.bitmap =
      embedded ? LoadEmbedded(*embedded, fmt::format("{}: picture {} in it", m_context.path, shown),
                              &error)
               : LoadFile(file, fmt::format("{}: its picture {}", m_context.path, shown), &error);
  if (!image.bitmap) {
    m_context.Warn(std::move(error));
    return -1;
  }
  m_bytesLeft -= std::uint64_t{4} * static_cast<unsigned>(image.bitmap->GetWidth()) *
                 static_cast<unsigned>(image.bitmap->GetHeight());
  ApplyAlpha(*image.bitmap, use);
  entry->second = static_cast<int>(m_context.scene->images.size());
  m_context.scene->images.push_back(std::move(image));
  return entry->second;
}

int PictureStore::IndexOf(const std::string& reference, const PictureUse& use) {
  const auto [entry, isNew] = m_indices.try_emplace({reference, use}, -1);
  if (isNew) entry->second = Add(reference, use);
  return entry->second;
}

}  // namespace hostkit
