// The options of every verb that works: reading them.
#include "apps/options/run_options.h"

#include <cstdint>
#include <cstdlib>
#include <string>

#include "apps/base/text.h"
#include "apps/options/option_readers.h"

namespace gl3 {
namespace {

constexpr std::uint64_t kLeastMemory = 64ull << 20;
constexpr double kMaxTimeout = 1e6;

bool ReadTimeout(const std::string& text, Limits* limits, std::string* error) {
  double seconds = 0;
  if (ParseNumber(text, &seconds) && seconds >= 0 && seconds <= kMaxTimeout) {
    limits->timeoutSeconds = seconds;
    return true;
  }
  *error = ShellQuote(text) + " is not a time; give seconds from 0 (no limit) to 1000000";
  return false;
}

bool ReadMemory(const std::string& text, Limits* limits, std::string* error) {
  std::uint64_t bytes = 0;
  if (ParseBytes(text, &bytes) && (bytes == 0 || bytes >= kLeastMemory)) {
    limits->maxMemory = bytes;
    return true;
  }
  *error = ShellQuote(text) + " is not an amount of memory; give 0 (no limit) or at least 64M, " +
           "with K, M, G or T";
  return false;
}

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value && *value && std::string(value) != "0";
}

}  // namespace

void AddConfinedOption(const OptionParser& parser, RunOptions* options) {
  options->confined = IsSet("GL3_CONFINED");
  // Called only when it is on, so that --confined=false does not undo what the environment says.
  parser.AddFlag("--confined",
                 "Allow a model's own folder alone, and fail where the kernel cannot\n"
                 "confine (also: GL3_CONFINED=1)",
                 [=] { options->confined = true; });
}

void AddRunOptions(const OptionParser& parser, RunOptions* options) {
  parser.BeginGroup("Run");
  // Which there are is known when OpenGL is asked, and wrong ones are told then, as GL3_DEVICE's.
  parser.AddText("--device", "DEVICE",
                 "auto, cpu (the software renderer), gpu, or a device's number\n"
                 "(default: GL3_DEVICE, else auto)",
                 &options->device);
  parser.AddText("--module", "PATH",
                 "The renderer module's file (default: OpenGL3.so, looked for as\n"
                 "gl3 --help tells)",
                 &options->module);
  Limits* limits = &options->limits;
  parser.Add("--timeout", "SECONDS",
             "Give up after this time, counted anew from each picture of a\n"
             "sequence; 0: never (default 600)",
             [=](const std::string& t, std::string* e) { return ReadTimeout(t, limits, e); });
  parser.Add("--max-memory", "SIZE",
             "Give up beyond this, such as 500M or 4G; 0: no limit (default:\n"
             "three quarters of the memory of the machine, or of what its control\n"
             "group may have when that is less)",
             [=](const std::string& t, std::string* e) { return ReadMemory(t, limits, e); });
  AddConfinedOption(parser, options);
  parser.AddOptionalValue("--json", "FILE",
                          "Figures to standard output, or to FILE (/dev/fd/3: a descriptor):\n"
                          "times in milliseconds, size, triangles, renderer, device, peak\n"
                          "memory in bytes",
                          [=](const std::string& text, std::string*) {
                            options->json = true;
                            options->jsonFile = text;
                            return true;
                          });
  const Option quiet =
      parser.AddFlag("-q,--quiet", "Errors only", [=] { options->verbosity = Verbosity::kQuiet; });
  parser
      .AddFlag("-v,--verbose", "Tell each step, and let drivers and libraries speak",
               [=] { options->verbosity = Verbosity::kVerbose; })
      .Exclude(quiet);
}

}  // namespace gl3
