// Copies of ZIP archives with an entry changed.
#pragma once

#include <string>

#include "hostkit/import/archive.h"

namespace hostkit {

/// The archive with `bytes` as the entry that Archive::Read finds by that name, and all others as
/// they are. "" when one of them cannot be read, or there is none of that name.
std::string CopyArchive(const Archive& from, const std::string& name, const std::string& bytes);

}  // namespace hostkit
