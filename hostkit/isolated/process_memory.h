// How much memory a process takes.
#pragma once

#include <sys/types.h>

#include <cstdint>

namespace hostkit {

/// Bytes of memory that the process holds for itself or shares through no file; 0 when it is gone.
/// Not a limit of addresses: allocators and sanitizers reserve far more of them than they use.
std::uint64_t ProcessMemory(pid_t process);

}  // namespace hostkit
