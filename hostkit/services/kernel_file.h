// Files that the kernel makes up as they are read.
#pragma once

#include <linux/magic.h>
#include <sys/vfs.h>

#include <string>

namespace hostkit {

/// Whether a file is one of /proc or /sys, whose size says nothing of what can be read.
inline bool IsKernelFile(const std::string& path) {
  struct statfs system {};
  if (::statfs(path.c_str(), &system) != 0) return false;
  return system.f_type == PROC_SUPER_MAGIC || system.f_type == SYSFS_MAGIC;
}

}  // namespace hostkit
