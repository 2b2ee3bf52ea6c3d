// Records GL calls of the module under test: the definitions that stand in front of the GL's.
#include "tests/support/gl_recorder.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <sstream>
#include <type_traits>
#include <utility>

#include "tests/support/faults.h"
#include "tests/support/gl_names.h"
#include "tests/support/next_symbol.h"

namespace {

/// A client array as the GL was told of it.
struct Array {
  bool enabled = false;
  GLint size = 0;
  GLenum type = GL_FLOAT;
  GLsizei stride = 0;
  const void* first = nullptr;
};
constexpr GLenum kArrayKinds[] = {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_TEXTURE_COORD_ARRAY,
                                  GL_COLOR_ARRAY};

struct Recording {
  bool on = false;
  int details = 0;
  std::map<GLenum, Array> arrays;
  const void* firstArray = nullptr;  // the first pointer since the last draw
  int pauses = 0;
  Lines calls;
  std::map<const void*, std::string> handles;
  std::map<std::string, int> handlesOfKind;
  std::map<GLenum, const char*> strings;
  std::map<GLenum, std::optional<double>> numbers;
  std::map<std::pair<GLenum, GLenum>, std::deque<GLint>> texLevels;
};

Recording& State() {
  static Recording state;
  return state;
}

bool IsRecording() {
  return State().on && State().pauses == 0;
}

std::string Floats(const GLfloat* values, int count) {
  if (!values) return "null";
  Lines texts;
  for (int i = 0; i < count; ++i) texts.push_back(fmt::format("{:g}", values[i]));
  return fmt::format("{{{}}}", fmt::join(texts, ", "));
}

template <typename Number>
std::string DescribeNumber(char kind, Number value) {
  const auto word = static_cast<GLenum>(static_cast<std::int64_t>(value));
  switch (kind) {
    case 'e':
      return EnumName(word);
    case 'P':
      return PrimitiveName(word);
    case 'B':
      return BlendFactorName(word);
    case 'm':
      return AttribMaskName(word);
    case 'f':
      return fmt::format("{:g}", static_cast<double>(value));
    default:
      return fmt::format("{}", static_cast<std::int64_t>(value));
  }
}

std::string DescribeFloats(char kind, const GLfloat* values) {
  return Floats(values, kind == 'M' ? 16 : kind - '0');
}

std::string DescribePointer(char kind, const void* pointer) {
  if (!pointer) return "null";
  if (kind == 's') return static_cast<const char*>(pointer);
  if (kind == 'n') return fmt::format("{{{}}}", *static_cast<const GLuint*>(pointer));
  return PlaceInBlock(pointer);
}

/// Describes one argument by its kind (see gl_calls.inc).
template <typename Argument>
std::string Describe(char kind, Argument argument) {
  if constexpr (std::is_arithmetic_v<Argument>) {
    return DescribeNumber(kind, argument);
  } else if constexpr (std::is_convertible_v<Argument, const GLfloat*>) {
    return kind == 'p' ? DescribePointer(kind, argument) : DescribeFloats(kind, argument);
  } else {
    return DescribePointer(kind, argument);
  }
}

template <typename... Arguments>
void Log(const char* name, const char* kinds, Arguments... arguments) {
  if (!IsRecording()) return;
  Lines texts;
  ((texts.push_back(Describe(*kinds++, arguments))), ...);
  State().calls.push_back(fmt::format("{}({})", name, fmt::join(texts, ", ")));
}

std::vector<unsigned> Indices(GLsizei count, GLenum type, const void* indices) {
  std::vector<unsigned> values;
  for (GLsizei i = 0; indices && i < count; ++i) {
    values.push_back(type == GL_UNSIGNED_INT ? static_cast<const GLuint*>(indices)[i]
                                             : static_cast<const GLushort*>(indices)[i]);
  }
  return values;
}

/// A vertex as the GL reads it: the members of the enabled arrays, in the order of kArrayKinds.
std::string Vertex(unsigned index) {
  Lines members;
  for (const GLenum kind : kArrayKinds) {
    const Array& array = State().arrays[kind];
    if (!array.enabled) continue;
    const char* member =
        static_cast<const char*>(array.first) + static_cast<std::ptrdiff_t>(index) * array.stride;
    if (array.type == GL_FLOAT) {
      const auto* values = reinterpret_cast<const GLfloat*>(member);
      members.push_back(fmt::format("{:g}", fmt::join(values, values + array.size, " ")));
    } else {
      const auto* values = reinterpret_cast<const GLubyte*>(member);
      members.push_back(fmt::format("{}", fmt::join(values, values + array.size, " ")));
    }
  }
  return fmt::format("({})", fmt::join(members, " | "));
}

std::string DrawnElements(GLsizei count, GLenum type, const void* indices) {
  const std::vector<unsigned> values = Indices(count, type, indices);
  std::string text;
  if (State().details & GlRecorder::kIndices)
    text += fmt::format(", {{{}}}", fmt::join(values, ", "));
  if (!(State().details & GlRecorder::kVertices)) return text;
  Lines vertices;
  for (const unsigned index : values) vertices.push_back(Vertex(index));
  return text + fmt::format(", {{{}}}", fmt::join(vertices, ", "));
}

/// Where a client array begins, from the first one of the same draw: an offset in bytes within a
/// vertex, or "apart" when it lies elsewhere.
std::string ArrayPlace(const void* pointer, GLsizei stride) {
  if (!pointer) return "null";
  if (!State().firstArray) State().firstArray = pointer;
  const std::intptr_t distance = reinterpret_cast<std::intptr_t>(pointer) -
                                 reinterpret_cast<std::intptr_t>(State().firstArray);
  return std::abs(distance) < stride ? fmt::format("{:+}", distance) : "apart";
}

/// Keeps where an array lies, and logs the call that tells it.
void NoteArray(const char* name, GLenum kind, Array array) {
  if (!IsRecording()) return;
  array.enabled = State().arrays[kind].enabled;
  State().arrays[kind] = array;
  const std::string size = kind == GL_NORMAL_ARRAY ? "" : fmt::format("{}, ", array.size);
  State().calls.push_back(fmt::format("{}({}{}, {}, {})", name, size, EnumName(array.type),
                                      array.stride, ArrayPlace(array.first, array.stride)));
}

/// Gives a test's answer, which may be none; false when the GL is to answer.
template <typename Value>
bool Answered(GLenum name, Value* value) {
  const auto found = State().numbers.find(name);
  if (found == State().numbers.end()) return false;
  if (found->second) *value = static_cast<Value>(*found->second);
  return true;
}

}  // namespace

