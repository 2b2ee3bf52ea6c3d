// The files that a model names: one place that finds and opens them.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <vector>

#include "hostkit/import/beneath.h"
#include "hostkit/import/model_import.h"

namespace hostkit {

/// Why a file that a model names is not opened.
enum class FileFault {
  kNone,
  kMissing,     ///< There is none of that name.
  kOutside,     ///< It lies, or a link leads, where the model's files may not be.
  kHidden,      ///< A part of its name begins with a dot.
  kScheme,      ///< It is no file, but something of the network, say.
  kNotAFile,    ///< A folder, pipe, socket or device, or a file of the kernel's own.
  kUnreadable,  ///< The system refuses it.
};

/// A file, whatever it is called.
struct FileId {
  std::uint64_t device = 0, inode = 0;

  // NOLINTNEXTLINE(modernize-use-nullptr): the check trips over what the compiler generates.
  auto operator<=>(const FileId&) const = default;
};

struct OpenedFile {
  FileDescriptor file;
  FileFault fault = FileFault::kMissing;  ///< kNone exactly when the file is open.
  FileId id;
  std::uint64_t size = 0;  ///< In bytes, when it was opened.

  bool IsOpen() const { return file.IsOpen(); }
};

/// All bytes of a file; false when it is shorter by now than it was, or cannot be read.
bool ReadWhole(const OpenedFile& file, std::vector<unsigned char>* bytes);

/// A name out of a file as a message may show it: 200 bytes at most, without what
/// steers terminals or turns text around (see WithoutControls).
std::string NameForMessage(const std::string& name);

/// Finds and opens what a model names, and nothing else. What it names may lie below the model's
/// folder and, where the reach allows it, in neighbours of that: folders beside it that are called
/// textures, images, maps and so on. Where nothing lies at the place that a model gives, as with a
/// path of the machine that it was made on, the last part of the name is looked for in the model's
/// folder and in "textures" there. Names match without regard to case where they do not exist as
/// written. Backslashes separate folders too, and percent escapes stand for their bytes where the
/// name as written is not there.
class ModelFiles {
 public:
  ModelFiles(const std::string& modelPath, FileReach reach);

  const std::string& ModelPath() const { return m_modelPath; }

  /// The model's own file, which its user named: a regular file wherever links lead or, where the
  /// reach is the folder alone, below that.
  OpenedFile OpenModel() const;

  /// The file that the model means by `reference`.
  OpenedFile Open(const std::string& reference) const;

  /// What to call a path in the model's terms: the part below the model's folder where the path
  /// begins with that, else the path itself.
  std::string ReferenceOf(const std::string& path) const;

  /// One line that says why `reference` was not opened, with the remedy.
  std::string FaultText(const std::string& reference, FileFault fault) const;

 private:
  struct Reference;

  Reference TakeApart(const std::string& reference) const;
  OpenedFile OpenAsWritten(const std::string& reference) const;
  OpenedFile OpenInPlace(const Reference& reference) const;

  std::string m_modelPath;
  FileReach m_reach;
  FileDescriptor m_folder;
  std::vector<std::string> m_folderParts;  ///< Of its absolute path.
};

}  // namespace hostkit
