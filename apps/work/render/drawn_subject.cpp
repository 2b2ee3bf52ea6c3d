// The model as it is drawn: without what is hidden, in other materials, cut open.
#include "apps/work/render/drawn_subject.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "apps/base/text.h"

namespace gl3 {
namespace {

using hostkit::Scene;
using hostkit::SectionPlane;
using Imath::V3d;
using Imath::V3f;

Outcome WrongName(const std::string& pattern, const SubjectOptions& options, const Scene& scene) {
  constexpr std::size_t kMostNames = 8;
  const std::vector<std::string>& only = options.nodes.only;
  const char* option =
      std::find(only.begin(), only.end(), pattern) != only.end() ? "--only" : "--hide";
  std::vector<std::string> names = hostkit::PlacedNames(scene);
  const std::string nearest = NearestName(pattern, names);
  const std::size_t count = names.size();
  names.resize(std::min(count, kMostNames));
  const std::string known =
      count == 0
          ? "the model has no names, so leave it out"
          : fmt::format("the model has {}{}", JoinNames(names),
                        count > kMostNames ? fmt::format(" and {} more", count - kMostNames) : "");
  return {kWrongUsage,
          fmt::format("{}: nothing that is drawn is called {}; {}{}", option, ShellQuote(pattern),
                      nearest.empty() ? "" : "did you mean " + nearest + "? ", known)};
}

/// Where the model begins and ends along a direction, in the file's coordinates.
std::pair<double, double> ReachAlong(const V3d& normal, const Imath::Box3f& bounds,
                                     const V3d& origin) {
  std::pair<double, double> reach = {0, 0};
  for (int i = 0; i < 3; ++i) {
    const double low = bounds.min[i] + origin[i], high = bounds.max[i] + origin[i];
    reach.first += normal[i] * (normal[i] > 0 ? low : high);
    reach.second += normal[i] * (normal[i] > 0 ? high : low);
  }
  return reach;
}

std::string NothingLeft(const SectionOption& option, const Imath::Box3f& bounds,
                        const V3d& origin) {
  const auto [first, last] = ReachAlong(option.normal, bounds, origin);
  return fmt::format(
      "--section: all of the model lies beyond the plane, from {:.6g} to {:.6g} along "
      "its direction; move it, or cut the other side away",
      first, last);
}

/// What there is to tell of a plane that the model does not reach; empty where it does.
std::string BesideModel(const SectionOption& option, const Imath::Box3f& bounds,
                        const V3d& origin) {
  const auto [first, last] = ReachAlong(option.normal, bounds, origin);
  if (option.isShare) return "";
  if (option.position < first) return NothingLeft(option, bounds, origin);
  if (option.position <= last) return "";
  return fmt::format(
      "--section: the plane cuts nothing off the model, which lies from {:.6g} to {:.6g} along its "
      "direction; move it",
      first, last);
}

}  // namespace

SectionPlane PlaneOf(const SectionOption& option, const Imath::Box3f& bounds, const V3d& origin) {
  double position = option.position;
  if (option.isShare) {
    const auto [first, last] = ReachAlong(option.normal, bounds, origin);
    position = first + (last - first) * option.position;
  }
  return {option.normal, position - option.normal.dot(origin)};
}

Outcome PrepareSubject(const SubjectOptions& options, Scene* scene) {
  std::string unmatched;
  if (!hostkit::ChooseNodes(options.nodes, *scene, &unmatched)) {
    return WrongName(unmatched, options, *scene);
  }
  if (scene->instances.empty()) {
    const char* option = options.nodes.hide.empty() ? "--only" : "--hide";
    return {kWrongUsage,
            fmt::format("{}: nothing of the model is left to draw; hide less", option)};
  }
  hostkit::OverrideLook(options.look, *scene);
  return {};
}

std::unique_ptr<SubjectRenderer> SubjectRenderer::Create(GADriver* driver, Scene* scene,
                                                         const SubjectOptions& options,
                                                         const Imath::Box3f& bounds, bool isMoving,
                                                         Outcome* outcome, std::string* warning) {
  std::unique_ptr<SubjectRenderer> subject(new SubjectRenderer);
  subject->m_driver = driver;
  subject->m_scene = scene;
  subject->m_isMoving = isMoving && options.section;
  if (options.section) {
    subject->m_plane = PlaneOf(*options.section, bounds, scene->origin);
    subject->m_capColor = options.sectionColor;
    *warning = BesideModel(*options.section, bounds, scene->origin);
    Scene first;
    if (isMoving) first = CopyAsPosed(*scene);
    Scene& cut = isMoving ? first : *scene;
    if (!CutScene(subject->m_plane, options.sectionColor, cut)) {
      *warning = "--section: surfaces that are not closed where they are cut stay open there";
    }
    if (cut.instances.empty() && !isMoving) {
      *outcome = {kWrongUsage, NothingLeft(*options.section, bounds, scene->origin)};
      return nullptr;
    }
    if (isMoving) return subject;
  }
  std::string error;
  subject->m_renderer = hostkit::FrameRenderer::Create(driver, *scene, &error);
  if (subject->m_renderer) return subject;
  *outcome = {kRunFailed, error};
  return nullptr;
}

bool SubjectRenderer::Update(std::string* error) {
  if (!m_isMoving) return true;
  m_renderer.reset();
  // The pictures, which cannot be copied, go from one cut to the next.
  std::vector<hostkit::SceneImage> images =
      std::move(m_cut.images.empty() ? m_scene->images : m_cut.images);
  m_cut = CopyAsPosed(*m_scene);
  m_cut.images = std::move(images);
  CutScene(m_plane, m_capColor, m_cut);
  m_renderer = hostkit::FrameRenderer::Create(m_driver, m_cut, error);
  return m_renderer != nullptr;
}

}  // namespace gl3
