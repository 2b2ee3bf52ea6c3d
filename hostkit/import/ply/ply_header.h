// The header of a PLY file: what follows it, and how that is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hostkit {

enum class PlyFormat : std::uint8_t { kAscii, kLittleEndian, kBigEndian };

enum class PlyType : std::uint8_t {
  kInt8,
  kUint8,
  kInt16,
  kUint16,
  kInt32,
  kUint32,
  kFloat32,
  kFloat64
};

/// Bytes of a value in a binary file.
std::size_t SizeOf(PlyType type);

struct PlyProperty {
  std::string name;
  PlyType type = PlyType::kInt8;
  bool isList = false;
  PlyType countType = PlyType::kUint8;  ///< Of a list's count, which stands before its values.
};

struct PlyElement {
  std::string name;
  std::uint64_t count = 0;
  std::vector<PlyProperty> properties;
};

struct PlyHeader {
  PlyFormat format = PlyFormat::kAscii;
  std::vector<PlyElement> elements;   ///< In the order of their values.
  std::vector<std::string> pictures;  ///< Named by comments "TextureFile NAME".
  std::size_t size = 0;               ///< Bytes until the values.
};

/// Reads the header of a file of these bytes. False with what is wrong, and the remedy, in
/// `*fault`. Elements are not promised to be as many as the header says.
bool ReadPlyHeader(std::string_view bytes, PlyHeader* header, std::string* fault);

}  // namespace hostkit
