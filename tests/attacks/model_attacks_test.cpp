// Models that try to read what they must not, to hang, to grow, and to crash what reads them.
#include <fmt/format.h>
#include <sys/stat.h>
#include <zlib.h>

#include "tests/attacks/attack_fixture.h"
#include "tests/support/common/holds.h"

namespace fs = std::filesystem;

namespace {

Pairs Gltf(const Pairs& changes) {
  return {{"m.gltf", Changed(kCamerasGltf, changes)}};
}

/// With an accessor 1 into 12 bytes at `uri`, and with a change that makes use of it.
Pairs GltfOfSecond(const std::string& uri, const std::string& accessor, const Pairs& use) {
  Pairs changes = {
      {"[1, 1, 0]}", "[1, 1, 0]}, {\"bufferView\": 1, " + accessor + "}"},
      {R"("buffer": 0, "byteLength": 36})",
       R"("buffer": 1, "byteLength": 36}, {"buffer": 0, "byteLength": 12})"},
      {R"("buffers": [)", R"("buffers": [{"byteLength": 12, "uri": ")" + uri + "\"}, "}};
  changes.insert(changes.end(), use.begin(), use.end());
  return Gltf(changes);
}

Pairs GltfOfColors(const std::string& uri) {
  return GltfOfSecond(uri,
                      R"("componentType": 5121, "normalized": true, "count": 3, "type": "VEC4")",
                      {{R"("POSITION": 0)", R"("POSITION": 0, "COLOR_0": 1)"}});
}

/// Each node is the child of the one before.
Pairs GltfOfNodes(int count, const std::string& childrenOfTheLast) {
  std::string nodes = "1, 0, 0]}";
  for (int i = 3; i < count + 2; ++i) nodes += fmt::format(R"(, {{"children": [{}]}})", i + 1);
  nodes += R"(, {"mesh": 0, "children": [)" + childrenOfTheLast + "]}";
  return Gltf({{"[0, 1, 2]", "[0, 1, 2, 3]"}, {"1, 0, 0]}", nodes}});
}

Pairs Ply(const std::string& vertices, const std::string& faces) {
  return {{"m.ply", "ply\nformat ascii 1.0\nelement vertex " + vertices +
                        "\nproperty float x\nproperty float y\nproperty float z\nelement face 3\n"
                        "property list uchar int vertex_indices\nend_header\n"
                        "0 0 0\n1 0 0\n1 1 0\n0 1 0\n4 0 1 2 3\n" +
                        faces}};
}

/// 3 GiB of zeros.
std::string PackedZeros() {
  std::string zeros(16 << 20, '\0'), packed(1 << 20, '\0');
  z_stream stream = {};
  deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  stream.next_in = reinterpret_cast<Bytef*>(zeros.data());
  stream.avail_in = static_cast<uInt>(zeros.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FULL_FLUSH);  // so that copies may follow one another
  packed.resize(packed.size() - stream.avail_out);
  deflateEnd(&stream);
  std::string all;
  for (int i = 0; i < 192; ++i) all += packed;
  return all + std::string("\3\0", 2);  // the stream's end
}

/// Two objects, a triangle each.
Pairs ThreeMf(const Pairs& changes) {
  const std::string mesh =
      R"(type="model"><mesh><vertices><vertex x="0" y="0" z="0"/><vertex x="1" y="0" z="0"/>
<vertex x="0" y="1" z="0"/></vertices><triangles><triangle v1="0" v2="1" v3="2"/></triangles>
</mesh></object>)";
  const std::string model = R"(<model unit="millimeter"><resources><object id="1" )" + mesh +
                            R"(<object id="2" )" + mesh +
                            R"(</resources><build><item objectid="1"/><item objectid="2"/></build>
</model>)";
  const std::string relations =
      R"(<Relationships><Relationship Target="/3D/3dmodel.model" Id="r0"
Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/></Relationships>)";
  return {
      {"m.3mf", Zip({{"_rels/.rels", relations}, {"3D/3dmodel.model", Changed(model, changes)}})}};
}

