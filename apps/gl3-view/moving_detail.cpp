// A model with less detail, for frames that would take too long while things move.
#include "apps/gl3-view/moving_detail.h"

#include <algorithm>
#include <exception>
#include <string>
#include <utility>

#include "apps/gl3-view/reduced_scene.h"

namespace view {
namespace {

// Smaller models are slow for other reasons than their triangles.
constexpr std::size_t kFewestParts = 50000, kPartsLeft = 20000;
// Of the time that a frame may take, what as many triangles of the whole model took: fewer ones
// cover the same pixels, so that each takes longer, and showing the frame takes its time, too. With
// 0.3, a frame of what is left of 2,000,000 triangles takes 42 ms of 50 on two processors without a
// GPU; with 0.6 it took more than 50.
constexpr double kShareOfLimit = 0.3;

/// Triangles and points, counted over instances.
std::size_t CountParts(const hostkit::Scene& scene) {
  std::size_t count = scene.TriangleCount();
  for (const hostkit::SceneInstance& instance : scene.instances) {
    count += scene.meshes[static_cast<std::size_t>(instance.mesh)].points.size();
  }
  return count;
}

}  // namespace

/// What the thread works on. The scene is its own until it has ended.
struct MovingDetail::Making {
  std::shared_ptr<const hostkit::Scene> model;
  double share = 1;
  std::atomic<bool> stop = false;
  std::unique_ptr<hostkit::Scene> scene;

  void Run() {
    try {
      FinishReduced(*model, share, stop, scene.get());
    } catch (const std::exception&) {  // no memory: then it goes on as it was
      scene.reset();
    }
  }
};

MovingDetail::~MovingDetail() {
  LetGo();
}

void MovingDetail::LetGo() {
  Forget();
  for (const std::unique_ptr<QThread>& thread : m_stopped) thread->wait();
  m_stopped.clear();
}

void MovingDetail::Took(const std::shared_ptr<const hostkit::Scene>& model, double milliseconds) {
  if (m_isAsked || milliseconds <= m_limit) return;
  const std::size_t parts = CountParts(*model);
  if (parts < kFewestParts) return;
  m_isAsked = true;
  m_making = std::make_shared<Making>();
  m_making->model = model;
  m_making->share = std::clamp(kShareOfLimit * m_limit / milliseconds,
                               static_cast<double>(kPartsLeft) / static_cast<double>(parts), 0.5);
  m_making->scene = BeginReduced(*model);
  m_thread.reset(QThread::create([making = m_making] { making->Run(); }));
  m_thread->start(QThread::LowPriority);
}

bool MovingDetail::Wait() {
  return m_scene || (m_thread && m_thread->wait());
}

SceneView* MovingDetail::Ready(GADriver* driver) {
  if (m_making && m_thread->isFinished()) {
    m_scene = std::move(m_making->scene);
    m_making.reset();
    m_thread.reset();
    if (m_scene) m_poser = std::make_unique<hostkit::ScenePoser>(*m_scene);
  }
  if (!m_scene) return nullptr;
  if (!m_view) {
    std::string error;
    m_view = SceneView::Create(driver, m_scene, m_scene, &error);
    if (!m_view) m_scene.reset();
  }
  if (m_view && !m_isPosed) {
    m_poser->Pose(m_animations, m_seconds);
    m_isPosed = true;
  }
  return m_view.get();
}

void MovingDetail::Pose(const std::vector<int>& animations, double seconds) {
  m_animations = animations;
  m_seconds = seconds;
  m_isPosed = false;
}

void MovingDetail::Forget() {
  if (m_making) m_making->stop = true;
  if (m_thread) m_stopped.push_back(std::move(m_thread));
  std::erase_if(m_stopped, [](const auto& thread) { return thread->isFinished(); });
  m_making.reset();
  m_view.reset();
  m_poser.reset();
  m_scene.reset();
  m_isAsked = false;
}

}  // namespace view
