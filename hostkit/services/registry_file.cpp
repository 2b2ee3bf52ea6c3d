// The registry's file.
//
// SimpleIni reads and writes it. Before it gets the text, every line is looked at: the parser skips
// what it does not understand, and would drop it on the next write.
#include "hostkit/services/registry_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "hostkit/services/atomic_file.h"

// The whole parser comes from the header: the distribution's library would bring ICU into every
// start of the program.
#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

namespace hostkit {
namespace {

namespace fs = std::filesystem;

/// Bytes. A longer file is not understood as settings.
constexpr std::size_t kMaxFileSize = std::size_t{1} << 20;

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kSpaces = " \t\r";
  const std::size_t first = text.find_first_not_of(kSpaces);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpaces) - first + 1);
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

/// Why a line is not one of a settings file; null when it is.
const char* WhyNotALine(std::string_view line) {
  // The parser ends a line at a carriage return too: in mid-line it would hide what follows.
  if (line.ends_with('\r')) line.remove_suffix(1);
  const auto isControl = [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\t') || byte == 0x7f;
  };
  if (std::any_of(line.begin(), line.end(), isControl)) return "holds binary data";
  const std::string_view text = Trim(line);
  if (text.empty() || text.front() == ';' || text.front() == '#') return nullptr;
  if (text.front() == '[') {
    const std::size_t close = text.find(']');
    const bool named = close != std::string_view::npos && !Trim(text.substr(1, close - 1)).empty();
    return named ? nullptr : "is no whole [section] line";
  }
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos || Trim(text.substr(0, equals)).empty()) {
    return "is neither a [section], nor \"key = value\", nor a comment";
  }
  return nullptr;
}

/// What was found in a file's text.
struct Parsed {
  CSimpleIniA ini;
  std::string trailing;        ///< Comments after the last setting, which the parser would lose.
  bool trailingFirst = false;  ///< There are only comments: they open the file.
};

/// Parses `text`; returns why it cannot be understood, empty when it can.
std::string Parse(std::string_view text, Parsed* parsed) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  std::size_t lastSettingEnd = 0;
  int number = 0;
  for (std::size_t start = 0; start < text.size();) {
    ++number;
    const std::size_t end = std::min(text.find('\n', start), text.size());
    const std::string_view line = text.substr(start, end - start);
    if (const char* reason = WhyNotALine(line)) return fmt::format("line {} {}", number, reason);
    start = std::min(end + 1, text.size());
    const std::string_view content = Trim(line);
    if (!content.empty() && content.front() != ';' && content.front() != '#')
      lastSettingEnd = start;
  }
  parsed->trailing = text.substr(lastSettingEnd);
  if (Trim(parsed->trailing).find_first_not_of('\n') == std::string_view::npos) {
    parsed->trailing.clear();
  }
  parsed->trailingFirst = lastSettingEnd == 0;
  if (parsed->ini.LoadData(text.data(), lastSettingEnd) < 0) return "the parser gave up";
  return {};
}

Settings Collect(const CSimpleIniA& ini) {
  Settings settings;
  CSimpleIniA::TNamesDepend sections;
  ini.GetAllSections(sections);
  for (const auto& section : sections) {
    CSimpleIniA::TNamesDepend keys;
    ini.GetAllKeys(section.pItem, keys);
    for (const auto& key : keys) {
      settings[MakeSettingName(section.pItem, key.pItem)] =
          ini.GetValue(section.pItem, key.pItem, "");
    }
  }
  return settings;
}

/// Fills `*text` from a file, and cuts it to what was there. Returns 0 or an errno.
int ReadAll(int file, std::string* text) {
  std::size_t filled = 0;
  while (filled < text->size()) {
    const ssize_t got = read(file, text->data() + filled, text->size() - filled);
    if (got < 0 && errno != EINTR) return errno;
    if (got == 0) break;
    if (got > 0) filled += static_cast<std::size_t>(got);
  }
  text->resize(filled);
  return 0;
}

