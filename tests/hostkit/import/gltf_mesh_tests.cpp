// Geometry of glTF files: arrays in all their forms, kinds of primitives, packed ones.
#include <draco/compression/encode.h>
#include <draco/mesh/triangle_soup_mesh_builder.h>
#include <gtest/gtest.h>
#include <meshoptimizer.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/hostkit/import/gltf_fixture.h"

namespace {

using hostkit::Scene;
using hostkit::SceneMesh;
using Imath::V2f;
using Imath::V3f;

using Corners = std::vector<std::uint32_t>;

TEST_F(Gltf, PrimitivesOfEveryModeAndIndexType) {
  const std::vector<float> points = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 2, 0};
  const struct {
    int mode;
    Corners points, lines, triangles;
  } cases[] = {{0, {0, 1, 2, 3, 4}, {}, {}},
               {1, {}, {0, 1, 2, 3}, {}},
               {2, {}, {0, 1, 1, 2, 2, 3, 3, 4, 4, 0}, {}},
               {3, {}, {0, 1, 1, 2, 2, 3, 3, 4}, {}},
               {4, {}, {}, {0, 1, 2}},
               {5, {}, {}, {0, 1, 2, 1, 3, 2, 2, 3, 4}},
               {6, {}, {}, {1, 2, 0, 2, 3, 0, 3, 4, 0}}};
  for (const auto& [mode, dots, lines, triangles] : cases) {
    for (const int type : {0, 5121, 5123, 5125}) {
      SCOPED_TRACE(fmt::format("mode {} type {}", mode, type));
      GltfText file;
      const int positions = file.Floats(points, 3);
      const int normals = file.Floats({0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}, 3);
      int view = -1;
      if (type == 5121) view = file.View(std::vector<std::uint8_t>{0, 1, 2, 3, 4});
      if (type == 5123) view = file.View(std::vector<std::uint16_t>{0, 1, 2, 3, 4});
      if (type == 5125) view = file.View(Corners{0, 1, 2, 3, 4});
      const std::string indices =
          type == 0 ? "" : fmt::format(R"("indices":{},)", file.Accessor(view, type, 5, "SCALAR"));
      const Scene scene = ReadText(
          file,
          fmt::format(
              R"("meshes":[{{"primitives":[{{{}"mode":{},"attributes":{{"POSITION":{},"NORMAL":{}}}}}]}}],)",
              indices, mode, positions, normals));
      const SceneMesh& mesh = scene.meshes.at(0);
      EXPECT_EQ(mesh.points, dots);
      EXPECT_EQ(mesh.lines, lines);
      EXPECT_EQ(mesh.triangles, triangles);
    }
  }
}

TEST_F(Gltf, TrianglesWithoutNormalsAreFlat) {
  // A roof: two triangles that share an edge.
  GltfText file;
  const int positions = file.Floats({0, 1, 0, 0, 1, 1, 1, 0, 0, -1, 0, 0}, 3);
  const int indices = file.Accessor(file.View(Corners{0, 1, 2, 1, 0, 3}), 5125, 6, "SCALAR");
  const int uvs = file.Floats({0, 0, 1, 0, 2, 0, 3, 0}, 2);
  const Scene scene = ReadText(
      file,
      fmt::format(
          R"("meshes":[{{"primitives":[{{"indices":{},"attributes":{{"POSITION":{},"TEXCOORD_0":{}}}}}]}}],)",
          indices, positions, uvs));
  const SceneMesh& mesh = scene.meshes.at(0);
  ASSERT_EQ(mesh.triangles.size(), 6u);
  ASSERT_EQ(mesh.uvs.size(), mesh.positions.size());
  const Corners sources = {0, 1, 2, 1, 0, 3};
  const float slope = std::sqrt(0.5f);
  for (std::size_t i = 0; i < 6; ++i) {
    const std::uint32_t vertex = mesh.triangles[i];
    EXPECT_TRUE(mesh.normals[vertex].equalWithAbsError({i < 3 ? slope : -slope, slope, 0}, kNear));
    EXPECT_EQ(mesh.uvs[vertex].x, static_cast<float>(sources[i]));
  }
}

/// What the texture coordinates of a triangle's second corner become.
TEST_F(Gltf, NumbersOfEveryTypeMeanWhatTheFormatSays) {
  const struct {
    int type;
    bool isNormalized;
    std::vector<std::uint8_t> bytes;  // of u and v of three corners, the second being (a, b)
    V2f second;
  } cases[] = {{5120, false, {0, 0, 0x81, 5, 0, 0}, {-127, 5}},
               {5120, true, {0, 0, 0x80, 127, 0, 0}, {-1, 1}},
               {5121, true, {0, 0, 51, 255, 0, 0}, {0.2f, 1}},
               {5122, true, {0, 0, 0, 0, 0x00, 0x80, 0xFF, 0x7F, 0, 0, 0, 0}, {-1, 1}},
               {5123, true, {0, 0, 0, 0, 0x33, 0x33, 0xFF, 0xFF, 0, 0, 0, 0}, {0.2f, 1}},
               {5123, false, {0, 0, 0, 0, 0x01, 0x02, 3, 0, 0, 0, 0, 0}, {513, 3}}};
  for (const auto& [type, isNormalized, bytes, second] : cases) {
    SCOPED_TRACE(fmt::format("{} {}", type, isNormalized));
    GltfText file;
    const int uvs = file.Accessor(file.View(bytes), type, 3, "VEC2",
                                  isNormalized ? R"(,"normalized":true)" : "");
    const Scene scene = ReadTriangle(file, fmt::format(R"(,"TEXCOORD_0":{})", uvs));
    EXPECT_TRUE(scene.meshes.at(0).uvs.at(1).equalWithAbsError(second, kNear));
  }
}

