// Which placed meshes of a model are drawn.
#include "apps/gl3-view/visible_parts.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "hostkit/scene/node_choice.h"

namespace view {

VisibleParts::VisibleParts(const hostkit::Scene& scene)
    : m_instances(scene.instances),
      m_moving(scene.motion.instances),
      m_hidden(scene.instances.size()),
      m_parts(scene.instances.size()) {
  std::iota(m_parts.begin(), m_parts.end(), 0);
}

bool VisibleParts::IsAnyHidden() const {
  return std::find(m_hidden.begin(), m_hidden.end(), true) != m_hidden.end();
}

void VisibleParts::Hide(std::vector<bool> hidden, hostkit::Scene* scene) {
  m_hidden = std::move(hidden);
  m_parts.clear();
  scene->instances.clear();
  scene->motion.instances.clear();
  std::vector<int> instanceOf(m_instances.size(), -1);
  for (std::size_t part = 0; part < m_instances.size(); ++part) {
    if (m_hidden[part]) continue;
    instanceOf[part] = static_cast<int>(m_parts.size());
    m_parts.push_back(static_cast<int>(part));
    scene->instances.push_back(m_instances[part]);
  }
  for (hostkit::MovingInstance moving : m_moving) {
    moving.instance = instanceOf[static_cast<std::size_t>(moving.instance)];
    if (moving.instance >= 0) scene->motion.instances.push_back(moving);
  }
}

std::vector<std::string> VisibleParts::HiddenNames(const hostkit::Scene& scene,
                                                   bool* isExact) const {
  *isExact = true;
  hostkit::NodeChoice choice;
  hostkit::Scene names;  // what it takes to choose by name
  names.nodeNames = scene.nodeNames;
  names.instances = m_instances;
  names.meshes.resize(scene.meshes.size());
  for (std::size_t i = 0; i < names.meshes.size(); ++i) {
    names.meshes[i].name = scene.meshes[i].name;
  }
  for (std::size_t part = 0; part < m_instances.size(); ++part) {
    if (!m_hidden[part]) continue;
    const hostkit::SceneInstance& instance = m_instances[part];
    const auto node = static_cast<std::size_t>(instance.node);
    const bool hasNode = instance.node >= 0 && !names.nodeNames[node].name.empty();
    const std::string& name = hasNode ? names.nodeNames[node].name
                                      : names.meshes[static_cast<std::size_t>(instance.mesh)].name;
    if (std::find(choice.hide.begin(), choice.hide.end(), name) == choice.hide.end()) {
      choice.hide.push_back(name);
    }
  }
  if (choice.hide.empty()) return {};
  std::string unmatched;
  const auto isEmpty = [](const std::string& name) { return name.empty(); };
  *isExact = std::none_of(choice.hide.begin(), choice.hide.end(), isEmpty) &&
             hostkit::ChooseNodes(choice, names, &unmatched) &&
             std::equal(names.instances.begin(), names.instances.end(), m_parts.begin(),
                        m_parts.end(), [this](const hostkit::SceneInstance& left, int part) {
                          const auto& kept = m_instances[static_cast<std::size_t>(part)];
                          return left.mesh == kept.mesh && left.node == kept.node &&
                                 left.toWorld == kept.toWorld;
                        });
  return *isExact ? choice.hide : std::vector<std::string>();
}

int VisibleParts::InstanceOf(int part) const {
  const auto found = std::lower_bound(m_parts.begin(), m_parts.end(), part);
  if (found == m_parts.end() || *found != part) return -1;
  return static_cast<int>(found - m_parts.begin());
}

}  // namespace view
