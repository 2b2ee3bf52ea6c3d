// The table of ways to draw, and the variables that make them.
#include "apps/work/compare/compare_drivers.h"

#include <fmt/format.h>

#include <utility>

namespace gl3 {
namespace {

using Variables = std::map<std::string, std::string>;

/// Variables that choose how Mesa renders in software: docs.mesa3d.org/envvars.html.
constexpr const char* kThreads = "LP_NUM_THREADS";
constexpr const char* kVectors = "LP_NATIVE_VECTOR_WIDTH";
constexpr const char* kRenderer = "GALLIUM_DRIVER";
constexpr const char* kVersion = "MESA_GL_VERSION_OVERRIDE";
constexpr const char* kExtensions = "MESA_EXTENSION_OVERRIDE";

/// What every way starts from: off the screen, whatever the user has set.
Variables Plain() {
  return {{"GL3_PLATFORM", "surfaceless"},
          {"GL3_DEVICE", ""},
          {"GL3_SURFACE", ""},
          {kThreads, ""},
          {kVectors, ""},
          {kRenderer, ""},
          {kVersion, ""},
          {kExtensions, ""}};
}

struct Variant {
  const char* name;
  const char* variable;
  const char* value;
};

constexpr Variant kVariants[] = {
    {"cpu, no threads", kThreads, "0"},
    {"cpu, 1 thread", kThreads, "1"},
    {"cpu, 8 threads", kThreads, "8"},
    {"cpu, 128-bit vectors", kVectors, "128"},
    {"cpu, 256-bit vectors", kVectors, "256"},
    {"cpu, softpipe", kRenderer, "softpipe"},
    {"cpu, OpenGL 2.1", kVersion, "2.1"},
    {"cpu, sides of powers of two", kExtensions, "-GL_ARB_texture_non_power_of_two"},
    {"cpu, older frame buffers", kExtensions, "-GL_ARB_framebuffer_object"},
    // Hides all extensions that Mesa has always: its overrides know these together alone.
    {"cpu, no depth textures", kExtensions, "-GL_ARB_depth_texture"},
    {"cpu, no anisotropic filters", kExtensions, "-GL_EXT_texture_filter_anisotropic"},
    {"cpu, no shaders", kExtensions,
     "-GL_ARB_shader_objects -GL_ARB_vertex_shader -GL_ARB_fragment_shader "
     "-GL_ARB_shading_language_100"},
};

std::string FolderName(const std::string& name) {
  std::string folder;
  for (const char c : name) {
    if (c == ',') continue;
    folder += c == ' ' || c == '.' ? '-' : c;
  }
  return folder;
}

CompareDriver Make(const std::string& name, const Variables& changes) {
  CompareDriver driver{name, FolderName(name), Plain()};
  for (const auto& [variable, value] : changes) driver.environment[variable] = value;
  return driver;
}

}  // namespace

std::vector<CompareDriver> ListCompareDrivers(int devices, const std::string& display) {
  std::vector<CompareDriver> drivers = {{"default", "default", {}}};
  for (int device = 0; device < devices; ++device) {
    drivers.push_back(Make(fmt::format("device {}", device),
                           {{"GL3_PLATFORM", "device"}, {"GL3_DEVICE", std::to_string(device)}}));
  }
  for (const Variant& variant : kVariants) {
    drivers.push_back(
        Make(variant.name, {{"GL3_DEVICE", "cpu"}, {variant.variable, variant.value}}));
  }
  if (display.empty()) return drivers;
  for (const char* const surface : {"pbuffer", "window"}) {
    drivers.push_back(
        Make(fmt::format("X server, {}s", surface),
             {{"GL3_PLATFORM", "x11"}, {"DISPLAY", display}, {"GL3_SURFACE", surface}}));
  }
  return drivers;
}

}  // namespace gl3
