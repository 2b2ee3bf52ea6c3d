// Choosing by name what is drawn.
#include "hostkit/scene/node_choice.h"

#include <gtest/gtest.h>

#include "hostkit/scene/scene_merge.h"

namespace {

using hostkit::Scene;

TEST(NodeChoice, PatternsDescribeWholeNames) {
  const struct {
    const char *pattern, *name;
    bool matches;
  } cases[] = {
      {"Wheel", "Wheel", true},
      {"Wheel", "wheel", false},
      {"Wheel", "Wheels", false},
      {"*", "", true},
      {"?", "", false},
      {"?", "\xC3\xB6", true},
      {"??", "\xC3\xB6", false},
      {"a*b*c", "a-b-b-c", true},
      {"a*b*c", "a-c-b", false},
      {"*.L", "Arm.L.L", true},
      {"", "", true},
      {"*ab?", "ababc", true},
  };
  for (const auto& [pattern, name, matches] : cases) {
    EXPECT_EQ(hostkit::MatchesPattern(pattern, name), matches) << pattern << " and " << name;
  }
}

/// Of two meshes, each placed by a node of its own below "Both"; the second one moves.
Scene Two() {
  Scene scene;
  scene.meshes.resize(2);
  scene.nodeNames = {{"Both", -1}, {"First", 0}, {"Second", 0}};
  scene.instances = {{0, {}, 1}, {1, {}, 2}};
  scene.motion.nodes.resize(1);
  scene.motion.instances = {{1, 0, {}}};
  return scene;
}

TEST(NodeChoice, HoldsInMergedScenesAndForWhatMoves) {
  Scene scene = Two(), other = Two();
  other.nodeNames[0].name = "Others";
  other.nodeNames[2].name = "Last";
  hostkit::AppendScene(scene, std::move(other));
  EXPECT_EQ(hostkit::PlacedNames(scene),
            (std::vector<std::string>{"Both", "First", "Second", "Others", "Last"}));
  std::string unmatched;
  EXPECT_FALSE(hostkit::ChooseNodes({{"Others"}, {"Las?", "las?"}}, scene, &unmatched));
  EXPECT_EQ(unmatched, "las?");
  EXPECT_EQ(scene.instances.size(), 4u);
  ASSERT_TRUE(hostkit::ChooseNodes({{"Others", "Second"}, {"First"}}, scene, &unmatched));
  ASSERT_EQ(scene.instances.size(), 2u);
  EXPECT_EQ(scene.nodeNames[scene.instances[0].node].name, "Second");
  EXPECT_EQ(scene.nodeNames[scene.instances[1].node].name, "Last");
  ASSERT_EQ(scene.motion.instances.size(), 2u);
  EXPECT_EQ(scene.motion.instances[0].instance, 0);
  EXPECT_EQ(scene.motion.instances[1].instance, 1);
  EXPECT_EQ(scene.motion.instances[1].node, 1);
}

}  // namespace
