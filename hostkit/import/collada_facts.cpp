// What COLLADA files say and the import library does not hand on.
#include "hostkit/import/collada_facts.h"

#include <string_view>

#include "hostkit/import/collada_xml.h"
#include "hostkit/import/number_text.h"

namespace hostkit {
namespace {

using collada::ById;
using collada::Elements;
using collada::ForEach;
using collada::Target;

float NumberIn(const pugi::xml_node& node) {
  const std::string_view text = Trimmed(node.text().get());
  const char* at = text.data();
  double value = 0;
  return ReadNumber(&at, at + text.size(), &value) && value > 0 && value < 1e18
             ? static_cast<float>(value)
             : 0;
}

/// Magnifications are half the width and half the height of the view.
float HeightOf(const pugi::xml_node& camera) {
  constexpr float kUsualAspect = 4.0f / 3;
  const pugi::xml_node view =
      camera.child("optics").child("technique_common").child("orthographic");
  const float height = NumberIn(view.child("ymag")), width = NumberIn(view.child("xmag"));
  const float aspect = NumberIn(view.child("aspect_ratio"));
  return height > 0 ? 2 * height : 2 * width / (aspect > 0 ? aspect : kUsualAspect);
}

PictureWrap WrapIn(const pugi::xml_node& node) {
  const std::string_view mode = Trimmed(node.text().get());
  if (mode.empty() || mode == "WRAP") return PictureWrap::kRepeat;
  return mode == "MIRROR" ? PictureWrap::kMirror : PictureWrap::kClamp;
}

/// The sampler of an effect's colour: of its emission where it has nothing but that.
pugi::xml_node SamplerOf(const pugi::xml_node& effect) {
  std::string name;
  for (const char* part : {"emission", "diffuse"}) {
    ForEach(effect, part, [&name](const pugi::xml_node& color) {
      const char* sampler = color.child("texture").attribute("texture").value();
      if (*sampler) name = sampler;
    });
  }
  pugi::xml_node sampler;
  ForEach(effect, "newparam", [&](const pugi::xml_node& parameter) {
    if (name == parameter.attribute("sid").value()) sampler = parameter.child("sampler2D");
  });
  return sampler;
}

}  // namespace

ColladaFacts::ColladaFacts(const pugi::xml_document& document) {
  ReadCameras(document);
  ReadWraps(document);
  ReadSteps(document);
}

void ColladaFacts::ReadCameras(const pugi::xml_document& document) {
  const Elements cameras = ById(document, "camera");
  ForEach(document, "instance_camera", [&](const pugi::xml_node& instance) {
    m_cameras.push_back({instance.parent().attribute("id").value(),
                         HeightOf(Target(cameras, instance.attribute("url").value()))});
  });
}

void ColladaFacts::ReadWraps(const pugi::xml_document& document) {
  const Elements effects = ById(document, "effect");
  std::map<std::string, Wraps> byEffect;  // looked into once, however many materials use it
  ForEach(document, "material", [&](const pugi::xml_node& material) {
    const std::string url = material.child("instance_effect").attribute("url").value();
    const auto [entry, isNew] = byEffect.try_emplace(url);
    Wraps& wraps = entry->second;
    if (isNew) {
      const pugi::xml_node sampler = SamplerOf(Target(effects, url.c_str()));
      wraps = {WrapIn(sampler.child("wrap_s")), WrapIn(sampler.child("wrap_t"))};
    }
    m_wraps.emplace(material.attribute("id").value(), wraps);
    m_wraps.emplace(material.attribute("name").value(), wraps);
  });
}

/// Nodes some of whose keys are no steps are left to the library's straight lines.
void ColladaFacts::ReadSteps(const pugi::xml_document& document) {
  const Elements sources = ById(document, "source"), samplers = ById(document, "sampler");
  const Elements nodes = ById(document, "node");
  std::set<std::string> others;
  ForEach(document, "channel", [&](const pugi::xml_node& channel) {
    const pugi::xml_node sampler = Target(samplers, channel.attribute("source").value());
    const bool isStepped =
        collada::AreSteps(Target(sources, collada::InputOf(sampler, "INTERPOLATION")));
    const std::string_view target = channel.attribute("target").value();
    const std::string id(target.substr(0, target.find('/')));
    for (const std::string& name :
         {id, std::string(Target(nodes, id.c_str()).attribute("name").value())}) {
      if (!name.empty()) (isStepped ? m_stepped : others).insert(name);
    }
  });
  for (const std::string& name : others) m_stepped.erase(name);
}

float ColladaFacts::ParallelHeight(const std::string& name, std::size_t index,
                                   std::size_t count) const {
  for (const Camera& camera : m_cameras) {
    if (!camera.node.empty() && camera.node == name) return camera.height;
  }
  return count == m_cameras.size() && index < count ? m_cameras[index].height : 0;
}

ColladaFacts::Wraps ColladaFacts::WrapsOf(const std::string& name) const {
  const auto found = m_wraps.find(name);
  return found == m_wraps.end() ? Wraps{PictureWrap::kRepeat, PictureWrap::kRepeat} : found->second;
}

}  // namespace hostkit
