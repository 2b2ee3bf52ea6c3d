// The state of a farm on disk: a folder that every node sees.
//
//   plan.json       what there is to draw, written once
//   round-N.json    the pictures of each task; the second round and later have what was missing
//   jobs-N.json     the scheduler's numbers of that round
//   renderer.json   the renderer of the first node
//   nodes/HOST.json what a node's check said
//   tasks/N-I.json  how the task ended
//   checks/I.json   what was found of a part of the pictures
//   cancelled.json  there once the farm was cancelled
//   logs/           what the tasks printed
//   frames/         of a movie
//   report.json     the end
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/farm_options.h"
#include "apps/work/common/report_json.h"
#include "apps/work/farm/chunk_plan.h"
#include "apps/work/farm/farm_command.h"

namespace gl3 {

struct FarmPlan {
  std::vector<std::string> words;  ///< Of the shared command, its verb first.
  std::string workFolder;          ///< Its current folder.
  std::vector<FarmPicture> pictures;
  std::vector<double> seconds;  ///< That each is expected to take.
  double startSeconds = 0;
  std::uint64_t peakMemory = 0;  ///< Of a task, bytes; 0: unknown.
  /// Of the farm's command line; `words` are not among them.
  FarmOptions options;

  /// How many of the pictures are there, as seen from the current folder.
  std::size_t CountPictures() const;
  /// The same as text.
  std::string CountedPictures() const;
};

/// The files of a farm's folder.
class FarmFolder {
 public:
  /// `path` is absolute.
  explicit FarmFolder(std::string path) : m_path(std::move(path)) {}

  const std::string& Path() const { return m_path; }
  std::string File(const std::string& name) const { return m_path + "/" + name; }
  std::string Log(int round, const std::string& task) const;
  std::string TaskFile(int round, std::size_t task) const;

  /// Makes the folder with those in it.
  Outcome Create() const;
  /// Removes what a farm that could not be submitted left, and the folder when it is empty then.
  void RemoveStart() const;
  /// Writes a file whole or not at all.
  Outcome Write(const std::string& name, const Json& json) const;
  /// The same when there is none of that name yet; else leaves it as it is.
  Outcome WriteFirst(const std::string& name, const Json& json) const;
  /// Null when there is no such file, or it is no JSON.
  Json Read(const std::string& name) const;
  /// All files of a folder in it, in the order of their names.
  std::vector<Json> ReadAll(const std::string& folder) const;

  Outcome WritePlan(const FarmPlan& plan) const;
  Outcome ReadPlan(FarmPlan* plan) const;
  /// The same, and makes the folder of the plan's command the current one.
  Outcome EnterPlan(FarmPlan* plan) const;
  Outcome WriteRound(int round, const std::vector<PictureChunk>& chunks) const;
  Outcome ReadRound(int round, std::vector<PictureChunk>* chunks) const;
  /// How what is missing of this plan comes about, for the end of a message.
  std::string HowToGoOn(const FarmPlan& plan) const;
  /// Tells others, until this process ends, that it draws the farm whose plan is there. Where files
  /// cannot be locked nobody is told.
  void Hold() const;
  bool IsHeld() const;
  /// Has tasks and checks that come after this do nothing.
  Outcome Cancel() const { return Write(kCancelledFile, {{"cancelled", true}}); }
  bool IsCancelled() const { return Read(kCancelledFile).is_object(); }

 private:
  static constexpr const char* kCancelledFile = "cancelled.json";
  std::string m_path;
};

}  // namespace gl3