TEST_F(Attacks, NamesOfFilesThatAreNotTheModels) {
  const char* const outside = "lies outside its folder; put it beside the model";
  const std::string secret = Path("secret").string();
  const Pairs kNames = {{"../secret.png", outside},
                        {"../../../../../../../../etc/passwd", outside},
                        {"/etc/passwd", outside},
                        {secret + ".png", outside},
                        {"file://" + secret + ".mtl", outside},
                        {"http://localhost/secret.png", "is no file; save it to one"},
                        {"%2e%2e/secret.png", outside},
                        {"link.png", outside},
                        {"up/secret.txt", outside},
                        {".hidden.png", "is hidden; give it a name without a dot in front"},
                        {"pipe.png", "is no regular file; put one in its place"},
                        {"zero.png", outside},
                        {"/dev/zero", outside},
                        {"/proc/self/environ", outside}};
  Attack pictures = {"pictures", {}, Ends::kPlain};
  std::vector<std::string> names;
  for (const auto& [name, why] : kNames) {
    pictures.parts.push_back("it names " + name + ", which " + why);
    Import({"colours", GltfOfColors(name), Ends::kRefused, {pictures.parts.back()}});
    names.push_back(name);
  }
  Try({"colours",
       GltfOfColors("up/secret.txt"),
       Ends::kRefused,
       {"in/m.gltf: it names up/secret.txt, which lies outside its folder"}});
  pictures.files = ObjOf(names);
  Import(pictures);
  // The program tells one of each kind.
  pictures.parts = {"it names ../secret.png, which lies outside",
                    "it names http://localhost/secret", "it names .hidden.png, which is hidden",
                    "it names pipe.png, which is no"};
  for (int i = 0; i < 3; ++i) Try(pictures);
  const std::string all = fmt::format("{}", fmt::join(names, "\nmtllib "));
  Try({"libraries",
       ObjOf({"none.png"}, "", "m.mtl\nmtllib ../secret.mtl\nmtllib " + all),
       Ends::kPlain,
       {"it names ../secret.mtl, which lies", "none.png was not found"}});
}

TEST_F(Attacks, NeighboursAreReadOutOfConfinementAlone) {
  fs::create_directory(Path("textures"));
  fs::copy_file(Path("secret.png"), Path("textures/a.png"));
  Lay(ObjOf({"../textures/a.png"}));
  EXPECT_EQ(Say("render in/m.obj" + m_draw).err, "");
  EXPECT_FALSE(Read("out.png") == m_plain);
  const Gl3Result confined = Say("render in/m.obj --confined" + m_draw);
  EXPECT_TRUE(Holds(confined.err, {"it names ../textures/a.png, which lies outside its folder"}));
  EXPECT_TRUE(Read("out.png") == m_plain);
}

TEST_F(Attacks, LinksInPlaceOfFilesAreFollowedOutOfConfinementAlone) {
  fs::copy_file(Path("in/m.obj"), Path("far.obj"));
  fs::create_symlink("../far.obj", Path("in/out.obj"));
  fs::create_symlink("m.obj", Path("in/near.obj"));
  const std::string refusal = "is a link that leads out of its folder";
  for (const std::string line :
       {"render in/out.obj", "info in/out.obj", "filter in/link.png", "render --like in/link.png",
        "render in/m.obj --background in/link.png"}) {
    SCOPED_TRACE(line);
    const std::string output = line.starts_with("info") ? "" : " -o out.png -s 24x18";
    ExpectRefused(line + output + " --confined", 3, {refusal, "; put the file itself there"});
    const Gl3Result followed = Say(line + output);
    EXPECT_EQ(followed.err.find(refusal), std::string::npos) << followed.err;
    fs::remove(Path("out.png"));
  }
  EXPECT_EQ(Say("render in/near.obj --confined" + m_draw).status, 0);
}

