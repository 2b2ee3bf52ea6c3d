// Skins and shapes of files, as they are posed.
#include <assimp/mesh.h>

#include <cmath>
#include <numeric>
#include <utility>

#include "hostkit/import/import_deformations.h"
#include "hostkit/import/import_normals.h"
#include "hostkit/scene/node_animation.h"
#include "tests/hostkit/import/import_fixture.h"
#include "tests/support/common/zip_file.h"

namespace {

using hostkit::Scene;
using Imath::V3f;
using Deformations = Import;

/// A strip of two triangles from x = 0 to 2 (after its bind shape, which doubles it), whose far end
/// hangs on an elbow at x = 1; the last vertex hangs on both joints. The elbow turns about z,
/// by 90 degrees at rest and by none after two seconds. The strip's own node is far away, and the
/// shoulder at `place`.
std::string SkinnedStrip(bool isAnimated, const std::string& place = "0 0 0") {
  const std::string animation = R"(<library_animations><animation>
<source id="t"><float_array id="ta" count="2">0 2</float_array><technique_common><accessor
 source="#ta" count="2" stride="1"><param name="TIME" type="float"/></accessor></technique_common>
</source><source id="v"><float_array id="va" count="2">90 0</float_array><technique_common><accessor
 source="#va" count="2" stride="1"><param name="ANGLE" type="float"/></accessor></technique_common>
</source><sampler id="sm"><input semantic="INPUT" source="#t"/><input semantic="OUTPUT" source="#v"/>
</sampler><channel source="#sm" target="elbow/turn.ANGLE"/></animation></library_animations>)";
  return R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><up_axis>Y_UP</up_axis></asset>
<library_geometries><geometry id="g"><mesh>
<source id="p"><float_array id="pa" count="12">0 0 0  1 0 0  0 1 0  1 1 0</float_array>
<technique_common><accessor source="#pa" count="4" stride="3"><param name="X" type="float"/>
<param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common></source>
<vertices id="v0"><input semantic="POSITION" source="#p"/></vertices>
<triangles count="2"><input semantic="VERTEX" source="#v0" offset="0"/><p>0 1 2 1 3 2</p></triangles>
</mesh></geometry></library_geometries>
<library_controllers><controller id="c"><skin source="#g">
<bind_shape_matrix>2 0 0 0  0 2 0 0  0 0 2 0  0 0 0 1</bind_shape_matrix>
<source id="j"><Name_array id="ja" count="2">shoulder elbow</Name_array><technique_common><accessor
 source="#ja" count="2" stride="1"><param name="JOINT" type="Name"/></accessor></technique_common>
</source>
<source id="b"><float_array id="ba" count="32">1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1
1 0 0 -1 0 1 0 0 0 0 1 0 0 0 0 1</float_array><technique_common><accessor source="#ba" count="2"
 stride="16"><param name="TRANSFORM" type="float4x4"/></accessor></technique_common></source>
<source id="w"><float_array id="wa" count="2">1 0.5</float_array><technique_common><accessor
 source="#wa" count="2" stride="1"><param name="WEIGHT" type="float"/></accessor></technique_common>
</source>
<joints><input semantic="JOINT" source="#j"/><input semantic="INV_BIND_MATRIX" source="#b"/></joints>
<vertex_weights count="4"><input semantic="JOINT" source="#j" offset="0"/>
<input semantic="WEIGHT" source="#w" offset="1"/><vcount>1 1 1 2</vcount>
<v>0 0  1 0  0 0  0 1 1 1</v></vertex_weights></skin></controller></library_controllers>)" +
         (isAnimated ? animation : "") + R"(
<library_visual_scenes><visual_scene id="s"><node id="shoulder" sid="shoulder" type="JOINT">
<translate>)" +
         place +
         R"(</translate><node id="elbow" sid="elbow" type="JOINT"><translate>1 0 0</translate>
