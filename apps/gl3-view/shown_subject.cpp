// The model as the window draws it: in other surfaces than its own, and cut open.
#include "apps/gl3-view/shown_subject.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "apps/work/render/drawn_subject.h"

namespace view {
namespace {

bool IsSame(const std::optional<gl3::SectionOption>& a,
            const std::optional<gl3::SectionOption>& b) {
  if (!a || !b) return !a == !b;
  return a->normal == b->normal && a->position == b->position && a->isShare == b->isShare;
}

bool IsSame(const hostkit::LookOverride& a, const hostkit::LookOverride& b) {
  return a.look == b.look && a.color == b.color;
}

}  // namespace

ShownSubject::ShownSubject(std::shared_ptr<hostkit::Scene> model)
    : m_model(std::move(model)), m_materials(m_model->materials) {
  for (const hostkit::SceneMesh& mesh : m_model->meshes) {
    m_colors.push_back({mesh.colors, mesh.colorsHaveAlpha});
  }
}

bool ShownSubject::IsOther(const gl3::SubjectOptions& options) const {
  return !IsSame(options.section, m_options.section) || !IsSame(options.look, m_options.look) ||
         options.sectionColor != m_options.sectionColor;
}

void ShownSubject::Dress(const gl3::SubjectOptions& options) {
  if (!IsSame(options.look, m_options.look)) {
    m_model->materials = m_materials;
    for (std::size_t i = 0; i < m_colors.size(); ++i) {
      m_model->meshes[i].colors = m_colors[i].colors;
      m_model->meshes[i].colorsHaveAlpha = m_colors[i].haveAlpha;
    }
    hostkit::OverrideLook(options.look, *m_model);
  }
  m_options = options;
}

std::shared_ptr<hostkit::Scene> ShownSubject::Make(const Imath::Box3f& bounds) {
  // The pictures, which cannot be copied, go from one to the next.
  if (m_cut) m_model->images = std::move(m_cut->images);
  m_cut.reset();
  if (!m_options.section) return m_model;
  m_plane = gl3::PlaneOf(*m_options.section, bounds, m_model->origin);
  m_cut = std::make_shared<hostkit::Scene>(hostkit::CopyAsPosed(*m_model));
  m_cut->images = std::move(m_model->images);
  hostkit::CutScene(m_plane, m_options.sectionColor, *m_cut);
  return m_cut;
}

}  // namespace view