TEST_F(Gltf, VertexColorsOfEveryTypeAreLinear) {
  // 0.2158605 of linear light is 128 of 255 on a screen; 55 of 255 is 0.2156863.
  const struct {
    int type;
    const char* elements;
    std::vector<std::uint8_t> bytes;
    int alpha;
  } cases[] = {
      {5121, "VEC3", {255, 55, 0, 255, 55, 0, 255, 55, 0}, 255},
      {5121, "VEC4", {255, 55, 0, 128, 255, 55, 0, 128, 255, 55, 0, 128}, 128},
      {5123,
       "VEC3",
       {255, 255, 0x42, 0x37, 0, 0, 255, 255, 0x42, 0x37, 0, 0, 255, 255, 0x42, 0x37, 0, 0},
       255}};
  const std::string blended = R"("materials":[{"alphaMode":"BLEND"}],)";
  for (const auto& [type, elements, bytes, alpha] : cases) {
    SCOPED_TRACE(fmt::format("{} {}", type, elements));
    GltfText file;
    const int colors = file.Accessor(file.View(bytes), type, 3, elements, R"(,"normalized":true)");
    const Scene scene =
        ReadTriangle(file, fmt::format(R"(,"COLOR_0":{})", colors), blended, R"(,"material":0)");
    const ColorBuf& color = scene.meshes.at(0).colors.at(2);
    EXPECT_EQ((std::array<int, 4>{color.red, color.green, color.blue, color.alpha}),
              (std::array<int, 4>{255, 128, 0, alpha}));
    EXPECT_EQ(scene.meshes[0].colorsHaveAlpha, alpha < 255);
  }
}

TEST_F(Gltf, ArraysMayBeSparseSpacedOrMissing) {
  GltfText file;
  // Zeros but for the corners 1 and 2; and texture coordinates twelve bytes apart.
  const int places = file.View(std::vector<std::uint16_t>{1, 2});
  const int values = file.View(std::vector<float>{3, 0, 0, 0, 4, 0});
  const int positions = file.Accessor(
      -1, 5126, 3, "VEC3",
      fmt::format(
          R"(,"sparse":{{"count":2,"indices":{{"bufferView":{},"componentType":5123}},"values":{{"bufferView":{}}}}})",
          places, values));
  const int spaced =
      file.View(std::vector<float>{9, 0, 0, 9, 1, 2, 9, 3, 4}, R"(,"byteStride":12)");
  const int uvs = file.Accessor(spaced, 5126, 3, "VEC2", R"(,"byteOffset":4)");
  const Scene scene = ReadText(
      file,
      fmt::format(
          R"("meshes":[{{"primitives":[{{"attributes":{{"POSITION":{},"TEXCOORD_0":{}}}}}]}}],)",
          positions, uvs));
  EXPECT_EQ(scene.meshes.at(0).positions, (std::vector<V3f>{{0, 0, 0}, {3, 0, 0}, {0, 4, 0}}));
  EXPECT_EQ(scene.meshes[0].uvs, (std::vector<V2f>{{0, 0}, {1, 2}, {3, 4}}));
}

TEST_F(Gltf, PartsOfOneArrayTakeOnlyTheirVertices) {
  std::vector<float> points(3 * 1000);
  for (std::size_t i = 0; i < points.size(); ++i) points[i] = static_cast<float>(i * i % 97);
  GltfText file;
  const int positions = file.Floats(points, 3);
  const int near = file.Accessor(file.View(Corners{501, 500, 502}), 5125, 3, "SCALAR");
  const int far = file.Accessor(file.View(Corners{999, 0, 500}), 5125, 3, "SCALAR");
  const Scene scene = ReadText(
      file,
      fmt::format(R"("meshes":[{{"primitives":[{{"indices":{0},"attributes":{{"POSITION":{2}}}}},)"
                  R"({{"indices":{1},"attributes":{{"POSITION":{2}}}}}]}}],)",
                  near, far, positions));
  const Corners sources[] = {{501, 500, 502}, {999, 0, 500}};
  for (std::size_t m = 0; m < 2; ++m) {
    const SceneMesh& mesh = scene.meshes.at(m);
    EXPECT_EQ(mesh.positions.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
      const float* point = &points[3 * sources[m][i]];
      EXPECT_EQ(mesh.positions[mesh.triangles[i]], V3f(point[0], point[1], point[2]));
    }
  }
}

