// What a process may ask of the kernel, held by a filter of its system calls (seccomp).
#pragma once

#include <string>

#include "hostkit/confine/confine.h"

namespace hostkit {

/// Limits the calling thread, and those it starts, to the calls that confine.h tells. Needs
/// PR_SET_NO_NEW_PRIVS. Returns what is missing in a line, empty when nothing is.
std::string RestrictCalls(Confinement::Sockets sockets);

/// The same without doing it.
std::string CallsSupport();

}  // namespace hostkit
