// Binary glTF 2.0 files from scenes made in memory.
#include "samples/glb_writer.h"

#include <Imath/ImathMatrixAlgo.h>
#include <Imath/ImathQuat.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <set>
#include <utility>

namespace samples {
namespace {

constexpr int kFloat = 5126, kUnsignedInt = 5125, kUnsignedShort = 5123;

float LinearFromDisplay(float value) {
  return value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
}

void AppendWord(std::string& bytes, std::size_t value) {
  const auto word = static_cast<std::uint32_t>(value);
  bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
}

void PadTo4(std::string& bytes, char filler) {
  while (bytes.size() % 4 != 0) bytes += filler;
}

std::string Vector3(const Imath::V3f& v) {
  return fmt::format("[{},{},{}]", v.x, v.y, v.z);
}

/// Collects the arrays of the JSON text and the binary chunk.
class Writer {
 public:
  explicit Writer(const Document& document) : m_document(document) {}

  std::string Write() {
    for (const std::string& image : m_document.images) {
      const int view = AddView(image.data(), image.size());
      m_images.push_back(fmt::format(R"({{"bufferView":{},"mimeType":"image/png"}})", view));
      m_textures.push_back(fmt::format(R"({{"source":{}}})", m_textures.size()));
    }
    for (const Material& material : m_document.materials) AddMaterial(material);
    for (const Mesh& mesh : m_document.meshes) AddMesh(mesh);
    for (const Camera& camera : m_document.cameras) AddCamera(camera);
    for (const Light& light : m_document.lights) AddLight(light);
    for (const Animation& animation : m_document.animations) AddAnimation(animation);
    for (const Skin& skin : m_document.skins) AddSkin(skin);
    for (std::size_t i = 0; i < m_document.nodes.size(); ++i) AddNode(i);
    return Assemble(Json());
  }

 private:
  int AddView(const void* data, std::size_t size) {
    m_views.push_back(
        fmt::format(R"({{"buffer":0,"byteOffset":{},"byteLength":{}}})", m_binary.size(), size));
    m_binary.append(static_cast<const char*>(data), size);
    PadTo4(m_binary, '\0');
    return static_cast<int>(m_views.size()) - 1;
  }

  int AddAccessor(const void* data, std::size_t size, std::size_t count, int componentType,
                  const char* type, const std::string& limits = {}) {
    const int view = AddView(data, size);
    m_accessors.push_back(
        fmt::format(R"({{"bufferView":{},"componentType":{},"count":{},"type":"{}"{}}})", view,
                    componentType, count, type, limits));
    return static_cast<int>(m_accessors.size()) - 1;
  }

  template <typename T>
  int AddFloats(const std::vector<T>& values, const char* type, const std::string& limits = {}) {
    return AddAccessor(values.data(), values.size() * sizeof(T), values.size(), kFloat, type,
                       limits);
  }

  void AddMesh(const Mesh& mesh) {
    const Shape& shape = mesh.shape;
    Imath::V3f low(shape.positions[0]), high(low);
    for (const Imath::V3f& p : shape.positions) {
      for (int k = 0; k < 3; ++k) low[k] = std::min(low[k], p[k]);
      for (int k = 0; k < 3; ++k) high[k] = std::max(high[k], p[k]);
    }
    const std::string limits = fmt::format(R"(,"min":{},"max":{})", Vector3(low), Vector3(high));
    std::string attributes =
        fmt::format(R"("POSITION":{})", AddFloats(shape.positions, "VEC3", limits));
    if (!shape.normals.empty()) {
      attributes += fmt::format(R"(,"NORMAL":{})", AddFloats(shape.normals, "VEC3"));
    }
    if (!shape.uvs.empty()) {
      attributes += fmt::format(R"(,"TEXCOORD_0":{})", AddFloats(shape.uvs, "VEC2"));
    }
    if (!shape.colors.empty()) {
      const int accessor =
          AddAccessor(shape.colors.data(), shape.colors.size() * sizeof(float),
                      shape.positions.size(), kFloat, shape.colorChannels == 4 ? "VEC4" : "VEC3");
      attributes += fmt::format(R"(,"COLOR_0":{})", accessor);
    }
    if (!shape.joints.empty()) {
      attributes +=
          fmt::format(R"(,"JOINTS_0":{},"WEIGHTS_0":{})",
                      AddAccessor(shape.joints.data(), shape.joints.size() * sizeof(std::uint16_t),
                                  shape.joints.size() / 4, kUnsignedShort, "VEC4"),
                      AddFloats(shape.weights, "VEC4"));
    }
    const int indices =
        AddAccessor(shape.indices.data(), shape.indices.size() * sizeof(std::uint32_t),
                    shape.indices.size(), kUnsignedInt, "SCALAR");
    m_meshes.push_back(fmt::format(
        R"({{"name":"{}","primitives":[{{"attributes":{{{}}},"indices":{},"material":{}}}]}})",
        mesh.name, attributes, indices, mesh.material));
  }

