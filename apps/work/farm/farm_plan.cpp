// The state of a farm on disk.
#include "apps/work/farm/farm_plan.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "hostkit/services/atomic_file.h"

namespace gl3 {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPlanFile = "plan.json";

Outcome CannotWrite(const std::string& path, int code) {
  return {kUnwritableOutput, fmt::format("{}: cannot be written: {}; make room, or give another "
                                         "--folder",
                                         path, std::strerror(code))};
}

Json ToJson(const FarmOptions& options) {
  return {{"tasks", options.tasks},     {"perNode", options.perNode},
          {"retries", options.retries}, {"minutes", options.minutes},
          {"memory", options.memory},   {"sbatch", options.submitOptions},
          {"local", options.local},     {"allowMixed", options.allowMixed},
          {"folder", options.folder}};
}

FarmOptions OptionsOf(const Json& json) {
  FarmOptions options;
  options.tasks = json.at("tasks");
  options.perNode = json.at("perNode");
  options.retries = json.at("retries");
  options.minutes = json.at("minutes");
  options.memory = json.at("memory");
  options.submitOptions = json.at("sbatch").get<std::vector<std::string>>();
  options.local = json.at("local");
  options.allowMixed = json.at("allowMixed");
  options.folder = json.value("folder", "");
  return options;
}

FarmPlan PlanOf(const Json& json) {
  FarmPlan plan;
  plan.words = json.at("command").get<std::vector<std::string>>();
  plan.workFolder = json.at("folder");
  plan.startSeconds = json.at("startSeconds");
  plan.peakMemory = json.at("peakMemoryBytes");
  plan.options = OptionsOf(json.at("options"));
  for (const Json& picture : json.at("pictures")) {
    plan.pictures.push_back({picture.at("frame"), picture.at("input"),
                             picture.at("outputs").get<std::vector<std::string>>(),
                             picture.at("distances").get<std::vector<std::string>>()});
    plan.seconds.push_back(picture.at("seconds"));
  }
  return plan;
}

}  // namespace

std::size_t FarmPlan::CountPictures() const {
  const auto there = std::count_if(pictures.begin(), pictures.end(),
                                   [](const FarmPicture& picture) { return picture.IsThere(); });
  return static_cast<std::size_t>(there);
}

std::string FarmPlan::CountedPictures() const {
  return fmt::format("{} of {} pictures are there", CountPictures(), pictures.size());
}

std::string FarmFolder::Log(int round, const std::string& task) const {
  return File(fmt::format("logs/{}-{}.log", round, task));
}

std::string FarmFolder::TaskFile(int round, std::size_t task) const {
  return fmt::format("tasks/{}-{}.json", round, task);
}

Outcome FarmFolder::Create() const {
  for (const char* name : {"", "nodes", "tasks", "checks", "logs", "frames"}) {
    std::error_code code;
    fs::create_directories(File(name), code);
    if (code) return CannotWrite(File(name), code.value());
  }
  return {};
}

void FarmFolder::RemoveStart() const {
  std::error_code code;
  for (const char* name : {"plan.json", "round-1.json", "round-1.sh", "check-1.sh", "nodes",
                           "tasks", "checks", "logs", "frames", ""}) {
    fs::remove(*name ? File(name) : m_path, code);  // folders only when they are empty
  }
}

Outcome FarmFolder::Write(const std::string& name, const Json& json) const {
  hostkit::AtomicFile file;
  if (!file.Open(File(name), hostkit::AtomicFile::TempName::kUnique)) {
    return CannotWrite(File(name), errno);
  }
  file.Write(PrintedJson(json));
  return file.Commit() ? Outcome() : CannotWrite(File(name), errno);
}

Outcome FarmFolder::WriteFirst(const std::string& name, const Json& json) const {
  // A link is made once, by whoever comes first, on file systems of networks too.
  char host[256] = {};
  gethostname(host, sizeof host - 1);
  const std::string own = fmt::format("{}.{}.{}", name, host, getpid());
  Outcome outcome = Write(own, json);
  if (outcome.status != kDone) return outcome;
  const bool isLinked = link(File(own).c_str(), File(name).c_str()) == 0;
  const int code = errno;
  unlink(File(own).c_str());
  return isLinked || code == EEXIST ? Outcome() : CannotWrite(File(name), code);
}

