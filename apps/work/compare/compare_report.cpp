// What comparing drivers found, in words and figures.
#include "apps/work/compare/compare_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace gl3 {
namespace {

/// How the pictures of a driver stand.
struct Counts {
  int equal = 0, within = 0, beyond = 0, refused = 0, failed = 0;
  int asFirst = 0, compared = 0;  ///< With the first driver: equal, of so many.
  double farthest = 0;            ///< The largest mean difference from the first driver.
};

Counts Count(const ComparedDriver& driver) {
  Counts counts;
  for (const ComparedPicture& picture : driver.pictures) {
    if (!picture.refusal.empty()) ++counts.refused;
    if (!picture.trouble.empty()) ++counts.failed;
    if (picture.kept) {
      ++(picture.kept->isEqual ? counts.equal
                               : (IsWithin(picture) ? counts.within : counts.beyond));
    }
    if (!picture.first) continue;
    ++counts.compared;
    if (picture.first->isEqual) ++counts.asFirst;
    counts.farthest = std::max(counts.farthest, picture.first->mean);
  }
  return counts;
}

Json DifferenceJson(const std::optional<PictureDifference>& difference) {
  if (!difference) return nullptr;
  return {{"equal", difference->isEqual},
          {"seenPercent", difference->seen},
          {"mean", difference->mean},
          {"largest", difference->largest},
          {"shrunk", difference->shrunk}};
}

Json ComparedJson(const ComparedPicture& picture) {
  Json json = {{"name", picture.scene.name}};
  if (!picture.refusal.empty()) json["refusal"] = picture.refusal;
  if (!picture.trouble.empty()) json["trouble"] = picture.trouble;
  if (picture.kept) json["withinBounds"] = IsWithin(picture);
  json["fromKept"] = DifferenceJson(picture.kept);
  json["fromFirst"] = DifferenceJson(picture.first);
  return json;
}

std::string Renderer(const ComparedDriver& driver) {
  if (!driver.facts.contains("opengl")) return "-";
  return driver.facts["opengl"].value("renderer", "-");
}

std::string DriverLine(const ComparedDriver& driver) {
  const std::string& name = driver.driver.name;
  if (!driver.problem.empty()) return fmt::format("{:<29} {}\n", name, driver.problem);
  const Counts c = Count(driver);
  return fmt::format("{:<29} {:>5} {:>6} {:>6} {:>7} {:>7}  {:>2} of {:<2}  {:.5f}  {}\n", name,
                     c.equal, c.within, c.beyond, c.refused, c.failed, c.asFirst, c.compared,
                     c.farthest, Renderer(driver));
}

/// What is to be said of one picture; empty when all is well.
std::string PictureLine(const ComparedPicture& picture) {
  if (!picture.trouble.empty()) return picture.trouble;
  if (!picture.refusal.empty()) return picture.refusal;
  if (!picture.kept || IsWithin(picture)) return "";
  const PictureDifference& apart = *picture.kept;
  const PictureBounds& most = picture.scene.bounds;
  return fmt::format(
      "beyond its bounds: {:.2f} % of the pixels look different (at most {}), mean {:.4f} (at most "
      "{}), shrunk {:.3f} (at most {})",
      apart.seen, most.seen, apart.mean, most.mean, apart.shrunk, most.shrunk);
}

}  // namespace

bool IsWithin(const ComparedPicture& picture) {
  if (!picture.kept) return true;
  const PictureDifference& apart = *picture.kept;
  const PictureBounds& most = picture.scene.bounds;
  return apart.seen <= most.seen && apart.mean <= most.mean && apart.shrunk <= most.shrunk;
}

Json CompareJson(const std::vector<ComparedDriver>& drivers) {
  Json list = Json::array();
  for (const ComparedDriver& driver : drivers) {
    Json json = {{"name", driver.driver.name}, {"environment", driver.driver.environment}};
    if (!driver.problem.empty()) json["problem"] = driver.problem;
    json.update(driver.facts);
    json["pictures"] = Json::array();
    for (const ComparedPicture& picture : driver.pictures) {
      json["pictures"].push_back(ComparedJson(picture));
    }
    list.push_back(std::move(json));
  }
  return list;
}

std::string CompareTable(const std::vector<ComparedDriver>& drivers) {
  std::string table =
      "                              against the kept pictures             as the     largest\n"
      "driver                        equal within beyond refused failed   first     mean     "
      "renderer\n";
  for (const ComparedDriver& driver : drivers) table += DriverLine(driver);
  std::string lines;
  for (const ComparedDriver& driver : drivers) {
    for (const ComparedPicture& picture : driver.pictures) {
      const std::string line = PictureLine(picture);
      if (line.empty()) continue;
      lines += fmt::format("{}: {}: {}\n", driver.driver.name, picture.scene.name, line);
    }
  }
  return lines.empty() ? table : table + "\n" + lines;
}

}  // namespace gl3
