// Pictures that go one after another through a pipe or to a file that is open already.
#pragma once

#include <string>

#include "hostkit/pictures/picture.h"

namespace hostkit {

/// Where they go.
struct StreamTarget {
  int descriptor = -1;  ///< Open and the caller's; -1: there is none.
  std::string name;     ///< For messages.
  /// Their kind: a suffix of WritePicture without its dot, or rows of bytes alone, the top one
  /// first: "rgb24" (red, green, blue, on black) or "rgba" (alpha as well, straight).
  std::string kind;
  std::string whenGone;  ///< What is told when its reader has gone; empty: the usual words.

  bool IsOpen() const { return descriptor >= 0; }
};

/// Whether there is such a kind; else false with one line in `*error` that lists them.
bool IsStreamKindKnown(const std::string& kind, std::string* error);

/// Writes a picture to the end of what was written before; it waits for a slow reader. On failure,
/// also where the reader has gone, returns false, and `*error` names the target, the reason and the
/// remedy; part of the picture may be written then. SIGPIPE must be ignored.
bool StreamPicture(const StreamTarget& target, const Picture& picture, const Recipe& recipe,
                   const PictureOptions& options, std::string* error);

}  // namespace hostkit
