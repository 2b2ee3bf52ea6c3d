// A module's file, looked at before any of it is loaded.
#include "hostkit/services/module_file.h"

#include <elf.h>
#include <fmt/format.h>
#include <link.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/Version.h"

namespace hostkit {
namespace {

namespace fs = std::filesystem;

using Header = ElfW(Ehdr);
using Segment = ElfW(Phdr);

// What a file may claim of tables that are read: none of ours has as many.
constexpr std::uint64_t kMostDynamicEntries = 4096;
constexpr unsigned kMostVersions = 1024;

/// Reads `count` bytes from `offset` of a file.
bool ReadAt(std::ifstream& file, std::uint64_t offset, void* to, std::size_t count) {
  file.clear();
  file.seekg(static_cast<std::streamoff>(offset));
  return static_cast<bool>(file.read(static_cast<char*>(to), static_cast<std::streamsize>(count)));
}

bool IsElf(const Header& header) {
  return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0;
}

/// The file's program headers. False when it does not hold them, or not all that they promise: the
/// system's loader maps what they say, and a library that was cut short ends the process with a bus
/// error.
bool ReadSegments(std::ifstream& file, const Header& header, std::uint64_t size,
                  std::vector<Segment>* segments) {
  for (unsigned i = 0; i < header.e_phnum; ++i) {
    Segment segment;
    if (!ReadAt(file, header.e_phoff + std::uint64_t{i} * header.e_phentsize, &segment,
                sizeof segment)) {
      return false;
    }
    const bool isMapped = segment.p_type == PT_LOAD || segment.p_type == PT_DYNAMIC;
    if (isMapped && (segment.p_offset > size || segment.p_filesz > size - segment.p_offset)) {
      return false;
    }
    segments->push_back(segment);
  }
  return true;
}

/// What a library says of its version definitions, as places in the file.
struct VersionTable {
  std::uint64_t definitions = 0, strings = 0;
  unsigned count = 0;
};

/// The place in the file of an address; 0 when it is in none of the segments.
std::uint64_t PlaceOf(std::uint64_t address, const std::vector<Segment>& segments) {
  for (const Segment& segment : segments) {
    if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
        address - segment.p_vaddr < segment.p_filesz) {
      return segment.p_offset + (address - segment.p_vaddr);
    }
  }
  return 0;
}

VersionTable FindVersions(std::ifstream& file, const std::vector<Segment>& segments) {
  VersionTable table;
  for (const Segment& segment : segments) {
    if (segment.p_type != PT_DYNAMIC) continue;
    const std::uint64_t entries = segment.p_filesz / sizeof(ElfW(Dyn));
    for (std::uint64_t i = 0; i < entries && i < kMostDynamicEntries; ++i) {
      ElfW(Dyn) entry;
      if (!ReadAt(file, segment.p_offset + i * sizeof entry, &entry, sizeof entry)) return {};
      if (entry.d_tag == DT_NULL) break;
      if (entry.d_tag == DT_VERDEF) table.definitions = PlaceOf(entry.d_un.d_ptr, segments);
      if (entry.d_tag == DT_VERDEFNUM) table.count = static_cast<unsigned>(entry.d_un.d_val);
      if (entry.d_tag == DT_STRTAB) table.strings = PlaceOf(entry.d_un.d_ptr, segments);
    }
  }
  if (table.definitions == 0 || table.strings == 0 || table.count > kMostVersions) return {};
  return table;
}

/// The interface's version that the library defines, as in "GL3_HOST_1"; empty without one.
std::string DefinedVersion(std::ifstream& file, const VersionTable& table) {
  std::uint64_t at = table.definitions;
  for (unsigned i = 0; i < table.count; ++i) {
    ElfW(Verdef) definition;
    ElfW(Verdaux) name;
    if (!ReadAt(file, at, &definition, sizeof definition) ||
        !ReadAt(file, at + definition.vd_aux, &name, sizeof name)) {
      break;
    }
    std::string text;
    constexpr std::size_t kLongest = 32;
    for (char c; text.size() < kLongest &&
                 ReadAt(file, table.strings + name.vda_name + text.size(), &c, 1) && c;) {
      text.push_back(c);
    }
    if (text.starts_with(kHostVersionPrefix) &&
        text.find_first_not_of("0123456789", std::strlen(kHostVersionPrefix)) ==
            std::string::npos) {
      return text;
    }
    if (definition.vd_next == 0) break;
    at += definition.vd_next;
  }
  return {};
}

std::string WhyNotOfThisVersion(const std::string& version) {
  if (version == kHostVersion) return {};
  if (version.empty()) {
    return fmt::format("it is no module: it names no version of hosts; name a build of {} for {}",
                       kModuleName, kHostVersion);
  }
  return fmt::format(
      "it is made for hosts of version {}, and this program is a host of {}; use a module and a "
      "program of the same release",
      version, kHostVersion);
}

std::string NoLibrary() {
  return fmt::format("it is not a shared library; name a build of {}", kModuleName);
}

/// Why no library of that header can be loaded by this process.
std::string WhyNotForThisMachine(const Header& header) {
  Header own{};
  std::ifstream self("/proc/self/exe", std::ios::binary);
  const bool knowSelf = ReadAt(self, 0, &own, sizeof own) && IsElf(own);
  if (knowSelf &&
      (header.e_machine != own.e_machine || header.e_ident[EI_CLASS] != own.e_ident[EI_CLASS] ||
       header.e_ident[EI_DATA] != own.e_ident[EI_DATA])) {
    return "it is built for another machine; build it for this one";
  }
  return header.e_type == ET_DYN ? "" : NoLibrary();
}

}  // namespace

std::string WhyNotAModule(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) {
    const bool missing = status.type() == fs::file_type::not_found;
    return fmt::format("{}; build the module, or name the file where it is (FindModule looks)",
                       missing ? "there is no such file" : error.message());
  }
  if (!fs::is_regular_file(status)) return "it is not a file; name the module's file itself";
  std::ifstream file(path, std::ios::binary);
  if (!file) return fmt::format("{}; make it readable", std::strerror(errno));

  Header header{};
  if (!ReadAt(file, 0, &header, sizeof header) || !IsElf(header)) return NoLibrary();
  std::string why = WhyNotForThisMachine(header);
  if (!why.empty()) return why;
  std::vector<Segment> segments;
  if (!ReadSegments(file, header, fs::file_size(path, error), &segments)) {
    return "the file is cut short; build or copy it again";
  }
  return WhyNotOfThisVersion(DefinedVersion(file, FindVersions(file, segments)));
}

}  // namespace hostkit
