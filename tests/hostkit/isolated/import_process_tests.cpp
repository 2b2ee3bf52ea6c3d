// Imports by a process of its own, and every way in which it may end.
#include "hostkit/isolated/import_process.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "hostkit/import/model_import.h"
#include "hostkit/pictures/picture_in.h"
#include "hostkit/scene/scene_bytes.h"
#include "hostkit/scene/scene_merge.h"
#include "samples/showroom.h"
#include "samples/small_models.h"
#include "samples/write_file.h"
#include "tests/support/common/temp_folder.h"

namespace {

using hostkit::ImportEnd;
using hostkit::ImportLimits;
using hostkit::Scene;

std::string Bytes(const Scene& scene) {
  std::string bytes(hostkit::CountSceneBytes(scene), '\0');
  hostkit::WriteScene(scene, reinterpret_cast<unsigned char*>(bytes.data()));
  return bytes;
}

class Isolated : public testing::Test {
 protected:
  Isolated() {
    EXPECT_TRUE(samples::WriteCubes(m_folder.Path(""), &m_error)) << m_error;
    EXPECT_TRUE(samples::WriteFile(m_folder.Path("room.glb"), samples::ToGlb(samples::Showroom(64)),
                                   &m_error));
  }

  ImportEnd Run(const std::vector<std::string>& names, const ImportLimits& limits = {}) {
    std::vector<std::string> paths;
    for (const std::string& name : names) paths.push_back(m_folder.Path(name));
    m_begun.clear();
    hostkit::ImportProcess process(paths, limits);
    return process.Finish([this](const std::string& model) { m_begun.push_back(model); }, &m_scene,
                          &m_error);
  }

