// Other programs that people use for the same.
#pragma once

#include <string>

namespace bench {

/// A program that is looked for in PATH.
struct Peer {
  const char* name;
  const char* version;  ///< What makes it tell its version,
  const char* sign;     ///< the line of that which holds this.
};

/// The line by which the program says its version; empty when it is not there, or is another one.
std::string VersionOf(const Peer& peer);

}  // namespace bench
