// The arrays of a binary glTF file, where they lie in it: what reading its bytes costs.
#include "bench/bare/bare_glb.h"

#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>

namespace bare {
namespace {

bool ReadBytes(const char* path, std::vector<char>* bytes) {
  std::FILE* file = std::fopen(path, "rb");
  if (!file) return false;
  std::fseek(file, 0, SEEK_END);
  bytes->resize(static_cast<std::size_t>(std::ftell(file)));
  std::rewind(file);
  const bool isRead = std::fread(bytes->data(), 1, bytes->size(), file) == bytes->size();
  std::fclose(file);
  return isRead;
}

}  // namespace

bool ReadGlb(const char* path, GlbMesh* mesh) {
  constexpr std::size_t kHeader = 12, kChunkHeader = 8;
  if (!ReadBytes(path, &mesh->bytes) || mesh->bytes.size() < kHeader + kChunkHeader) return false;
  const char* const text = mesh->bytes.data() + kHeader + kChunkHeader;
  unsigned length = 0;
  std::memcpy(&length, text - kChunkHeader, sizeof length);
  const nlohmann::json json = nlohmann::json::parse(text, text + length);
  const char* const binary = text + length + kChunkHeader;
  const auto array = [&](const nlohmann::json& index, unsigned* count) {
    const nlohmann::json& accessor = json["accessors"][index.get<unsigned>()];
    *count = accessor["count"].get<unsigned>();
    const nlohmann::json& view = json["bufferViews"][accessor["bufferView"].get<unsigned>()];
    return binary + view["byteOffset"].get<std::size_t>();
  };
  const nlohmann::json& primitive = json["meshes"][0]["primitives"][0];
  const nlohmann::json& attributes = primitive["attributes"];
  mesh->positions = reinterpret_cast<const float*>(array(attributes["POSITION"], &mesh->vertices));
  mesh->normals = reinterpret_cast<const float*>(array(attributes["NORMAL"], &mesh->vertices));
  mesh->indices = reinterpret_cast<const unsigned*>(array(primitive["indices"], &mesh->corners));
  return true;
}

}  // namespace bare
