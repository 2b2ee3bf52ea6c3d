// What a model may name, and what becomes of names, indices and sizes that are not as they should
// be.
#include <assimp/light.h>
#include <assimp/material.h>
#include <assimp/mesh.h>
#include <assimp/scene.h>
#include <assimp/texture.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "hostkit/import/archive_check.h"
#include "hostkit/import/beneath.h"
#include "hostkit/import/import_checks.h"
#include "hostkit/import/import_pictures.h"
#include "hostkit/import/model_files.h"
#include "tests/hostkit/import/import_fixture.h"
#include "tests/support/common/zip_file.h"

namespace {

namespace fs = std::filesystem;
using hostkit::FileFault;
using hostkit::FileReach;
using hostkit::ModelFiles;
using hostkit::Scene;

/// A model's folder "work" among others, each file holding a text of its own.
class ModelFolder : public Import {
 protected:
  ModelFolder() {
    Write("secret.bin", "secret");
    Write("Textures/beside.png", "beside");
    Write("other/far.png", "far");
    Write("work/sub/Inner.PNG", "inner");
    Write("work/textures/a b.png", "spaced");
    Write("work/.hidden.png", "hidden");
    const fs::path work = m_folder.Path("work");
    fs::create_symlink("sub", work / "within");
    fs::create_symlink("../secret.bin", work / "out.png");
    fs::create_symlink("/etc", work / "system");
    fs::create_symlink("loop.png", work / "loop.png");
    fs::create_symlink("Textures", m_folder.Path("maps"));
    fs::create_symlink("/etc", m_folder.Path("images"));
    mkfifo((work / "pipe.png").c_str(), 0600);
  }

