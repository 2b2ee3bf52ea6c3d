// Buffer views that EXT_meshopt_compression packs.
#include "hostkit/import/gltf/gltf_meshopt.h"

#include <meshoptimizer.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace hostkit::gltf {
namespace {

// The packing of vertices, the densest, takes two bits for sixteen equal bytes.
constexpr std::uint64_t kMostTimes = 64;

bool DecodeIndices(const std::string& mode, std::size_t count, std::size_t size, Bytes packed,
                   unsigned char* to) {
  if (size != 2 && size != 4) return false;
  if (mode == "INDICES") {
    return meshopt_decodeIndexSequence(to, count, size, packed.data(), packed.size()) == 0;
  }
  return count % 3 == 0 &&
         meshopt_decodeIndexBuffer(to, count, size, packed.data(), packed.size()) == 0;
}

bool ApplyFilter(const std::string& filter, std::size_t count, std::size_t stride,
                 unsigned char* to) {
  if (filter == "OCTAHEDRAL" && (stride == 4 || stride == 8)) {
    meshopt_decodeFilterOct(to, count, stride);
  } else if (filter == "QUATERNION" && stride == 8) {
    meshopt_decodeFilterQuat(to, count, stride);
  } else if (filter == "EXPONENTIAL" && stride % 4 == 0) {
    meshopt_decodeFilterExp(to, count, stride);
  } else {
    return filter.empty() || filter == "NONE";
  }
  return true;
}

}  // namespace

bool DecodeMeshopt(Json extension, Bytes packed, std::vector<unsigned char>* bytes) {
  const std::uint64_t count = CountOf(extension, "count", 0);
  const std::uint64_t stride = CountOf(extension, "byteStride", 0);
  constexpr std::uint64_t kWidest = 256;
  if (count == 0 || stride == 0 || stride > kWidest || packed.empty()) return false;
  if (count > packed.size() * kMostTimes / stride) return false;
  bytes->resize(count * stride);
  const std::string mode = TextOf(extension, "mode");
  if (mode != "ATTRIBUTES") return DecodeIndices(mode, count, stride, packed, bytes->data());
  return stride % 4 == 0 &&
         meshopt_decodeVertexBuffer(bytes->data(), count, stride, packed.data(), packed.size()) ==
             0 &&
         ApplyFilter(TextOf(extension, "filter"), count, stride, bytes->data());
}

}  // namespace hostkit::gltf
