// Effects on frames that were drawn.
#include "apps/work/render/effect_stage.h"

namespace gl3 {

bool EffectStage::Apply(GADriver* driver, const std::vector<hostkit::EffectCall>& calls,
                        hostkit::Picture* picture, std::string* error,
                        const hostkit::Pause& pause) {
  if (calls.empty()) return true;
  if (!m_runner) m_runner = hostkit::EffectRunner::Create(driver, {}, error);
  if (!m_runner) return false;
  bool clipped = false;  // never: what is drawn has 8 bits
  std::vector<hostkit::EffectStep> steps;
  return hostkit::ApplyEffects(*m_runner, calls, picture, &clipped, &steps, error, pause);
}

}  // namespace gl3