<rotate sid="turn">0 0 1 90</rotate></node></node>
<node id="strip"><translate>50 0 0</translate><instance_controller url="#c">
<skeleton>#shoulder</skeleton></instance_controller></node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene></COLLADA>)";
}

void ExpectStrip(const Scene& scene, const std::vector<V3f>& corners, float x = 0) {
  ASSERT_EQ(scene.instances.size(), 1u);
  const hostkit::SceneMesh& mesh = scene.meshes.at(0);
  ASSERT_EQ(mesh.triangles.size(), 6u);
  constexpr std::size_t kCorners[] = {0, 1, 2, 1, 3, 2};
  for (std::size_t i = 0; i < 6; ++i) {
    const V3f place = mesh.positions[mesh.triangles[i]] * scene.instances[0].toWorld;
    ExpectNear(V3f(scene.origin - Imath::V3d(x, 0, 0)) + place, corners[kCorners[i]]);
  }
}

// 2,0,0 is 1,0,0 for the elbow, which takes it to 1,1,0; 2,2,0 likewise to -1,1,0, and half of it
// stays with the shoulder.
const std::vector<V3f> kBent = {{0, 0, 0}, {1, 1, 0}, {0, 2, 0}, {0.5f, 1.5f, 0}};
const std::vector<V3f> kStraight = {{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {2, 2, 0}};

TEST_F(Deformations, SkinsFollowTheirJointsAtRestAndAsTheyMove) {
  const Scene still = Read(Write("still.dae", SkinnedStrip(false)));
  ExpectStrip(still, kBent);
  EXPECT_TRUE(still.motion.deformations.empty()) << "nothing moves it any more";
  ExpectStrip(Read(Write("far.dae", SkinnedStrip(false, "3000000 0 0"))), kBent, 3e6f);

  Scene scene = Read(Write("skin.dae", SkinnedStrip(true)));
  ExpectStrip(scene, kBent);
  EXPECT_EQ(scene.motion.nodes.size(), 1u) << "the shoulder lies still";
  hostkit::PoseScene(scene, {0}, 2);
  ExpectStrip(scene, kStraight);
  Scene far = Read(Write("far.dae", SkinnedStrip(true, "3000000 0 0")));
  EXPECT_EQ(far.origin.x, 3e6);
  hostkit::PoseScene(far, {0}, 2);
  ExpectStrip(far, kStraight, 3e6f);
  // On its way the last corner, half of which goes around the elbow, rises above both.
  const V3f reach = hostkit::MeasureReach(scene, {0}).bounds.max;
  EXPECT_TRUE(reach.equalWithAbsError({2, 1 + std::sqrt(5.0f) / 2, 0}, 1e-3f)) << reach;
}

TEST_F(Deformations, KeysThatAreStepsHoldAlsoInArchives) {
  std::string strip = SkinnedStrip(true);
  const std::string output = R"(<input semantic="OUTPUT" source="#v"/>)";
  strip.replace(strip.find(output), output.size(),
                output + R"(<input semantic="INTERPOLATION" source="#k"/>)");
  strip.replace(strip.find("<sampler"), 0, R"(<source id="k"><Name_array id="ka" count="2">
STEP STEP</Name_array><technique_common><accessor source="#ka" count="2" stride="1"><param
 name="INTERPOLATION" type="Name"/></accessor></technique_common></source>)");
  const std::string manifest = "<?xml version=\"1.0\"?><dae_root>strip.dae</dae_root>";
  for (const std::string& path :
       {Write("steps.dae", strip),
        Write(
            "steps.zae",
            Zip({{"a.dae", SkinnedStrip(true)}, {"manifest.xml", manifest}, {"strip.dae", strip}})),
        Write("first.zae", Zip({{"strip.dae", strip}}))}) {
    Scene scene = Read(path);
    hostkit::PoseScene(scene, {0}, 1.9);
    ExpectStrip(scene, kBent);
    hostkit::PoseScene(scene, {0}, 2);
    ExpectStrip(scene, kStraight);
  }
}

/// A triangle that goes to other places by half of one shape, and from none to all of a second one
/// in two seconds; two of its corners lie at one place.
std::string Morphed(const std::string& method) {
  const auto source = [](const std::string& id, int count, const std::string& numbers) {
    return "<source id=\"" + id + "\"><float_array id=\"" + id + "a\" count=\"" +
           std::to_string(count) + "\">" + numbers + "</float_array><technique_common><accessor " +
           "source=\"#" + id + "a\" count=\"" + std::to_string(count == 9 ? 3 : count) +
           "\" stride=\"" +
           (count == 9 ? "3\"><param name=\"X\" type=\"float\"/><param name=\"Y\" "
                         "type=\"float\"/><param name=\"Z\" type=\"float\"/>"
                       : "1\"><param type=\"float\"/>") +
           "</accessor></technique_common></source>";
  };
  const auto geometry = [&source](const std::string& id, const std::string& numbers) {
    return "<geometry id=\"" + id + "\"><mesh>" + source(id + "p", 9, numbers) + "<vertices id=\"" +
           id + "v\"><input semantic=\"POSITION\" source=\"#" + id +
           "p\"/></vertices><triangles count=\"1\"><input semantic=\"VERTEX\" source=\"#" + id +
           "v\" offset=\"0\"/><p>0 2 1</p></triangles></mesh></geometry>";
  };
  const bool isRelative = method == "RELATIVE";
  return R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1"><asset/>
<library_animations><animation>)" +
         source("t", 2, "0 2") + source("w", 2, "0 1") +
         R"x(<sampler id="sm"><input semantic="INPUT" source="#t"/><input semantic="OUTPUT" source="#w"/>
</sampler><channel source="#sm" target="m/weights(1)"/></animation></library_animations>
<library_geometries>)x" +
         geometry("g", "0 0 0  0 0 0  0 1 0") +
         geometry("h", isRelative ? "0 0 0  2 0 0  0 0 0" : "0 0 0  2 0 0  0 1 0") +
         geometry("k", isRelative ? "0 0 4  0 0 0  0 0 0" : "0 0 4  0 0 0  0 1 0") +
         R"(</library_geometries><library_controllers><controller id="m"><morph source="#g" method=")" +
         method +
         R"("><source id="mt"><IDREF_array id="mta" count="2">h k</IDREF_array></source>)" +
         source("mw", 2, "0.5 0") + R"(<targets><input semantic="MORPH_TARGET" source="#mt"/>
