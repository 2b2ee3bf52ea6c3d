// The report of `gl3 info`: what this process knows of itself, and the text form.
#include "apps/work/info/info_report.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "apps/base/text.h"
#include "hostkit/services/module_loader.h"
#include "hostkit/services/module_settings.h"
#include "hostkit/services/registry.h"

namespace gl3 {
namespace {

/// The value of the first line `key=value` or `key : value` of a file, without quotes.
std::string ValueInFile(const char* path, std::string_view key) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.compare(0, key.size(), key) != 0) continue;
    const std::size_t begin = line.find_first_not_of("=: \t\"", key.size());
    if (begin == std::string::npos) return "";
    return line.substr(begin, line.find_last_not_of("\" ") - begin + 1);
  }
  return "";
}

/// Variables that the programs, the loader and the GL drivers look at.
Json Environment() {
  constexpr std::string_view kBeginnings[] = {"GL3_",
                                              "MESA_",
                                              "LIBGL_",
                                              "GALLIUM_",
                                              "LP_",
                                              "EGL_",
                                              "__EGL_",
                                              "__GLX_",
                                              "__GL_",
                                              "OMP_",
                                              "vblank_mode",
                                              "DRI_PRIME",
                                              "DISPLAY=",
                                              "WAYLAND_DISPLAY=",
                                              "XDG_CONFIG_HOME=",
                                              "HOME=",
                                              "LD_LIBRARY_PATH=",
                                              "LD_PRELOAD="};
  Json variables = Json::object();
  for (char** entry = environ; entry && *entry; ++entry) {
    const std::string_view text = *entry;
    const bool matters =
        std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                    [&](std::string_view b) { return text.substr(0, b.size()) == b; });
    const std::size_t equals = text.find('=');
    if (!matters || equals == std::string_view::npos) continue;
    variables[std::string(text.substr(0, equals))] = std::string(text.substr(equals + 1));
  }
  return variables;
}

std::string HeapName() {
  const auto version = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "mi_version"));
  if (!version) return "the C library's";
  const int number = version();
  return fmt::format("mimalloc {}.{}.{}", number / 100, number / 10 % 10, number % 10);
}

/// "textureSize" as "texture size".
std::string Words(const std::string& key) {
  std::string words;
  for (const char c : key) {
    if (std::isupper(static_cast<unsigned char>(c))) words += ' ';
    words += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return words;
}

std::string Scalar(const Json& value) {
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  return value.is_string() ? value.get<std::string>() : value.dump();
}

/// A way to reach OpenGL.
std::pair<std::string, std::string> ChoiceLine(const Json& choice) {
  const std::string mark = choice["chosen"] ? "* " : "  ";
  const std::string name = choice["name"], reason = choice["reason"];
  if (!choice.contains("number")) return {mark + name + " platform", reason};
  return {mark + "device " + choice["number"].dump(), name + ": " + reason};
}

void AddLines(const std::string& key, const Json& value, ReportLines* lines) {
  constexpr std::string_view kBytes = "Bytes";
  if (value.is_array()) {
    for (const Json& choice : value) lines->push_back(ChoiceLine(choice));
  } else if (value.is_object()) {
    // Names that are not ours: variables, keys of settings.
    for (const auto& [name, inner] : value.items()) lines->emplace_back(name, Scalar(inner));
  } else if (key.ends_with(kBytes)) {
    lines->emplace_back(Words(key.substr(0, key.size() - kBytes.size())),
                        FormatBytes(value.get<std::uint64_t>()));
  } else if (const std::string text = Scalar(value); !text.empty()) {
    lines->emplace_back(Words(key), text);
  }
}

/// "opengl" as "OpenGL".
std::string Title(const std::string& section) {
  if (section == "gl3") return section;
  if (section == "opengl") return "OpenGL";
  std::string title = Words(section);
  title[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[0])));
  return title;
}

}  // namespace

Json DescribeProgram(const InfoOptions& options) {
  std::error_code code;
  Json json = {{"version", GL3_VERSION},
               {"path", std::filesystem::read_symlink("/proc/self/exe", code).string()}};
  std::string error;
  const std::string module =
      options.run.module.empty() ? hostkit::FindModule(&error) : options.run.module;
  json["module"] = module.empty() ? error : module;
  return json;
}

Json DescribeSystem() {
  utsname names = {};
  uname(&names);
  const auto pages = static_cast<std::uint64_t>(std::max(sysconf(_SC_PHYS_PAGES), 0L));
  const auto pageSize = static_cast<std::uint64_t>(std::max(sysconf(_SC_PAGESIZE), 0L));
  return {{"system", ValueInFile("/etc/os-release", "PRETTY_NAME")},
          {"kernel", fmt::format("{} {} {}", names.sysname, names.release, names.machine)},
          {"processor", ValueInFile("/proc/cpuinfo", "model name")},
          {"processors", std::thread::hardware_concurrency()},
          {"memoryBytes", pages * pageSize},
          {"heap", HeapName()},
          {"environment", Environment()}};
}

Json DescribeSettings() {
  const hostkit::SettingsPlace place = hostkit::FindSettingsPlace();
  Json values = Json::object();
  for (const hostkit::ModuleSetting& setting : hostkit::ModuleSettings()) {
    values[setting.key] = hostkit::ReadModuleSetting(setting).value;
  }
  Json json = {{"file", place.path},
               {"exists", place.exists},
               {"writable", place.writable},
               {"reason", place.problem},
               {"trouble", hostkit::RegistryError()}};
  json["values"] = std::move(values);
  return json;
}

std::string Aligned(const ReportLines& lines) {
  std::size_t width = 0;
  for (const auto& [label, value] : lines) width = std::max(width, label.size());
  std::string text;
  for (const auto& [label, value] : lines) {
    text += fmt::format("  {:<{}}  ", label, width);
    for (const char c : value) {
      text += c;
      if (c == '\n') text += std::string(width + 4, ' ');
    }
    text += '\n';
  }
  return text;
}

std::string FormatInfo(const Json& report) {
  std::string text;
  for (const auto& [name, section] : report.items()) {
    if (!section.is_object()) continue;  // the long ones
    ReportLines lines;
    for (const auto& [key, value] : section.items()) AddLines(key, value, &lines);
    text += (text.empty() ? "" : "\n") + Title(name) + "\n" + Aligned(lines);
  }
  return text;
}

}  // namespace gl3
