// The shader program's log, and GLSL programs.
#include "shader/Gl3ShaderProgram.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>

#include "host/Heaps.h"
#include "platform/gl.h"
#include "platform/mfc_files.h"

namespace {

/// What belongs to the system: packages and administrators fill it, and programs from there are
/// shared by all users.
constexpr const char* kSystemFolders[] = {"/bin/", "/lib/", "/lib64/", "/opt/", "/sbin/", "/usr/"};

bool IsOfTheSystem(const char* path) {
  return std::any_of(
      std::begin(kSystemFolders), std::end(kSystemFolders),
      [path](const char* folder) { return std::strncmp(path, folder, std::strlen(folder)) == 0; });
}

/// The log's path; empty when the system does not tell where the program is, and when it is in one
/// of the system's own folders, which even those who may write there keep as their packages made
/// them. Of a longer path, the part that fits is taken.
String LogPath() {
  constexpr DWORD kMaxPath = 256;
  char path[kMaxPath] = {};
  GetModuleFileNameA(GetModuleHandleA(nullptr), path, kMaxPath);
  if (IsOfTheSystem(path)) return String();
  const String program(path);
  const int slash = program.ReverseFind('/');
  return slash < 0 ? String() : program.Mid(0, slash + 1) + String("GPUShader.log");
}

/// The local time with a line end, such as "Wed Jun 30 21:49:08 1993\n".
String TimeStamp() {
  const std::time_t now = std::time(nullptr);
  char text[32] = {};
  return ctime_r(&now, text) ? String(text) : String("\n");
}

/// What the GL tells about a shader or program, through the pair of functions for its kind. False
/// when it has nothing to tell.
bool ReadInfoLog(GLuint object, PFNGLGETSHADERIVPROC getParameter,
                 PFNGLGETSHADERINFOLOGPROC getInfoLog, String* text) {
  GLint length = 0;
  getParameter(object, GL_INFO_LOG_LENGTH, &length);
  if (length <= 0) return false;
  auto* memory = static_cast<char*>(AllocExt(static_cast<std::size_t>(length)));
  if (!memory) return true;
  memory[0] = '\0';
  getInfoLog(object, length, nullptr, memory);
  *text = String(memory);
  FreeExt(memory);
  return true;
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface has it by value.
void GL3GAShaderProgram::WriteLog(String text) {
  String line = text.IsEmpty() ? TimeStamp() : String("---") + text;
  if (line.Find(0, '\n') < 0) line += String("\n");
  CStdioFile file;
  if (!file.Open(LogPath().Text(), CStdioFile::kModeCreate | CStdioFile::kModeNoTruncate |
                                       CStdioFile::kModeWrite | CStdioFile::kShareExclusive |
                                       CStdioFile::kTypeText)) {
    return;
  }
  file.SeekToEnd();
  file.Write(line.Text(), std::strlen(line.Text()));
  file.Close();
}

void GL3GAShaderProgram::WriteInfoLog(unsigned int shader) {
  String text;
  ReadInfoLog(shader, glGetShaderiv, glGetShaderInfoLog, &text);
  if (!text.IsEmpty()) WriteLog(text);
}

unsigned int GL3GAShaderProgram::LoadShaderFromSource(const char* source, unsigned int type) {
  const GLuint shader = glCreateShader(type);
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  GLint status = 0;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
  if (status == 1) return shader;

  WriteLog("LoadShaderFromSource failed");
  String text;
  if (ReadInfoLog(shader, glGetShaderiv, glGetShaderInfoLog, &text)) {
    WriteLog(String("Compile shader error!\n") + text);
  }
  glDeleteShader(shader);
  return 0;
}

/// The test of the opening is the wrong way round, and is kept so: a file that opens is an error,
/// and stays open; of one that does not there is nothing to read.
unsigned int GL3GAShaderProgram::LoadShaderFromFile(const char* path, unsigned int) {
  const String name(path);
  if (!std::fopen(name.Text(), "rb")) return 0;
  String message("Error loading file ");
  if (!name.IsEmpty()) message += name;
  message += String("!\n");
  WriteLog(message);
  return 0;
}

/// A program that cannot be linked or validated keeps its shaders and is not deleted.
unsigned int GL3GAShaderProgram::CreateProgramFromShaders(unsigned int vertexShader,
                                                          unsigned int fragmentShader) {
  const GLuint program = glCreateProgram();
  if (vertexShader) glAttachShader(program, vertexShader);
  if (fragmentShader) glAttachShader(program, fragmentShader);
  if (!vertexShader && !fragmentShader) WriteLog("No shaders!\n");

  glLinkProgram(program);
  String text;
  GLint status = 0;
  glGetProgramiv(program, GL_LINK_STATUS, &status);
  if (status != 1) {
    WriteLog("CreateProgramFromShaders failed");
    if (ReadInfoLog(program, glGetProgramiv, glGetProgramInfoLog, &text)) {
      WriteLog(String("Error linking!\n") + text);
    }
    return 0;
  }

  glValidateProgram(program);
  status = 0;
  glGetProgramiv(program, GL_VALIDATE_STATUS, &status);
  if (status == 1) return program;
  WriteLog("CreateProgramFromShaders Validation failed");
  if (ReadInfoLog(program, glGetProgramiv, glGetProgramInfoLog, &text)) {
    WriteLog(String("Error validating!\n") + text);
  }
  return 0;
}
