// ZIP archives.
#pragma once

#include <minizip/unzip.h>

#include <cstdint>
#include <memory>
#include <string>

namespace hostkit {

/// What minizip reads from: a file that stays its owner's.
struct ArchiveInput {
  int file;
  std::uint64_t size;
  std::uint64_t at = 0;
};

/// An archive whose entries are read one by one.
class Archive {
 public:
  Archive(int file, std::uint64_t size);
  Archive(const Archive&) = delete;
  Archive& operator=(const Archive&) = delete;

  bool IsOpen() const { return m_archive != nullptr; }
  unzFile Get() const { return m_archive.get(); }

  /// All bytes of the entry of that name, without regard to case. False when there is none, when it
  /// is broken, or when it has more than `mostBytes`.
  bool Read(const std::string& name, std::uint64_t mostBytes, std::string* bytes) const;

  /// The name of the first entry that ends so, without regard to case; "" when there is none.
  std::string FirstWithEnding(const std::string& ending) const;

 private:
  ArchiveInput m_input;
  std::unique_ptr<void, int (*)(unzFile)> m_archive;
};

}  // namespace hostkit
