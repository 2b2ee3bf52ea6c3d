// Which files a process may open, held by the kernel's Landlock.
#pragma once

#include <string>

#include "hostkit/confine/confine.h"

namespace hostkit {

/// The version of Landlock's interface that the kernel has, from 1. 0 with errno when there is
/// none.
int LandlockVersion();

/// Limits the calling thread, and those it starts, to the files of `confinement`. Needs
/// PR_SET_NO_NEW_PRIVS. Returns what is missing in a line, empty when nothing is.
std::string RestrictFiles(const Confinement& confinement);

/// The same without doing it.
std::string FilesSupport();

}  // namespace hostkit
