// The model as it is drawn: without what is hidden, in other materials, cut open.
#pragma once

#include <Imath/ImathBox.h>

#include <memory>
#include <string>

#include "apps/base/messages.h"
#include "apps/options/subject_options.h"
#include "hostkit/frame/frame_renderer.h"
#include "hostkit/scene/scene.h"
#include "hostkit/scene/section.h"

namespace gl3 {

/// Takes out what is not to be drawn, and changes surfaces, before the scene is measured.
/// kWrongUsage with a message for names that mean nothing, or when nothing is left.
Outcome PrepareSubject(const SubjectOptions& options, hostkit::Scene* scene);

/// Where a section cuts. `bounds` are the whole model's, `origin` is the scene's.
hostkit::SectionPlane PlaneOf(const SectionOption& option, const Imath::Box3f& bounds,
                              const Imath::V3d& origin);

/// The renderer of a scene, and of what a section leaves of it.
class SubjectRenderer {
 public:
  /// `scene` must outlive it. `bounds` are the whole model's. A scene that `isMoving` is cut anew
  /// for each picture, or else once, here and for good. On failure returns null with the outcome;
  /// `*warning` is a line to tell, or stays empty.
  static std::unique_ptr<SubjectRenderer> Create(GADriver* driver, hostkit::Scene* scene,
                                                 const SubjectOptions& options,
                                                 const Imath::Box3f& bounds, bool isMoving,
                                                 Outcome* outcome, std::string* warning);

  /// Gets ready for the scene as it is posed now. On failure returns false with a line in `*error`.
  bool Update(std::string* error);
  /// As long as the scene is not posed anew.
  hostkit::FrameRenderer& Renderer() { return *m_renderer; }
  /// How long the upload took that all pictures share.
  double UploadMilliseconds() const { return m_renderer ? m_renderer->UploadMilliseconds() : 0; }
  /// What is drawn.
  const hostkit::Scene& Drawn() const { return m_isMoving ? m_cut : *m_scene; }

 private:
  SubjectRenderer() = default;

  GADriver* m_driver = nullptr;
  hostkit::Scene* m_scene = nullptr;
  bool m_isMoving = false;  // and cut
  hostkit::SectionPlane m_plane;
  Imath::V3f m_capColor{0, 0, 0};
  hostkit::Scene m_cut;
  std::unique_ptr<hostkit::FrameRenderer> m_renderer;
};

}  // namespace gl3
