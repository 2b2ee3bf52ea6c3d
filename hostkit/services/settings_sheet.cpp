// The settings sheet, and the driver's report by way of it.
#include "hostkit/services/settings_sheet.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

#include "host/GADriver.h"
#include "host/String.h"
#include "hostkit/services/save_request.h"
#include "platform/scripted_view.h"

namespace hostkit {
namespace {

// Controls of the driver's dialogs: these numbers are the driver's promise.
constexpr int kExtensionsButton = 1351;
constexpr int kSaveButton = 1358;

/// A file in memory, which others open by its name for as long as this lives.
class MemoryFile {
 public:
  MemoryFile() : m_file(memfd_create("gl3-report", MFD_CLOEXEC)) {}
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() {
    if (IsOpen()) close(m_file);
  }

  bool IsOpen() const { return m_file >= 0; }
  std::string Name() const { return fmt::format("/proc/self/fd/{}", m_file); }

  /// Everything in it; empty when it cannot be read.
  std::string Read() const {
    struct stat status {};
    if (fstat(m_file, &status) != 0) return {};
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    return pread(m_file, text.data(), text.size(), 0) == status.st_size ? text : std::string();
  }

 private:
  int m_file;
};

/// Answers the file question with one name for as long as it lives.
class FixedAnswer {
 public:
  explicit FixedAnswer(const std::string& name)
      : m_previous(SetSaveRequestHandler([name](const SaveQuestion&, String* path) {
          *path = name.c_str();
          return 1;
        })) {}
  FixedAnswer(const FixedAnswer&) = delete;
  FixedAnswer& operator=(const FixedAnswer&) = delete;
  ~FixedAnswer() { SetSaveRequestHandler(std::move(m_previous)); }

 private:
  SaveRequestHandler m_previous;
};

/// Takes the file apart: the report, an empty line, "Extensions", and a line for each.
DriverReport Parse(std::string_view text) {
  constexpr std::string_view kHeading = "\n\nExtensions\n";
  const std::size_t heading = text.find(kHeading);
  if (heading == std::string_view::npos) return {};
  DriverReport report;
  report.extended = text.substr(0, heading);
  text.remove_prefix(heading + kHeading.size());
  for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    report.extensions.emplace_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  return report;
}

/// Goes through the driver's dialogs to the report file. Empty, or why that did not work.
std::string SaveReport(GADriver& driver) {
  platform::ScriptedView script({platform::ClickStep(kExtensionsButton),
                                 platform::ClickStep(kSaveButton), platform::ConfirmStep(),
                                 platform::CancelStep()});
  if (SettingsSheet(driver).Run() == SettingsSheet::Result::kFailed) {
    return "its module has no settings page; use a whole build of the module";
  }
  if (script.IsDone()) return {};
  return fmt::format("{}; use a module and a program of the same build",
                     script.Error().empty() ? "its dialogs ended early" : script.Error());
}

}  // namespace

SettingsSheet::SettingsSheet(GADriver& driver, int reduced)
    : m_page(driver.CreatePropertyPage(reduced)), m_sheet("Settings") {
  if (m_page) m_sheet.AddPage(m_page.get());
}

SettingsSheet::Result SettingsSheet::Run() {
  const int result = m_page ? m_sheet.DoModal() : -1;
  if (result < 0) return Result::kFailed;
  return result == IDOK ? Result::kConfirmed : Result::kCancelled;
}

DriverReport ReadDriverReport(GADriver& driver, std::string* error) {
  std::string ignored;
  std::string& why = error ? *error : ignored;
  const MemoryFile file;
  if (!file.IsOpen()) {
    why = fmt::format("cannot read the driver's report: no file in memory: {}; free some memory",
                      std::strerror(errno));
    return {};
  }
  const FixedAnswer answer(file.Name());
  why = SaveReport(driver);
  const std::string text = file.Read();
  DriverReport report = why.empty() ? Parse(text) : DriverReport();
  if (why.empty() && report.extended.empty()) {
    why = text.empty() ? "it wrote no report file; see that /proc is there"
                       : "the GL gives no context; see which driver is chosen";
  }
  if (!why.empty()) why = "cannot read the driver's report: " + why;
  return report;
}

std::string ExtendedReport(GADriver* driver, std::string* error) {
  if (driver) return ReadDriverReport(*driver, error).extended;
  if (error) *error = "cannot read the driver's report: there is no driver; load a module first";
  return {};
}

}  // namespace hostkit
