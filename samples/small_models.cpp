// Small models in many formats, and large ones of any number of triangles.
#include "samples/small_models.h"

#include <assimp/material.h>
#include <assimp/mesh.h>
#include <assimp/scene.h>
#include <fmt/format.h>

#include <assimp/Exporter.hpp>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <utility>

#include "samples/glb_writer.h"
#include "samples/red_cube.h"
#include "samples/write_file.h"

namespace samples {
namespace {

void AppendBytes(std::string& bytes, const void* data, std::size_t size) {
  bytes.append(static_cast<const char*>(data), size);
}

aiVector3D ToAssimp(const Imath::V3f& v) {
  return {v.x, v.y, v.z};
}

/// The shape as the export library's own scene, which frees all that it holds.
void FillScene(const Shape& shape, aiScene& scene) {
  auto* mesh = new aiMesh;
  mesh->mName.Set("cube");
  mesh->mPrimitiveTypes = aiPrimitiveType_TRIANGLE;
  mesh->mNumVertices = static_cast<unsigned>(shape.positions.size());
  mesh->mVertices = new aiVector3D[mesh->mNumVertices];
  mesh->mNormals = new aiVector3D[mesh->mNumVertices];
  for (unsigned i = 0; i < mesh->mNumVertices; ++i) {
    mesh->mVertices[i] = ToAssimp(shape.positions[i]);
    mesh->mNormals[i] = ToAssimp(shape.normals[i]);
  }
  mesh->mNumFaces = static_cast<unsigned>(shape.indices.size() / 3);
  mesh->mFaces = new aiFace[mesh->mNumFaces];
  for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
    mesh->mFaces[f].mNumIndices = 3;
    mesh->mFaces[f].mIndices = new unsigned[3];
    std::memcpy(mesh->mFaces[f].mIndices, &shape.indices[std::size_t{3} * f], 3 * sizeof(unsigned));
  }
  auto* material = new aiMaterial;
  const aiString name("red");
  const aiColor3D red(0.8f, 0.1f, 0.1f), white(0.5f, 0.5f, 0.5f);
  const float exponent = 32;
  material->AddProperty(&name, AI_MATKEY_NAME);
  material->AddProperty(&red, 1, AI_MATKEY_COLOR_DIFFUSE);
  material->AddProperty(&white, 1, AI_MATKEY_COLOR_SPECULAR);
  material->AddProperty(&exponent, 1, AI_MATKEY_SHININESS);
  scene.mNumMeshes = scene.mNumMaterials = 1;
  scene.mMeshes = new aiMesh* [1] { mesh };
  scene.mMaterials = new aiMaterial* [1] { material };
  scene.mRootNode = new aiNode("cube");
  scene.mRootNode->mNumMeshes = 1;
  scene.mRootNode->mMeshes = new unsigned[1]{0};
}

}  // namespace

bool WriteCubes(const std::string& folder, std::string* error) {
  aiScene scene;
  FillScene(Box({1, 1, 1}, 1), scene);
  constexpr std::pair<const char*, const char*> kFormats[] = {
      {"plyb", "ply"}, {"stlb", "stl"}, {"collada", "dae"}, {"3ds", "3ds"}, {"fbxa", "fbx"}};
  Assimp::Exporter exporter;
  for (const auto& [format, suffix] : kFormats) {
    const std::string path = (std::filesystem::path(folder) / "cube.").string() + suffix;
    if (exporter.Export(&scene, format, path) == aiReturn_SUCCESS) continue;
    *error = fmt::format("{}: cannot be written ({})", path, exporter.GetErrorString());
    return false;
  }
  return WriteRedCubeObj(folder, error);
}

std::string ToPly(const Shape& shape) {
  const std::size_t triangles = shape.indices.size() / 3;
  std::string bytes = fmt::format(
      "ply\nformat binary_little_endian 1.0\ncomment make_samples\nelement vertex {}\n"
      "property float x\nproperty float y\nproperty float z\n"
      "property float nx\nproperty float ny\nproperty float nz\n"
      "element face {}\nproperty list uchar uint vertex_indices\nend_header\n",
      shape.positions.size(), triangles);
  bytes.reserve(bytes.size() + shape.positions.size() * 24 + triangles * 13);
  for (std::size_t i = 0; i < shape.positions.size(); ++i) {
    AppendBytes(bytes, &shape.positions[i], 12);
    AppendBytes(bytes, &shape.normals[i], 12);
  }
  for (std::size_t t = 0; t < triangles; ++t) {
    bytes += '\3';
    AppendBytes(bytes, &shape.indices[3 * t], 12);
  }
  return bytes;
}

bool WriteBumpySphere(const std::string& path, std::uint32_t triangles, std::string* error) {
  const std::string suffix = std::filesystem::path(path).extension().string();
  if (triangles < 1 || (suffix != ".ply" && suffix != ".glb")) {
    *error = fmt::format("{}: wants one triangle or more, and a name ending in .ply or .glb", path);
    return false;
  }
  Shape shape = BumpySphere(triangles);
  if (suffix == ".ply") return WriteFile(path, ToPly(shape), error);
  Document document;
  document.materials.resize(1);
  document.meshes.push_back({"bumpy sphere", std::move(shape), 0});
  document.nodes.resize(1);
  document.nodes[0].name = "bumpy sphere";
  document.nodes[0].mesh = 0;
  return WriteFile(path, ToGlb(document), error);
}

}  // namespace samples