  std::string m_model = Write("work/m.obj", "model");
};

std::string Content(const hostkit::OpenedFile& opened) {
  std::string content(64, '\0');
  const ssize_t count = opened.IsOpen() ? read(opened.file.Get(), content.data(), 64) : 0;
  content.resize(static_cast<std::size_t>(count));
  return content;
}

TEST_F(ModelFolder, NamesReachWhatLiesBelowIt) {
  const ModelFiles files(m_model, FileReach::kNeighbours);
  const std::string inner = m_folder.Path("work/sub/Inner.PNG");
  const std::pair<std::string, const char*> cases[] = {{inner, "inner"},
                                                       {"file://" + inner, "inner"},
                                                       {"sub/Inner.PNG", "inner"},
                                                       {"./SUB\\..\\sub//inner.png", "inner"},
                                                       {"within/INNER.png", "inner"},
                                                       {"a%20b.png", "spaced"},
                                                       {"//textures/a b.png", "spaced"},
                                                       {"C:a b.png", "spaced"},
                                                       {"file:///home/me/A B.png", "spaced"},
                                                       {"../../other/a b.png", "spaced"},
                                                       {"../textures/beside.png", "beside"},
                                                       {"..\\TEXTURES\\Beside.png", "beside"},
                                                       {"../maps/beside.png", "beside"}};
  for (const auto& [reference, content] : cases) {
    EXPECT_EQ(Content(files.Open(reference)), content) << reference;
  }
  EXPECT_EQ(Content(files.OpenModel()), "model");
}

TEST_F(ModelFolder, NamesReachNothingElse) {
  const std::string secret = m_folder.Path("secret.bin");
  const std::pair<std::string, FileFault> cases[] = {
      {"../secret.bin", FileFault::kOutside},
      {"sub/../../secret.bin", FileFault::kOutside},
      {"..\\secret.bin", FileFault::kOutside},
      {"%2e%2e/secret.bin", FileFault::kOutside},
      {"../textures/../secret.bin", FileFault::kOutside},
      {"../other/far.png", FileFault::kOutside},
      {"../../" + fs::path(m_folder.Path("")).parent_path().filename().string() + "/secret.bin",
       FileFault::kOutside},
      {secret, FileFault::kOutside},
      {"file://" + secret, FileFault::kOutside},
      {"out.png", FileFault::kOutside},
      {"system/passwd", FileFault::kOutside},
      {"loop.png", FileFault::kOutside},
      {"../images/passwd", FileFault::kOutside},
      {".hidden.png", FileFault::kHidden},
      {"sub/../.hidden.png", FileFault::kHidden},
      {"http://host/Inner.PNG", FileFault::kScheme},
      {"data:image/png;base64,AAAA", FileFault::kScheme},
      {"pipe.png", FileFault::kNotAFile},
      {"sub", FileFault::kNotAFile},
      {"", FileFault::kMissing},
      {"..", FileFault::kMissing},
      {"none.png", FileFault::kMissing},
      {"../textures/none.png", FileFault::kMissing},
      {std::string("sub/Inner.PNG\0.png", 18), FileFault::kMissing}};
  const ModelFiles files(m_model, FileReach::kNeighbours);
  for (const auto& [reference, fault] : cases) {
    const hostkit::OpenedFile opened = files.Open(reference);
    EXPECT_FALSE(opened.IsOpen()) << reference;
    EXPECT_EQ(opened.fault, fault) << reference;
  }
  const ModelFiles narrow(m_model, FileReach::kFolder);
  EXPECT_EQ(narrow.Open("../textures/beside.png").fault, FileFault::kOutside);
  EXPECT_EQ(Content(narrow.Open("within/inner.png")), "inner");
  // The files of the kernel are no files of a model, wherever that lies.
  EXPECT_EQ(ModelFiles("/proc/self/m.obj", FileReach::kFolder).Open("environ").fault,
            FileFault::kNotAFile);
}

TEST_F(ModelFolder, WithoutOpenat2NoLinkIsFollowed) {
  const hostkit::FileDescriptor folder(open(m_folder.Path("work").c_str(), O_PATH | O_DIRECTORY));
  const auto codeOf = [&folder](const char* path, int flags) {
    errno = 0;
    return hostkit::OpenBeneathByParts(folder.Get(), path, flags).IsOpen() ? 0 : errno;
  };
  for (const int flags : {O_RDONLY, O_PATH}) {
    EXPECT_EQ(codeOf("sub/Inner.PNG", flags), 0);
    EXPECT_EQ(codeOf("sub", flags | O_DIRECTORY), 0);
    EXPECT_EQ(codeOf("sub/none", flags), ENOENT);
    for (const char* path : {"out.png", "within/Inner.PNG", "system/passwd", "loop.png"}) {
      EXPECT_EQ(codeOf(path, flags), EXDEV) << path;
    }
  }
}

TEST_F(ModelFolder, ReadableFoldersAreThoseThatNamesReach) {
  const std::string parent = fs::canonical(m_folder.Path("")).string();
  const std::string work = m_folder.Path("work");
  hostkit::ImportOptions alone;
  alone.reach = FileReach::kFolder;
  EXPECT_EQ(hostkit::ReadableFolders(m_model, alone), std::vector{work});
  EXPECT_EQ(hostkit::ReadableFolders(m_model, {}),
            (std::vector{work, parent + "/Textures", parent + "/maps"}));
}

TEST_F(ModelFolder, NamesInMessagesSteerNothing) {
  const ModelFiles files(m_model, FileReach::kNeighbours);
  const std::string text =
      files.FaultText("../\x1b[2J\n\xc2\x9b\x7f\x9b\xe2\x80\xae\xc3\xa4", FileFault::kOutside);
  EXPECT_EQ(text, m_model +
                      ": it names ../?[2J?????\xc3\xa4, which lies outside its folder; put it "
                      "beside the model");
  EXPECT_EQ(hostkit::NameForMessage(std::string(199, 'a') + "\xc3\xa4"), std::string(199, 'a'));
}

/// A triangle whose vertices lie in a buffer of that name.
std::string GltfWithBuffer(const std::string& uri) {
  return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],
    "meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],
    "accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3",
    "min":[0,0,0],"max":[1,1,1]}],"bufferViews":[{"buffer":0,"byteLength":36}],
    "buffers":[{"byteLength":36,"uri":")" +
         uri + "\"}]}";
}

TEST_F(ModelFolder, BuffersComeFromBelowItAlone) {
  const std::string vertices(
      "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x80\x3f\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x80\x3f\0\0\0\0", 36);
  Write("secret.bin", vertices);
  Write("work/sub/good.bin", vertices);
  EXPECT_EQ(Read(Write("work/m.gltf", GltfWithBuffer("sub/good.bin"))).TriangleCount(), 1u);
  for (const std::string name : {"../secret.bin", "out.png", "../images/passwd"}) {
    const std::string path = Write("work/m.gltf", GltfWithBuffer(name));
    const std::string refusal = Refusal(path);
    EXPECT_EQ(refusal, path + ": it names " + name +
                           ", which lies outside its folder; put it beside the model");
  }
  Refusal(Write("work/m.gltf", GltfWithBuffer("/etc/passwd")));
  const std::string piped = Refusal(Write("work/m.gltf", GltfWithBuffer("pipe.png")));
  EXPECT_NE(piped.find("pipe.png, which is no regular file"), std::string::npos) << piped;
}

TEST_F(ModelFolder, MaterialsOutsideAreOneWarning) {
  Write("secret.mtl", "newmtl paint\nKd 1 0 0\n");
  const std::string faces = "v 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl paint\nf 1 2 3\n";
  const std::string path = Write("work/m.obj", "mtllib ../secret.mtl\n" + faces);
  const Scene scene = Read(path);
  EXPECT_EQ(scene.TriangleCount(), 1u);
  EXPECT_EQ(scene.warnings,
            std::vector{path + ": it names ../secret.mtl, which lies outside its folder; put it "
                               "beside the model"});
  EXPECT_EQ(Read(Write("work/n.obj", "mtllib none.mtl\n" + faces)).warnings.size(), 1u);
  fs::create_symlink(path, m_folder.Path("link.obj"));
  EXPECT_EQ(Read(m_folder.Path("link.obj")).TriangleCount(), 1u) << "the user may name a link";
}

TEST_F(ModelFolder, PipesAreNoModels) {
  fs::rename(m_folder.Path("work/pipe.png"), m_folder.Path("work/pipe.obj"));
  EXPECT_NE(Refusal(m_folder.Path("work/pipe.obj")).find("not a regular file"), std::string::npos);
}

/// Four vertices, and polygons over them as lines of a PLY file.
std::string Ply(const std::vector<std::string>& faces) {
  std::string text =
      "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\n"
      "property float z\nelement face " +
      std::to_string(faces.size()) +
      "\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n";
  for (const std::string& face : faces) text += face + "\n";
  return text;
}

TEST_F(Import, FacesThatNameMissingVerticesAreLeftOutBeforeAnythingFollowsThem) {
  const std::string good = "4 0 1 2 3", far = "5 0 1 2 3 99999999", near = "3 0 1 4";
  const std::string path = m_folder.Path("m.ply");
  Scene scene = Read(Write("m.ply", Ply({far, good, near, "4 -1 0 1 2"})));
  EXPECT_EQ(scene.TriangleCount(), 2u);
  const auto& triangles = scene.meshes.at(0).triangles;
  EXPECT_EQ(std::set(triangles.begin(), triangles.end()).size(), 4u);
  const std::string many = " faces name vertices that their meshes do not have; they are left out";
  EXPECT_EQ(scene.warnings, std::vector{path + ": 3" + many});
  scene = Read(Write("m.ply", Ply({near, good})));
  EXPECT_EQ(scene.warnings, std::vector{path + ": 1 face names vertices that its mesh does not "
                                               "have; it is left out"});
  // Vertices that lose all their faces are no cloud of points.
  EXPECT_EQ(Refusal(Write("m.ply", Ply({far, near}))),
            path + ": 2" + many + "; nothing is left to draw");
}

TEST_F(Import, OnePictureUnderSeveralNamesIsDecodedOnce) {
  Write("a.png", FourColorsPng());
  fs::create_hard_link(m_folder.Path("a.png"), m_folder.Path("b.png"));
  std::string materials, model = "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\n";
  for (const std::string name : {"a.png", "./a.png", "A.PNG", "b.png"}) {
    materials += "newmtl " + name + "\nmap_Kd " + name + "\n";
    model += "usemtl " + name + "\nf 1/1 2/1 3/1\n";
  }
  Write("m.mtl", materials);
  const Scene scene = Read(Write("m.obj", model));
  EXPECT_EQ(scene.meshes.size(), 4u);
  EXPECT_EQ(scene.images.size(), 1u);
  for (const auto& mesh : scene.meshes) EXPECT_EQ(scene.materials.at(mesh.material).image, 0);
}

TEST_F(Import, PicturesBeyondTheirNumberAreNotTried) {
  std::string materials, model = "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\n";
  for (std::size_t i = 0; i < hostkit::kMostPictures + 2; ++i) {
    const std::string name = std::to_string(i);
    Write(name, "no picture");
    materials += "newmtl m" + name + "\nmap_Kd " + name + "\n";
    model += "usemtl m" + name + "\nf 1 2 3\n";
  }
  Write("m.mtl", materials);
  const Scene scene = Read(Write("m.obj", model));
  ASSERT_EQ(scene.warnings.size(), hostkit::kMostPictures + 1);
  EXPECT_NE(scene.warnings.back().find("more than 4096 pictures"), std::string::npos);
}

TEST_F(Import, PicturesBeyondTheirSizeAreLeftOut) {
  Scene scene;
  const ModelFiles files(m_folder.Path("m.obj"), FileReach::kFolder);
  hostkit::PictureStore store(scene, files, 35);  // 16 each
  Write("a.png", FourColorsPng());
  Write("b.png", FourColorsPng());
  const hostkit::PictureUse plain, opaque{hostkit::AlphaUse::kIgnore};
  EXPECT_EQ(store.IndexOf("a.png", plain), 0);
  EXPECT_EQ(store.IndexOf("./a.png", opaque), 1);
  EXPECT_EQ(store.IndexOf("A.PNG", plain), 0);
  EXPECT_TRUE(scene.warnings.empty());
  EXPECT_EQ(store.IndexOf("b.png", plain), -1);
  ASSERT_EQ(scene.warnings.size(), 1u);
  EXPECT_NE(scene.warnings[0].find("do not fit beside"), std::string::npos) << scene.warnings[0];
}

TEST(SourceChecks, NothingIsMissingAfterwards) {
  aiScene source;
  source.mMeshes = new aiMesh* [source.mNumMeshes = 2] {};
  source.mMeshes[1] = new aiMesh;
  source.mMeshes[1]->mNumVertices = 3;  // without any positions
  source.mMeshes[1]->mFaces = new aiFace[source.mMeshes[1]->mNumFaces = 2];
  source.mMaterials = new aiMaterial* [source.mNumMaterials = 1] {};
  source.mTextures = new aiTexture* [source.mNumTextures = 1] {};
  source.mLights = new aiLight* [source.mNumLights = 3] {};
  source.mLights[1] = new aiLight;
  source.mNumCameras = 7;
  EXPECT_EQ(hostkit::CheckSource(source), 2u);
  EXPECT_EQ(source.mMeshes[0]->mNumVertices + source.mMeshes[1]->mNumVertices, 0u);
  EXPECT_NE(source.mMaterials[0], nullptr);
  EXPECT_EQ(source.GetEmbeddedTexture("*0")->mWidth, 0u);
  EXPECT_EQ(source.mNumLights, 1u);
  EXPECT_NE(source.mLights[0], nullptr);
  EXPECT_EQ(source.mNumCameras, 0u);
}

/// An archive of one packed entry of that name, which tells to unpack to so many bytes.
std::string ZipOfSize(const std::string& name, std::uint32_t unpacked) {
  return Zip({{name, "0123456789"}}, unpacked);
}

TEST_F(Import, ArchivesThatUnpackToFarTooMuchAreRefused) {
  for (const auto& [file, entry, unpacked, reason] :
       {std::tuple{"a.3mf", "3D/3dmodel.model", 0xc0000000u, "it unpacks to 3.0 GiB"},
        {"a.zae", "a.dae", 0xc0000000u, "it unpacks to 3.0 GiB"},
        {"b.3mf", "a\\..\\..\\m.model", 10u, "it holds a\\..\\..\\m.model, which leads out"},
        {"c.3mf", "C:\\m.model", 10u, "it holds C:\\m.model, which leads out"}}) {
    const std::string refusal = Refusal(Write(file, ZipOfSize(entry, unpacked)));
    EXPECT_NE(refusal.find(reason), std::string::npos) << refusal;
  }
  const std::string hidden = Refusal(Write("e.3mf", "\x1f\x8b" + ZipOfSize("a", 0xc0000000)));
  EXPECT_NE(hidden.find("it unpacks to 3.0 GiB"), std::string::npos) << hidden;
  // Not large enough to be told.
  const std::string modest = Refusal(Write("d.3mf", ZipOfSize("3D/3dmodel.model", 0x40000000)));
  EXPECT_EQ(modest.find("unpacks"), std::string::npos) << modest;
}

TEST_F(Import, GzipStreamsAreUnpackedAsFarAsTheyMay) {
  const std::string path = m_folder.Path("a.blend");
  ASSERT_EQ(std::system(("head -c 3M /dev/zero | gzip >" + path).c_str()), 0);
  const hostkit::FileDescriptor file(open(path.c_str(), O_RDONLY));
  const std::uint64_t size = fs::file_size(path), mebibyte = 1 << 20;
  EXPECT_EQ(hostkit::ArchiveFault(file.Get(), size, 3 * mebibyte), "");
  EXPECT_NE(hostkit::ArchiveFault(file.Get(), size, mebibyte).find("over 1 MiB and 100 times"),
            std::string::npos);
  EXPECT_EQ(hostkit::ArchiveFault(file.Get(), 4 * mebibyte, mebibyte), "") << "not 100 times";
  ASSERT_EQ(truncate(path.c_str(), 1000), 0);
  EXPECT_EQ(hostkit::ArchiveFault(file.Get(), 1000, 3 * mebibyte), "") << "cut, and no more";
}

}  // namespace
