// Calls of GLEW's entry points: the functions that stand in front of them.
#include "tests/shader/glew_calls.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/gl.h"
#include "tests/support/gl_names.h"
#include "tests/support/gl_recorder.h"

namespace {

std::map<GLint, std::string> g_uniforms;  // names by the location that was told last

/// One argument. Kinds: s shader, p program, e enumerant, i number, n name that a pointer leads to,
/// u uniform's location, t text, S source, P four and a half pairs of floats each way, - memory.
template <typename Argument>
std::string Describe(char kind, Argument argument) {
  if constexpr (std::is_pointer_v<Argument>) {
    if (!argument) return "null";
    if constexpr (std::is_same_v<Argument, const GLfloat*>) {
      return fmt::format("{:g}", fmt::join(argument, argument + 18, " "));
    }
    if constexpr (std::is_same_v<Argument, const GLchar* const*>) {
      return fmt::format("{} characters", std::strlen(*argument));
    }
    if constexpr (std::is_same_v<Argument, const GLchar*>) return argument;
    if constexpr (std::is_same_v<Argument, const GLuint*>) return fmt::format("{{{}}}", *argument);
    return "pointer";
  } else {
    if (kind == 'e') return EnumName(static_cast<GLenum>(argument));
    if (kind == 'u') return g_uniforms[static_cast<GLint>(argument)];
    if (kind != 's' && kind != 'p') return fmt::format("{:g}", static_cast<double>(argument));
    const auto name = static_cast<std::uintptr_t>(argument);
    return HandleLabel(reinterpret_cast<void*>(name), kind == 's' ? "shader" : "program");
  }
}

/// One of the entry points: who stands in front of it, and what for.
template <auto* kPlace>
struct Entry;
template <typename Result, typename... Arguments, Result (**kPlace)(Arguments...)>
struct Entry<kPlace> {
  static inline Result (*next)(Arguments...) = nullptr;
  static inline const char *name = "", *kinds = "";

  static Result Call(Arguments... arguments) {
    const char* kind = kinds;
    std::vector<std::string> texts;
    ((texts.push_back(Describe(*kind++, arguments))), ...);
    if (IsRecordingPlatform()) RecordLine(fmt::format("{}({})", name, fmt::join(texts, ", ")));
    if constexpr (std::is_same_v<Result, GLint>) {
      const GLint location = next(arguments...);
      g_uniforms[location] = texts.back();
      return location;
    } else {
      return next(arguments...);
    }
  }
  static void Exchange(bool in, const char* itsName, const char* itsKinds) {
    name = itsName;
    kinds = itsKinds;
    if (in) next = *kPlace;
    *kPlace = in ? Call : next;
  }
};

void ExchangeAll(bool in) {
#define GL3_ENTRY(name, kinds) Entry<&__glew##name>::Exchange(in, "gl" #name, kinds)
  GL3_ENTRY(CreateShader, "e");
  GL3_ENTRY(ShaderSource, "si--");
  GL3_ENTRY(CompileShader, "s");
  GL3_ENTRY(GetShaderiv, "se-");
  GL3_ENTRY(DeleteShader, "s");
  GL3_ENTRY(CreateProgram, "");
  GL3_ENTRY(AttachShader, "ps");
  GL3_ENTRY(DetachShader, "ps");
  GL3_ENTRY(LinkProgram, "p");
  GL3_ENTRY(ValidateProgram, "p");
  GL3_ENTRY(GetProgramiv, "pe-");
  GL3_ENTRY(DeleteProgram, "p");
  GL3_ENTRY(UseProgram, "p");
  GL3_ENTRY(GetUniformLocation, "p-");
  GL3_ENTRY(Uniform1i, "ui");
  GL3_ENTRY(Uniform1f, "ui");
  GL3_ENTRY(Uniform2fv, "ui-");
  GL3_ENTRY(GenFramebuffers, "i-");
  GL3_ENTRY(BindFramebuffer, "ei");
  GL3_ENTRY(FramebufferTexture2D, "eeeii");
  GL3_ENTRY(DeleteFramebuffers, "i-");
#undef GL3_ENTRY
}

}  // namespace

GlewCalls::GlewCalls() {
  ExchangeAll(true);
}

GlewCalls::~GlewCalls() {
  ExchangeAll(false);
}
