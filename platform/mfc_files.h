// Files, as MFC has them.
#pragma once

#include <cstddef>

#include "platform/win32.h"

/// A file that several programs can write in turn: what one writes between Open and Close is never
/// mixed with what another writes, nor lost in it, when all open it with kShareExclusive and its
/// file system has locks.
class CStdioFile {
 public:
  /// The mode of Open, any of these. Files are always opened for writing and as bytes: line ends
  /// are the same in text.
  enum OpenFlag : unsigned int {
    kModeWrite = 0x1,          ///< For writing, as always.
    kShareExclusive = 0x10,    ///< Nobody else has the file open in this way at the same time.
    kModeCreate = 0x1000,      ///< A file that is missing is made, an old one emptied.
    kModeNoTruncate = 0x2000,  ///< With kModeCreate: an old one keeps its content.
    kTypeText = 0x4000,        ///< Text, which makes no difference.
  };

  CStdioFile() = default;
  CStdioFile(const CStdioFile&) = delete;
  CStdioFile& operator=(const CStdioFile&) = delete;
  /// Closes the file.
  ~CStdioFile();

  /// Opens a file at its start. An exclusive one that somebody else has open is waited for, up to
  /// two seconds. Returns 0 on failure.
  BOOL Open(const char* path, unsigned int flags);
  /// What is written next goes behind what there is.
  void SeekToEnd();
  /// Returns 0 when not all of it could be written.
  BOOL Write(const void* bytes, std::size_t count);
  /// Closes the file and lets others have it. Nothing happens when none is open.
  void Close();

 private:
  int m_file = -1;
};
