// The model as the window draws it: in other surfaces than its own, and cut open.
#pragma once

#include <Imath/ImathBox.h>

#include <memory>
#include <vector>

#include "apps/options/subject_options.h"
#include "hostkit/scene/scene.h"
#include "hostkit/scene/section.h"

namespace view {

/// A model with what options ask for in place of its own surfaces, and what a section leaves of it:
/// as `gl3 render` draws it. What is left out by name is the matter of VisibleParts.
class ShownSubject {
 public:
  ShownSubject() = default;
  /// Remembers the surfaces of a model that is as it was read.
  explicit ShownSubject(std::shared_ptr<hostkit::Scene> model);

  /// Whether these options ask for something else than what was asked for last.
  bool IsOther(const gl3::SubjectOptions& options) const;
  /// Changes the model's surfaces; nobody may read it meanwhile. What is to be drawn is to be made
  /// anew then.
  void Dress(const gl3::SubjectOptions& options);
  /// What is to be drawn of the model as it is posed: the model, or a cut copy that has its
  /// pictures as long as none is made anew. `bounds` are those that the model has while it moves.
  std::shared_ptr<hostkit::Scene> Make(const Imath::Box3f& bounds);

  bool IsCut() const { return m_options.section.has_value(); }
  /// Whether Make takes pictures out of the model or puts them back.
  bool MovesPictures() const { return IsCut() || m_cut; }
  /// Whether a point of world space was cut away.
  bool IsBeyond(const Imath::V3f& place) const {
    return IsCut() && m_plane.normal.dot(Imath::V3d(place)) > m_plane.offset;
  }

 private:
  std::shared_ptr<hostkit::Scene> m_model, m_cut;
  gl3::SubjectOptions m_options;
  hostkit::SectionPlane m_plane;
  // The model's own surfaces: all materials, and by mesh.
  struct Colors {
    std::vector<ColorBuf> colors;
    bool haveAlpha = false;
  };
  std::vector<hostkit::SceneMaterial> m_materials;
  std::vector<Colors> m_colors;
};

}  // namespace view
