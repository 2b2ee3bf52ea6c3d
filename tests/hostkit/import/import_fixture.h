// Files to import, and what becomes of them.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "hostkit/import/model_import.h"
#include "hostkit/scene/scene_merge.h"
#include "samples/glb_writer.h"
#include "samples/shapes.h"
#include "samples/small_models.h"
#include "samples/textures.h"
#include "tests/hostkit/scene/near.h"
#include "tests/support/common/temp_folder.h"

/// 2 x 2 pixels: red and green above blue and white, the white one half transparent.
inline constexpr unsigned char kFourColors[] = {255, 0, 0,   255, 0,   255, 0,   255,
                                                0,   0, 255, 255, 255, 255, 255, 128};

inline std::string FourColorsPng() {
  return samples::EncodePng(kFourColors, 2, 2);
}

/// One box of one material, placed once at the origin.
inline samples::Document OneBox() {
  samples::Document document;
  document.materials.resize(1);
  document.meshes.push_back({"box", samples::Box({1, 1, 1}, 1), 0});
  document.nodes.resize(1);
  document.nodes[0].name = "box node";
  document.nodes[0].mesh = 0;
  return document;
}

/// The same box with that picture on it.
inline samples::Document PicturedBox() {
  samples::Document document = OneBox();
  document.images.push_back(FourColorsPng());
  document.materials[0].image = 0;
  return document;
}

inline const hostkit::SceneMaterial& FirstMaterial(const hostkit::Scene& scene) {
  return scene.materials.at(scene.meshes.at(0).material);
}

/// Imports files that it writes into a folder of its own.
class Import : public testing::Test {
 protected:
  std::string Write(const std::string& name, const std::string& bytes) {
    const std::string path = m_folder.Path(name);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    m_folder.Write(name, bytes);
    return path;
  }

  hostkit::Scene Read(const std::string& path) {
    std::string error;
    std::unique_ptr<hostkit::Scene> scene = hostkit::ImportModel(path, &error);
    if (scene) return std::move(*scene);
    ADD_FAILURE() << error;
    return {};
  }

  hostkit::Scene ReadGlb(const samples::Document& document) {
    return Read(Write("model.glb", samples::ToGlb(document)));
  }

  /// The refusal's text, which must be one line that begins with the path.
  std::string Refusal(const std::string& path) {
    std::string error;
    EXPECT_EQ(hostkit::ImportModel(path, &error), nullptr);
    EXPECT_TRUE(error.starts_with(path + ": ")) << error;
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    return error;
  }

  TempFolder m_folder;
};
