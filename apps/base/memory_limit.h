// How much memory there is for this process.
#pragma once

#include <cstdint>
#include <string>

namespace gl3 {

/// The least limit, in bytes, that the control groups of this process set, by version 2
/// (memory.max) or version 1 (memory.limit_in_bytes) of their file system; 0 when none sets one.
/// `processes` and `groups` are the folders where the kernel shows processes and control groups.
/// Groups that cannot be seen, as those around a container, do not count.
std::uint64_t ControlGroupMemory(const std::string& processes = "/proc",
                                 const std::string& groups = "/sys/fs/cgroup");

/// The machine's memory in bytes, or the control groups' limit when that is less; 0 when unknown.
std::uint64_t UsableMemory(const std::string& processes = "/proc",
                           const std::string& groups = "/sys/fs/cgroup");

}  // namespace gl3
