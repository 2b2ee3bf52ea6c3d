// Questions to OpenGL drivers, asked in a child process.
//
// A process has one display, and a driver may crash or hang in it. So each device is asked by a
// child, which tells what it finds out piece by piece: what was told before a crash counts.
#pragma once

#include <functional>
#include <string>

namespace gl3 {

/// How a child tells its parent something; the text holds no '\0'.
using Tell = std::function<void(const std::string& text)>;

/// Runs `work` in a child and hands every text that it tells to `hear`. The child's standard error
/// goes nowhere unless the user wants all to be told. Returns why the child did not come to its
/// end, as in "crashed (Segmentation fault)"; empty when it did. It is ended after
/// `timeoutSeconds` (0: never). Call with one thread and before OpenGL is loaded.
std::string RunProbe(double timeoutSeconds, const std::function<void(const Tell& tell)>& work,
                     const Tell& hear);

}  // namespace gl3