/// The file's text; nothing when it cannot be read, with the reason in errno. A missing file is
/// empty.
std::optional<std::string> ReadText(const std::string& path) {
  // Without waiting: a pipe under the name must not hold up the program.
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return errno == ENOENT ? std::optional<std::string>("") : std::nullopt;
  std::string text;
  struct stat status {};
  int reason = fstat(file, &status) == 0 ? 0 : errno;
  if (!reason && S_ISDIR(status.st_mode)) reason = EISDIR;
  // Nothing comes from /dev/null: a way to say that there are no settings.
  const bool isDevice = S_ISCHR(status.st_mode);
  if (!reason && !isDevice && !S_ISREG(status.st_mode)) reason = EINVAL;
  if (!reason && !isDevice) {
    // One byte beyond the limit is enough to tell that the file is too long.
    text.resize(std::min(static_cast<std::size_t>(status.st_size), kMaxFileSize + 1));
    reason = ReadAll(file, &text);
  }
  close(file);
  if (!reason) return text;
  errno = reason;
  return std::nullopt;
}

std::string ReasonText(int reason) {
  return reason == EINVAL ? "it is not a regular file" : std::strerror(reason);
}

std::string CannotRead(const std::string& path) {
  return fmt::format(
      "{}: cannot read the settings: {}; make it a readable file, or name another one in "
      "GL3_REGISTRY",
      path, ReasonText(errno));
}

std::string CannotWrite(const std::string& path, int reason) {
  return fmt::format(
      "{}: cannot store the setting: {}; make it and its folder writable, or name another file in "
      "GL3_REGISTRY",
      path, std::strerror(reason));
}

/// Why a text is not understood, also for what is wrong with all of it; empty when it is.
std::string Understand(const std::string& text, Parsed* parsed) {
  if (text.size() > kMaxFileSize) return "it is over a megabyte long";
  return Parse(text, parsed);
}

/// Moves a broken file to the first free name; true with the message in `*error`, false with
/// another message when it cannot be moved. To be called under the lock, since nothing else keeps
/// two processes from taking the same name; `lockReason` is the errno when that is not held.
bool SetAside(const std::string& path, const std::string& why, int lockReason, std::string* error) {
  std::string aside = path + ".broken";
  struct stat status {};
  for (int i = 2; lstat(aside.c_str(), &status) == 0; ++i) {
    aside = fmt::format("{}.broken.{}", path, i);
  }
  if (!lockReason && std::rename(path.c_str(), aside.c_str()) == 0) {
    *error = fmt::format(
        "{}: cannot understand the settings: {}; kept as {}, going on with the defaults", path, why,
        aside);
    return true;
  }
  *error = fmt::format(
      "{}: cannot understand the settings: {}; nor can it be moved aside: {}; repair or remove it",
      path, why, std::strerror(lockReason ? lockReason : errno));
  return false;
}

