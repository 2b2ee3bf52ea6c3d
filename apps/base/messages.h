// What gl3 tells its user: exit statuses, and one-line messages on standard error.
#pragma once

#include <functional>
#include <string>

namespace gl3 {

/// Exit statuses of the program.
enum ExitStatus : int {
  kDone = 0,
  kRunFailed = 1,
  kWrongUsage = 2,
  kUnreadableInput = 3,
  kNoOpenGl = 4,
  kUnwritableOutput = 5,
  kMismatch = 6,
};

enum class Verbosity { kQuiet, kNormal, kVerbose };

/// How a piece of work ended. A message is one line without the program's name: the thing, the
/// reason, the remedy.
struct Outcome {
  int status = kDone;
  std::string message;
};

/// Process-wide: kQuiet leaves errors alone, kVerbose adds notes. Normal at the start.
void SetVerbosity(Verbosity verbosity);
Verbosity CurrentVerbosity();

/// The file that holds what standard input was: messages call it so, results "-". Process-wide.
void SetInputFile(const std::string& path);
/// A file's path as recipes have it: "-" for that one.
std::string ShownPath(const std::string& path);

/// Who speaks in messages, "gl3" at the start. The text must stay.
void SetProgramName(const char* name);

/// Each prints the program's name, ": " and the text as one line (line breaks and control
/// characters become spaces), coloured on a terminal unless NO_COLOR is set.
void PrintError(const std::string& text);
void PrintWarning(const std::string& text);
/// What users want to know of a run that goes well, unless they ask for quiet.
void PrintStatus(const std::string& text);
void PrintNote(const std::string& text);

/// Whether progress may be shown: standard error is a terminal that can move its cursor, and the
/// user did not ask for quiet.
bool ShowsProgress();
/// Shows `text` in place of the last progress line, as one line that the terminal's width cuts; an
/// empty text removes it.
void ShowProgress(const std::string& text);

/// Writes figures or help to standard output, or to what SetResultWriter says. A reader that has
/// gone is no error. Returns kDone, or kUnwritableOutput after a message.
int PrintResult(const std::string& result);

/// Where results go in place of standard output. Process-wide.
void SetResultWriter(std::function<Outcome(const std::string& text)> write);

/// Makes descriptors 0 to 2 exist, so that no file that is opened later becomes standard output by
/// accident, and makes a gone reader or a file size limit an error of the write, not a signal.
void PrepareStandardStreams();

/// Takes standard output for data: a descriptor for it, and what else is printed there goes nowhere
/// from now on. -1 with kUnwritableOutput and a message when it was closed or is a terminal. After
/// PrepareStandardStreams.
int TakeStandardOutput(Outcome* outcome);

}  // namespace gl3
