// What is behind the model.
#pragma once

#include <string>

#include "apps/options/option_parser.h"

namespace gl3 {

struct BackgroundOption {
  float color[3] = {0.16f, 0.17f, 0.19f};  ///< Display-referred, 0 to 1; of a gradient its top.
  float bottom[3] = {0, 0, 0};             ///< Of a gradient.
  bool isGradient = false;
  bool isTransparent = false;
  std::string picture;  ///< A file that covers the frame; empty: none.
};

/// "COLOR", "TOP,BOTTOM", "transparent" or a picture's file. On failure returns false and says why.
bool ReadBackground(const std::string& text, BackgroundOption* background, std::string* error);

}  // namespace gl3
