// Geometry that KHR_draco_mesh_compression packs.
#include "hostkit/import/gltf/gltf_draco.h"

#include <draco/compression/decode.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace hostkit::gltf {
namespace {

constexpr int kMostComponents = 4;

/// What a whole number of a normalised accessor is divided by; 1 for others.
float DivisorOf(Json accessor) {
  if (!FlagOf(accessor, "normalized")) return 1;
  switch (static_cast<ComponentType>(IndexOf(accessor, "componentType"))) {
    case ComponentType::kByte:
      return 127;
    case ComponentType::kUnsignedByte:
      return 255;
    case ComponentType::kShort:
      return 32767;
    case ComponentType::kUnsignedShort:
      return 65535;
    default:
      return 1;
  }
}

/// One attribute's numbers, point by point; false where they are broken.
bool TakeAttribute(const draco::PointCloud& points, draco::PointAttribute& attribute, float divisor,
                   const std::string& name, DracoGeometry& geometry) {
  const int components = std::min<int>(attribute.num_components(), kMostComponents);
  const std::size_t count = points.num_points();
  if (components < 1 || attribute.size() == 0) return false;
  attribute.set_normalized(false);  // the accessor tells that
  auto numbers = std::make_unique<float[]>(count * static_cast<std::size_t>(components));
  float* to = numbers.get();
  for (draco::PointIndex i(0); i < points.num_points(); ++i, to += components) {
    const draco::AttributeValueIndex value = attribute.mapped_index(i);
    const bool isThere = value.value() < attribute.size() &&
                         attribute.ConvertValue<float>(value, static_cast<int8_t>(components), to);
    if (!isThere) return false;
    for (int c = 0; divisor != 1 && c < components; ++c) to[c] = std::max(to[c] / divisor, -1.0f);
  }
  Accessor accessor;
  accessor.data = reinterpret_cast<const unsigned char*>(numbers.get());
  accessor.count = count;
  accessor.stride = static_cast<std::size_t>(components) * sizeof(float);
  accessor.components = components;
  geometry.attributes[name] = accessor;
  geometry.numbers.push_back(std::move(numbers));
  return true;
}

}  // namespace

std::unique_ptr<DracoGeometry> DecodeDraco(Json primitive, Json accessors, Bytes packed) {
  draco::DecoderBuffer buffer;
  buffer.Init(reinterpret_cast<const char*>(packed.data()), packed.size());
  draco::Decoder decoder;
  auto decoded = decoder.DecodeMeshFromBuffer(&buffer);
  if (!decoded.ok()) return nullptr;
  const std::unique_ptr<draco::Mesh> mesh = std::move(decoded).value();
  if (!mesh || mesh->num_points() == 0) return nullptr;
  auto geometry = std::make_unique<DracoGeometry>();
  geometry->indices.reserve(std::size_t{3} * mesh->num_faces());
  for (draco::FaceIndex f(0); f < mesh->num_faces(); ++f) {
    for (const draco::PointIndex& point : mesh->face(f)) geometry->indices.push_back(point.value());
  }
  const Json ids = Member(Extension(primitive, "KHR_draco_mesh_compression"), "attributes");
  const Json attributes = Member(primitive, "attributes");
  bool isGood = true;
  ids.ForEach([&](const std::string& name, Json id) {
    const int unique = IndexFrom(id);
    const int at = !isGood || unique < 0
                       ? -1
                       : mesh->GetAttributeIdByUniqueId(static_cast<std::uint32_t>(unique));
    const float divisor = DivisorOf(Entry(accessors, IndexOf(attributes, name.c_str())));
    isGood = at >= 0 && TakeAttribute(*mesh, *mesh->attribute(at), divisor, name, *geometry);
  });
  return isGood ? std::move(geometry) : nullptr;
}

}  // namespace hostkit::gltf
