// One-line messages on standard error, results on standard output.
#include "apps/base/messages.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "apps/base/text.h"

namespace gl3 {
namespace {

Verbosity g_verbosity = Verbosity::kNormal;
const char* g_program = "gl3";
std::string g_inputFile;  // that holds standard input; empty: none
std::string g_progress;   // what the last line of the terminal shows
std::function<Outcome(const std::string& text)> g_writeResult;
bool g_hadOutput = true;  // standard output was open at the start

/// The text with another name for the file of standard input.
std::string WithInputAs(const std::string& name, std::string text) {
  for (std::size_t at = 0; !g_inputFile.empty();) {
    at = text.find(g_inputFile, at);
    if (at == std::string::npos) break;
    text.replace(at, g_inputFile.size(), name);
    at += name.size();
  }
  return text;
}

std::string MessageLine(const std::string& text) {
  return OneLine(WithInputAs("standard input", text));
}

bool HasCursor() {
  const char* terminal = std::getenv("TERM");
  return isatty(STDERR_FILENO) && terminal && std::strcmp(terminal, "dumb") != 0;
}

bool UsesColor() {
  const char* noColor = std::getenv("NO_COLOR");
  return HasCursor() && (!noColor || !*noColor);
}

void PrintLine(const char* color, const std::string& text) {
  ShowProgress("");
  const std::string line = MessageLine(text);
  if (UsesColor()) {
    std::fprintf(stderr, "\033[%sm%s:\033[0m %s\n", color, g_program, line.c_str());
  } else {
    std::fprintf(stderr, "%s: %s\n", g_program, line.c_str());
  }
}

constexpr int kUsualColumns = 80;

/// As much of a line as the terminal shows without going on in the next row, which could not be
/// removed. Letters from U+1000 on, most of the wide ones among them, count as two columns.
std::string CutToTerminal(const std::string& line) {
  winsize size = {};
  const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  int left = (isKnown ? size.ws_col : kUsualColumns) - 1;
  for (std::size_t at = 0; at < line.size(); ++at) {
    const auto byte = static_cast<unsigned char>(line[at]);
    const bool isLater = (byte & 0xC0) == 0x80;  // of a letter of several bytes
    if (!isLater) left -= byte >= 0xE1 ? 2 : 1;
    if (left < 0) return line.substr(0, at);
  }
  return line;
}

}  // namespace

void SetVerbosity(Verbosity verbosity) {
  g_verbosity = verbosity;
}
Verbosity CurrentVerbosity() {
  return g_verbosity;
}

void SetInputFile(const std::string& path) {
  g_inputFile = path;
}

std::string ShownPath(const std::string& path) {
  return !g_inputFile.empty() && path == g_inputFile ? "-" : path;
}

void SetProgramName(const char* name) {
  g_program = name;
}

void PrintError(const std::string& text) {
  PrintLine("1;31", text);
}

void PrintWarning(const std::string& text) {
  if (g_verbosity != Verbosity::kQuiet) PrintLine("1;33", text);
}

void PrintStatus(const std::string& text) {
  if (g_verbosity != Verbosity::kQuiet) PrintLine("1", text);
}

void PrintNote(const std::string& text) {
  if (g_verbosity == Verbosity::kVerbose) PrintLine("1", text);
}

bool ShowsProgress() {
  return g_verbosity != Verbosity::kQuiet && HasCursor();
}

void ShowProgress(const std::string& text) {
  const std::string line = CutToTerminal(MessageLine(text));
  if (line == g_progress) return;
  std::fprintf(stderr, "\r\033[K%s", line.c_str());
  std::fflush(stderr);
  g_progress = line;
}

void SetResultWriter(std::function<Outcome(const std::string& text)> write) {
  g_writeResult = std::move(write);
}

int PrintResult(const std::string& result) {
  const std::string text = WithInputAs("-", result);
  if (g_writeResult) {
    const Outcome outcome = g_writeResult(text);
    if (outcome.status != kDone) PrintError(outcome.message);
    return outcome.status;
  }
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (written && std::fflush(stdout) == 0) return kDone;
  if (errno == EPIPE) return kDone;
  PrintError(std::string("standard output: ") + std::strerror(errno) +
             "; send it somewhere that has room");
  return kUnwritableOutput;
}

void PrepareStandardStreams() {
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1) continue;
    if (descriptor == STDOUT_FILENO) g_hadOutput = false;
    // open() takes the lowest free number, which is this one.
    if (open("/dev/null", descriptor == 0 ? O_RDONLY : O_WRONLY) < 0) std::_Exit(kRunFailed);
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

int TakeStandardOutput(Outcome* outcome) {
  const auto refuse = [outcome](const std::string& why) {
    *outcome = {kUnwritableOutput, "standard output: " + why + "; send it to a file or a program"};
    return -1;
  };
  if (!g_hadOutput) return refuse("it is closed");
  if (isatty(STDOUT_FILENO)) return refuse("it is a terminal, and pictures are no text");
  const int taken = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (taken < 0 || nowhere < 0) return refuse(std::strerror(errno));
  dup2(nowhere, STDOUT_FILENO);
  close(nowhere);
  return taken;
}

}  // namespace gl3