Json FarmFolder::Read(const std::string& name) const {
  std::ifstream file(File(name), std::ios::binary);
  const Json json = ParsedJson({std::istreambuf_iterator<char>(file), {}});
  return json.is_discarded() ? Json() : json;
}

std::vector<Json> FarmFolder::ReadAll(const std::string& folder) const {
  std::vector<std::string> names;
  std::error_code code;
  for (fs::directory_iterator entry(File(folder), code), end; !code && entry != end;
       entry.increment(code)) {
    if (entry->path().extension() == ".json") {
      names.push_back(folder + "/" + entry->path().filename().string());
    }
  }
  std::sort(names.begin(), names.end());
  std::vector<Json> all;
  for (const std::string& name : names) {
    Json json = Read(name);
    if (json.is_object()) all.push_back(std::move(json));
  }
  return all;
}

Outcome FarmFolder::WritePlan(const FarmPlan& plan) const {
  Json pictures = Json::array();
  for (std::size_t i = 0; i < plan.pictures.size(); ++i) {
    const FarmPicture& picture = plan.pictures[i];
    pictures.push_back({{"frame", picture.frame},
                        {"input", picture.input},
                        {"outputs", picture.outputs},
                        {"distances", picture.distances},
                        {"seconds", plan.seconds[i]}});
  }
  return Write(kPlanFile, {{"gl3", GL3_VERSION},
                           {"command", plan.words},
                           {"folder", plan.workFolder},
                           {"startSeconds", plan.startSeconds},
                           {"peakMemoryBytes", plan.peakMemory},
                           {"options", ToJson(plan.options)},
                           {"pictures", std::move(pictures)}});
}

Outcome FarmFolder::ReadPlan(FarmPlan* plan) const {
  const Json json = Read(kPlanFile);
  try {
    if (!json.is_null()) {
      *plan = PlanOf(json);
      return {};
    }
  } catch (const Json::exception&) {
  }
  return {kUnreadableInput,
          File(kPlanFile) + ": is no plan of a farm; name the folder that gl3 farm made"};
}

Outcome FarmFolder::EnterPlan(FarmPlan* plan) const {
  Outcome outcome = ReadPlan(plan);
  if (outcome.status != kDone || chdir(plan->workFolder.c_str()) == 0) return outcome;
  return {kUnreadableInput,
          fmt::format("{}: cannot be entered here: {}; farms need folders that every node sees",
                      plan->workFolder, std::strerror(errno))};
}

std::string FarmFolder::HowToGoOn(const FarmPlan& plan) const {
  const std::string frames = File("frames/");
  const bool isMovie =
      std::any_of(plan.pictures.begin(), plan.pictures.end(), [&](const FarmPicture& picture) {
        return !picture.outputs.empty() && picture.outputs.front().starts_with(frames);
      });
  return fmt::format("the same command {}{}", isMovie ? "makes the movie anew" : "goes on",
                     plan.options.folder.empty() ? "" : ", with another --folder");
}

void FarmFolder::Hold() const {
  // Never closed: the lock goes with the process and those that it forked.
  const int plan = open(File(kPlanFile).c_str(), O_RDWR | O_CLOEXEC);
  if (plan >= 0) flock(plan, LOCK_EX | LOCK_NB);
}

bool FarmFolder::IsHeld() const {
  const int plan = open(File(kPlanFile).c_str(), O_RDONLY | O_CLOEXEC);
  if (plan < 0) return false;
  const bool isFree = flock(plan, LOCK_SH | LOCK_NB) == 0 || errno != EWOULDBLOCK;
  close(plan);
  return !isFree;
}

Outcome FarmFolder::WriteRound(int round, const std::vector<PictureChunk>& chunks) const {
  return Write(fmt::format("round-{}.json", round), {{"tasks", chunks}});
}

Outcome FarmFolder::ReadRound(int round, std::vector<PictureChunk>* chunks) const {
  const std::string name = fmt::format("round-{}.json", round);
  const Json json = Read(name);
  try {
    if (!json.is_null()) {
      *chunks = json.at("tasks").get<std::vector<PictureChunk>>();
      return {};
    }
  } catch (const Json::exception&) {
  }
  return {kUnreadableInput, File(name) + ": cannot be read; start the farm anew"};
}

}  // namespace gl3
