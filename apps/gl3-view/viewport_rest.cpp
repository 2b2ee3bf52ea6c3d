// The picture at rest, which is made between other events.
#include <new>
#include <utility>

#include "apps/gl3-view/texts.h"
#include "apps/gl3-view/viewport.h"
#include "platform/agl.h"

namespace view {
namespace {

// How long other events wait for a slice of it at most, but for what cannot be cut.
constexpr int kSliceMilliseconds = 8;

constexpr const char* kNoMemory = TrMark("memory ran out; make the window smaller");

}  // namespace

/// Whether a saved picture would differ from the frame, and can be shown in its place: where the
/// driver outlines polygons it outlines pictures, too.
bool Viewport::CanRefine() const {
  if (m_driverOutlines) return false;
  return m_isReduced || m_settings.samplesPerSide > 1 || !m_options.effects.calls.empty() ||
         m_settings.backdrop;
}

bool Viewport::Refine(std::string* error) {
  QElapsedTimer watch;
  watch.start();
  const gl3::RenderOptions options = Options();
  hostkit::FrameSettings settings = m_settings;
  settings.width = options.width;
  settings.height = options.height;
  const hostkit::Picture picture =
      m_scene->Render(options, settings, *m_effects, error, [this] { return PauseRefining(); });
  if (!picture.bitmap) return false;
  m_refineMilliseconds = static_cast<double>(watch.nsecsElapsed()) / 1e6;
  auto shown = std::make_unique<PictureShow>(m_driver);
  if (!shown->Take(picture)) {
    *error = Tr(kNoMemory).toStdString();
    return false;
  }
  m_refined = std::move(shown);
  return true;
}

void Viewport::BeginRefining() {
  StopRefining();
  m_refineError.clear();
  if (!m_scene || !EnsureSurface(&m_refineError)) return;
  if (!FitBackdrop(&m_refineError)) return Tell(false, {}, m_refineError);
  m_isRefined = false;
  m_work = SlicedWork::Create([this] {
    try {
      m_isRefined = Refine(&m_refineError);
    } catch (const std::bad_alloc&) {
      m_refineError = Tr(kNoMemory).toStdString();
    }
  });
  if (!m_work) return Tell(false, {}, Tr("memory ran out; close other programs").toStdString());
  m_slices.start(0);
}

void Viewport::GoOnRefining() {
  m_slice.start();
  if (!m_work || !m_work->Continue()) return;
  m_slices.stop();
  m_work.reset();
  if (m_isRefined) {
    DrawFrame();
  } else if (m_refineError.empty()) {
    m_rest.start();  // it was in the way of something else
  } else {
    Tell(false, {}, m_refineError);
  }
}

/// Throws away what there is of the picture at rest while it is being made. Where nothing is to be
/// drawn before it, it is begun anew later.
void Viewport::StopRefining() {
  if (!m_work) return;
  m_slices.stop();
  const std::unique_ptr<SlicedWork> work = std::exchange(m_work, nullptr);
  work->Stop();
  m_rest.start();
}

/// Within the work: lets other events in when its slice is over.
bool Viewport::PauseRefining() {
  if (!m_work) return false;  // it is being stopped
  if (!m_slice.hasExpired(kSliceMilliseconds)) return true;
  const AGLContext context = aglGetCurrentContext();
  // What asks OpenGL something in between, such as a report, may leave another context.
  return m_work->Pause() && aglGetCurrentContext() == context;
}

}  // namespace view
