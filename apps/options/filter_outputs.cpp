// Which file each of the pictures of `gl3 filter` is written to.
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "apps/base/text.h"
#include "apps/options/filter_options.h"
#include "apps/options/output_pattern.h"
#include "apps/options/standard_stream.h"
#include "hostkit/pictures/picture_formats.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

bool IsFolder(const std::string& output) {
  std::error_code error;
  return output.back() == '/' || fs::is_directory(output, error);
}

/// In a folder a picture keeps its name, and its suffix where pictures can be written so.
std::string NameInFolder(const std::string& folder, const fs::path& input) {
  const fs::path name = input.filename();
  return (fs::path(folder) / (hostkit::FindWrittenFormat(name.string())
                                  ? name
                                  : fs::path(name).replace_extension(".png")))
      .string();
}

Outcome Refuse(const std::string& message) {
  return {kWrongUsage, "--output: " + message};
}

/// Which file a name leads to, whatever other names it has.
std::optional<std::pair<dev_t, ino_t>> FileOf(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return std::pair(status.st_dev, status.st_ino);
}

/// Outputs that would replace an input, or each other.
Outcome CheckClashes(const FilterOptions& options, const std::vector<std::string>& outputs) {
  std::map<std::string, std::string> inputOf;
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const std::string& input = options.inputs[i];
    const auto [other, isNew] =
        inputOf.emplace(fs::path(outputs[i]).lexically_normal().string(), input);
    if (!isNew) {
      return Refuse(other->second + " and " + input + " would both become " + outputs[i] +
                    "; put #### into the name");
    }
  }
  // Replacing the one input by name is a wish; in all other cases it is taken for an accident.
  if (outputs.size() == 1 && outputs.front() == options.output) return {};
  std::set<std::pair<dev_t, ino_t>> inputs;
  for (const std::string& input : options.inputs) {
    if (const auto file = FileOf(input)) inputs.insert(*file);
  }
  for (const std::string& output : outputs) {
    const auto file = FileOf(output);
    if (!file || inputs.count(*file) == 0) continue;
    return Refuse(output + " is one of the pictures to be read; choose another folder or name");
  }
  return {};
}

}  // namespace

Outcome NameOutputs(const FilterOptions& options, std::vector<std::string>* outputs) {
  outputs->clear();
  if (options.output.empty()) {
    if (options.verify && options.skipExisting) {
      return {kWrongUsage,
              "--skip-existing: without -o nothing is written that could be there; leave it out"};
    }
    if (options.verify) return {};
    return Refuse("nothing says where to write; give -o OUT, or --verify to compare alone");
  }
  if (options.output == kStandardStream) {
    outputs->assign(options.inputs.size(), options.output);
    return {};
  }
  const OutputPattern pattern(options.output);
  const bool isFolder = IsFolder(options.output);
  if (options.inputs.size() > 1 && !isFolder && !pattern.HasName() && !pattern.HasFrame()) {
    return Refuse(ShellQuote(options.output) + " is one file for " +
                  std::to_string(options.inputs.size()) +
                  " pictures; put %n (their names) or #### (a number) into it, or end it with / "
                  "for a folder");
  }
  if (!isFolder && pattern.HasCamera()) {
    return Refuse(
        ShellQuote(options.output) +
        " has a place for a camera's name, and pictures to be filtered have none; take it "
        "out, or write %% for a percent sign");
  }
  int number = 0;
  for (const std::string& input : options.inputs) {
    outputs->push_back(isFolder ? NameInFolder(options.output, input)
                                : pattern.Expand(++number, "", NameOfFile(input)));
  }
  return CheckClashes(options, *outputs);
}

}  // namespace gl3
