// Another program, run to its end.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace gl3 {

/// How a program ended, and what it printed.
struct ProgramEnd {
  bool isThere = true;  ///< Whether there is such a program.
  int status = -1;      ///< Its exit status; -1 when it did not come to one.
  std::string trouble;  ///< Why not: "was ended by signal 11", "did not end within 60 s", …
  std::string output;   ///< Its standard output,
  std::string errors;   ///< and standard error; the first megabyte of either.
};

/// Runs the program `words[0]` (as FindProgram finds it when it is a name alone) with `words` as
/// its arguments and nothing to read, in this process's environment with `changes` made to it: an
/// empty value takes a variable away. It is killed after `seconds` (0: never) and when this process
/// ends. Call with one thread.
ProgramEnd RunProgram(const std::vector<std::string>& words,
                      const std::map<std::string, std::string>& changes = {}, double seconds = 0);

/// The absolute path of the first program of that name on PATH; empty without one. Of relative
/// folders, which would be other ones for whoever starts it elsewhere, none counts.
std::string FindProgram(const std::string& name);

/// The path of the program that runs, empty where the system does not tell.
std::string OwnProgram();

}  // namespace gl3