<input semantic="MORPH_WEIGHT" source="#mw"/></targets></morph></controller></library_controllers>
<library_visual_scenes><visual_scene id="s"><node id="n"><translate>0 0 7</translate>
<instance_controller url="#m"/></node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene></COLLADA>)";
}

TEST_F(Deformations, MorphControllersMoveTheirMesh) {
  const std::string manifest = "<?xml version=\"1.0\"?><dae_root>./in/m%20n.dae</dae_root>";
  for (const std::string& path : {Write("morph.dae", Morphed("NORMALIZED")),
                                  Write("morph.zae", Zip({{"a.dae", SkinnedStrip(false)},
                                                          {"in/m n.dae", Morphed("RELATIVE")},
                                                          {"manifest.xml", manifest}}))}) {
    Scene scene = Read(path);
    ASSERT_EQ(scene.instances.size(), 1u) << path;
    EXPECT_TRUE(scene.warnings.empty());
    EXPECT_TRUE(scene.meshes.at(0).uvs.empty());
    for (const float time : {-1.0f, 1.0f}) {  // at rest; half-way
      if (time > 0) hostkit::PoseScene(scene, {0}, time);
      const V3f corners[] = {{0, 0, time > 0 ? 9.0f : 7.0f}, {0, 1, 7}, {1, 0, 7}};
      const hostkit::SceneMesh& mesh = scene.meshes[0];
      for (std::size_t i = 0; i < 3; ++i) {
        ExpectNear(mesh.positions[mesh.triangles.at(i)] * scene.instances[0].toWorld, corners[i]);
      }
    }
  }
}

