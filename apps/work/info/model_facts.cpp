// What there is to tell of a model.
#include "apps/work/info/model_facts.h"

#include <Imath/ImathBox.h>
#include <fmt/format.h>

#include <cstddef>
#include <utility>

#include "apps/base/messages.h"
#include "apps/base/text.h"
#include "host/Lights.h"

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

ReportLines AllLinesOf(const Json& model) {
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

}  // namespace

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

ReportLines LinesOf(const Json& model) {
  ReportLines lines;
  for (auto& line : AllLinesOf(model)) {
    if (!line.second.empty() && line.second != "0") lines.push_back(std::move(line));
  }
  std::string warnings;
  for (const Json& warning : model["warnings"]) {
    warnings += (warnings.empty() ? "" : "\n") + OneLine(warning.get<std::string>());
  }
  if (!warnings.empty()) lines.emplace_back("not as in the file", warnings);
  return lines;
}

}  // namespace gl3
