// What `gl3 info` tells of models, and of the kinds of files.
#include "apps/work/info/model_info.h"

#include <Imath/ImathBox.h>
#include <fmt/format.h>

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "apps/base/file_checks.h"
#include "apps/base/text.h"
#include "apps/work/info/info_report.h"
#include "host/Lights.h"
#include "hostkit/isolated/import_process.h"
#include "hostkit/pictures/picture_formats.h"
#include "hostkit/scene/scene.h"

namespace gl3 {
namespace {

constexpr const char* kUpNames[] = {"+X", "-X", "+Y", "-Y", "+Z", "-Z"};  // as UpAxis
constexpr std::size_t kMostShown = 20;                                    // of a list, in text

Json Numbers(const Imath::V3d& v) {
  return {v.x, v.y, v.z};
}

const char* LightName(int type) {
  if (type == GALight::kSpot) return "spot";
  return type == GALight::kDirectional ? "directional" : "point";
}

void AddPlaces(const hostkit::Scene& scene, Json* json) {
  const Imath::Box3f bounds = scene.Bounds();
  const Imath::V3d least = Imath::V3d(bounds.min) + scene.origin;
  const Imath::V3d most = Imath::V3d(bounds.max) + scene.origin;
  (*json)["up"] = kUpNames[static_cast<std::size_t>(scene.upAxis)];
  (*json)["size"] = Numbers(Imath::V3d(bounds.max) - Imath::V3d(bounds.min));
  (*json)["bounds"] = {{"least", Numbers(least)}, {"most", Numbers(most)}};
}

void AddShapes(const hostkit::Scene& scene, Json* json) {
  std::size_t vertices = 0, lines = 0, points = 0;
  for (const hostkit::SceneInstance& instance : scene.instances) {
    const hostkit::SceneMesh& mesh = scene.meshes[static_cast<std::size_t>(instance.mesh)];
    vertices += mesh.positions.size();
    lines += mesh.lines.size() / 2;
    points += mesh.points.size();
  }
  (*json)["triangles"] = scene.TriangleCount();
  (*json)["lines"] = lines;
  (*json)["points"] = points;
  (*json)["vertices"] = vertices;
  (*json)["meshes"] = scene.meshes.size();
}

/// One entry a thing of a list.
template <class Things, class Describe>
Json ListOf(const Things& things, Describe describe) {
  Json list = Json::array();
  for (const auto& thing : things) list.push_back(describe(thing));
  return list;
}

void AddLooks(const hostkit::Scene& scene, Json* json) {
  (*json)["materials"] = ListOf(scene.materials, [](const hostkit::SceneMaterial& material) {
    Json one = {{"name", material.name}};
    if (material.image >= 0) one["texture"] = material.image;
    return one;
  });
  (*json)["textures"] = ListOf(scene.images, [](const hostkit::SceneImage& image) -> Json {
    return {{"name", image.name},
            {"width", image.bitmap ? image.bitmap->GetWidth() : 0},
            {"height", image.bitmap ? image.bitmap->GetHeight() : 0}};
  });
}

void AddViews(const hostkit::Scene& scene, Json* json) {
  (*json)["cameras"] = ListOf(scene.cameras, [](const hostkit::SceneCamera& camera) -> Json {
    return {{"name", camera.name},
            {"kind", camera.parallelHeight > 0 ? "parallel" : "perspective"}};
  });
  (*json)["lights"] = ListOf(scene.lights, [](const hostkit::SceneLight& light) -> Json {
    return {{"name", light.name}, {"kind", LightName(light.type)}};
  });
  (*json)["animations"] =
      ListOf(scene.motion.animations, [](const hostkit::SceneAnimation& animation) -> Json {
        return {{"name", animation.name}, {"seconds", animation.duration}};
      });
}

Json DescribeModel(const std::string& path, const hostkit::Scene& scene) {
  const hostkit::SceneFacts& facts = scene.facts;
  Json json = {{"model", path}, {"status", static_cast<int>(kDone)}, {"format", facts.format}};
  json["metersPerUnit"] = facts.metersPerUnit > 0 ? Json(facts.metersPerUnit) : Json();
  AddPlaces(scene, &json);
  AddShapes(scene, &json);
  AddLooks(scene, &json);
  AddViews(scene, &json);
  json["scenes"] = facts.scenes;
  json["extensionsUsed"] = facts.extensionsUsed;
  json["extensionsRequired"] = facts.extensionsRequired;
  // What it cannot be drawn with is told of animations when they are played.
  json["warnings"] = scene.warnings;
  for (const std::string& warning : scene.motion.warnings) json["warnings"].push_back(warning);
  return json;
}

/// The names in a list, with what else is to be said of each.
template <class More>
std::string NamesIn(const Json& list, More more) {
  std::string text;
  for (std::size_t i = 0; i < list.size() && i < kMostShown; ++i) {
    const Json& name = list[i].is_object() ? list[i]["name"] : list[i];
    const std::string shown = OneLine(name.get<std::string>());
    text += (i == 0 ? "" : ", ") + (shown.empty() ? "(no name)" : shown) + more(list[i]);
  }
  if (list.size() > kMostShown) text += fmt::format(", and {} more", list.size() - kMostShown);
  return text;
}

std::string NamesIn(const Json& list) {
  return NamesIn(list, [](const Json&) { return ""; });
}

std::string SizeText(const Json& model) {
  std::string text, inMeters;
  for (const Json& side : model["size"]) {
    text += fmt::format("{}{:.6g}", text.empty() ? "" : " x ", side.get<double>());
    if (!model["metersPerUnit"].is_number()) continue;
    inMeters += fmt::format("{}{:.6g}", inMeters.empty() ? "" : " x ",
                            side.get<double>() * model["metersPerUnit"].get<double>());
  }
  return inMeters.empty() ? text : text + " (" + inMeters + " m)";
}

ReportLines LinesOf(const Json& model) {
  const auto kind = [](const Json& one) { return " (" + one["kind"].get<std::string>() + ")"; };
  const Json& unit = model["metersPerUnit"];
  return {
      {"format", OneLine(model["format"].get<std::string>())},
      {"unit", unit.is_number() ? fmt::format("{:.6g} m", unit.get<double>()) : "not told"},
      {"size", SizeText(model)},
      {"up", model["up"].get<std::string>()},
      {"triangles", model["triangles"].dump()},
      {"lines", model["lines"].dump()},
      {"points", model["points"].dump()},
      {"vertices", model["vertices"].dump()},
      {"meshes", model["meshes"].dump()},
      {"materials", NamesIn(model["materials"])},
      {"textures", NamesIn(model["textures"],
                           [](const Json& texture) {
                             return " " + texture["width"].dump() + "x" + texture["height"].dump();
                           })},
      {"cameras", NamesIn(model["cameras"], kind)},
      {"lights", NamesIn(model["lights"], kind)},
      {"animations", NamesIn(model["animations"],
                             [](const Json& animation) {
                               return fmt::format(" {:.4g} s", animation["seconds"].get<double>());
                             })},
      {"scenes", NamesIn(model["scenes"])},
      {"extensions used", NamesIn(model["extensionsUsed"])},
      {"extensions required", NamesIn(model["extensionsRequired"])}};
}

/// What there is nothing of is left out.
std::string FormatModel(const Json& model) {
  ReportLines lines;
  for (auto& line : LinesOf(model)) {
    if (!line.second.empty() && line.second != "0") lines.push_back(std::move(line));
  }
  std::string warnings;
  for (const Json& warning : model["warnings"]) {
    warnings += (warnings.empty() ? "" : "\n") + OneLine(warning.get<std::string>());
  }
  if (!warnings.empty()) lines.emplace_back("not as in the file", warnings);
  return OneLine(model["model"].get<std::string>()) + "\n" + Aligned(lines);
}

/// Imports that go on two at a time: one is waited for, the next is begun.
class Imports {
 public:
  explicit Imports(const InfoOptions& options) : m_options(options) { Begin(); }

