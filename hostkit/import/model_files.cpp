// The files that a model names: one place that finds and opens them.
#include "hostkit/import/model_files.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <linux/magic.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include "hostkit/import/number_text.h"
#include "hostkit/services/without_controls.h"

namespace hostkit {

/// A reference taken apart.
struct ModelFiles::Reference {
  std::vector<std::string> parts;  ///< Names without "." and "..".
  int up = 0;                      ///< How many folders it leads up first.
  bool isAbsolute = false;
  bool isHidden = false;
  bool isUri = false;
};

namespace {

namespace fs = std::filesystem;

/// Folders beside a model's that exporters put pictures into, and the objects of scenes.
constexpr const char* kNeighbourNames[] = {"textures", "texture",   "tex",          "images",
                                           "image",    "img",       "maps",         "map",
                                           "material", "materials", "sourceimages", "objects"};

/// File systems whose files are the kernel's.
constexpr long kKernelFileSystems[] = {PROC_SUPER_MAGIC,   SYSFS_MAGIC,      DEBUGFS_MAGIC,
                                       TRACEFS_MAGIC,      SECURITYFS_MAGIC, CGROUP_SUPER_MAGIC,
                                       CGROUP2_SUPER_MAGIC};

constexpr int kReading = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

/// The names under which a neighbour may be there. The parent folder itself need not be readable.
std::vector<std::string> Spellings(const std::string& name) {
  std::string small = name, large = name;
  for (char& c : small) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (char& c : large) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return {small, large.substr(0, 1) + small.substr(1), large};
}

bool IsNeighbour(const std::string& name) {
  return std::any_of(std::begin(kNeighbourNames), std::end(kNeighbourNames),
                     [&name](const char* known) { return strcasecmp(known, name.c_str()) == 0; });
}

std::string FolderOf(const std::string& modelPath) {
  const std::string folder = fs::path(modelPath).parent_path().string();
  return folder.empty() ? "." : folder;
}

std::string Joined(const std::vector<std::string>& parts, std::size_t first = 0) {
  std::string path;
  for (std::size_t i = first; i < parts.size(); ++i) path += (i > first ? "/" : "") + parts[i];
  return path;
}

/// The names between slashes; those that are empty or "." are left out.
std::vector<std::string> Split(const std::string& path) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const std::string part = path.substr(begin, end - begin);
    if (!part.empty() && part != ".") parts.push_back(part);
    begin = end + 1;
  }
  return parts;
}

std::string WithSlashes(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

/// Whether it is a URI; a drive letter is no scheme.
bool HasScheme(const std::string& text) {
  if (strncasecmp(text.c_str(), "data:", 5) == 0) return true;
  const std::size_t end = text.find("://");
  return end != std::string::npos && end > 1 &&
         std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), [](char c) {
           return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.';
         });
}

FileFault FaultOf(int code) {
  switch (code) {
    case EXDEV:
    case ELOOP:
      return FileFault::kOutside;
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
      return FileFault::kMissing;
    case ENXIO:  // sockets, and devices that are not there
    case ENODEV:
      return FileFault::kNotAFile;
    default:
      return FileFault::kUnreadable;
  }
}

OpenedFile Refused(FileFault fault) {
  OpenedFile refused;
  refused.fault = fault;
  return refused;
}

/// What was opened, when it is a regular file. `file` not being open, errno tells why.
OpenedFile Regular(FileDescriptor file) {
  if (!file.IsOpen()) return Refused(FaultOf(errno));
  struct stat status {};
  if (fstat(file.Get(), &status) != 0) return Refused(FaultOf(errno));
  if (!S_ISREG(status.st_mode)) return Refused(FileFault::kNotAFile);
  return {std::move(file),
          FileFault::kNone,
          {status.st_dev, status.st_ino},
          static_cast<std::uint64_t>(status.st_size)};
}

OpenedFile OpenRegular(int folder, const std::string& path) {
  OpenedFile opened = Regular(OpenBeneath(folder, path, kReading));
  struct statfs system {};
  if (!opened.IsOpen() || fstatfs(opened.file.Get(), &system) != 0) return opened;
  const bool isKernels = std::find(std::begin(kKernelFileSystems), std::end(kKernelFileSystems),
                                   system.f_type) != std::end(kKernelFileSystems);
  return isKernels ? Refused(FileFault::kNotAFile) : std::move(opened);
}