  std::string TextureOf(const Material& material) {
    if (material.image < 0) return {};
    const Imath::V2f &offset = material.uvOffset, &scale = material.uvScale;
    std::string transform;
    if (material.uvRotation != 0 || offset != Imath::V2f(0, 0) || scale != Imath::V2f(1, 1)) {
      m_extensions.insert("KHR_texture_transform");
      transform = fmt::format(R"(,"extensions":{{"KHR_texture_transform":)"
                              R"({{"offset":[{},{}],"rotation":{},"scale":[{},{}]}}}})",
                              offset.x, offset.y, material.uvRotation, scale.x, scale.y);
    }
    return fmt::format(R"(,"baseColorTexture":{{"index":{}{}}})", material.image, transform);
  }

  void AddMaterial(const Material& material) {
    const Imath::V3f& c = material.color;
    if (material.transmission > 0) m_extensions.insert("KHR_materials_transmission");
    const std::string texture = TextureOf(material);
    const std::string transmission =
        material.transmission <= 0
            ? std::string()
            : fmt::format(
                  R"(,"extensions":{{"KHR_materials_transmission":{{"transmissionFactor":{}}}}})",
                  material.transmission);
    m_materials.push_back(fmt::format(
        R"({{"name":"{}","alphaMode":"{}","doubleSided":{},"pbrMetallicRoughness":{{"baseColorFactor":[{},{},{},{}],)"
        R"("metallicFactor":{},"roughnessFactor":{}{}}}{}}})",
        material.name, material.alphaMode, material.isDoubleSided, LinearFromDisplay(c.x),
        LinearFromDisplay(c.y), LinearFromDisplay(c.z), material.alpha, material.metallic,
        material.roughness, texture, transmission));
  }

  void AddCamera(const Camera& camera) {
    if (camera.halfHeight > 0) {
      m_cameras.push_back(fmt::format(R"({{"name":"{}","type":"orthographic","orthographic":)"
                                      R"({{"xmag":{},"ymag":{},"znear":0.1,"zfar":100}}}})",
                                      camera.name, camera.halfHeight * camera.aspect,
                                      camera.halfHeight));
      return;
    }
    m_cameras.push_back(fmt::format(R"({{"name":"{}","type":"perspective","perspective":)"
                                    R"({{"yfov":{},"aspectRatio":{},"znear":0.1,"zfar":100}}}})",
                                    camera.name, camera.verticalFov, camera.aspect));
  }

  void AddLight(const Light& light) {
    m_extensions.insert("KHR_lights_punctual");
    const std::string spot =
        light.type != "spot" ? std::string()
                             : fmt::format(R"(,"spot":{{"innerConeAngle":{},"outerConeAngle":{}}})",
                                           light.innerCone, light.outerCone);
    m_lights.push_back(fmt::format(R"({{"name":"{}","type":"{}","color":{},"intensity":{}{}}})",
                                   light.name, light.type, Vector3(light.color), light.intensity,
                                   spot));
  }

  void AddAnimation(const Animation& animation) {
    std::vector<std::string> samplers, channels;
    for (const Channel& channel : animation.channels) {
      m_animatedNodes.insert(channel.node);
      const std::string limits =
          fmt::format(R"(,"min":[{}],"max":[{}])", channel.times.front(), channel.times.back());
      const int input = AddFloats(channel.times, "SCALAR", limits);
      int output = 0;
      if (channel.path == "rotation") {
        output = AddFloats(channel.values, "VEC4");
      } else {
        std::vector<Imath::V3f> values;
        for (const Imath::V4f& v : channel.values) values.emplace_back(v.x, v.y, v.z);
        output = AddFloats(values, "VEC3");
      }
      channels.push_back(fmt::format(R"({{"sampler":{},"target":{{"node":{},"path":"{}"}}}})",
                                     samplers.size(), channel.node, channel.path));
      samplers.push_back(fmt::format(R"({{"input":{},"output":{}}})", input, output));
    }
    m_animations.push_back(fmt::format(R"({{"name":"{}","samplers":[{}],"channels":[{}]}})",
                                       animation.name, fmt::join(samplers, ","),
                                       fmt::join(channels, ",")));
  }

