// What is asked of every call, and how misuses are told.
#include "hostkit/checking/visit.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <utility>

#include "hostkit/checking/gl_errors.h"

namespace hostkit::checking {
namespace {

/// Calls of the interface that are under way on this thread.
thread_local int g_depth = 0;

/// Goes with its thread.
struct Presence {
  std::shared_ptr<std::atomic<bool>> lives = std::make_shared<std::atomic<bool>>(true);
  Presence() = default;
  Presence(const Presence&) = delete;
  Presence& operator=(const Presence&) = delete;
  ~Presence() { *lives = false; }
};
thread_local const Presence kPresence;

struct Listener {
  MisuseCallback callback = nullptr;
  void* userData = nullptr;
};
std::mutex g_listenerMutex;
Listener g_listener;

void Print(const Misuse& misuse) {
  const std::string line = fmt::format("GL3_CHECK: {}: {}: {}; {}\n", misuse.name, misuse.operation,
                                       misuse.values, misuse.remedy);
  std::fputs(line.c_str(), stderr);
}

/// What the callback throws ends the process, as MisuseCallback says.
void Tell(const Misuse& misuse) noexcept {
  Listener listener;
  {
    const std::lock_guard lock(g_listenerMutex);
    listener = g_listener;
  }
  listener.callback ? listener.callback(misuse, listener.userData) : Print(misuse);
}

/// What one mistake makes of every call that follows.
bool IsOfEveryCall(Kind kind) {
  constexpr Kind kKinds[] = {Kind::kBeforeInitialize, Kind::kSecondThread, Kind::kNoSurface,
                             Kind::kSurfaceFailed, Kind::kNoProjection};
  return std::find(std::begin(kKinds), std::end(kKinds), kind) != std::end(kKinds);
}

void CheckSurface(Visit& visit, const BufferState& buffer) {
  if (buffer.surface == BufferState::Surface::kFailed) {
    visit.Note(Kind::kSurfaceFailed, fmt::format("the buffer's Reallocate({}, {}) answered 0",
                                                 buffer.width, buffer.height));
  } else if (buffer.surface == BufferState::Surface::kNone) {
    visit.Note(Kind::kNoSurface, "the buffer has no surface");
  }
}

void CheckProjection(Visit& visit, const BufferState& buffer) {
  if (buffer.surface != BufferState::Surface::kReady) return;
  if (!buffer.isProjected) {
    visit.Note(Kind::kNoProjection, "no projection was computed since the buffer's Reallocate");
  } else if (buffer.info && ViewOf(*buffer.info) != buffer.view) {
    visit.Note(Kind::kViewChanged, "the view is another than that of ComputeProjectionMatrices");
  }
}

/// What is asked of the buffer that is drawn into.
void CheckTarget(Visit& visit, const BufferState& buffer) {
  if (visit.Has(kSurface)) CheckSurface(visit, buffer);
  if (visit.Has(kProjected)) CheckProjection(visit, buffer);
  if (visit.Has(kInContext) && buffer.context && buffer.context != CGLGetCurrentContext()) {
    visit.Note(Kind::kOtherContext,
               "the context that is current is not this buffer's: another buffer was used since, "
               "or a texture made or freed");
  }
}

void CheckBlock(Visit& visit, const ListState& list) {
  if (visit.Has(kInBlock) && !list.isBlockOpen) visit.Note(Kind::kNoBlock, "no block is open");
  if (visit.Has(kOutOfBlock) && list.isBlockOpen) visit.Note(Kind::kBlockOpen, "a block is open");
}

}  // namespace

void SetListener(MisuseCallback callback, void* userData) {
  const std::lock_guard lock(g_listenerMutex);
  g_listener = {callback, userData};
}

Visit::Visit(const char* operation, unsigned rules)
    : m_operation(operation), m_rules(rules), m_isOfHost(g_depth++ == 0) {}

Visit::~Visit() {
  --g_depth;
}

void Visit::Note(Kind kind, std::string values) {
  if (!m_isOfHost) return;
  if (kind == Kind::kBlockOpen) m_isInOpenBlock = true;
  const bool once = IsOfEveryCall(kind);
  if (m_session.told.emplace(kind, once ? std::string_view() : m_operation).second) {
    Add(kind, std::move(values));
  } else if (once) {
    ++m_session.repeats[kind];
  }
}

void Visit::NoteRepeats() {
  if (!m_isOfHost) return;
  for (const auto& [kind, calls] : std::exchange(m_session.repeats, {})) {
    Add(kind, fmt::format("so it was {} times more", calls));
  }
}

void Visit::Add(Kind kind, std::string values) {
  const MisuseText& text = kMisuseTexts[static_cast<std::size_t>(kind)];
  m_noted.push_back({text.name, m_operation, std::move(values), text.remedy});
}

void Visit::Lock() {
  m_lock = std::unique_lock(m_session.mutex);
  CheckThread();
}

void Visit::Unlock() {
  m_lock.unlock();
  for (const Misuse& misuse : std::exchange(m_noted, {})) Tell(misuse);
}

/// The thread that calls is the drawing thread, as long as it runs.
void Visit::CheckThread() {
  if (!m_isOfHost || Has(kAnyThread)) return;
  DriverState& driver = m_session.driver;
  const std::thread::id self = std::this_thread::get_id();
  if (driver.thread == self) return;
  if (driver.threadLives && *driver.threadLives) {
    Note(Kind::kSecondThread, "another thread has made the calls before, and still runs");
    return;
  }
  driver.thread = self;
  driver.threadLives = kPresence.lives;
}

void Visit::NoteGlErrors() {
  for (std::string& error : TakeGlErrors(Has(kNewContext), !m_session.IsBlockOpen())) {
    if (!m_isInOpenBlock) Note(Kind::kGlError, std::move(error));
  }
}

void CheckBefore(Visit&, const GADriver&) {}
void CheckBefore(Visit&, const GAShaderProgram&) {}
void CheckBefore(Visit&, const GATexture&) {}

void CheckBefore(Visit& visit, const GABuffer& self) {
  const BufferState* buffer = visit.State().Find(&self);
  if (!buffer) return;
  CheckTarget(visit, *buffer);
  const ListState* list = visit.State().ListOf(*buffer);
  if (!list) return;
  CheckBlock(visit, *list);
  if (!visit.Has(kReadsPicture)) return;
  if (list->batchesWait) visit.Note(Kind::kBatchesWait, "what waits in batches is not drawn yet");
  if (buffer->glassWaits) visit.Note(Kind::kGlassWaits, "what is transparent is not drawn yet");
}

void CheckBefore(Visit& visit, const DisplayList& self) {
  const ListState* list = visit.State().Find(&self);
  if (!list) return;
  const BufferState* buffer = visit.State().BufferOf(*list);
  if (!buffer) {
    visit.Note(Kind::kListAfterBuffer, "the list's buffer is deleted");
    return;
  }
  if (list->info->buffer != list->buffer) {
    visit.Note(Kind::kBufferExchanged, "RenderInfo::buffer is not that of when the list was made");
  }
  if (visit.Has(kInFrame) && !list->isInFrame) {
    visit.Note(Kind::kOutsideFrame,
               "there was no BeginInstructions since the last EndInstructions");
  }
  CheckTarget(visit, *buffer);
  CheckBlock(visit, *list);
}

void KeepAfter(Visit& visit, const GADriver&) {
  visit.NoteGlErrors();
}
void KeepAfter(Visit& visit, const GAShaderProgram&) {
  visit.NoteGlErrors();
}
void KeepAfter(Visit& visit, const GATexture&) {
  visit.NoteGlErrors();
}

void KeepAfter(Visit& visit, const GABuffer& self) {
  BufferState* buffer = visit.State().Find(&self);
  if (buffer && visit.Has(kMakesCurrent)) buffer->context = CGLGetCurrentContext();
  visit.NoteGlErrors();
}

void KeepAfter(Visit& visit, const DisplayList& self) {
  ListState* list = visit.State().Find(&self);
  if (list && visit.Has(kClosesBlock)) list->isBlockOpen = false;
  if (list && visit.Has(kBatches)) list->batchesWait = true;
  if (list && visit.Has(kFlushes)) list->batchesWait = false;
  visit.NoteGlErrors();
}

}  // namespace hostkit::checking