/// The path of those parts below `folder`, with every part matched without regard to case where it
/// does not exist as written; "" when there is none.
std::string PathWithoutCase(int folder, const std::vector<std::string>& parts) {
  std::string found;
  for (const std::string& part : parts) {
    std::string next = found.empty() ? part : found + "/" + part;
    if (!OpenBeneath(folder, next, O_PATH).IsOpen()) {
      const std::string entry = EntryWithoutCase(folder, found, part);
      if (entry.empty()) return {};
      next = found.empty() ? entry : found + "/" + entry;
    }
    found = std::move(next);
  }
  return found;
}

OpenedFile OpenBelow(int folder, const std::vector<std::string>& parts) {
  const std::string path = Joined(parts);
  OpenedFile opened = OpenRegular(folder, path);
  if (opened.fault != FileFault::kMissing) return opened;
  const std::string other = PathWithoutCase(folder, parts);
  return other.empty() || other == path ? std::move(opened) : OpenRegular(folder, other);
}

}  // namespace

bool ReadWhole(const OpenedFile& file, std::vector<unsigned char>* bytes) {
  bytes->resize(file.size);
  for (std::size_t done = 0; done < bytes->size();) {
    const ssize_t count = pread(file.file.Get(), bytes->data() + done, bytes->size() - done,
                                static_cast<off_t>(done));
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

std::string NameForMessage(const std::string& name) {
  constexpr std::size_t kLongest = 200;  // bytes
  std::size_t length = std::min(name.size(), kLongest);
  // Not in the middle of a character of UTF-8.
  while (length > 0 && length < name.size() && (name[length] & 0xC0) == 0x80) --length;
  return WithoutControls(std::string_view(name).substr(0, length), '?');
}

ModelFiles::ModelFiles(const std::string& modelPath, FileReach reach)
    : m_modelPath(modelPath),
      m_reach(reach),
      m_folder(open(FolderOf(modelPath).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)),
      m_folderParts(Split(fs::absolute(FolderOf(modelPath)).lexically_normal().string())) {}

OpenedFile ModelFiles::OpenModel() const {
  if (m_reach == FileReach::kFolder) {
    return OpenRegular(m_folder.Get(), fs::path(m_modelPath).filename().string());
  }
  return Regular(FileDescriptor(open(m_modelPath.c_str(), kReading)));
}

ModelFiles::Reference ModelFiles::TakeApart(const std::string& reference) const {
  Reference taken;
  std::string plain = WithSlashes(reference);
  if (strncasecmp(plain.c_str(), "file://", 7) == 0) plain.erase(0, 7);
  taken.isUri = HasScheme(plain);
  if (plain.size() > 2 && plain[1] == ':') {
    plain.erase(0, 2);
    taken.isAbsolute = true;
  }
  // Two slashes in front are some exporters' way to say "beside this file".
  taken.isAbsolute = taken.isAbsolute || (plain.starts_with('/') && !plain.starts_with("//"));
  if (plain.size() >= PATH_MAX || plain.find('\0') != std::string::npos) return taken;
  for (std::string& part : Split(plain)) {
    if (part != "..") {
      taken.parts.push_back(std::move(part));
    } else if (taken.parts.empty()) {
      ++taken.up;
    } else {
      taken.parts.pop_back();
    }
  }
  // Of a path on this machine the part below the model's folder counts.
  const auto begin = taken.parts.begin();
  if (taken.isAbsolute && taken.parts.size() > m_folderParts.size() &&
      std::equal(m_folderParts.begin(), m_folderParts.end(), begin)) {
    taken.parts.erase(begin, begin + static_cast<std::ptrdiff_t>(m_folderParts.size()));
  }
  taken.isHidden = std::any_of(taken.parts.begin(), taken.parts.end(),
                               [](const std::string& part) { return part[0] == '.'; });
  return taken;
}

OpenedFile ModelFiles::Open(const std::string& reference) const {
  OpenedFile opened = OpenAsWritten(reference);
  if (opened.IsOpen() || reference.find('%') == std::string::npos) return opened;
  OpenedFile unescaped = OpenAsWritten(Unescaped(reference));
  const bool tellsMore = unescaped.IsOpen() || opened.fault == FileFault::kMissing;
  return tellsMore ? std::move(unescaped) : std::move(opened);
}

OpenedFile ModelFiles::OpenInPlace(const Reference& reference) const {
  const auto& parts = reference.parts;
  if (reference.up == 0) {
    return reference.isHidden ? Refused(FileFault::kHidden) : OpenBelow(m_folder.Get(), parts);
  }
  const bool mayLeave = m_reach == FileReach::kNeighbours && reference.up == 1;
  if (!mayLeave || reference.isHidden || !IsNeighbour(parts[0])) {
    return Refused(FileFault::kOutside);
  }
  const FileDescriptor parent(openat(m_folder.Get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
  OpenedFile opened;
  for (const std::string& name : Spellings(parts[0])) {
    const FileDescriptor folder = OpenBeneath(parent.Get(), name, O_PATH | O_DIRECTORY);
    if (folder.IsOpen()) opened = OpenBelow(folder.Get(), {parts.begin() + 1, parts.end()});
    if (!folder.IsOpen() && FaultOf(errno) == FileFault::kOutside) opened.fault = FaultOf(errno);
    if (opened.IsOpen()) break;
  }
  return opened;
}

OpenedFile ModelFiles::OpenAsWritten(const std::string& reference) const {
  const Reference taken = TakeApart(reference);
  if (taken.isUri) return Refused(FileFault::kScheme);
  if (taken.parts.empty()) return Refused(FileFault::kMissing);
  OpenedFile opened = OpenInPlace(taken);
  const std::string& name = taken.parts.back();
  if (opened.IsOpen() || name[0] == '.') return opened;
  FileFault fault = opened.fault;
  for (const std::vector<std::string>& parts : {std::vector{name}, {"textures", name}}) {
    opened = OpenBelow(m_folder.Get(), parts);
    if (opened.IsOpen()) return opened;
    if (fault == FileFault::kMissing) fault = opened.fault;
  }
  if (fault == FileFault::kMissing && taken.isAbsolute) fault = FileFault::kOutside;
  return Refused(fault);
}

std::string ModelFiles::ReferenceOf(const std::string& path) const {
  const std::string plain = WithSlashes(path);
  const fs::path folder = fs::path(m_modelPath).parent_path();
  const std::vector<std::string> above = Split(WithSlashes(folder.string())), parts = Split(plain);
  const bool isBelow = folder.is_absolute() == plain.starts_with('/') &&
                       parts.size() > above.size() &&
                       std::equal(above.begin(), above.end(), parts.begin());
  return isBelow ? Joined(parts, above.size()) : path;
}

std::string ModelFiles::FaultText(const std::string& reference, FileFault fault) const {
  constexpr std::pair<FileFault, const char*> kReasons[] = {
      {FileFault::kOutside, "lies outside its folder; put it beside the model"},
      {FileFault::kHidden, "is hidden; give it a name without a dot in front"},
      {FileFault::kScheme, "is no file; save it to one beside the model"},
      {FileFault::kNotAFile, "is no regular file; put one in its place"},
      {FileFault::kUnreadable, "cannot be opened; check its permissions"}};
  const char* reason = "was not found; put it beside the model";
  for (const auto& [known, text] : kReasons) {
    if (known == fault) reason = text;
  }
  return fmt::format("{}: it names {}, which {}", m_modelPath, NameForMessage(reference), reason);
}

std::vector<std::string> ReadableFolders(const std::string& path, const ImportOptions& options) {
  std::vector<std::string> folders{FolderOf(path)};
  if (options.reach != FileReach::kNeighbours) return folders;
  std::error_code code;
  const fs::path parent = fs::canonical(folders[0], code).parent_path();
  const FileDescriptor opened(open(parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (code || !opened.IsOpen()) return folders;
  for (const char* known : kNeighbourNames) {
    for (const std::string& name : Spellings(known)) {
      if (OpenBeneath(opened.Get(), name, O_PATH | O_DIRECTORY).IsOpen()) {
        folders.push_back(parent / name);
      }
    }
  }
  return folders;
}

}  // namespace hostkit