  hostkit::ImportEnd Next(std::unique_ptr<hostkit::Scene>* scene, std::string* error) {
    const std::unique_ptr<hostkit::ImportProcess> import = std::move(m_import);
    Begin();
    return import->Finish({}, scene, error);
  }

 private:
  void Begin() {
    if (m_begun == m_options.models.size()) return;
    const Limits& limits = m_options.run.limits;
    hostkit::ImportLimits own;
    own.seconds = own.processorSeconds = limits.timeoutSeconds;
    own.memory = limits.maxMemory;
    own.confined = m_options.run.confined;
    own.showsMessages = m_options.run.verbosity == Verbosity::kVerbose;
    m_import = std::make_unique<hostkit::ImportProcess>(
        std::vector<std::string>{m_options.models[m_begun++]}, own);
  }

  const InfoOptions& m_options;
  std::size_t m_begun = 0;
  std::unique_ptr<hostkit::ImportProcess> m_import;
};

/// The kinds of pictures as JSON, those that are written where `written` is set.
Json PictureKinds(bool written) {
  Json kinds = Json::array();
  for (const hostkit::PictureFormat& format : hostkit::kPictureFormats) {
    if (written && !format.written) continue;
    Json suffixes = Json::array();
    const std::size_t count = written ? format.writtenSuffixes : std::size(format.suffixes);
    for (std::size_t i = 0; i < count && format.suffixes[i]; ++i) {
      suffixes.push_back(format.suffixes[i]);
    }
    kinds.push_back({{"format", format.name},
                     {"suffixes", suffixes},
                     {"what", written ? format.written : format.read}});
  }
  return kinds;
}

std::string FormatPictureKinds(const Json& kinds) {
  ReportLines lines;
  for (const Json& kind : kinds) {
    std::string suffixes;
    for (const Json& suffix : kind["suffixes"]) suffixes += " " + suffix.get<std::string>();
    lines.emplace_back(suffixes.substr(1),
                       kind["format"].get<std::string>() + ": " + kind["what"].get<std::string>());
  }
  return Aligned(lines);
}

}  // namespace

Outcome TellModels(const InfoOptions& options, std::string* result) {
  Outcome outcome;
  Json models = Json::array();
  std::string text;
  Imports imports(options);
  for (const std::string& path : options.models) {
    std::unique_ptr<hostkit::Scene> scene;
    std::string error;
    const hostkit::ImportEnd end = imports.Next(&scene, &error);
    if (end == hostkit::ImportEnd::kDone) {
      models.push_back(DescribeModel(path, *scene));
      text += (text.empty() ? "" : "\n") + FormatModel(models.back());
      continue;
    }
    const Outcome failed = end == hostkit::ImportEnd::kUnreadable ? UnreadableInput({path}, error)
                                                                  : Outcome{kRunFailed, error};
    models.push_back({{"model", path}, {"status", failed.status}, {"error", failed.message}});
    PrintError(failed.message);
    if (outcome.status == kDone) outcome.status = failed.status;
  }
  *result = options.run.json ? PrintedJson({{"models", models}}) : text;
  return outcome;
}

Outcome TellFormats(const InfoOptions& options, std::string* result) {
  std::vector<hostkit::ImportKind> kinds;
  std::string error;
  if (!hostkit::ListImportKinds(&kinds, &error)) return {kRunFailed, error};
  Json models = Json::array();
  ReportLines lines;
  for (const hostkit::ImportKind& kind : kinds) {
    models.push_back({{"format", kind.format}, {"suffixes", Json::array({kind.suffix})}});
    lines.emplace_back(kind.suffix, kind.format);
  }
  const Json read = PictureKinds(false), written = PictureKinds(true);
  *result =
      options.run.json
          ? PrintedJson(
                {{"modelsRead", models}, {"picturesRead", read}, {"picturesWritten", written}})
          : "Models read\n" + Aligned(lines) + "\nPictures read\n" + FormatPictureKinds(read) +
                "\nPictures written\n" + FormatPictureKinds(written);
  return {};
}

}  // namespace gl3