/// The lock that writers hold: an flock on a file beside the registry, removed by its last holder.
/// It ends with the process: a killed writer leaves a file behind, but no lock.
class Lock {
 public:
  explicit Lock(const std::string& path) : m_path(path + ".lock") {
    // Five seconds in all; writing takes milliseconds.
    constexpr int kTries = 1000;
    for (int i = 0; i < kTries; ++i) {
      m_reason = Try();
      if (m_reason != EWOULDBLOCK && m_reason != EINTR) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  ~Lock() {
    if (m_file < 0) return;
    unlink(m_path.c_str());  // while it is held, or it would be another holder's file
    close(m_file);
  }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  /// 0 when held, else the errno that tells why not.
  int Reason() const { return m_reason; }

 private:
  /// 0 with `m_file` open, or an errno.
  int Try() {
    m_file = open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (m_file < 0) return errno;
    int reason = flock(m_file, LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
    // The holder before may have removed the file in between, and then a third may hold a new one.
    struct stat locked {};
    struct stat named {};
    const bool isSame = fstat(m_file, &locked) == 0 && stat(m_path.c_str(), &named) == 0 &&
                        locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
    if (!reason && !isSame) reason = EWOULDBLOCK;
    if (reason) close(std::exchange(m_file, -1));
    return reason;
  }

  std::string m_path;
  int m_file = -1;
  int m_reason = 0;
};

/// Writes `parsed` to `path`. Returns 0 or the errno of what went wrong.
int WriteText(const std::string& path, const Parsed& parsed) {
  std::string text;
  if (parsed.ini.Save(text) < 0) return ENOMEM;
  if (!parsed.trailing.empty()) {
    text = parsed.trailingFirst ? parsed.trailing + "\n" + text : text + parsed.trailing;
  }
  AtomicFile file;
  if (!file.Open(path, AtomicFile::TempName::kFixed)) return errno;
  file.Write(text);
  return file.Commit() ? 0 : errno;
}

/// Puts a value into `*parsed` and writes that to `path`. Returns 0 or an errno, as Remove does.
int Store(const std::string& path, const std::string& section, const std::string& key, int value,
          Parsed* parsed) {
  const std::string digits = std::to_string(value);
  if (parsed->ini.SetValue(section.c_str(), key.c_str(), digits.c_str()) < 0) return ENOMEM;
  return WriteText(path, *parsed);
}

/// `text` without the lines of one setting. The parser would remove comments with it.
std::string WithoutSetting(std::string_view text, const SettingName& name) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  std::string rest;
  std::string_view section;
  for (std::size_t start = 0, end = 0; start < text.size(); start = end + 1) {
    end = std::min(text.find('\n', start), text.size());
    const std::string_view line = Trim(text.substr(start, end - start));
    if (line.starts_with('[')) section = Trim(line.substr(1, line.find(']') - 1));
    const std::string_view key = Trim(line.substr(0, line.find('=')));
    if (MakeSettingName(section, key) != name) rest += text.substr(start, end + 1 - start);
  }
  return rest;
}

int Remove(const std::string& path, std::string_view text, const SettingName& name,
           Parsed* parsed) {
  const std::string rest = WithoutSetting(text, name);
  if (rest.size() == text.size()) return 0;
  parsed->ini.Reset();
  Parse(rest, parsed);
  return WriteText(path, *parsed);
}

}  // namespace

SettingName MakeSettingName(std::string_view section, std::string_view key) {
  return {LowerCase(section), LowerCase(key)};
}

bool CanBeStored(std::string_view section, std::string_view key) {
  const auto isPlain = [](std::string_view name, std::string_view forbidden) {
    return !name.empty() && Trim(name) == name && !WhyNotALine(fmt::format(";{}", name)) &&
           name.find_first_of(forbidden) == std::string_view::npos;
  };
  return isPlain(section, "[]\r") && isPlain(key, "=\r") &&
         std::string_view(";#[").find(key.front()) == std::string_view::npos;
}

bool ReadRegistryFile(const std::string& path, Settings* settings, std::string* error) {
  std::optional<std::string> text = ReadText(path);
  if (!text) {
    *error = CannotRead(path);
    return false;
  }
  Parsed parsed;
  std::string why = text->empty() ? "" : Understand(*text, &parsed);
  if (why.empty()) {
    *settings = Collect(parsed.ini);
    return true;
  }
  // Look again under the lock: another process may have set the file aside and written a good one.
  const std::string place = FollowLinks(path);
  Lock lock(place);
  Parsed again;
  text = ReadText(place);
  why = text ? Understand(*text, &again) : why;
  if (why.empty()) {
    *settings = Collect(again.ini);
    return true;
  }
  SetAside(place, why, lock.Reason(), error);
  return false;
}

bool ChangeRegistryFile(const std::string& path, const std::string& section, const std::string& key,
                        std::optional<int> value, Settings* settings, std::string* error) {
  const std::string place = FollowLinks(path);
  struct stat status {};
  const bool exists = stat(place.c_str(), &status) == 0;
  if (!exists && errno == ENOENT && !value) {
    settings->clear();
    return true;
  }
  if (exists && !S_ISREG(status.st_mode)) {
    *error = fmt::format(
        "{}: cannot store the setting: it is not a regular file; name another file in GL3_REGISTRY",
        path);
    return false;
  }
  std::error_code ignored;  // a folder that is missing still shows in the lock
  fs::create_directories(fs::path(place).parent_path(), ignored);
  Lock lock(place);
  if (lock.Reason() == EWOULDBLOCK) {
    *error = fmt::format(
        "{}: cannot store the setting: another process holds {}.lock; end that process and try "
        "again",
        path, place);
    return false;
  }
  if (lock.Reason()) {
    *error = CannotWrite(path, lock.Reason());
    return false;
  }
  const std::optional<std::string> text = ReadText(place);
  if (!text) {
    *error = CannotRead(path);
    return false;
  }
  Parsed parsed;
  const std::string why = Understand(*text, &parsed);
  if (!why.empty() && !SetAside(place, why, 0, error)) return false;
  Parsed fresh;
  Parsed& base = why.empty() ? parsed : fresh;
  const int reason =
      value ? Store(place, section, key, *value, &base)
            : Remove(place, why.empty() ? *text : "", MakeSettingName(section, key), &base);
  if (reason) {
    *error = CannotWrite(path, reason);
    return false;
  }
  *settings = Collect(base.ini);
  return true;
}

}  // namespace hostkit
