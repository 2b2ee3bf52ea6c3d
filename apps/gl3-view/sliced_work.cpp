// Work on the thread of the user interface that lets events in between.
#include "apps/gl3-view/sliced_work.h"

#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define GL3_HAS_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define GL3_HAS_ADDRESS_SANITIZER 1
#endif
#endif
#ifdef GL3_HAS_ADDRESS_SANITIZER
#include <sanitizer/common_interface_defs.h>
#endif

namespace view {
namespace {

// As much as a main thread has: a software renderer compiles its shaders on it. Pages cost nothing
// until they are used.
constexpr std::size_t kStackBytes = std::size_t{8} << 20;

/// Memory for a stack, with a page at its end that nobody may touch.
class StackMemory {
 public:
  StackMemory()
      : m_memory(mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0)) {
    if (IsThere()) mprotect(m_memory, static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), PROT_NONE);
  }
  ~StackMemory() {
    if (IsThere()) munmap(m_memory, kStackBytes);
  }
  StackMemory(const StackMemory&) = delete;
  StackMemory& operator=(const StackMemory&) = delete;

  bool IsThere() const { return m_memory != MAP_FAILED; }
  void* Begin() const { return m_memory; }

 private:
  void* m_memory;
};

// The address sanitizer wants to be told of another stack.
struct OtherStack {
  const void* bottom = nullptr;
  std::size_t size = 0;
};

void LeaveStack([[maybe_unused]] void** keep, [[maybe_unused]] const OtherStack& to) {
#ifdef GL3_HAS_ADDRESS_SANITIZER
  __sanitizer_start_switch_fiber(keep, to.bottom, to.size);
#endif
}

void EnterStack([[maybe_unused]] void* kept, [[maybe_unused]] OtherStack* from) {
#ifdef GL3_HAS_ADDRESS_SANITIZER
  __sanitizer_finish_switch_fiber(kept, from ? &from->bottom : nullptr,
                                  from ? &from->size : nullptr);
#endif
}

}  // namespace

struct SlicedWork::State {
  std::function<void()> work;
  StackMemory stack;
  OtherStack caller;
  void *callersShadow = nullptr, *worksShadow = nullptr;
  ucontext_t outside{}, inside{};
  bool isDone = false, isWanted = true;

  void GoIn();
  void GoOut();
  void Run();
  static void Enter(unsigned high, unsigned low);
};

void SlicedWork::State::GoIn() {
  LeaveStack(&callersShadow, {stack.Begin(), kStackBytes});
  swapcontext(&outside, &inside);
  EnterStack(callersShadow, nullptr);
}

void SlicedWork::State::GoOut() {
  // Without a place to keep it in, the sanitizer gives up what it has for this stack.
  LeaveStack(isDone ? nullptr : &worksShadow, caller);
  swapcontext(&inside, &outside);
  EnterStack(worksShadow, &caller);
}

void SlicedWork::State::Run() {
  EnterStack(nullptr, &caller);
  if (isWanted) work();
  isDone = true;
  GoOut();
}

// A new context's arguments are ints.
void SlicedWork::State::Enter(unsigned high, unsigned low) {
  const std::uintptr_t address = static_cast<std::uintptr_t>(high) << 32 | low;
  reinterpret_cast<State*>(address)->Run();
}

SlicedWork::SlicedWork(std::unique_ptr<State> state) : m_state(std::move(state)) {}

SlicedWork::~SlicedWork() {
  Stop();
}

std::unique_ptr<SlicedWork> SlicedWork::Create(std::function<void()> work) {
  auto state = std::make_unique<State>();
  if (!state->stack.IsThere() || getcontext(&state->inside) != 0) return nullptr;
  state->work = std::move(work);
  state->inside.uc_stack.ss_sp = state->stack.Begin();
  state->inside.uc_stack.ss_size = kStackBytes;
  const auto address = reinterpret_cast<std::uintptr_t>(state.get());
  makecontext(&state->inside, reinterpret_cast<void (*)()>(State::Enter), 2,
              static_cast<unsigned>(address >> 32), static_cast<unsigned>(address));
  return std::unique_ptr<SlicedWork>(new SlicedWork(std::move(state)));
}

bool SlicedWork::Continue() {
  if (!m_state->isDone) m_state->GoIn();
  return m_state->isDone;
}

void SlicedWork::Stop() {
  m_state->isWanted = false;
  while (!Continue()) {
  }
}

bool SlicedWork::Pause() {
  if (m_state->isWanted) m_state->GoOut();
  return m_state->isWanted;
}

}  // namespace view
