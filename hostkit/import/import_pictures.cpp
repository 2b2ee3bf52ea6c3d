// Pictures of a model: embedded in it, or in files near it.
#include "hostkit/import/import_pictures.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "hostkit/pictures/picture_in.h"

namespace hostkit {
namespace {

void ApplyAlpha(const HBitmapNode& bitmap, AlphaUse use) {
  if (use == AlphaUse::kExact) return;
  auto* buffer = static_cast<HRGBABuffer*>(bitmap.FindBuffer("Color"));
  bool anyAlpha = false;
  for (int y = 0; y < bitmap.GetHeight(); ++y) {
    auto* row = static_cast<unsigned char*>(buffer->GetData(y));
    for (int x = 0; x < bitmap.GetWidth(); ++x) {
      unsigned char& alpha = row[4 * x + 3];
      if (use == AlphaUse::kIgnore) alpha = 255;
      anyAlpha = anyAlpha || alpha != 0;
    }
  }
  if (!anyAlpha) ApplyAlpha(bitmap, AlphaUse::kIgnore);
}

BitmapPtr LoadFile(const OpenedFile& file, const std::string& name, std::uint64_t mostBytes,
                   std::string* error) {
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
  return LoadPictureFromMemory(bytes.data(), bytes.size(), name, error, nullptr, mostBytes);
}

}  // namespace

void AddWarning(Scene& scene, std::string line) {
  std::vector<std::string>& warnings = scene.warnings;
  if (std::find(warnings.begin(), warnings.end(), line) == warnings.end()) {
    warnings.push_back(std::move(line));
  }
}

PictureLoader EncodedPicture(const unsigned char* bytes, std::size_t size) {
  return [bytes, size](const std::string& shown, std::uint64_t mostBytes, std::string* error) {
    return LoadPictureFromMemory(bytes, size, shown, error, nullptr, mostBytes);
  };
}

std::string PictureStore::NotFoundText(const std::string& reference, FileFault fault) const {
  if (fault != FileFault::kMissing) return m_files.FaultText(reference, fault);
  return fmt::format(
      "{}: its picture {} was not found; put it beside the model or in a folder \"textures\" there",
      m_files.ModelPath(), NameForMessage(reference));
}

std::string PictureStore::ShownName(const std::string& reference) const {
  return fmt::format("{}: its picture {}", m_files.ModelPath(), NameForMessage(reference));
}

BitmapPtr PictureStore::Load(const std::string& reference, std::uint64_t mostBytes,
                             std::string* error) const {
  const OpenedFile file = m_files.Open(reference);
  if (file.IsOpen()) return LoadFile(file, ShownName(reference), mostBytes, error);
  *error = NotFoundText(reference, file.fault);
  return nullptr;
}

int PictureStore::AddFile(const std::string& reference, const PictureUse& use) {
  const OpenedFile file = m_files.Open(reference);
  if (!file.IsOpen()) {
    AddWarning(m_scene, NotFoundText(reference, file.fault));
    return -1;
  }
  const PictureLoader load = [&file](const std::string& shown, std::uint64_t mostBytes,
                                     std::string* error) {
    return LoadFile(file, shown, mostBytes, error);
  };
  return Add({nullptr, file.id, use}, reference, ShownName(reference), load);
}

int PictureStore::Add(const Key& key, const std::string& name, const std::string& shown,
                      const PictureLoader& load) {
  const auto [entry, isNew] = m_loaded.try_emplace(key, -1);
  if (!isNew) return entry->second;
  if (m_loaded.size() > kMostPictures) {
    AddWarning(m_scene,
               fmt::format("{}: it has more than {} pictures; the others are left out; use fewer",
                           m_files.ModelPath(), kMostPictures));
    return -1;
  }
  const PictureUse& use = std::get<PictureUse>(key);
  std::string error;
  SceneImage image;
  image.name = name;
  image.wrapU = use.wrapU;
  image.wrapV = use.wrapV;
  image.isNearest = use.isNearest;
  image.bitmap = load(shown, m_bytesLeft, &error);
  if (!image.bitmap) {
    AddWarning(m_scene, std::move(error));
    return -1;
  }
  m_bytesLeft -= std::uint64_t{4} * static_cast<unsigned>(image.bitmap->GetWidth()) *
                 static_cast<unsigned>(image.bitmap->GetHeight());
  ApplyAlpha(*image.bitmap, use.alpha);
  entry->second = static_cast<int>(m_scene.images.size());
  m_scene.images.push_back(std::move(image));
  return entry->second;
}

int PictureStore::IndexOf(const std::string& reference, const PictureUse& use) {
  const auto [entry, isNew] = m_indices.try_emplace({reference, use}, -1);
  if (isNew) entry->second = AddFile(reference, use);
  return entry->second;
}

int PictureStore::IndexOfEmbedded(const void* key, const std::string& name, const PictureUse& use,
                                  const PictureLoader& load) {
  return Add({key, FileId(), use}, name,
             fmt::format("{}: picture {} in it", m_files.ModelPath(), NameForMessage(name)), load);
}

}  // namespace hostkit