TEST_F(Deformations, ShapesThatMorphControllersLackAreTold) {
  std::string text = Morphed("NORMALIZED");
  text.replace(text.find("h k"), 3, "h n");
  const Scene scene = Read(Write("morph.dae", text));
  ASSERT_EQ(scene.warnings.size(), 1u);
  EXPECT_NE(scene.warnings[0].find(": 1;"), std::string::npos) << scene.warnings[0];
  EXPECT_EQ(scene.motion.deformations.at(0).targets.size(), 2u) << "keys go by their numbers";
}

/// A triangle with two shapes, the first of which is keyed from none of it to all of it in two
/// seconds: it takes the third corner from y = 1 to 3. The second one would move the second corner.
const char* const kShapes = R"(; FBX 7.4.0 project file
FBXHeaderExtension: { FBXVersion: 7400 } GlobalSettings: { Version: 1000 }
Objects: {
  Geometry: 10, "Geometry::base", "Mesh" { Vertices: *9 { a: 0,0,0,1,0,0,0,1,0 }
    PolygonVertexIndex: *3 { a: 0,1,-3 } GeometryVersion: 124 }
  Geometry: 11, "Geometry::one", "Shape" { Indexes: *1 { a: 2 } Vertices: *3 { a: 0,2,0 }
    Normals: *3 { a: 0,0,0 } }
  Geometry: 12, "Geometry::two", "Shape" { Indexes: *1 { a: 1 } Vertices: *3 { a: 0,0,4 }
    Normals: *3 { a: 0,0,0 } }
  Model: 20, "Model::thing", "Mesh" { Version: 232 }
  Deformer: 30, "Deformer::shapes", "BlendShape" { Version: 100 }
  Deformer: 31, "SubDeformer::one", "BlendShapeChannel" { FullWeights: *1 { a: 100 } }
  Deformer: 32, "SubDeformer::two", "BlendShapeChannel" { FullWeights: *1 { a: 100 } }
  AnimationStack: 40, "AnimStack::take", "" {
    Properties70: { P: "LocalStop", "KTime", "Time", "",92372316000 } }
  AnimationLayer: 41, "AnimLayer::layer", "" { Version: 100 }
  AnimationCurveNode: 42, "AnimCurveNode::DeformPercent", "" {
    Properties70: { P: "d|DeformPercent", "Number", "", "A",0 } }
  AnimationCurve: 43, "AnimCurve::", "" { KeyTime: *2 { a: 0,92372316000 }
    KeyValueFloat: *2 { a: 0,100 } KeyAttrFlags: *1 { a: 24836 }
    KeyAttrDataFloat: *4 { a: 0,0,255790911,0 } KeyAttrRefCount: *1 { a: 2 } }
}
Connections: { C: "OO",20,0 C: "OO",10,20 C: "OO",30,10 C: "OO",31,30 C: "OO",32,30 C: "OO",11,31
  C: "OO",12,32 C: "OO",41,40 C: "OO",42,41 C: "OP",42,31, "DeformPercent"
  C: "OP",43,42, "d|DeformPercent" }
)";

TEST_F(Deformations, ShapesFollowTheirKeys) {
  Scene scene = Read(Write("shapes.fbx", kShapes));
  ExpectNear(scene.meshes.at(0).positions[2], {0, 1, 0});
  for (const auto& [time, y] : {std::pair{0, 1.0f}, {1, 2.0f}, {2, 3.0f}, {9, 3.0f}}) {
    hostkit::PoseScene(scene, hostkit::FindAnimations(scene, ""), time);
    ExpectNear(scene.meshes[0].positions[2], {0, y, 0});
    ExpectNear(scene.meshes[0].positions[1], {1, 0, 0});
  }
}

