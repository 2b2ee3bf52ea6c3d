// Drawing, comparing and telling.
#include "apps/work/compare/compare_job.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <system_error>
#include <utility>
#include <vector>

#include "apps/base/run_program.h"
#include "apps/base/text.h"
#include "apps/base/x_server.h"
#include "apps/work/compare/compare_report.h"
#include "hostkit/services/atomic_file.h"
#include "samples/write_file.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPictureSize = "256x144";  // as the kept pictures
/// The renderer's settings in all ways, whatever the user's are. Anisotropic filters are on by
/// default where the device has them, but not in software, where the kept pictures are from.
constexpr const char* kSettings = "settings.ini";
constexpr const char* kSettingsText = "[OpenGL3]\nAnisotropic = 0\n";

/// That a process takes to start, draw and compare, measured on two processors without a GPU.
constexpr double kPictureSeconds = 0.7;

/// gl3's last line without its name; what a failure is told by.
std::string LastLine(const std::string& errors) {
  std::string text = errors;
  while (!text.empty() && text.back() == '\n') text.pop_back();
  text = text.substr(text.rfind('\n') + 1);
  const std::string name = "gl3: ";
  return OneLine(text.rfind(name, 0) == 0 ? text.substr(name.size()) : text);
}

/// Whether a failure is one of the driver's, which says nothing by itself: gl3 or its child came to
/// no end of its own. These are the words of RunSupervised and RunProbe.
bool TellsOfCrash(const std::string& line) {
  constexpr const char* kWords[] = {" crashed (", " ended the process", " took longer than ",
                                    " was killed from outside"};
  return std::any_of(std::begin(kWords), std::end(kWords),
                     [&line](const char* words) { return line.find(words) != std::string::npos; });
}

std::string CannotWriteReport(const std::string& file) {
  return fmt::format("{}: cannot be written: {}; check the disk", file, std::strerror(errno));
}

/// One comparison.
class Comparison {
 public:
  explicit Comparison(const InfoOptions& options)
      : m_options(options), m_folder(options.compareFolder) {}

  Outcome Run(int devices, std::string* result);

 private:
  Outcome Choose(int devices, const std::string& display);
  Outcome Prepare();
  ComparedDriver Draw(const CompareDriver& driver);
  ComparedPicture DrawScene(const CompareDriver& driver, const CompareScene& scene);
  void CompareWithKept(const std::string& path, const CompareDriver& driver, const Pixels& pixels,
                       ComparedPicture* picture) const;
  ProgramEnd RunGl3(const CompareDriver& driver, std::vector<std::string> words) const;
  Outcome Judge() const;

  const InfoOptions& m_options;
  const fs::path m_folder;
  std::string m_gallery;
  std::vector<CompareDriver> m_chosen;
  std::vector<CompareScene> m_scenes;
  std::vector<ComparedDriver> m_drivers;
};

Outcome Comparison::Choose(int devices, const std::string& display) {
  m_chosen = ListCompareDrivers(devices, display);
  const std::vector<std::string>& wanted = m_options.compareDrivers;
  if (wanted.empty()) return {};
  std::vector<std::string> names;
  for (const CompareDriver& driver : m_chosen) names.push_back(ShellQuote(driver.name));
  std::vector<CompareDriver> chosen;
  for (const std::string& name : wanted) {
    const auto found = std::find_if(m_chosen.begin(), m_chosen.end(),
                                    [&](const CompareDriver& d) { return d.name == name; });
    if (found == m_chosen.end()) {
      return {kWrongUsage,
              fmt::format("--driver {}: there is none of that name here; give one of {}",
                          ShellQuote(name), JoinNames(names))};
    }
    chosen.push_back(*found);
  }
  m_chosen = std::move(chosen);
  return {};
}

Outcome Comparison::Prepare() {
  std::string error;
  m_gallery = GalleryFolder(&error);
  if (m_gallery.empty()) return {kUnreadableInput, error};
  m_scenes = ReadScenes(m_gallery, &error);
  if (m_scenes.empty()) return {kUnreadableInput, error};
  std::error_code code;
  fs::create_directories(m_folder / "models", code);
  if (code) {
    return {kUnwritableOutput, fmt::format("{}: the folder cannot be made: {}; name another",
                                           m_folder.string(), code.message())};
  }
  if (!samples::WriteFile(m_folder / kSettings, kSettingsText, &error) ||
      !WriteCompareModels(m_folder / "models", &error)) {
    return {kUnwritableOutput, error};
  }
  return {};
}

ProgramEnd Comparison::RunGl3(const CompareDriver& driver, std::vector<std::string> words) const {
  words.insert(words.begin(), OwnProgram());
  if (!m_options.run.module.empty()) {
    words.insert(words.end(), {"--module", m_options.run.module});
  }
  // Compiled shaders of one way are nothing to another, and Mesa does not always tell them apart.
  std::map<std::string, std::string> environment = driver.environment;
  environment["GL3_REGISTRY"] = (m_folder / kSettings).string();
  // Mesa makes its own folder within this one alone, and speaks of it when it cannot.
  const fs::path cache = m_folder / "cache" / driver.folder;
  std::error_code code;
  fs::create_directories(cache, code);
  environment["XDG_CACHE_HOME"] = fs::absolute(cache, code).string();
  return RunProgram(words, environment, m_options.run.limits.timeoutSeconds);
}

