// What is behind the model: reading the option.
#include "apps/options/background_option.h"

#include <cctype>
#include <filesystem>

#include "apps/options/option_readers.h"

namespace gl3 {
namespace {

/// Whether the text is meant for a file: no colour has a folder or a suffix that begins with a
/// letter.
bool IsFileName(const std::string& text) {
  const std::string suffix = std::filesystem::path(text).extension().string();
  const bool hasSuffix = suffix.size() > 1 && std::isalpha(static_cast<unsigned char>(suffix[1]));
  return hasSuffix || text.find('/') != std::string::npos;
}

/// Two colours with a comma between, which colours may have, too.
bool ReadGradient(const std::string& text, BackgroundOption* background) {
  std::string ignored;
  for (std::size_t comma = text.find(','); comma != std::string::npos;
       comma = text.find(',', comma + 1)) {
    if (ReadColor(text.substr(0, comma), background->color, &ignored) &&
        ReadColor(text.substr(comma + 1), background->bottom, &ignored)) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool ReadBackground(const std::string& text, BackgroundOption* background, std::string* error) {
  BackgroundOption read;
  read.isTransparent = text == "transparent";
  bool isGood = read.isTransparent;
  if (!isGood && IsFileName(text)) {
    read.picture = text;
    isGood = true;
  }
  if (!isGood) isGood = ReadColor(text, read.color, error);
  if (!isGood) isGood = read.isGradient = ReadGradient(text, &read);
  if (!isGood) {
    *error += "; or give two, TOP,BOTTOM, a picture's file, or transparent";
    return false;
  }
  error->clear();
  *background = read;
  return true;
}

}  // namespace gl3