TEST_F(Gltf, WhatLeadsOutOfItsBytesIsLeftOut) {
  const char* const cases[] = {
      R"(,"byteOffset":4)", R"(,"byteOffset":1000000)",
      R"(,"sparse":{"count":9,"indices":{"bufferView":0,"componentType":5125},"values":{"bufferView":0}})"};
  const char* const mesh = R"("meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],)";
  for (const char* members : cases) {
    GltfText file;
    file.Accessor(file.View(std::vector<float>(9)), 5126, 3, "VEC3", members);
    const std::string refusal = Refusal(Write("m.gltf", file.Text(mesh)));
    EXPECT_NE(refusal.find("positions or indices are broken"), std::string::npos) << refusal;
  }
  GltfText zeros;
  zeros.Accessor(-1, 5126, 4000000000, "VEC3");
  Refusal(Write("m.gltf", zeros.Text(mesh)));
}

TEST_F(Gltf, PackedBufferViewsAreUnpacked) {
  const std::vector<float> points = {0, 0, 0, 0, 2, 0,
                                     0, 0, 0, 1, 0, 0};  // a float of filling each
  std::vector<std::uint8_t> packed(meshopt_encodeVertexBufferBound(3, 16));
  packed.resize(meshopt_encodeVertexBuffer(packed.data(), packed.size(), points.data(), 3, 16));
  const Corners corners = {0, 1, 2};
  std::vector<std::uint8_t> faces(meshopt_encodeIndexBufferBound(3, 3));
  faces.resize(meshopt_encodeIndexBuffer(faces.data(), faces.size(), corners.data(), 3));
  for (const bool isWhole : {true, false}) {
    GltfText file;
    const auto view = [&](const std::vector<std::uint8_t>& bytes, int stride, const char* mode) {
      const std::size_t size = isWhole ? bytes.size() : bytes.size() / 2;
      const int raw = file.View(bytes);
      return file.View(
          std::vector<int>{},
          fmt::format(
              R"(,"extensions":{{"EXT_meshopt_compression":{{"buffer":0,"byteOffset":{},"byteLength":{},"byteStride":{},"count":3,"mode":"{}"}}}})",
              file.OffsetOf(raw), size, stride, mode));
    };
    const int positions = file.Accessor(view(packed, 16, "ATTRIBUTES"), 5126, 3, "VEC3");
    const int indices = file.Accessor(view(faces, 4, "TRIANGLES"), 5125, 3, "SCALAR");
    const std::string path = Write(
        "m.gltf",
        file.Text(fmt::format(
            R"("meshes":[{{"primitives":[{{"indices":{},"attributes":{{"POSITION":{}}}}}]}}],)",
            indices, positions)));
    if (!isWhole) {
      Refusal(path);
      continue;
    }
    const Scene scene = Read(path);
    EXPECT_EQ(scene.meshes.at(0).positions, (std::vector<V3f>{{0, 0, 0}, {2, 0, 0}, {0, 1, 0}}));
    EXPECT_EQ(scene.meshes[0].triangles.size(), 3u);
  }
}

TEST_F(Gltf, PackedPrimitivesAreUnpacked) {
  draco::TriangleSoupMeshBuilder builder;
  builder.Start(1);
  const int id = builder.AddAttribute(draco::GeometryAttribute::POSITION, 3, draco::DT_FLOAT32);
  const float corners[3][3] = {{0, 0, 0}, {2, 0, 0}, {0, 1, 0}};
  builder.SetAttributeValuesForFace(id, draco::FaceIndex(0), corners[0], corners[1], corners[2]);
  const auto mesh = builder.Finalize();
  draco::EncoderBuffer packed;
  ASSERT_TRUE(draco::Encoder().EncodeMeshToBuffer(*mesh, &packed).ok());
  for (const std::size_t lost : {0, 9}) {
    GltfText file;
    const int view =
        file.View(std::vector<char>(packed.data(), packed.data() + packed.size() - lost));
    const int positions = file.Accessor(99, 5126, 3, "VEC3");
    const std::string path = Write(
        "m.gltf",
        file.Text(fmt::format(
            R"("meshes":[{{"primitives":[{{"attributes":{{"POSITION":{}}},"extensions":{{"KHR_draco_mesh_compression":{{"bufferView":{},"attributes":{{"POSITION":{}}}}}}}}}]}}],)",
            positions, view, mesh->attribute(id)->unique_id())));
    if (lost > 0) {
      Refusal(path);
      continue;
    }
    const Scene scene = Read(path);
    EXPECT_EQ(scene.TriangleCount(), 1u);
    EXPECT_TRUE(scene.Bounds().max.equalWithAbsError({2, 1, 0}, kNear));
  }
}

}  // namespace
