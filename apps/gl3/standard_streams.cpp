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
#include "apps/options/standard_stream.h"

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
    if (count < 0) return Refuse(std::string(std::strerror(errno)) + "; name a file");
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
    if (std::fwrite(block.data(), 1, static_cast<std::size_t>(count), file.get()) !=
        static_cast<std::size_t>(count)) {
      return fail();
    }
  }
  if (std::fflush(file.get()) != 0) return fail();
  return size > 0 ? Outcome() : Refuse("it is empty; send a file, or name one");
}

/// What stands for standard input among files; null when nothing does, with kWrongUsage when two
/// do.
std::string* FindInput(std::vector<std::string>* files, Outcome* outcome) {
  const auto at = std::find(files->begin(), files->end(), kStandardStream);
  if (at == files->end()) return nullptr;
  if (std::find(at + 1, files->end(), kStandardStream) == files->end()) return &*at;
  *outcome = {kWrongUsage, "-: there is one standard input; give it once"};
  return nullptr;
}

/// Whether the text can be a suffix, and nothing else in a path.
bool IsSuffix(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '_';
  });
}

}  // namespace

Outcome StandardInput::PlaceModel(const std::string& format, std::vector<std::string>* models) {
  Outcome outcome;
  std::string* const model = FindInput(models, &outcome);
  if (!model) {
    if (outcome.status != kDone || format.empty()) return outcome;
    return {kWrongUsage,
            "--model-format: it is about standard input; give the model - or leave it out"};
  }
  const std::string suffix = format.starts_with('.') ? format.substr(1) : format;
  if (!IsSuffix(suffix)) {
    return {kWrongUsage, format.empty() ? "MODEL -: nothing says what standard input holds; give "
                                          "--model-format, such as glb"
                                        : "--model-format: " + ShellQuote(format) +
                                              " is no suffix; give one such as glb"};
  }
  return Place("stdin." + suffix, model);
}

Outcome StandardInput::PlacePicture(std::vector<std::string>* pictures) {
  Outcome outcome;
  std::string* const picture = FindInput(pictures, &outcome);
  return picture ? Place("stdin", picture) : outcome;
}

Outcome StandardInput::Place(const std::string& name, std::string* path) {
  m_folder = std::make_unique<ScratchFolder>();
  if (m_folder->Path().empty()) {
    return Refuse(std::string("no folder can be made for it (") + std::strerror(errno) +
                  "); set TMPDIR to one that may be written to");
  }
  *path = m_path = m_folder->Path() + "/" + name;
  SetInputFile(m_path);
  return {};
}

Outcome StandardInput::Read() const {
  return m_path.empty() ? Outcome() : CopyInput(m_path);
}

Outcome StartStream(const std::string& format, const WorkTable& work,
                    hostkit::StreamTarget* stream) {
  stream->name = "standard output";
  stream->kind = format.empty() ? "png" : format.substr(format.starts_with('.') ? 1 : 0);
  Outcome outcome = work.checkStream(stream->kind);
  if (outcome.status == kDone) stream->descriptor = TakeStandardOutput(&outcome);
  return outcome;
}

Outcome SendResultTo(const std::string& file, const WorkTable& work) {
  if (file.empty() || file == kStandardStream) return {};
  SetResultWriter([=, &work](const std::string& text) { return work.writeReport(file, text); });
  return work.checkReport(file);
}

}  // namespace gl3
