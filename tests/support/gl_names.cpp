// Names of GL enumerants, for logs of calls.
#include "tests/support/gl_names.h"

#include <fmt/format.h>

#include <array>
#include <initializer_list>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<GLenum, std::string>>;

/// Values with their names, which `text` holds separated by commas.
Pairs PairNames(const char* text, std::initializer_list<GLenum> values) {
  Pairs pairs;
  std::istringstream stream(text);
  for (const GLenum value : values) {
    std::string name;
    std::getline(stream >> std::ws, name, ',');
    pairs.emplace_back(value, name);
  }
  return pairs;
}

#define GL3_NAMED(...) PairNames(#__VA_ARGS__, {__VA_ARGS__})

const std::map<GLenum, std::string>& Names() {
  static const Pairs pairs = GL3_NAMED(
      GL_NEVER, GL_LEQUAL, GL_GREATER, GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_FRONT, GL_BACK,
      GL_FRONT_AND_BACK, GL_CW, GL_POINT_SMOOTH, GL_LINE_SMOOTH, GL_CULL_FACE, GL_LIGHTING,
      GL_LIGHT_MODEL_TWO_SIDE, GL_LIGHT_MODEL_AMBIENT, GL_LIGHT_MODEL_LOCAL_VIEWER,
      GL_LIGHT_MODEL_COLOR_CONTROL, GL_SEPARATE_SPECULAR_COLOR, GL_FOG, GL_FOG_DENSITY,
      GL_FOG_START, GL_FOG_END, GL_FOG_MODE, GL_FOG_COLOR, GL_FOG_HINT, GL_EXP, GL_DEPTH_TEST,
      GL_PROJECTION_MATRIX, GL_BLEND, GL_ALPHA_TEST, GL_SCISSOR_TEST, GL_POINT_SMOOTH_HINT,
      GL_LINE_SMOOTH_HINT, GL_POLYGON_SMOOTH_HINT, GL_PACK_ALIGNMENT, GL_UNPACK_ALIGNMENT,
      GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS, GL_MAX_LIGHTS,
      GL_MAX_TEXTURE_SIZE, GL_TEXTURE_1D, GL_TEXTURE_2D, GL_PROXY_TEXTURE_2D, GL_TEXTURE_WIDTH,
      GL_TEXTURE_HEIGHT, GL_TEXTURE_BORDER_COLOR, GL_TEXTURE_COMPRESSED, GL_TEXTURE_RECTANGLE_EXT,
      GL_FASTEST, GL_NICEST, GL_LIGHT0, GL_LIGHT1, GL_LIGHT2, GL_LIGHT3, GL_LIGHT4, GL_LIGHT5,
      GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_POSITION, GL_SPOT_DIRECTION, GL_SPOT_EXPONENT,
      GL_SPOT_CUTOFF, GL_CONSTANT_ATTENUATION, GL_LINEAR_ATTENUATION, GL_QUADRATIC_ATTENUATION,
      GL_SHININESS, GL_UNSIGNED_BYTE, GL_UNSIGNED_SHORT, GL_UNSIGNED_INT, GL_FLOAT, GL_MODELVIEW,
      GL_PROJECTION, GL_TEXTURE, GL_DEPTH_COMPONENT, GL_RGB, GL_RGBA, GL_BGR, GL_BGRA, GL_LUMINANCE,
      GL_RGBA8, GL_COMPRESSED_RGBA, GL_LINE, GL_FILL, GL_VENDOR, GL_RENDERER, GL_VERSION,
      GL_EXTENSIONS, GL_SHADING_LANGUAGE_VERSION, GL_MODULATE, GL_TEXTURE_ENV_MODE, GL_TEXTURE_ENV,
      GL_NEAREST, GL_LINEAR, GL_TEXTURE_MAG_FILTER, GL_TEXTURE_MIN_FILTER, GL_TEXTURE_WRAP_S,
      GL_TEXTURE_WRAP_T, GL_CLAMP, GL_REPEAT, GL_CLAMP_TO_EDGE, GL_CLAMP_TO_BORDER,
      GL_TEXTURE_MAX_ANISOTROPY_EXT, GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, GL_POLYGON_OFFSET_FILL,
      GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_COLOR_ARRAY, GL_TEXTURE_COORD_ARRAY);
  static const std::map<GLenum, std::string> names(pairs.begin(), pairs.end());
  return names;
}

}  // namespace

std::string EnumName(GLenum value) {
  const auto found = Names().find(value);
  if (found != Names().end()) return found->second;
  return value < 0x100 ? fmt::format("{}", value) : fmt::format("{:#x}", value);
}

std::string PrimitiveName(GLenum value) {
  static constexpr std::array kNames = {
      "GL_POINTS",         "GL_LINES",        "GL_LINE_LOOP", "GL_LINE_STRIP", "GL_TRIANGLES",
      "GL_TRIANGLE_STRIP", "GL_TRIANGLE_FAN", "GL_QUADS",     "GL_QUAD_STRIP", "GL_POLYGON"};
  return value < kNames.size() ? kNames.at(value) : EnumName(value);
}

std::string BlendFactorName(GLenum value) {
  if (value == GL_ZERO) return "GL_ZERO";
  return value == GL_ONE ? "GL_ONE" : EnumName(value);
}

std::string AttribMaskName(GLbitfield mask) {
  static const Pairs bits = GL3_NAMED(GL_COLOR_BUFFER_BIT, GL_DEPTH_BUFFER_BIT, GL_LIST_BIT);
  std::string text;
  for (const auto& [bit, name] : bits) {
    if ((mask & bit) == 0) continue;
    text += (text.empty() ? "" : "|") + name;
    mask &= ~bit;
  }
  if (mask != 0 || text.empty()) text += fmt::format("{}{:#x}", text.empty() ? "" : "|", mask);
  return text;
}
