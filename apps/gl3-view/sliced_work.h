// Work on the thread of the user interface that lets events in between.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace view {

/// A function on a stack of its own: it stops wherever it calls Pause, and goes on from there. All
/// of it happens on one thread, so that what belongs to a thread, such as an OpenGL context, stays.
/// The function must not let exceptions out.
class SlicedWork {
 public:
  /// Begins with the first Continue. Null without memory for the stack.
  static std::unique_ptr<SlicedWork> Create(std::function<void()> work);
  /// Stops the work.
  ~SlicedWork();
  SlicedWork(const SlicedWork&) = delete;
  SlicedWork& operator=(const SlicedWork&) = delete;

  /// Goes on until the work pauses or is done. Returns whether it is done.
  bool Continue();
  /// Has the work come to its end: from now on its pauses last no time and say false.
  void Stop();

  /// For the work: back to who called Continue or Stop. Returns whether to go on when the next
  /// Continue comes.
  bool Pause();

 private:
  struct State;
  explicit SlicedWork(std::unique_ptr<State> state);

  std::unique_ptr<State> m_state;
};

}  // namespace view
