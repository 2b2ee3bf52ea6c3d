// Choosing by name what of a scene is drawn.
#include "hostkit/scene/node_choice.h"

#include <algorithm>
#include <cstddef>
#include <unordered_set>
#include <utility>

namespace hostkit {
namespace {

/// How many bytes the character that begins the text has.
std::size_t CharacterLength(std::string_view text) {
  std::size_t length = 1;
  while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
    ++length;
  }
  return length;
}

/// By instance: whether the pattern means it.
std::vector<bool> MeantBy(const std::string& pattern, const Scene& scene) {
  std::vector<bool> isNode(scene.nodeNames.size()), isMesh(scene.meshes.size());
  for (std::size_t i = 0; i < isNode.size(); ++i) {
    const SceneNodeName& node = scene.nodeNames[i];
    isNode[i] = MatchesPattern(pattern, node.name) ||
                (node.above >= 0 && isNode[static_cast<std::size_t>(node.above)]);
  }
  for (std::size_t i = 0; i < isMesh.size(); ++i) {
    isMesh[i] = MatchesPattern(pattern, scene.meshes[i].name);
  }
  std::vector<bool> isMeant;
  isMeant.reserve(scene.instances.size());
  for (const SceneInstance& instance : scene.instances) {
    isMeant.push_back(isMesh[static_cast<std::size_t>(instance.mesh)] ||
                      (instance.node >= 0 && isNode[static_cast<std::size_t>(instance.node)]));
  }
  return isMeant;
}

/// Sets `to` for all that any of the patterns means. False for one that means nothing.
bool Mark(const std::vector<std::string>& patterns, const Scene& scene, bool to,
          std::vector<bool>* isKept, std::string* unmatched) {
  for (const std::string& pattern : patterns) {
    const std::vector<bool> isMeant = MeantBy(pattern, scene);
    if (std::find(isMeant.begin(), isMeant.end(), true) == isMeant.end()) {
      *unmatched = pattern;
      return false;
    }
    for (std::size_t i = 0; i < isMeant.size(); ++i) {
      if (isMeant[i]) (*isKept)[i] = to;
    }
  }
  return true;
}

}  // namespace

bool MatchesPattern(std::string_view pattern, std::string_view name) {
  // Where to go on when what follows the last star does not fit: one character later.
  std::string_view afterStar, retry;
  bool hasStar = false;
  for (;;) {
    if (!pattern.empty() && pattern[0] == '*') {
      pattern.remove_prefix(1);
      afterStar = pattern;
      retry = name;
      hasStar = true;
    } else if (name.empty()) {
      return pattern.empty();
    } else if (!pattern.empty() && pattern[0] == '?') {
      pattern.remove_prefix(1);
      name.remove_prefix(CharacterLength(name));
    } else if (!pattern.empty() && pattern[0] == name[0]) {
      pattern.remove_prefix(1);
      name.remove_prefix(1);
    } else if (hasStar) {
      retry.remove_prefix(CharacterLength(retry));
      name = retry;
      pattern = afterStar;
    } else {
      return false;
    }
  }
}

bool ChooseNodes(const NodeChoice& choice, Scene& scene, std::string* unmatched) {
  std::vector<bool> isKept(scene.instances.size(), choice.only.empty());
  if (!Mark(choice.only, scene, true, &isKept, unmatched) ||
      !Mark(choice.hide, scene, false, &isKept, unmatched)) {
    return false;
  }
  KeepInstances(isKept, scene);
  return true;
}

std::vector<std::string> PlacedNames(const Scene& scene) {
  std::vector<bool> isPlaced(scene.nodeNames.size()), isMesh(scene.meshes.size());
  for (const SceneInstance& instance : scene.instances) {
    isMesh[static_cast<std::size_t>(instance.mesh)] = true;
    if (instance.node >= 0) isPlaced[static_cast<std::size_t>(instance.node)] = true;
  }
  for (std::size_t i = isPlaced.size(); i-- > 0;) {
    const int above = scene.nodeNames[i].above;
    if (isPlaced[i] && above >= 0) isPlaced[static_cast<std::size_t>(above)] = true;
  }
  std::vector<std::string> names;
  std::unordered_set<std::string> known = {""};
  const auto add = [&](const std::string& name) {
    if (known.insert(name).second) names.push_back(name);
  };
  for (std::size_t i = 0; i < isPlaced.size(); ++i) {
    if (isPlaced[i]) add(scene.nodeNames[i].name);
  }
  for (std::size_t i = 0; i < isMesh.size(); ++i) {
    if (isMesh[i]) add(scene.meshes[i].name);
  }
  return names;
}

void KeepInstances(const std::vector<bool>& isKept, Scene& scene) {
  std::vector<int> places(scene.instances.size(), -1);
  std::size_t count = 0;
  for (std::size_t i = 0; i < scene.instances.size(); ++i) {
    if (!isKept[i]) continue;
    places[i] = static_cast<int>(count);
    scene.instances[count++] = scene.instances[i];
  }
  scene.instances.resize(count);
  std::vector<MovingInstance> moving;
  for (MovingInstance& one : scene.motion.instances) {
    one.instance = places[static_cast<std::size_t>(one.instance)];
    if (one.instance >= 0) moving.push_back(one);
  }
  scene.motion.instances = std::move(moving);
}

}  // namespace hostkit
