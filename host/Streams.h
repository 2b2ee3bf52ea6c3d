// The host's text streams.
#pragma once

#include "host/String.h"

/// Something that text can be written to.
class VornStream {
 public:
  virtual ~VornStream() = default;
  /// Writes the text as it is.
  VornStream& operator<<(const String& text);
  /// Writes NUL-terminated text as it is; null writes nothing.
  VornStream& operator<<(const char* text);
  /// Applies a manipulator, such as nl.
  VornStream& operator<<(VornStream& (*manipulator)(VornStream&)) { return manipulator(*this); }

 protected:
  /// Takes NUL-terminated text, never null.
  virtual void Write(const char* text) = 0;
};

/// Ends the line.
VornStream& nl(VornStream& stream);

/// A text file. It is written under a temporary name and takes its own name in Close, so that a
/// reader never sees half of it.
class FileStream : public VornStream {
 public:
  FileStream() = default;
  FileStream(const FileStream&) = delete;
  FileStream& operator=(const FileStream&) = delete;
  /// Gives up what was not closed: the old file is kept.
  ~FileStream() override;

  /// What a file is opened for.
  enum Mode : int {
    kWriteText = 0x20  ///< A new text file, or one in place of an old one.
  };

  /// Starts writing to `path`. Returns 1, or 0 when the file cannot be made, for another mode, or
  /// when a file is open already.
  int Open(const String& path, int mode = kWriteText);
  /// Finishes the file. Returns 1, or 0 when none is open, or when something could not be written,
  /// and then the old file is kept.
  int Close();

 protected:
  void Write(const char* text) override;

 private:
  struct State;
  State* m_state = nullptr;
};
