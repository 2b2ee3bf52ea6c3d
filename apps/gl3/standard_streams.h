// Standard input as a model, and reports that go elsewhere than to standard output.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/base/file_checks.h"
#include "apps/base/messages.h"
#include "apps/work/work_table.h"

namespace gl3 {

/// A model or picture from standard input, kept in a file while this lives: importers look at it
/// more than once, and tell formats by the suffix.
class StandardInput {
 public:
  /// Where one of `*models` is "-", puts the path of a file there that is to be read. `format` is
  /// the model's suffix, with its dot or without. On failure kWrongUsage or kUnreadableInput with a
  /// message.
  Outcome PlaceModel(const std::string& format, std::vector<std::string>* models);
  /// The same for pictures, which are told by what they are.
  Outcome PlacePicture(std::vector<std::string>* pictures);
  /// Reads all of standard input where there is a place for it. kUnreadableInput with a message.
  Outcome Read() const;

 private:
  Outcome Place(const std::string& name, std::string* path);

  std::unique_ptr<ScratchFolder> m_folder;
  std::string m_path;  // of the file; empty: there is none
};

/// Takes standard output for a stream of pictures of a kind as --format has it. kWrongUsage or
/// kUnwritableOutput with a message when it cannot carry them.
Outcome StartStream(const std::string& format, const WorkTable& work,
                    hostkit::StreamTarget* stream);

/// Sends results to this file, for as long as the process lives; nowhere else when it is empty.
/// kUnwritableOutput with a message when it cannot be written.
Outcome SendResultTo(const std::string& file, const WorkTable& work);

}  // namespace gl3
