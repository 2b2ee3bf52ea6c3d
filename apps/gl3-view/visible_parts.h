// Which placed meshes of a model are drawn.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "hostkit/scene/scene.h"

namespace view {

/// Takes parts out of a scene and puts them back. A part is an instance, by its number in the scene
/// as it was read.
class VisibleParts {
 public:
  VisibleParts() = default;
  /// Remembers all of `scene`, which has nothing hidden yet.
  explicit VisibleParts(const hostkit::Scene& scene);

  std::size_t Count() const { return m_instances.size(); }
  bool IsHidden(std::size_t part) const { return m_hidden[part]; }
  bool IsAnyHidden() const;
  const std::vector<bool>& Hidden() const { return m_hidden; }
  /// Has the scene hold what is not hidden, posed as it was when the parts were remembered; whoever
  /// poses it begins anew. Of all parts together at least one must stay.
  void Hide(std::vector<bool> hidden, hostkit::Scene* scene);
  /// The names by which --hide leaves out just these parts of the scene; empty when nothing is
  /// hidden, or, without `*isExact`, when names do not tell the parts apart.
  std::vector<std::string> HiddenNames(const hostkit::Scene& scene, bool* isExact) const;
  /// The part that an instance of the scene is now, and the other way round; -1: it is hidden.
  int PartOf(int instance) const { return m_parts[static_cast<std::size_t>(instance)]; }
  int InstanceOf(int part) const;

 private:
  std::vector<hostkit::SceneInstance> m_instances;
  std::vector<hostkit::MovingInstance> m_moving;
  std::vector<bool> m_hidden;
  std::vector<int> m_parts;  // by instance
};

}  // namespace view
