// Members of glTF's JSON that are of another kind than the format has.
#pragma once

#include <functional>
#include <string>

#include "hostkit/import/gltf/gltf_json.h"

namespace hostkit::gltf {

/// Calls `tell` with the name of each member that is, say, a text where the format has a number:
/// all readers take such ones for missing. What the format does not know is not looked at.
void FindOddKinds(Json root, const std::function<void(const std::string&)>& tell);

}  // namespace hostkit::gltf