TEST_F(Attacks, ModelsThatHangGrowAndCrash) {
  const std::string zeros = PackedZeros();
  std::vector<std::string> spellings;
  for (int i = 0; i < 1000; ++i) spellings.push_back(fmt::format("no{}/.././a.png", i));
  const Pairs times = {
      {"\"bufferViews\"", R"("animations": [{"samplers": [{"input": 1, "output": 0}], "channels": [
       {"sampler": 0, "target": {"node": 0, "path": "translation"}}]}], "bufferViews")"}};
  const auto refused = Ends::kRefused, drawn = Ends::kDrawn;
  const Attack kAttacks[] = {
      {"vertices", Ply("4000000000", ""), refused, {"m.ply: its header promises 4000000000 rows"}},
      {"faces", Ply("4", "3 0 1 4000000000\n3 0 1 -7\n"), drawn, {"m.ply: 2 faces name vertices"}},
      {"pixels",
       ObjOf({"a.png"}, PngHeader(60000, 60000)),
       Ends::kPlain,
       {"its picture a.png: 60000 x 60000 pixels are too many"}},
      {"spellings", ObjOf(spellings, Read("secret.png")), drawn},
      {"line",
       {{"m.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\nf 1" + std::string(4 << 20, '\0')}},
       drawn},
      {"bomb", {{"m.3mf", Zip({{"a", zeros}}, 3u << 30)}}, refused, {"it unpacks to 3.0 GiB"}},
      {"bomb", {{"m.zae", Zip({{"a.dae", zeros}}, 3u << 30)}}, refused, {"it unpacks to 3.0 GiB"}},
      {"quiet bomb", {{"m.zae", Zip({{"a.dae", zeros}}, 100)}}, refused, {"m.zae: "}},
      {"objects", ThreeMf({}), drawn},
      {"no object",
       ThreeMf({{"objectid=\"1\"", "objectid=\"77\""}}),
       drawn,
       {"m.3mf: objects that are not there left out: 1;"}},
      {"corners", ThreeMf({{"v3=\"2\"", "v3=\"9999\""}}), drawn, {"m.3mf: 1 face names vertices"}},
      {"count", Gltf({{"\"count\": 3", "\"count\": 4294967295"}}), refused, {"are broken: mesh 0"}},
      {"offset",
       Gltf({{"{\"bufferView\": 0", R"({"bufferView": 0, "byteOffset": 4294967292)"}}),
       refused,
       {"are broken: mesh 0"}},
      {"stride",
       Gltf({{"h\": 36}]", "h\": 36, \"byteStride\": 2000000000}]"}}),
       refused,
       {"are broken: mesh 0"}},
      {"length", Gltf({{"h\": 36}]", "h\": 36000000000}]"}}), refused, {"are broken: mesh 0"}},
      {"depth", GltfOfNodes(50000, ""), drawn},
      {"circle", GltfOfNodes(3, "3"), refused, {"its node 3 is below itself"}},
      {"lists",
       Gltf({{"\"scene\"", "\"extras\": " + std::string(300000, '[')}}),
       refused,
       {"m.gltf: "}},
      {"times",
       GltfOfSecond("data:application/octet-stream;base64,AADAfwAAwH8AAMB/",
                    R"("componentType": 5126, "count": 3, "type": "SCALAR")", times),
       drawn},
  };
  for (const Attack& attack : kAttacks) Try(attack);
  EXPECT_EQ(Say("render in/m.gltf -o x##.png -s 8x8 --frames 1-2").status, 0) << "of the times";
}

TEST_F(Attacks, ModelsAndPicturesThatAreNoFiles) {
  mkfifo(Path("pipe").c_str(), 0600);
  for (const std::string name : {"pipe", "/dev/zero", "/proc/self/environ", "in"}) {
    for (const std::string verb : {"render ", "filter --effect tint --confined "}) {
      ExpectRefused(verb + name + " -o out.png", 3, {name + ": ", "; "});
    }
  }
}

}  // namespace
