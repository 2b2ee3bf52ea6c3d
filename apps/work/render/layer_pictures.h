// Pictures that the viewer lays over and under its frames.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "host/Bitmap.h"

namespace gl3 {

/// Reads pictures by processes that can open their files alone and have limited time and memory;
/// for programs that have threads and OpenGL. What came of a file is remembered as long as the file
/// stays as it is, so that drawing again decodes nothing. One thread at a time.
class LayerPictures {
 public:
  /// A picture, upright and as bytes, which others have as well. With `mustBeConfined` nothing is
  /// decoded where the kernel lacks what confining takes. kUnreadableInput also when decoding
  /// crashed or went beyond its limits.
  Outcome Read(const std::string& path, bool mustBeConfined, std::shared_ptr<HBitmapNode>* bitmap);

 private:
  struct Known {
    std::string path, stamp;
    Outcome outcome;
    std::shared_ptr<HBitmapNode> bitmap;  // null when it cannot be read
  };
  void Forget();

  std::vector<Known> m_known;  // those that were asked for last at the end
};

}  // namespace gl3
