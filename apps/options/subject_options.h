// What of a model is drawn, and what its surfaces are made to look like.
#pragma once

#include <Imath/ImathVec.h>

#include <optional>

#include "apps/base/messages.h"
#include "apps/options/option_parser.h"
#include "hostkit/scene/look_override.h"
#include "hostkit/scene/node_choice.h"

namespace gl3 {

/// A plane beyond which all is cut away, in the file's coordinates.
struct SectionOption {
  Imath::V3d normal{1, 0, 0};  ///< Unit length; points to what is cut away.
  double position = 0;         ///< Along it, world units; or a share of the model's extent.
  bool isShare = false;        ///< Which of the two, 0 to 1; along an axis alone.
};

struct SubjectOptions {
  hostkit::NodeChoice nodes;
  hostkit::LookOverride look;
  std::optional<SectionOption> section;
  Imath::V3f sectionColor{0xCC / 255.0f, 0x59 / 255.0f, 0x40 / 255.0f};  ///< Display-referred.
};

/// Adds the options to `parser`; parsing fills `*options`, which must live until then.
void AddSubjectOptions(const OptionParser& parser, SubjectOptions* options);

}  // namespace gl3
