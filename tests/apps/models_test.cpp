// Many models in one run of `gl3 render`: each has pictures of its own, one that fails is told and
// the rest is done.
#include <csignal>
#include <nlohmann/json.hpp>

#include "tests/support/common/gl3_process.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/png_pixels.h"

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::json;

/// A triangle of this width.
std::string Triangle(const std::string& width) {
  return "v 0 0 0\nv " + width + " 0 0\nv 0 1 0\nf 1 2 3\n";
}

class ManyModels : public Gl3Test {
 protected:
  ManyModels() {
    fs::create_directory(Path("out"));
    Write("a.obj", kSquaresObj);
    Write("b.obj", Triangle("5"));
    Write("c.obj", Triangle("1"));
  }

  std::set<std::string> Pictures() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(Path("out"))) {
      names.insert(entry.path().filename());
    }
    return names;
  }
  bool AreSame(const std::string& one, const std::string& other) const {
    return ReadPng(Path(one)).rgba == ReadPng(Path(other)).rgba;
  }
};

TEST_F(ManyModels, HavePicturesAsIfEachWereAlone) {
  const std::string look = " -s 61x43 --view front ";
  EXPECT_EQ(Done("render a.obj b.obj c.obj -o out/%n.png" + look), "");
  EXPECT_EQ(Pictures(), (std::set<std::string>{"a.png", "b.png", "c.png"}));
  for (const std::string name : {"a", "b", "c"}) {
    Done("render " + name + ".obj -o alone.png" + look);
    EXPECT_TRUE(AreSame("out/" + name + ".png", "alone.png")) << name;
    EXPECT_TRUE(Holds(Read("out/" + name + ".png"),
                      {"gl3 render " + name + ".obj -o %n.png -s", name + ".obj xxh3:"}));
  }
  fs::copy(Path("b.obj"), Path("out/b.obj"));
  EXPECT_EQ(Done("render --like out/b.png -o again.png"), "");
  EXPECT_TRUE(AreSame("out/b.png", "again.png"));
  // In one scene they are something else.
  Done("render a.obj b.obj c.obj --merge -o merged.png" + look);
  EXPECT_FALSE(AreSame("merged.png", "out/a.png"));
  EXPECT_EQ(Done("render --like merged.png -o again.png"), "");
  EXPECT_TRUE(AreSame("merged.png", "again.png"));
}

TEST_F(ManyModels, ThatFailAreToldAndTheRestIsDone) {
  Write("bad.obj", "nothing to draw\n");
  const std::string line =
      "render a.obj missing.obj bad.obj c.obj -o out/%n_%d.png --turntable 2 -s 9x7 ";
  const Gl3Result result = Run(line + "--json=report.json");
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(Holds(result.err, {"gl3: missing.obj: ", "gl3: bad.obj: "}));
  EXPECT_EQ(Pictures(), (std::set<std::string>{"a_1.png", "a_2.png", "c_1.png", "c_2.png"}));
  const Json report = Json::parse(Read("report.json"));
  EXPECT_EQ(report["failed"], 2);
  ASSERT_EQ(report["runs"].size(), 4u);
  EXPECT_EQ(report["runs"][0]["triangles"], 4);
  EXPECT_EQ(report["runs"][1]["status"], 3);
  EXPECT_TRUE(Holds(report["runs"][1]["error"], {"missing.obj"}));
  EXPECT_EQ(report["runs"][3]["models"], Json::array({"c.obj"}));
  EXPECT_EQ(report["runs"][3]["frames"][1]["output"], "out/c_2.png");
  EXPECT_GT(report["milliseconds"]["start"], 0);

  fs::remove(Path("out/c_2.png"));
  const Json rest = Json::parse(Run(line + "--skip-existing --json").out);
  EXPECT_EQ(rest["skipped"], 1) << "all of a.obj is there";
  EXPECT_EQ(rest["runs"].back()["frames"].size(), 1u);
  EXPECT_TRUE(fs::exists(Path("out/c_2.png")));
  // What one model does not have is no matter of the others.
  Write("seen.gltf", kCamerasGltf);
  const Gl3Result cameras = Run("render a.obj seen.gltf -o out/%n.png --camera Close -s 9x7");
  EXPECT_EQ(cameras.status, 2);
  EXPECT_TRUE(Holds(cameras.err, {"a.obj: --camera"}));
  EXPECT_TRUE(fs::exists(Path("out/seen.png")));
}

TEST_F(ManyModels, ThatAWorkerDiesOverAreNotTheEnd) {
  Write("b.obj", LargeObj(500));
  Gl3Process process(m_work, m_logs, "render a.obj b.obj c.obj -o out/%n.png -s 64x48 -v");
  ASSERT_TRUE(process.WaitFor("b.obj: importing it"));
  ASSERT_GT(process.Child(), 0);
  kill(process.Child(), SIGABRT);
  const Gl3Result result = process.Finish();
  EXPECT_EQ(result.status, 3) << result.err;
  EXPECT_TRUE(Holds(result.err, {"b.obj: importing it crashed"}));
  EXPECT_EQ(Pictures(), (std::set<std::string>{"a.png", "c.png"}));
}

TEST_F(ManyModels, AreSharedByChunks) {
  EXPECT_EQ(Done("render a.obj b.obj c.obj -o out/%n.png -s 9x7 --chunk 2/2"), "");
  EXPECT_EQ(Pictures(), (std::set<std::string>{"b.png"}));
  ExpectRefused("render a.obj b.obj -o no/%n.png", 5, {"no/a.png", "create it first"});
}

TEST_F(ManyModels, AreToldAbout) {
  Write("seen.gltf", kCamerasGltf);
  const Gl3Result result = Run("info --json b.obj missing.obj seen.gltf");
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.err.rfind("gl3: missing.obj: ", 0), 0u) << result.err;
  const Json models = Json::parse(result.out)["models"];
  ASSERT_EQ(models.size(), 3u);
  EXPECT_EQ(models[0]["format"], "OBJ");
  EXPECT_TRUE(models[0]["metersPerUnit"].is_null());
  EXPECT_EQ(models[0]["size"], Json::array({5.0, 1.0, 0.0}));
  EXPECT_EQ(models[0]["triangles"], 1);
  EXPECT_EQ(models[1]["status"], 3);
  EXPECT_EQ(models[2]["format"], "glTF 2.0");
  EXPECT_EQ(models[2]["metersPerUnit"], 1.0);
  EXPECT_EQ(models[2]["cameras"][0], Json({{"name", "Close"}, {"kind", "perspective"}}));
  EXPECT_TRUE(Holds(Done("info seen.gltf"), {"seen.gltf\n", "1 m", "Close (perspective), Away"}));
  ExpectRefused("info seen.gltf --check", 2, {"--check", "excludes"});

  const Json formats = Json::parse(Done("info --formats --json"));
  EXPECT_TRUE(Holds(formats["modelsRead"].dump(), {"\".glb\"", "\".stl\"", "\".fbx\""}));
  EXPECT_TRUE(Holds(formats["picturesRead"].dump(), {"\".webp\"", "\".hdr\""}));
  EXPECT_TRUE(Holds(formats["picturesWritten"].dump(), {"\".png\"", "\".exr\""}));
}

}  // namespace
