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
  EXPECT_EQ(Done("render -q --like out/b.png -o again.png"), "");
  EXPECT_TRUE(AreSame("out/b.png", "again.png"));
  // In one scene they are something else.
  Done("render a.obj b.obj c.obj --merge -o merged.png" + look);
  EXPECT_FALSE(AreSame("merged.png", "out/a.png"));
  EXPECT_EQ(Done("render -q --like merged.png -o again.png"), "");
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

/// A bit of everything that there is to tell of a model.
constexpr const char* kRich = R"({"asset": {"version": "2.0"}, "scene": 0,
"scenes": [{"name": "Day", "nodes": [0, 1]}, {"name": "Night", "nodes": [0]}],
"extensionsUsed": ["KHR_lights_punctual", "KHR_materials_clearcoat"],
"extensions": {"KHR_lights_punctual": {"lights": [{"name": "Lamp", "type": "spot"}]}},
"nodes": [{"mesh": 0}, {"extensions": {"KHR_lights_punctual": {"light": 0}}}],
"materials": [{"name": "Paint", "pbrMetallicRoughness": {"baseColorTexture": {"index": 0}},
  "extensions": {"KHR_materials_clearcoat": {"clearcoatFactor": 1}}}],
"textures": [{"source": 0}], "images": [{"uri": "wood.png"}],
"meshes": [{"primitives": [{"attributes": {"POSITION": 0, "TEXCOORD_0": 1}, "material": 0}]}],
"animations": [{"name": "Open", "samplers": [{"input": 2, "output": 3}],
  "channels": [{"sampler": 0, "target": {"node": 0, "path": "translation"}}]}],
"accessors": [
  {"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3"},
  {"bufferView": 0, "byteOffset": 36, "componentType": 5126, "count": 3, "type": "VEC2"},
  {"bufferView": 0, "byteOffset": 60, "componentType": 5126, "count": 2, "type": "SCALAR"},
  {"bufferView": 0, "byteOffset": 68, "componentType": 5126, "count": 2, "type": "VEC3"}],
"bufferViews": [{"buffer": 0, "byteLength": 92}],
"buffers": [{"byteLength": 92, "uri": "rich.bin"}]})";

TEST_F(ManyModels, AreToldAboutInFull) {
  const float numbers[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 2.5, 0, 0, 0, 1, 0, 0};
  Write("rich.bin", std::string(reinterpret_cast<const char*>(numbers), sizeof numbers));
  WritePng(Path("wood.png"), {5, 3, std::vector<unsigned char>(5 * 3 * 4, 99)});
  Write("rich.gltf", kRich);
  EXPECT_TRUE(
      Holds(Done("info rich.gltf"),
            {"1 x 1 x 0 (1 x 1 x 0 m)", "Paint", "wood.png 5x3", "Lamp (spot)", "Open 2.5 s",
             "Day, Night", "KHR_lights_punctual, KHR_materials_clearcoat", "not as in the file"}));
  const Json model = Json::parse(Done("info rich.gltf --json"))["models"][0];
  EXPECT_EQ(model["textures"], Json::parse(R"([{"name": "wood.png", "width": 5, "height": 3}])"));
  EXPECT_EQ(model["animations"], Json::parse(R"([{"name": "Open", "seconds": 2.5}])"));
  EXPECT_EQ(model["extensionsRequired"], Json::array());
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
