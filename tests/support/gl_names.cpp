// Names of GL enumerants, for logs of calls.
#include "tests/support/gl_names.h"

#include <fmt/format.h>

#include <array>
#include <map>

namespace {

#define GL3_NAME(name) \
  { name, #name }

const std::map<GLenum, const char*>& Names() {
  static const std::map<GLenum, const char*> names = {GL3_NAME(GL_NEVER),
                                                      GL3_NAME(GL_LESS),
                                                      GL3_NAME(GL_EQUAL),
                                                      GL3_NAME(GL_LEQUAL),
                                                      GL3_NAME(GL_GREATER),
                                                      GL3_NAME(GL_NOTEQUAL),
                                                      GL3_NAME(GL_GEQUAL),
                                                      GL3_NAME(GL_ALWAYS),
                                                      GL3_NAME(GL_SRC_COLOR),
                                                      GL3_NAME(GL_ONE_MINUS_SRC_COLOR),
                                                      GL3_NAME(GL_SRC_ALPHA),
                                                      GL3_NAME(GL_ONE_MINUS_SRC_ALPHA),
                                                      GL3_NAME(GL_DST_ALPHA),
                                                      GL3_NAME(GL_ONE_MINUS_DST_ALPHA),
                                                      GL3_NAME(GL_DST_COLOR),
                                                      GL3_NAME(GL_ONE_MINUS_DST_COLOR),
                                                      GL3_NAME(GL_FRONT),
                                                      GL3_NAME(GL_BACK),
                                                      GL3_NAME(GL_FRONT_AND_BACK),
                                                      GL3_NAME(GL_CW),
                                                      GL3_NAME(GL_CCW),
                                                      GL3_NAME(GL_POINT_SMOOTH),
                                                      GL3_NAME(GL_LINE_SMOOTH),
                                                      GL3_NAME(GL_LINE_STIPPLE),
                                                      GL3_NAME(GL_POLYGON_SMOOTH),
                                                      GL3_NAME(GL_CULL_FACE),
                                                      GL3_NAME(GL_LIGHTING),
                                                      GL3_NAME(GL_LIGHT_MODEL_TWO_SIDE),
                                                      GL3_NAME(GL_LIGHT_MODEL_AMBIENT),
                                                      GL3_NAME(GL_LIGHT_MODEL_LOCAL_VIEWER),
                                                      GL3_NAME(GL_LIGHT_MODEL_COLOR_CONTROL),
                                                      GL3_NAME(GL_SEPARATE_SPECULAR_COLOR),
                                                      GL3_NAME(GL_SINGLE_COLOR),
                                                      GL3_NAME(GL_COLOR_MATERIAL),
                                                      GL3_NAME(GL_FOG),
                                                      GL3_NAME(GL_FOG_DENSITY),
                                                      GL3_NAME(GL_FOG_START),
                                                      GL3_NAME(GL_FOG_END),
                                                      GL3_NAME(GL_FOG_MODE),
                                                      GL3_NAME(GL_FOG_COLOR),
                                                      GL3_NAME(GL_FOG_HINT),
                                                      GL3_NAME(GL_EXP),
                                                      GL3_NAME(GL_EXP2),
                                                      GL3_NAME(GL_DEPTH_TEST),
                                                      GL3_NAME(GL_STENCIL_TEST),
                                                      GL3_NAME(GL_NORMALIZE),
                                                      GL3_NAME(GL_VIEWPORT),
                                                      GL3_NAME(GL_MODELVIEW_MATRIX),
                                                      GL3_NAME(GL_PROJECTION_MATRIX),
                                                      GL3_NAME(GL_MATRIX_MODE),
                                                      GL3_NAME(GL_DITHER),
                                                      GL3_NAME(GL_BLEND),
                                                      GL3_NAME(GL_ALPHA_TEST),
                                                      GL3_NAME(GL_SCISSOR_TEST),
                                                      GL3_NAME(GL_PERSPECTIVE_CORRECTION_HINT),
                                                      GL3_NAME(GL_POINT_SMOOTH_HINT),
                                                      GL3_NAME(GL_LINE_SMOOTH_HINT),
                                                      GL3_NAME(GL_POLYGON_SMOOTH_HINT),
                                                      GL3_NAME(GL_PACK_ALIGNMENT),
                                                      GL3_NAME(GL_UNPACK_ALIGNMENT),
                                                      GL3_NAME(GL_PACK_ROW_LENGTH),
                                                      GL3_NAME(GL_PACK_SKIP_PIXELS),
                                                      GL3_NAME(GL_PACK_SKIP_ROWS),
                                                      GL3_NAME(GL_UNPACK_ROW_LENGTH),
                                                      GL3_NAME(GL_MAX_LIGHTS),
                                                      GL3_NAME(GL_MAX_TEXTURE_SIZE),
                                                      GL3_NAME(GL_DEPTH_BITS),
                                                      GL3_NAME(GL_TEXTURE_1D),
                                                      GL3_NAME(GL_TEXTURE_2D),
                                                      GL3_NAME(GL_PROXY_TEXTURE_2D),
                                                      GL3_NAME(GL_TEXTURE_WIDTH),
                                                      GL3_NAME(GL_TEXTURE_HEIGHT),
                                                      GL3_NAME(GL_TEXTURE_BORDER_COLOR),
                                                      GL3_NAME(GL_TEXTURE_COMPRESSED),
                                                      GL3_NAME(GL_TEXTURE_RECTANGLE_EXT),
                                                      GL3_NAME(GL_DONT_CARE),
                                                      GL3_NAME(GL_FASTEST),
                                                      GL3_NAME(GL_NICEST),
                                                      GL3_NAME(GL_LIGHT0),
                                                      GL3_NAME(GL_LIGHT1),
                                                      GL3_NAME(GL_LIGHT2),
                                                      GL3_NAME(GL_LIGHT3),
                                                      GL3_NAME(GL_LIGHT4),
                                                      GL3_NAME(GL_LIGHT5),
                                                      GL3_NAME(GL_LIGHT6),
                                                      GL3_NAME(GL_LIGHT7),
                                                      GL3_NAME(GL_AMBIENT),
                                                      GL3_NAME(GL_DIFFUSE),
                                                      GL3_NAME(GL_SPECULAR),
                                                      GL3_NAME(GL_POSITION),
                                                      GL3_NAME(GL_SPOT_DIRECTION),
                                                      GL3_NAME(GL_SPOT_EXPONENT),
                                                      GL3_NAME(GL_SPOT_CUTOFF),
                                                      GL3_NAME(GL_CONSTANT_ATTENUATION),
                                                      GL3_NAME(GL_LINEAR_ATTENUATION),
                                                      GL3_NAME(GL_QUADRATIC_ATTENUATION),
                                                      GL3_NAME(GL_EMISSION),
                                                      GL3_NAME(GL_SHININESS),
                                                      GL3_NAME(GL_AMBIENT_AND_DIFFUSE),
                                                      GL3_NAME(GL_BYTE),
                                                      GL3_NAME(GL_UNSIGNED_BYTE),
                                                      GL3_NAME(GL_SHORT),
                                                      GL3_NAME(GL_UNSIGNED_SHORT),
                                                      GL3_NAME(GL_INT),
                                                      GL3_NAME(GL_UNSIGNED_INT),
                                                      GL3_NAME(GL_FLOAT),
                                                      GL3_NAME(GL_HALF_FLOAT),
                                                      GL3_NAME(GL_MODELVIEW),
                                                      GL3_NAME(GL_PROJECTION),
                                                      GL3_NAME(GL_TEXTURE),
                                                      GL3_NAME(GL_COLOR),
                                                      GL3_NAME(GL_DEPTH),
                                                      GL3_NAME(GL_DEPTH_COMPONENT),
                                                      GL3_NAME(GL_RED),
                                                      GL3_NAME(GL_ALPHA),
                                                      GL3_NAME(GL_RGB),
                                                      GL3_NAME(GL_RGBA),
                                                      GL3_NAME(GL_BGR),
                                                      GL3_NAME(GL_BGRA),
                                                      GL3_NAME(GL_LUMINANCE),
                                                      GL3_NAME(GL_RGB8),
                                                      GL3_NAME(GL_RGBA8),
                                                      GL3_NAME(GL_COMPRESSED_RGB),
                                                      GL3_NAME(GL_COMPRESSED_RGBA),
                                                      GL3_NAME(GL_POINT),
                                                      GL3_NAME(GL_LINE),
                                                      GL3_NAME(GL_FILL),
                                                      GL3_NAME(GL_FLAT),
                                                      GL3_NAME(GL_SMOOTH),
                                                      GL3_NAME(GL_KEEP),
                                                      GL3_NAME(GL_REPLACE),
                                                      GL3_NAME(GL_VENDOR),
                                                      GL3_NAME(GL_RENDERER),
                                                      GL3_NAME(GL_VERSION),
                                                      GL3_NAME(GL_EXTENSIONS),
                                                      GL3_NAME(GL_SHADING_LANGUAGE_VERSION),
                                                      GL3_NAME(GL_MODULATE),
                                                      GL3_NAME(GL_DECAL),
                                                      GL3_NAME(GL_TEXTURE_ENV_MODE),
                                                      GL3_NAME(GL_TEXTURE_ENV_COLOR),
                                                      GL3_NAME(GL_TEXTURE_ENV),
                                                      GL3_NAME(GL_NEAREST),
                                                      GL3_NAME(GL_LINEAR),
                                                      GL3_NAME(GL_NEAREST_MIPMAP_NEAREST),
                                                      GL3_NAME(GL_LINEAR_MIPMAP_NEAREST),
                                                      GL3_NAME(GL_NEAREST_MIPMAP_LINEAR),
                                                      GL3_NAME(GL_LINEAR_MIPMAP_LINEAR),
                                                      GL3_NAME(GL_TEXTURE_MAG_FILTER),
                                                      GL3_NAME(GL_TEXTURE_MIN_FILTER),
                                                      GL3_NAME(GL_TEXTURE_WRAP_S),
                                                      GL3_NAME(GL_TEXTURE_WRAP_T),
                                                      GL3_NAME(GL_CLAMP),
                                                      GL3_NAME(GL_REPEAT),
                                                      GL3_NAME(GL_CLAMP_TO_EDGE),
                                                      GL3_NAME(GL_CLAMP_TO_BORDER),
                                                      GL3_NAME(GL_GENERATE_MIPMAP),
                                                      GL3_NAME(GL_TEXTURE_MAX_ANISOTROPY_EXT),
                                                      GL3_NAME(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT),
                                                      GL3_NAME(GL_POLYGON_OFFSET_FILL),
                                                      GL3_NAME(GL_POLYGON_OFFSET_LINE),
                                                      GL3_NAME(GL_VERTEX_ARRAY),
                                                      GL3_NAME(GL_NORMAL_ARRAY),
                                                      GL3_NAME(GL_COLOR_ARRAY),
                                                      GL3_NAME(GL_TEXTURE_COORD_ARRAY),
                                                      GL3_NAME(GL_FRAMEBUFFER_EXT),
                                                      GL3_NAME(GL_MULTISAMPLE),
                                                      GL3_NAME(GL_CURRENT_COLOR),
                                                      GL3_NAME(GL_LINE_WIDTH),
                                                      GL3_NAME(GL_POINT_SIZE)};
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
  static constexpr std::pair<GLbitfield, const char*> kBits[] = {
      GL3_NAME(GL_COLOR_BUFFER_BIT), GL3_NAME(GL_DEPTH_BUFFER_BIT), GL3_NAME(GL_STENCIL_BUFFER_BIT),
      GL3_NAME(GL_ENABLE_BIT),       GL3_NAME(GL_LIST_BIT),         GL3_NAME(GL_CURRENT_BIT),
      GL3_NAME(GL_POLYGON_BIT),      GL3_NAME(GL_LIGHTING_BIT),     GL3_NAME(GL_FOG_BIT),
      GL3_NAME(GL_VIEWPORT_BIT),     GL3_NAME(GL_TRANSFORM_BIT),    GL3_NAME(GL_TEXTURE_BIT)};
  if (mask == GL_ALL_ATTRIB_BITS) return "GL_ALL_ATTRIB_BITS";
  std::string text;
  for (const auto& [bit, name] : kBits) {
    if ((mask & bit) == 0) continue;
    text += (text.empty() ? "" : "|") + std::string(name);
    mask &= ~bit;
  }
  if (mask != 0 || text.empty()) text += fmt::format("{}{:#x}", text.empty() ? "" : "|", mask);
  return text;
}

int ParameterLength(GLenum name) {
  switch (name) {
    case GL_AMBIENT:
    case GL_DIFFUSE:
    case GL_SPECULAR:
    case GL_EMISSION:
    case GL_AMBIENT_AND_DIFFUSE:
    case GL_POSITION:
    case GL_FOG_COLOR:
    case GL_LIGHT_MODEL_AMBIENT:
    case GL_TEXTURE_BORDER_COLOR:
    case GL_TEXTURE_ENV_COLOR:
      return 4;
    case GL_SPOT_DIRECTION:
      return 3;
    default:
      return 1;
  }
}
