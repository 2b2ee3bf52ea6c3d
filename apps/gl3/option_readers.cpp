// Adding options to a parser: how their values are read, and what is said about wrong ones.
#include "apps/gl3/option_readers.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <utility>

namespace gl3 {

CLI::Option* AddOption(CLI::App& app, const std::string& names, const std::string& type,
                       const std::string& help, Reader read) {
  const std::string shown = names.substr(names.find("--"));
  const auto apply = [shown, read = std::move(read)](const std::string& text) {
    std::string error;
    if (!read(text, &error)) throw CLI::ValidationError(shown, error);
  };
  return app.add_option_function<std::string>(names, apply, help)->type_name(type)->take_last();
}

Reader IntegerReader(int least, int most, int* number) {
  return [=](const std::string& text, std::string* error) {
    int value = 0;
    if (ParseInteger(text, &value) && value >= least && value <= most) {
      *number = value;
      return true;
    }
    *error = fmt::format("{} is out of range; give a whole number from {} to {}", ShellQuote(text),
                         least, most);
    return false;
  };
}

}  // namespace gl3