  void AddSkin(const Skin& skin) {
    m_skins.push_back(fmt::format(R"({{"joints":[{}],"inverseBindMatrices":{}}})",
                                  fmt::join(skin.joints, ","),
                                  AddFloats(skin.inverseBinds, "MAT4")));
  }

  /// A placement; in the parts that animations replace when one does.
  static std::string Placement(const Imath::M44f& toParent, bool isAnimated) {
    if (!isAnimated) {
      // glTF wants columns of column-vector matrices: the rows that Imath has.
      const float* first = toParent.getValue();
      return fmt::format(R"("matrix":[{}])", fmt::join(first, first + 16, ","));
    }
    Imath::M44f turned = toParent;
    Imath::V3f scale(1.0f), shear(0.0f);
    Imath::extractAndRemoveScalingAndShear(turned, scale, shear);
    const Imath::Quatf q = Imath::extractQuat(turned);
    return fmt::format(R"("translation":{},"rotation":[{},{},{},{}],"scale":{})",
                       Vector3(toParent.translation()), q.v.x, q.v.y, q.v.z, q.r, Vector3(scale));
  }

  void AddNode(std::size_t index) {
    const Node& node = m_document.nodes[index];
    const bool isAnimated = m_animatedNodes.count(static_cast<int>(index)) > 0;
    std::string text =
        fmt::format(R"({{"name":"{}",{})", node.name, Placement(node.toParent, isAnimated));
    if (node.mesh >= 0) text += fmt::format(R"(,"mesh":{})", node.mesh);
    if (node.skin >= 0) text += fmt::format(R"(,"skin":{})", node.skin);
    if (node.camera >= 0) text += fmt::format(R"(,"camera":{})", node.camera);
    if (node.light >= 0) {
      text += fmt::format(R"(,"extensions":{{"KHR_lights_punctual":{{"light":{}}}}})", node.light);
    }
    std::vector<std::size_t> children;
    for (std::size_t i = index + 1; i < m_document.nodes.size(); ++i) {
      if (m_document.nodes[i].parent == static_cast<int>(index)) children.push_back(i);
    }
    if (!children.empty()) text += fmt::format(R"(,"children":[{}])", fmt::join(children, ","));
    m_nodes.push_back(text + "}");
    if (node.parent < 0) m_roots.push_back(std::to_string(index));
  }

  std::string Json() const {
    std::string json = R"({"asset":{"version":"2.0","generator":"make_samples"},"scene":0)";
    json += fmt::format(R"(,"scenes":[{{"nodes":[{}]}}])", fmt::join(m_roots, ","));
    if (!m_extensions.empty()) {
      json += fmt::format(R"(,"extensionsUsed":["{}"])", fmt::join(m_extensions, R"(",")"));
    }
    if (!m_lights.empty()) {
      json += fmt::format(R"(,"extensions":{{"KHR_lights_punctual":{{"lights":[{}]}}}})",
                          fmt::join(m_lights, ","));
    }
    const std::pair<const char*, const std::vector<std::string>*> arrays[] = {
        {"nodes", &m_nodes},         {"meshes", &m_meshes},     {"materials", &m_materials},
        {"textures", &m_textures},   {"images", &m_images},     {"cameras", &m_cameras},
        {"accessors", &m_accessors}, {"bufferViews", &m_views}, {"animations", &m_animations},
        {"skins", &m_skins}};
    for (const auto& [name, values] : arrays) {
      if (!values->empty()) json += fmt::format(R"(,"{}":[{}])", name, fmt::join(*values, ","));
    }
    return json + fmt::format(R"(,"buffers":[{{"byteLength":{}}}]}})", m_binary.size());
  }

  std::string Assemble(std::string json) const {
    PadTo4(json, ' ');
    std::string file = "glTF";
    AppendWord(file, 2);
    AppendWord(file, 12 + 8 + json.size() + 8 + m_binary.size());
    AppendWord(file, json.size());
    file += "JSON" + json;
    AppendWord(file, m_binary.size());
    file.append("BIN\0", 4);
    return file + m_binary;
  }

  const Document& m_document;
  std::string m_binary;
  std::set<std::string> m_extensions;
  std::set<int> m_animatedNodes;
  std::vector<std::string> m_views, m_accessors, m_images, m_textures, m_materials, m_meshes,
      m_cameras, m_lights, m_nodes, m_roots, m_animations, m_skins;
};

}  // namespace

std::string ToGlb(const Document& document) {
  return Writer(document).Write();
}

}  // namespace samples