extern "C" {

#define GL3_CALL(name, kinds, parameters, arguments)              \
  void name parameters {                                          \
    static auto* const next = NextSymbol<void parameters>(#name); \
    GL3_LOG(name, kinds, arguments);                              \
    next arguments;                                               \
  }
#define GL3_UNWRAP(...) __VA_OPT__(, ) __VA_ARGS__
#define GL3_LOG(name, kinds, arguments) Log(#name, kinds GL3_UNWRAP arguments)
#include "tests/support/gl_calls.inc"

#define GL3_CLIENT_STATE(name, on)                               \
  void name(GLenum kind) {                                       \
    static auto* const next = NextSymbol<decltype(name)>(#name); \
    Log(#name, "e", kind);                                       \
    State().arrays[kind].enabled = on;                           \
    next(kind);                                                  \
  }
GL3_CLIENT_STATE(glEnableClientState, true)
GL3_CLIENT_STATE(glDisableClientState, false)

#define GL3_ARRAY_CALL(kind, name, size, parameters, arguments)   \
  void name parameters {                                          \
    static auto* const next = NextSymbol<void parameters>(#name); \
    NoteArray(#name, kind, {true, size, type, stride, first});    \
    next arguments;                                               \
  }
GL3_ARRAY_CALL(GL_VERTEX_ARRAY, glVertexPointer, size,
               (GLint size, GLenum type, GLsizei stride, const void* first),
               (size, type, stride, first))
GL3_ARRAY_CALL(GL_NORMAL_ARRAY, glNormalPointer, 3,
               (GLenum type, GLsizei stride, const void* first), (type, stride, first))
GL3_ARRAY_CALL(GL_TEXTURE_COORD_ARRAY, glTexCoordPointer, size,
               (GLint size, GLenum type, GLsizei stride, const void* first),
               (size, type, stride, first))
GL3_ARRAY_CALL(GL_COLOR_ARRAY, glColorPointer, size,
               (GLint size, GLenum type, GLsizei stride, const void* first),
               (size, type, stride, first))

void glDrawElements(GLenum mode, GLsizei count, GLenum type, const void* indices) {
  static auto* const next = NextSymbol<decltype(glDrawElements)>("glDrawElements");
  if (IsRecording()) {
    State().calls.push_back(fmt::format("glDrawElements({}, {}, {}{})", PrimitiveName(mode), count,
                                        EnumName(type), DrawnElements(count, type, indices)));
    State().firstArray = nullptr;
  }
  next(mode, count, type, indices);
}

/// Tells the pixels, which have a byte each in all that the module uploads so.
void glTexSubImage2D(GLenum target, GLint level, GLint x, GLint y, GLsizei width, GLsizei height,
                     GLenum format, GLenum type, const void* pixels) {
  static auto* const next = NextSymbol<decltype(glTexSubImage2D)>("glTexSubImage2D");
  const auto* bytes = static_cast<const GLubyte*>(pixels);
  const std::string text = fmt::format("{{{}}}", fmt::join(bytes, bytes + width * height, " "));
  Log("glTexSubImage2D", "eiiiiiees", target, level, x, y, width, height, format, type,
      text.c_str());
  next(target, level, x, y, width, height, format, type, pixels);
}

const GLubyte* glGetString(GLenum name) {
  static auto* const next = NextSymbol<decltype(glGetString)>("glGetString");
  Log("glGetString", "e", name);
  const auto found = State().strings.find(name);
  if (found == State().strings.end() || State().pauses > 0) return next(name);
  return reinterpret_cast<const GLubyte*>(found->second);
}

void glGetIntegerv(GLenum name, GLint* values) {
  static auto* const next = NextSymbol<decltype(glGetIntegerv)>("glGetIntegerv");
  Log("glGetIntegerv", "e", name);
  if (!Answered(name, values)) next(name, values);
}

void glGetFloatv(GLenum name, GLfloat* values) {
  static auto* const next = NextSymbol<decltype(glGetFloatv)>("glGetFloatv");
  Log("glGetFloatv", "e", name);
  if (!Answered(name, values)) next(name, values);
}

GLboolean glIsEnabled(GLenum capability) {
  static auto* const next = NextSymbol<decltype(glIsEnabled)>("glIsEnabled");
  Log("glIsEnabled", "e", capability);
  return next(capability);
}

GLenum glGetError() {
  static auto* const next = NextSymbol<decltype(glGetError)>("glGetError");
  Log("glGetError", "");
  return next();
}

void glGetTexLevelParameteriv(GLenum target, GLint level, GLenum name, GLint* values) {
  static auto* const next =
      NextSymbol<decltype(glGetTexLevelParameteriv)>("glGetTexLevelParameteriv");
  Log("glGetTexLevelParameteriv", "eie", target, level, name);
  auto& answers = State().texLevels[{target, name}];
  if (answers.empty()) return next(target, level, name, values);
  *values = answers.front();
  answers.pop_front();
}
}

GlRecorder::GlRecorder(int details) {
  State() = Recording();
  State().on = true;
  State().details = details;
}

GlRecorder::~GlRecorder() {
  State() = Recording();
}

const Lines& GlRecorder::Calls() const {
  return State().calls;
}

Lines GlRecorder::Names() const {
  Lines names;
  for (const std::string& call : Calls()) names.push_back(call.substr(0, call.find('(')));
  return names;
}

Lines GlRecorder::CallsTo(const std::string& prefix) const {
  Lines calls;
  for (const std::string& call : Calls()) {
    if (call.starts_with(prefix)) calls.push_back(call);
  }
  return calls;
}

int GlRecorder::Count(const std::string& name) const {
  const std::string prefix = name + "(";
  return static_cast<int>(std::count_if(
      Calls().begin(), Calls().end(), [&](const auto& call) { return call.starts_with(prefix); }));
}

void GlRecorder::Clear() {
  State().calls.clear();
}
Lines GlRecorder::Take() {
  return std::exchange(State().calls, {});
}
void GlRecorder::OverrideString(GLenum name, const char* text) {
  State().strings[name] = text;
}
void GlRecorder::OverrideNumber(GLenum name, std::optional<double> value) {
  State().numbers[name] = value;
}
void GlRecorder::OverrideTexLevel(GLenum target, GLenum name, const std::vector<GLint>& answers) {
  State().texLevels[{target, name}].assign(answers.begin(), answers.end());
}

Lines CallsIn(const std::string& text) {
  constexpr const char* kBlanks = " \n";
  Lines calls;
  std::istringstream stream(text);
  for (std::string call; std::getline(stream, call, ';');) {
    const std::size_t first = call.find_first_not_of(kBlanks);
    const std::size_t last = call.find_last_not_of(kBlanks);
    if (first != std::string::npos) calls.push_back(call.substr(first, last - first + 1));
  }
  return calls;
}

bool IsRecordingPlatform() {
  return IsRecording() && (State().details & GlRecorder::kPlatform);
}
void RecordLine(const std::string& line) {
  State().calls.push_back(line);
}

std::string HandleLabel(const void* handle, const std::string& kind) {
  if (!handle) return "null";
  std::string& label = State().handles[handle];
  if (label.empty()) label = fmt::format("{}{}", kind, ++State().handlesOfKind[kind]);
  return label;
}

GlRecorderPause::GlRecorderPause() {
  ++State().pauses;
}
GlRecorderPause::~GlRecorderPause() {
  --State().pauses;
}
