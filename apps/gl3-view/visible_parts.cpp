// Which placed meshes of a model are drawn.
#include "apps/gl3-view/visible_parts.h"

#include <algorithm>
#include <numeric>
#include <utility>

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

int VisibleParts::InstanceOf(int part) const {
  const auto found = std::lower_bound(m_parts.begin(), m_parts.end(), part);
  if (found == m_parts.end() || *found != part) return -1;
  return static_cast<int>(found - m_parts.begin());
}

}  // namespace view
