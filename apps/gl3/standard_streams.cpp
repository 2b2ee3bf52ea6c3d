// Standard input as a model, and reports that go elsewhere than to standard output.
#include "apps/gl3/standard_streams.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "apps/base/text.h"
#include "apps/options/render_options.h"

namespace gl3 {
namespace {

Outcome Refuse(const std::string& why) {
  return {kUnreadableInput, "standard input: " + why};
}

/// Copies all of standard input to a new file.
Outcome CopyInput(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wxe"),
                                                             std::fclose);
  const auto fail = [&] {
    return Refuse("no room to keep it at " + path + " (" + std::strerror(errno) +
                  "); set TMPDIR to a folder that has some");
  };
  if (!file) return fail();
  std::array<char, 1 << 16> block{};
  std::size_t size = 0;
  for (;;) {
    const ssize_t count = read(STDIN_FILENO, block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return Refuse(std::string(std::strerror(errno)) + "; name a model's file");
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
    if (std::fwrite(block.data(), 1, static_cast<std::size_t>(count), file.get()) !=
        static_cast<std::size_t>(count)) {
      return fail();
    }
  }
  if (std::fflush(file.get()) != 0) return fail();
  return size > 0 ? Outcome() : Refuse("it is empty; send a model, or name its file");
}

/// Whether the text can be a suffix, and nothing else in a path.
bool IsSuffix(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '_';
  });
}

}  // namespace

Outcome StandardInput::Take(const std::string& format, std::vector<std::string>* models) {
  const auto at = std::find(models->begin(), models->end(), kStandardStream);
  if (at == models->end()) {
    if (format.empty()) return {};
    return {kWrongUsage,
            "--model-format: it is about standard input; give the model - or leave it out"};
  }
  if (std::find(at + 1, models->end(), kStandardStream) != models->end()) {
    return {kWrongUsage, "MODEL: there is one standard input; give - once"};
  }
  const std::string suffix = format.starts_with('.') ? format.substr(1) : format;
  if (!IsSuffix(suffix)) {
    return {kWrongUsage, format.empty() ? "MODEL -: nothing says what standard input holds; give "
                                          "--model-format, such as glb"
                                        : "--model-format: " + ShellQuote(format) +
                                              " is no suffix; give one such as glb"};
  }
  m_folder = std::make_unique<ScratchFolder>();
  if (m_folder->Path().empty()) {
    return Refuse(std::string("no folder can be made for it (") + std::strerror(errno) +
                  "); set TMPDIR to one that may be written to");
  }
  *at = m_folder->Path() + "/stdin." + suffix;
  return CopyInput(*at);
}

Outcome SendResultTo(const std::string& file, const WorkTable& work) {
  if (file.empty() || file == kStandardStream) return {};
  SetResultWriter([=, &work](const std::string& text) { return work.writeReport(file, text); });
  return work.checkReport(file);
}

}  // namespace gl3
