// Choosing by name what of a scene is drawn.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// Patterns of names: * stands for any text and ? for one character of UTF-8. A placement is meant
/// by the names of its node, of those above it, and of its mesh.
struct NodeChoice {
  std::vector<std::string> only;  ///< Nothing else is left; empty: all is.
  std::vector<std::string> hide;  ///< Of what is left these go.
};

/// Whether the pattern describes all of `name`.
bool MatchesPattern(std::string_view pattern, std::string_view name);

/// Takes placements out of a scene, with what moves them; cameras and lights stay. False, and the
/// scene as it was, when a pattern means nothing that is placed: `*unmatched` is the first one.
bool ChooseNodes(const NodeChoice& choice, Scene& scene, std::string* unmatched);

/// The names that patterns can mean, each once, in the order of the file.
std::vector<std::string> PlacedNames(const Scene& scene);

/// Leaves those placements that `isKept`, with an entry for each, tells.
void KeepInstances(const std::vector<bool>& isKept, Scene& scene);

}  // namespace hostkit