  TempFolder m_folder;
  std::unique_ptr<Scene> m_scene;
  std::string m_error;
  std::vector<std::string> m_begun;
};

TEST_F(Isolated, GivesWhatTheImporterGivesHere) {
  ASSERT_EQ(Run({"room.glb", "cube.obj"}), ImportEnd::kDone) << m_error;
  std::unique_ptr<Scene> here = hostkit::ImportModel(m_folder.Path("room.glb"), &m_error);
  hostkit::AppendScene(*here,
                       std::move(*hostkit::ImportModel(m_folder.Path("cube.obj"), &m_error)));
  EXPECT_GT(here->images.size(), 0u);
  EXPECT_EQ(Bytes(*m_scene), Bytes(*here));
  EXPECT_EQ(m_begun.front(), m_folder.Path("room.glb"));
  EXPECT_EQ(m_begun.back(), m_folder.Path("cube.obj"));
}

TEST_F(Isolated, TellsWhichModelCannotBeRead) {
  m_folder.Write("bad.glb", "not a model");
  ASSERT_EQ(Run({"cube.ply", "bad.glb", "cube.stl"}), ImportEnd::kUnreadable);
  EXPECT_TRUE(m_error.starts_with(m_folder.Path("bad.glb") + ": ")) << m_error;
  EXPECT_EQ(m_scene, nullptr);
  EXPECT_EQ(Run({"none.obj"}), ImportEnd::kUnreadable);
  EXPECT_NE(m_error.find("no such file"), std::string::npos) << m_error;
}

TEST_F(Isolated, TellsHowItEnded) {
  const struct {
    const char* fault;
    ImportLimits limits;
    ImportEnd end;
    const char* part;
  } kFaults[] = {
      {"SEGV", {}, ImportEnd::kUnreadable, "crashed (Segmentation fault); the file is damaged"},
      {"ABRT", {}, ImportEnd::kUnreadable, "crashed (Aborted)"},
      {"SYS", {}, ImportEnd::kUnreadable, "called what no importer needs"},
      {"XFSZ", {}, ImportEnd::kUnreadable, "larger than the memory allowed"},
      {"KILL", {}, ImportEnd::kFailed, "was killed from outside"},
      {"TERM", {}, ImportEnd::kFailed, "was ended from outside (Terminated)"},
      {"exit", {}, ImportEnd::kUnreadable, "ended without a word"},
      {"nonsense", {}, ImportEnd::kUnreadable, "no sound scene (its bytes are no whole scene)"},
      {"kept", {}, ImportEnd::kUnreadable, "still in use"},
      {"hang", {.seconds = 0.2}, ImportEnd::kLate, "took beyond 0.2 s"},
      {"spin", {.processorSeconds = 1}, ImportEnd::kLate, "1 s of processor time"},
      {"grow", {.memory = 1 << 28}, ImportEnd::kUnreadable, "more than 0.2 GiB of memory"},
  };
  setenv("LD_PRELOAD", GL3_IMPORT_FAULTS, 1);
  for (const auto& each : kFaults) {
    setenv("GL3_IMPORT_FAULT", each.fault, 1);
    EXPECT_EQ(Run({"cube.obj"}, each.limits), each.end) << each.fault << ": " << m_error;
    EXPECT_TRUE(m_error.starts_with(m_folder.Path("cube.obj") + ": ")) << m_error;
    EXPECT_NE(m_error.find(each.part), std::string::npos) << each.fault << ": " << m_error;
    EXPECT_NE(m_error.find("; "), std::string::npos) << "without a remedy: " << m_error;
    EXPECT_EQ(m_scene, nullptr) << each.fault;
  }
  setenv("GL3_IMPORT_FAULT", "hang", 1);
  std::atomic<bool> cancelled = false;
  std::thread user([&] { cancelled = true; });
  EXPECT_EQ(Run({"cube.obj"}, {.cancelled = &cancelled}), ImportEnd::kCancelled);
  user.join();
  unsetenv("GL3_IMPORT_FAULT");
  unsetenv("LD_PRELOAD");
}

TEST_F(Isolated, DecodesPicturesAndTellsHowThatEnded) {
  const std::string path = m_folder.Path("a.ppm");
  m_folder.Write("a.ppm", "P3 2 1 255 1 2 3 250 251 252");
  hostkit::BitmapPtr picture;
  ASSERT_EQ(hostkit::DecodeApart(path, {}, &picture, &m_error), ImportEnd::kDone) << m_error;
  ASSERT_EQ(picture->GetWidth(), 2);
  ASSERT_EQ(picture->GetHeight(), 1);
  const auto* row = static_cast<const unsigned char*>(picture->GetBufferHead()->Data());
  EXPECT_EQ(std::vector<int>(row, row + 8), (std::vector<int>{1, 2, 3, 255, 250, 251, 252, 255}));
  m_folder.Write("b.ppm", "P3 2 1 255 1 2");
  std::string here;
  EXPECT_EQ(hostkit::LoadPicture(m_folder.Path("b.ppm"), &here), nullptr);
  EXPECT_EQ(hostkit::DecodeApart(m_folder.Path("b.ppm"), {}, &picture, &m_error),
            ImportEnd::kUnreadable);
  EXPECT_EQ(m_error, here);
  const struct {
    const char* fault;
    ImportLimits limits;
    ImportEnd end;
    const char* text;
  } kFaults[] = {
      {"SEGV", {}, ImportEnd::kUnreadable, "decoding it crashed (Segmentation fault); "},
      {"SYS", {}, ImportEnd::kUnreadable, "decoding it called what no decoder needs"},
      {"nonsense", {}, ImportEnd::kUnreadable, "decoding it left no sound picture ("},
      {"hang", {.seconds = 0.2}, ImportEnd::kLate, "decoding it took beyond 0.2 s; "},
  };
  setenv("LD_PRELOAD", GL3_IMPORT_FAULTS, 1);
  for (const auto& each : kFaults) {
    setenv("GL3_IMPORT_FAULT", each.fault, 1);
    EXPECT_EQ(hostkit::DecodeApart(path, each.limits, &picture, &m_error), each.end) << each.fault;
    EXPECT_TRUE(m_error.starts_with(path + ": " + each.text)) << m_error;
  }
  unsetenv("GL3_IMPORT_FAULT");
  unsetenv("LD_PRELOAD");
}

}  // namespace
