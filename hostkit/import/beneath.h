// Opening files below a folder, whatever their names say and wherever links lead.
#pragma once

#include <string>
#include <utility>

namespace hostkit {

/// The one owner of a file descriptor.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(other.Release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
  }
  ~FileDescriptor();

  /// Below 0 without a file.
  int Get() const { return m_descriptor; }
  bool IsOpen() const { return m_descriptor >= 0; }
  /// The descriptor, which then is the caller's to close.
  int Release() { return std::exchange(m_descriptor, -1); }

 private:
  int m_descriptor = -1;
};

/// Opens `path`, relative and without "..", below `folder`, with `flags` of open(2); O_CLOEXEC is
/// added. Links are followed where all that they lead over lies below the folder. On failure the
/// descriptor is not open, and errno tells why: EXDEV for what leads out.
FileDescriptor OpenBeneath(int folder, const std::string& path, int flags);

/// The same for kernels without openat2(2) (before Linux 5.6), or where a filter of system calls
/// keeps it away: no links at all are followed, and errno is EXDEV for them.
FileDescriptor OpenBeneathByParts(int folder, const std::string& path, int flags);

/// The entry of the folder `path` below `folder` that is called `name` without regard to case, ""
/// without one. An empty `path` is the folder itself.
std::string EntryWithoutCase(int folder, const std::string& path, const std::string& name);

}  // namespace hostkit