/// Two triangles with a fold of a right angle between them, on the vertices 1 and 2.
hostkit::SceneMesh Fold() {
  hostkit::SceneMesh mesh;
  mesh.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {1, 0, -1}};
  mesh.triangles = {0, 1, 2, 2, 1, 3};
  return mesh;
}

TEST_F(Deformations, VerticesThatNormalsSplitKeepWhatMovesThem) {
  Scene scene;
  hostkit::SceneMesh& mesh = scene.meshes.emplace_back(Fold());
  const std::vector<std::uint32_t> copies = hostkit::MakeNormals(mesh);
  ASSERT_EQ(mesh.positions.size(), 6u);
  ASSERT_EQ(copies.size(), 2u);
  for (std::size_t i : {0u, 1u}) EXPECT_EQ(mesh.positions[4 + i], mesh.positions[copies[i]]);

  // Ten bones, the first of which is the weakest; a vertex that is not there; one without bones.
  aiMesh source;
  source.mNumVertices = 4;
  source.mVertices = new aiVector3D[4]{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {1, 0, -1}};
  source.mNumBones = 10;
  source.mBones = new aiBone*[10];
  for (unsigned b = 0; b < 10; ++b) {
    aiBone& bone = *(source.mBones[b] = new aiBone);
    bone.mNumWeights = 3;
    bone.mWeights = new aiVertexWeight[3]{{1, b + 1.0f}, {7, 1}, {2, b == 3 ? 2.0f : -1.0f}};
  }
  source.mNumAnimMeshes = 2;
  source.mAnimMeshes = new aiAnimMesh* [2] { new aiAnimMesh, new aiAnimMesh };
  aiAnimMesh& shape = *source.mAnimMeshes[1];
  shape.mNumVertices = 4;
  shape.mWeight = 0.5f;
  shape.mVertices = new aiVector3D[4]{{0, 0, 0}, {1, 0, 5}, {1, 1, 0}, {1, 0, -1}};
  hostkit::ImportContext context;
  context.path = "rig.fbx";
  context.scene = &scene;
  hostkit::ImportDeformation(context, source, copies, 0);

  ASSERT_EQ(scene.motion.deformations.size(), 1u);
  const hostkit::SceneDeformation& made = scene.motion.deformations[0];
  EXPECT_EQ(made.joints.size(), 11u);
  ASSERT_EQ(made.influences, 8);
  EXPECT_EQ(scene.warnings.size(), 1u);
  for (std::size_t vertex = 0; vertex < 6; ++vertex) {
    const std::size_t from = vertex < 4 ? vertex : copies[vertex - 4];
    float weights[11] = {};
    for (std::size_t k = 8 * vertex; k < 8 * vertex + 8; ++k) {
      weights[made.vertexJoints[k]] += made.vertexWeights[k];
    }
    EXPECT_NEAR(std::accumulate(weights, weights + 11, 0.0f), 1, 1e-6f);
    EXPECT_NEAR(weights[1], 0, 1e-6f);
    EXPECT_NEAR(weights[9], from == 1 ? 10.0f / 52 : 0, 1e-6f);  // of 3 + 4 + ... + 10
    EXPECT_NEAR(weights[3], from == 2 ? 1 : from == 1 ? 4.0f / 52 : 0, 1e-6f);
    EXPECT_NEAR(weights[10], from == 0 || from == 3 ? 1 : 0, 1e-6f) << "with the mesh's node";
    ExpectNear(made.targets.at(0).positions.at(vertex), {0, 0, 0});
    ExpectNear(made.targets.at(1).positions.at(vertex), {0, 0, from == 1 ? 5.0f : 0});
  }
  EXPECT_EQ(made.weights, (std::vector<float>{0, 0.5f}));
}

}  // namespace