void Comparison::CompareWithKept(const std::string& path, const CompareDriver& driver,
                                 const Pixels& pixels, ComparedPicture* picture) const {
  Pixels kept;
  std::string error;
  const std::string name = picture->scene.name + ".png";
  if (!ReadPixels((fs::path(m_gallery) / name).string(), &kept, &picture->trouble)) return;
  if (kept.width != pixels.width || kept.height != pixels.height) {
    picture->trouble = fmt::format("{} has another size than the kept picture", path);
    return;
  }
  picture->kept = Compare(kept, pixels);
  if (picture->kept->isEqual) return;
  const fs::path folder = m_folder / "differences" / driver.folder;
  std::error_code code;
  fs::create_directories(folder, code);
  WriteDifference((folder / name).string(), kept, pixels, &error);
}

ComparedPicture Comparison::DrawScene(const CompareDriver& driver, const CompareScene& scene) {
  ComparedPicture picture;
  picture.scene = scene;
  const std::string name = scene.name + ".png";
  const std::string path = (m_folder / "pictures" / driver.folder / name).string();
  std::error_code code;
  fs::remove(path, code);  // of an earlier run
  fs::remove(m_folder / "differences" / driver.folder / name, code);
  std::vector<std::string> words = {
      "render", (m_folder / "models" / scene.model).string(), "-o", path, "-s", kPictureSize, "-q"};
  words.insert(words.end(), scene.arguments.begin(), scene.arguments.end());
  const ProgramEnd end = RunGl3(driver, words);
  if (!end.trouble.empty()) picture.trouble = "gl3 " + end.trouble;
  const std::string line = LastLine(end.errors);
  if (end.status > 0) (TellsOfCrash(line) ? picture.trouble : picture.refusal) = line;
  if (end.status == 0) picture.trouble += line;
  if (end.status != 0 || !picture.trouble.empty()) return picture;
  Pixels pixels, first;
  if (!ReadPixels(path, &pixels, &picture.trouble)) return picture;
  CompareWithKept(path, driver, pixels, &picture);
  std::string error;
  const fs::path of_first = m_folder / "pictures" / m_drivers.front().driver.folder / name;
  if (ReadPixels(of_first.string(), &first, &error) && first.width == pixels.width &&
      first.height == pixels.height) {
    picture.first = Compare(first, pixels);
  }
  return picture;
}

ComparedDriver Comparison::Draw(const CompareDriver& driver) {
  ComparedDriver compared;
  compared.driver = driver;
  compared.facts = Json::object();
  const ProgramEnd end = RunGl3(driver, {"info", "--json", "-q"});
  const Json report = ParsedJson(end.output);
  for (const char* const part : {"display", "opengl", "limits"}) {
    if (report.is_object() && report.contains(part)) compared.facts[part] = report[part];
  }
  if (!end.trouble.empty()) compared.problem = "gl3 info " + end.trouble;
  if (end.status > 0) compared.problem = LastLine(end.errors);
  compared.crashed = !end.trouble.empty() || TellsOfCrash(compared.problem);
  if (end.status != 0) return compared;
  std::error_code code;
  fs::create_directories(m_folder / "pictures" / driver.folder, code);
  return compared;
}

Outcome Comparison::Judge() const {
  const std::string where = (m_folder / "compare.json").string();
  for (const ComparedDriver& driver : m_drivers) {
    if (driver.crashed) return {kMismatch, driver.driver.name + ": " + driver.problem};
    for (const ComparedPicture& picture : driver.pictures) {
      if (picture.trouble.empty() && IsWithin(picture)) continue;
      const std::string what = picture.trouble.empty()
                                   ? "not as the kept picture; see the differences"
                                   : picture.trouble;
      return {kMismatch, fmt::format("{}: {}: {} (more in {})", driver.driver.name,
                                     picture.scene.name, what, where)};
    }
  }
  const std::string& problem = m_drivers.front().problem;
  return problem.empty() ? Outcome() : Outcome{kNoOpenGl, problem};
}

Outcome Comparison::Run(int devices, std::string* result) {
  XServer server;
  const std::string display = server.Start();
  if (display.empty()) PrintNote("no X server: Xvfb does not start; apt-get install xvfb");
  Outcome outcome = Choose(devices, display);
  if (outcome.status == kDone) outcome = Prepare();
  if (outcome.status != kDone) return outcome;
  const std::size_t pictures = m_scenes.size() * m_chosen.size();
  PrintStatus(fmt::format("drawing {} pictures with {} driver{}, which takes some {}",
                          m_scenes.size(), m_chosen.size(), m_chosen.size() == 1 ? "" : "s",
                          FormatDuration(kPictureSeconds * static_cast<double>(pictures))));
  for (const CompareDriver& driver : m_chosen) {
    m_drivers.push_back(Draw(driver));
    ComparedDriver& compared = m_drivers.back();
    for (const CompareScene& scene : m_scenes) {
      if (!compared.problem.empty()) break;
      if (ShowsProgress()) ShowProgress(driver.name + ": " + scene.name);
      compared.pictures.push_back(DrawScene(driver, scene));
    }
    std::error_code code;
    fs::remove_all(m_folder / "cache", code);
  }
  ShowProgress("");
  const Json json = CompareJson(m_drivers);
  *result = m_options.run.json ? PrintedJson(json) : CompareTable(m_drivers);
  const std::string file = (m_folder / "compare.json").string();
  hostkit::AtomicFile out;
  if (!out.Open(file, hostkit::AtomicFile::TempName::kUnique)) {
    return {kUnwritableOutput, CannotWriteReport(file)};
  }
  out.Write(PrintedJson(json));
  if (!out.Commit()) return {kUnwritableOutput, CannotWriteReport(file)};
  return Judge();
}

}  // namespace

Outcome CompareDrivers(const InfoOptions& options, int devices, std::string* result) {
  return Comparison(options).Run(devices, result);
}

}  // namespace gl3
