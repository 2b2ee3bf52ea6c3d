// What the import library reads: the model itself, and what that names within its reach.
#include "hostkit/import/model_io.h"

#include <fmt/format.h>

#include <algorithm>
#include <assimp/IOStream.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include "hostkit/import/archive_check.h"

namespace hostkit {
namespace {

namespace fs = std::filesystem;
using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

constexpr std::size_t kMostTold = 100;  // lines are compared with all before them

/// An open file for reading.
class ModelStream : public Assimp::IOStream {
 public:
  ModelStream(FilePtr file, std::uint64_t size) : m_file(std::move(file)), m_size(size) {}

  std::size_t Read(void* to, std::size_t size, std::size_t count) override {
    return std::fread(to, size, count, m_file.get());
  }
  std::size_t Write(const void*, std::size_t, std::size_t) override { return 0; }
  aiReturn Seek(std::size_t offset, aiOrigin origin) override {
    const int from = origin == aiOrigin_SET   ? SEEK_SET
                     : origin == aiOrigin_CUR ? SEEK_CUR
                                              : SEEK_END;
    // The offset is negative from the end on, whatever its type.
    const bool isGood = fseeko(m_file.get(), static_cast<off_t>(offset), from) == 0;
    return isGood ? aiReturn_SUCCESS : aiReturn_FAILURE;
  }
  std::size_t Tell() const override { return static_cast<std::size_t>(ftello(m_file.get())); }
  std::size_t FileSize() const override { return m_size; }
  void Flush() override {}

 private:
  FilePtr m_file;
  std::size_t m_size;
};

/// Whether an importer looks there on its own: that of MD3 models asks for shaders, whatever the
/// file says.
bool IsUnasked(const std::string& reference) {
  return reference.find("../../../scripts") != std::string::npos;
}

std::string WithoutUps(const std::string& reference) {
  std::string path;
  for (const fs::path& part : fs::path(reference)) {
    if (part != ".." && part != "." && !part.empty()) path += "/" + part.string();
  }
  return path;
}

std::string LastPart(const std::string& path) {
  return fs::path(path).filename().string();
}

}  // namespace

/// The library tries a name that it does not get again in other shapes: below other folders, with
/// fewer "..", and with its end cut off, at the name of a folder too. They get no lines of their
/// own.
bool ModelIo::IsTold(const std::string& reference) const {
  const std::string shape = WithoutUps(reference), name = LastPart(shape);
  return std::any_of(m_told.begin(), m_told.end(), [&](const std::string& told) {
    return told.starts_with(shape) || LastPart(told).starts_with(name) ||
           told.find("/" + name + "/") != std::string::npos;
  });
}

void ModelIo::Tell(const std::string& reference, std::string line) const {
  if (m_told.size() == kMostTold || IsTold(reference)) return;
  m_told.push_back(WithoutUps(reference));
  if (!IsUnasked(reference)) m_faults.push_back(std::move(line));
}

OpenedFile ModelIo::Find(const std::string& path) const {
  if (path == m_files.ModelPath()) return m_files.OpenModel();
  const std::string reference = m_files.ReferenceOf(path);
  OpenedFile opened = m_files.Open(reference);
  if (!opened.IsOpen() && opened.fault != FileFault::kMissing) {
    Tell(reference, m_files.FaultText(reference, opened.fault));
  }
  return opened;
}

bool ModelIo::Exists(const char* path) const {
  return Find(path).IsOpen();
}

Assimp::IOStream* ModelIo::Open(const char* path, const char* mode) {
  if (std::strpbrk(mode, "wa+")) return nullptr;
  if (!m_model.empty() && path == m_files.ModelPath()) {
    // For reading alone, whatever the type of the pointer.
    FilePtr text(fmemopen(const_cast<char*>(m_model.data()), m_model.size(), "rb"), std::fclose);
    return text ? new ModelStream(std::move(text), m_model.size()) : nullptr;
  }
  OpenedFile opened = Find(path);
  if (!opened.IsOpen()) return nullptr;
  // The model itself was checked before the library heard of it.
  if (path != m_files.ModelPath() && !m_checked.contains(opened.id)) {
    const std::string fault = ArchiveFault(opened.file.Get(), opened.size);
    if (!fault.empty()) {
      Tell(path, fmt::format("{}: in {}: {}", m_files.ModelPath(), NameForMessage(path), fault));
      return nullptr;
    }
    m_checked.insert(opened.id);
  }
  FilePtr file(fdopen(opened.file.Get(), "rb"), std::fclose);
  if (!file) return nullptr;
  opened.file.Release();  // closed with the stream
  return new ModelStream(std::move(file), opened.size);
}

void ModelIo::Close(Assimp::IOStream* stream) {
  delete stream;
}

bool ModelIo::ComparePaths(const char* one, const char* second) const {
  return m_files.ReferenceOf(one) == m_files.ReferenceOf(second);
}

}  // namespace hostkit
