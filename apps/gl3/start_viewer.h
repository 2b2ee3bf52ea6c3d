// Handing over to the viewer, which is a program of its own.
#pragma once

#include <string>
#include <vector>

namespace gl3 {

/// Becomes gl3-view with these arguments: the one beside this program, else the first on PATH.
/// Comes back only when it cannot be started: kRunFailed after a message that ends in `remedy`.
int StartViewer(const std::vector<std::string>& arguments, const std::string& remedy);

}  // namespace gl3
