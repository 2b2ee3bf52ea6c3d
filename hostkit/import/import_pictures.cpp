// Pictures of a model: embedded in it, or in files near it.
#include "hostkit/import/import_pictures.h"

#include <assimp/scene.h>
#include <assimp/texture.h>
#include <fmt/format.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "hostkit/pictures/picture_in.h"

namespace hostkit {
namespace {

namespace fs = std::filesystem;

/// Turns percent escapes into their bytes, as in URIs ("%20" for a space).
std::string Unescape(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool escape = text[i] == '%' && i + 2 < text.size() &&
                        std::isxdigit(text[i + 1] & 0xff) && std::isxdigit(text[i + 2] & 0xff);
    if (!escape) {
      plain += text[i];
      continue;
    }
    plain += static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
    i += 2;
  }
  return plain;
}

/// The entry of `folder` called `name` without regard to case, or an empty path.
fs::path EntryWithoutCase(const fs::path& folder, const std::string& name) {
  std::error_code code;
  for (fs::directory_iterator entry(folder.empty() ? "." : folder, code), end;
       !code && entry != end; entry.increment(code)) {
    if (strcasecmp(entry->path().filename().c_str(), name.c_str()) == 0) return entry->path();
  }
  return {};
}

/// `folder / relative` where that is a file, with every part matched without regard to case where
/// it does not exist as written; else an empty path.
fs::path FileWithoutCase(const fs::path& folder, const fs::path& relative) {
  std::error_code code;
  if (fs::is_regular_file(folder / relative, code)) return folder / relative;
  fs::path found = folder;
  for (const fs::path& part : relative) {
    fs::path next = found / part;
    if (!fs::exists(next, code)) next = EntryWithoutCase(found, part.string());
    if (next.empty()) return {};
    found = next;
  }
  return fs::is_regular_file(found, code) ? found : fs::path();
}

fs::path FindPlainReference(const fs::path& folder, const fs::path& reference) {
  std::error_code code;
  if (reference.is_absolute() && fs::is_regular_file(reference, code)) return reference;
  const fs::path name = reference.filename();
  if (name.empty()) return {};
  const std::pair<fs::path, fs::path> places[] = {
      {folder, reference.relative_path()}, {folder, name}, {folder, "textures" / name}};
  for (const auto& [start, relative] : places) {
    fs::path found = FileWithoutCase(start, relative);
    if (!found.empty()) return found;
  }
  return {};
}

BitmapPtr BitmapFromTexels(const aiTexture& texture, const std::string& name, std::string* error) {
  constexpr unsigned kLargestSide = 32768;
  if (texture.mWidth > kLargestSide || texture.mHeight > kLargestSide) {
    *error = fmt::format("{}: {} x {} pixels are too many; scale it down", name, texture.mWidth,
                         texture.mHeight);
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

std::string FindPictureFile(const std::string& modelPath, const std::string& reference) {
  std::string plain = reference;
  std::replace(plain.begin(), plain.end(), '\\', '/');
  if (plain.starts_with("file://")) plain.erase(0, 7);
  // A drive letter means nothing here: what follows it may still be found by its name.
  if (plain.size() > 2 && plain[1] == ':') plain.erase(0, 2);
  const fs::path folder = fs::path(modelPath).parent_path();
  const fs::path found = FindPlainReference(folder, plain);
  if (!found.empty() || plain.find('%') == std::string::npos) return found.string();
  return FindPlainReference(folder, Unescape(plain)).string();
}

BitmapPtr PictureStore::Load(const std::string& reference, std::string* error) const {
  const aiTexture* embedded = m_context.source->GetEmbeddedTexture(reference.c_str());
  if (embedded && embedded->pcData) {
    const std::string name = fmt::format("{}: picture {} in it", m_context.path, reference);
    if (embedded->mHeight > 0) return BitmapFromTexels(*embedded, name, error);
    return LoadPictureFromMemory(reinterpret_cast<const unsigned char*>(embedded->pcData),
                                 embedded->mWidth, name, error);
  }
  const std::string file = FindPictureFile(m_context.path, reference);
  if (file.empty()) {
    *error = fmt::format(
        "{}: its picture {} was not found; put it beside the model or in a folder "
        "\"textures\" there",
        m_context.path, reference);
    return nullptr;
  }
  return LoadPicture(file, error);
}

int PictureStore::IndexOf(const std::string& reference, const PictureUse& use) {
  const auto [entry, isNew] = m_indices.try_emplace({reference, use}, -1);
  if (!isNew) return entry->second;
  std::string error;
  SceneImage image;
  image.name = reference;
  image.repeat = use.repeat;
  image.bitmap = Load(reference, &error);
  if (!image.bitmap) {
    m_context.Warn(std::move(error));
    return -1;
  }
  ApplyAlpha(*image.bitmap, use);
  entry->second = static_cast<int>(m_context.scene->images.size());
  m_context.scene->images.push_back(std::move(image));
  return entry->second;
}

}  // namespace hostkit
