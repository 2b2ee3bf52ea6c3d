// Effects on frames that were drawn.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hostkit/effects/effect_chain.h"

class GADriver;

namespace gl3 {

/// The effects of a run of frames. Without calls it does nothing and costs nothing. The driver must
/// outlive it.
class EffectStage {
 public:
  /// Puts a finished picture through `calls`, in place; a depth channel stays. On failure returns
  /// false with one line in `*error`, and the picture is as it was. `pause` as ApplyEffects takes
  /// it.
  bool Apply(GADriver* driver, const std::vector<hostkit::EffectCall>& calls,
             hostkit::Picture* picture, std::string* error, const hostkit::Pause& pause = {});

 private:
  std::unique_ptr<hostkit::EffectRunner> m_runner;  // of the first call's driver
};

}  // namespace gl3
