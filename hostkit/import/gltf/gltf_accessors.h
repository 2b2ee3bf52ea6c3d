// The arrays of a glTF file: where they lie, and their numbers as what a scene has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "hostkit/import/gltf/gltf_buffers.h"

namespace hostkit::gltf {

enum class ComponentType {
  kByte = 5120,
  kUnsignedByte = 5121,
  kShort = 5122,
  kUnsignedShort = 5123,
  kUnsignedInt = 5125,
  kFloat = 5126,
};

/// Bytes of one number; 0 for what is no type.
std::size_t SizeOf(ComponentType type);

/// An array whose elements all lie within bytes that are there.
struct Accessor {
  const unsigned char* data = nullptr;  ///< Of the first element.
  std::size_t count = 0;                ///< Elements.
  std::size_t stride = 0;               ///< Bytes from element to element, at least 1.
  int components = 0;                   ///< Numbers of an element.
  ComponentType type = ComponentType::kFloat;
  bool isNormalized = false;  ///< Whole numbers mean 0 to 1, or -1 to 1.
};

class Accessors {
 public:
  /// Both must outlive it.
  Accessors(const Document& document, Buffers& buffers)
      : m_document(document), m_buffers(buffers) {}

  /// The accessor with its sparse values in place; null where it is missing or broken. It stays
  /// where it is.
  const Accessor* Get(int index);

 private:
  std::optional<Accessor> Make(Json json);
  bool PlaceIn(int view, std::uint64_t offset, Accessor& accessor);
  unsigned char* Keep(std::size_t size);
  bool ApplySparse(Json sparse, Accessor& accessor, std::size_t elementSize);

  const Document& m_document;
  Buffers& m_buffers;
  std::map<int, std::optional<Accessor>> m_made;
  std::vector<std::unique_ptr<unsigned char[]>> m_kept;
  std::size_t m_keptSize = 0;
};

/// Which elements of an accessor are wanted: `count` from `first`, or those of a list. All must be
/// there.
struct Selection {
  std::size_t first = 0, count = 0;
  std::vector<std::uint32_t> list;  ///< Where it is not empty, `count` indices, not from `first`.
};

/// The selected elements as `components` floats each, one after the other: numbers that elements
/// lack become `missing`, those that they have besides are left out.
void ReadFloats(const Accessor& from, const Selection& selection, int components, float missing,
                float* to);

/// The selected elements as vectors.
template <class Vector>
std::vector<Vector> ReadVectors(const Accessor& from, const Selection& selection) {
  std::vector<Vector> vectors(selection.count);
  ReadFloats(from, selection, sizeof(Vector) / sizeof(float), 0,
             vectors.empty() ? nullptr : &vectors[0][0]);
  return vectors;
}

/// The elements' first numbers, whole ones without sign; false for other types.
bool ReadIndices(const Accessor& from, std::vector<std::uint32_t>* to);

/// The selected elements as `components` whole numbers each, from whole numbers without sign or, as
/// unpacked geometry has them, floats.
bool ReadWholes(const Accessor& from, const Selection& selection, int components,
                std::vector<std::uint32_t>* to);

}  // namespace hostkit::gltf
