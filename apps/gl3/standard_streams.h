// Standard input as a model, and reports that go elsewhere than to standard output.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/base/file_checks.h"
#include "apps/base/messages.h"
#include "apps/work/work_table.h"

namespace gl3 {

/// A model from standard input, kept in a file while this lives: importers look at it more than
/// once, and tell formats by the suffix.
class StandardInput {
 public:
  /// Where one of `*models` is "-", reads all of standard input and puts the file's path there.
  /// `format` is the model's suffix, with its dot or without. On failure kWrongUsage or
  /// kUnreadableInput with a message.
  Outcome Take(const std::string& format, std::vector<std::string>* models);

 private:
  std::unique_ptr<ScratchFolder> m_folder;
};

/// Sends results to this file, for as long as the process lives; nowhere else when it is empty.
/// kUnwritableOutput with a message when it cannot be written.
Outcome SendResultTo(const std::string& file, const WorkTable& work);

}  // namespace gl3
