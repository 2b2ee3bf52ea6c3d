// Textures of a glTF file: pictures, how they go on beyond their edges, and where they lie.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "hostkit/import/gltf/gltf_materials.h"

namespace hostkit::gltf {
namespace {

PictureWrap WrapOf(Json sampler, const char* key) {
  constexpr int kClampToEdge = 33071, kMirroredRepeat = 33648;
  const int mode = IndexOf(sampler, key);
  if (mode == kMirroredRepeat) return PictureWrap::kMirror;
  return mode == kClampToEdge ? PictureWrap::kClamp : PictureWrap::kRepeat;
}

/// Scaled, turned about the picture's top left corner against the clock, moved.
Imath::M33f TransformOf(Json extension) {
  const std::array<double, 2> scale = NumbersOf<2>(extension, "scale", {1, 1});
  const std::array<double, 2> offset = NumbersOf<2>(extension, "offset", {0, 0});
  const float turn = NumberOf(extension, "rotation", 0);
  const float c = std::cos(turn), s = std::sin(turn);
  const float x = ToFloat(scale[0]), y = ToFloat(scale[1]);
  return {c * x, -s * x, 0, s * y, c * y, 0, ToFloat(offset[0]), ToFloat(offset[1]), 1};
}

/// The bytes of a picture in a "data:" URI, decoded only when they are needed.
PictureLoader LoaderOfUri(const std::string& uri) {
  return
      [&uri](const std::string& shown, std::uint64_t mostBytes, std::string* error) -> BitmapPtr {
        const std::optional<std::vector<unsigned char>> bytes = DecodeDataUri(uri);
        if (!bytes) {
          *error = fmt::format("{} is no base64 text; export the model again", shown);
          return nullptr;
        }
        return EncodedPicture(bytes->data(), bytes->size())(shown, mostBytes, error);
      };
}

}  // namespace

int Materials::EmbeddedPicture(Json image, int index, const PictureUse& use) {
  PictureStore& pictures = m_document.Source().pictures;
  const std::string name = m_document.NameOf("image", image, index);
  const Json uri = Member(image, "uri");
  if (uri.IsText()) {
    return pictures.IndexOfEmbedded(image.Key(), name, use, LoaderOfUri(uri.Text()));
  }
  const BufferView* view = m_buffers.View(IndexOf(image, "bufferView"));
  if (!view) {
    m_document.Note("pictures left out, since their bytes are not in the file", name);
    return -1;
  }
  return pictures.IndexOfEmbedded(image.Key(), name, use,
                                  EncodedPicture(view->bytes.data(), view->bytes.size()));
}

int Materials::PictureOf(Json texture, PictureUse use) {
  const Json sampler = m_document.Item("samplers", IndexOf(texture, "sampler"));
  constexpr int kNearest = 9728;
  use.wrapU = WrapOf(sampler, "wrapS");
  use.wrapV = WrapOf(sampler, "wrapT");
  use.isNearest = IndexOf(sampler, "magFilter") == kNearest;
  const int webp = IndexOf(Extension(texture, "EXT_texture_webp"), "source");
  const int index = webp >= 0 ? webp : IndexOf(texture, "source");
  const Json image = m_document.Item("images", index);
  if (!image.IsObject()) {
    m_document.Note("textures left out, since they have no picture that can be read here",
                    index < 0 ? "one that names none" : m_document.NameOf("image", image, index));
    return -1;
  }
  const std::string uri = TextOf(image, "uri");
  if (uri.empty() || IsDataUri(uri)) return EmbeddedPicture(image, index, use);
  return m_document.Source().pictures.IndexOf(uri, use);
}

Materials::Texture Materials::TextureOf(Json info, AlphaUse alpha) {
  Texture texture;
  if (!info.IsObject()) return texture;
  texture.isThere = true;
  PictureUse use;
  use.alpha = alpha;
  texture.image = PictureOf(m_document.Item("textures", IndexOf(info, "index")), use);
  const Json transform = Extension(info, "KHR_texture_transform");
  const int moved = IndexOf(transform, "texCoord");
  texture.uvSet = std::max(moved >= 0 ? moved : IndexOf(info, "texCoord"), 0);
  if (transform.IsObject()) texture.transform = TransformOf(transform);
  return texture;
}

}  // namespace hostkit::gltf
