// How pictures are written: the options that all verbs share which write some.
#pragma once

#include <string>

#include "apps/options/option_parser.h"
#include "hostkit/pictures/picture.h"

namespace gl3 {

/// Adds -o, --quality and --exr-encoding; parsing fills what they point to, which must live until
/// then. `more` goes behind the help of -o.
void AddPictureFileOptions(const OptionParser& parser, const std::string& more, std::string* output,
                           int* quality, hostkit::ExrEncoding* exrEncoding);

/// "WIDTHxHEIGHT" as pixels, and where `mayLackOne`, one side alone ("640x", "x480"), the other
/// being 0. False with what is wrong and the remedy.
bool ReadPictureSize(const std::string& text, bool mayLackOne, int* width, int* height,
                     std::string* error);

}  // namespace gl3
