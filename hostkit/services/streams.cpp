// The host's text streams.
#include "host/Streams.h"
#include "host/String.h"

#include <new>
#include <utility>

#include "hostkit/services/atomic_file.h"

struct FileStream::State {
  hostkit::AtomicFile file;
};

VornStream& VornStream::operator<<(const String& text) {
  Write(text.Text());
  return *this;
}

VornStream& VornStream::operator<<(const char* text) {
  if (text) Write(text);
  return *this;
}

VornStream& nl(VornStream& stream) {
  return stream << "\n";
}

/// A file that was not closed was not finished: it is given up.
FileStream::~FileStream() {
  delete m_state;
}

/// A stream that is open already stays with its file and answers 0.
int FileStream::Open(const String& path, int mode) {
  if (m_state || path.IsEmpty() || mode != kWriteText) return 0;
  m_state = new (std::nothrow) State;
  if (!m_state) return 0;
  if (m_state->file.Open(path.Text(), hostkit::AtomicFile::TempName::kUnique)) return 1;
  delete std::exchange(m_state, nullptr);
  return 0;
}

int FileStream::Close() {
  if (!m_state) return 0;
  const bool good = m_state->file.Commit();
  delete std::exchange(m_state, nullptr);
  return good ? 1 : 0;
}

void FileStream::Write(const char* text) {
  if (m_state) m_state->file.Write(text);
}
