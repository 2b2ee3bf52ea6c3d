// Shapes that COLLADA meshes go towards, which the import library drops or crashes on.
#include "hostkit/import/collada_morphs.h"

#include <assimp/mesh.h>
#include <assimp/scene.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <set>
#include <string_view>
#include <utility>

#include "hostkit/import/collada_xml.h"
#include "hostkit/import/number_text.h"
#include "hostkit/scene/directions.h"

namespace hostkit {
namespace {

using collada::ById;
using collada::Elements;
using collada::InputOf;
using collada::NumbersOf;
using collada::Target;
using Imath::V3f;

// Marks the texture coordinates that are numbers of positions.
constexpr int kMark = 71'755;
constexpr const char* kHidden = "extra";    // to the library
constexpr const char* kSet = "7";           // the last that the library keeps
constexpr unsigned kMostNumber = 1u << 24;  // whole numbers are exact as floats up to here
// Of all shapes of a file together; of positions, and of vertices.
constexpr std::size_t kMostWays = 1u << 25;

std::vector<V3f> PositionsOf(const pugi::xml_node& geometry, const Elements& sources) {
  const pugi::xml_node mesh = geometry.child("mesh");
  const char* const source = InputOf(mesh.child("vertices"), "POSITION");
  const std::vector<double> numbers = NumbersOf(Target(sources, source), 3);
  std::vector<V3f> positions;
  for (std::size_t i = 0; i + 2 < numbers.size(); i += 3) {
    const V3f position(Imath::V3d(numbers[i], numbers[i + 1], numbers[i + 2]));
    positions.push_back(IsFinite(position) ? position : V3f(0.0f));
  }
  return positions;
}

/// Gives the mesh the numbers of its positions, and of the morph that it follows.
void AddNumbers(pugi::xml_node mesh, std::size_t morph, std::size_t count) {
  const std::string id = fmt::format("gl3-numbers-{}", morph);
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += fmt::format("{} {} {} ", i, morph, kMark);
  pugi::xml_node source = mesh.prepend_child("source");
  source.append_attribute("id") = id.c_str();
  pugi::xml_node array = source.append_child("float_array");
  array.append_attribute("id") = (id + "-array").c_str();
  array.append_attribute("count") = static_cast<unsigned>(3 * count);
  array.text() = text.c_str();
  pugi::xml_node accessor = source.append_child("technique_common").append_child("accessor");
  accessor.append_attribute("source") = ("#" + id + "-array").c_str();
  accessor.append_attribute("count") = static_cast<unsigned>(count);
  accessor.append_attribute("stride") = 3;
  for (const char* name : {"S", "T", "P"}) {
    pugi::xml_node param = accessor.append_child("param");
    param.append_attribute("name") = name;
    param.append_attribute("type") = "float";
  }
  pugi::xml_node input = mesh.child("vertices").append_child("input");
  input.append_attribute("semantic") = "TEXCOORD";
  input.append_attribute("source") = ("#" + id).c_str();
  input.append_attribute("set") = kSet;
}

/// The weight that a channel's target "…(number)" names, and the part before in `*address`; -1
/// where it names none.
int WeightNumber(std::string_view target, std::string_view* address) {
  const std::size_t open = target.find_last_of("([");
  if (open == std::string_view::npos) return -1;
  *address = target.substr(0, open);
  const char* at = target.data() + open + 1;
  std::int64_t number = 0;
  constexpr std::int64_t kLargest = 1 << 25;
  const bool isGood =
      ReadInteger(&at, target.data() + target.size(), &number) && number >= 0 && number <= kLargest;
  return isGood ? static_cast<int>(number) : -1;
}

/// A whole number below `count`; `count` for others.
std::size_t WholeNumberIn(float value, std::size_t count) {
  return value >= 0 && value < static_cast<float>(count) ? static_cast<std::size_t>(value) : count;
}

/// One morph controller of a document.
class Controller {
 public:
  Controller(const pugi::xml_node& node, const Elements& geometries, const Elements& sources)
      : m_node(node), m_morph(node.child("morph")), m_geometries(geometries), m_sources(sources) {}

  const char* Base() const { return m_morph.attribute("source").value(); }

  /// False when the shapes cannot be had. `*ways` counts those of all, and `*leftOut` shapes that
  /// are not as their mesh.
  bool Read(std::size_t* ways, std::size_t* leftOut, ColladaMorph* morph) {
    const std::vector<V3f> base = PositionsOf(Target(m_geometries, Base()), m_sources);
    if (base.empty() || base.size() > kMostNumber) return false;
    const pugi::xml_node targets = m_morph.child("targets");
    const bool isRelative = std::string_view(m_morph.attribute("method").value()) == "RELATIVE";
    const char* const weights = InputOf(targets, "MORPH_WEIGHT");
    const std::vector<double> given = NumbersOf(Target(m_sources, weights), 1);
    for (const std::string& name :
         collada::NamesOf(Target(m_sources, InputOf(targets, "MORPH_TARGET")))) {
      *ways += base.size();
      if (*ways > kMostWays) return false;
      std::vector<V3f> shape = PositionsOf(Target(m_geometries, name.c_str()), m_sources);
      // One that cannot be used keeps its number, since keys go by numbers.
      const bool isGood = shape.size() == base.size();
      if (!isGood) shape.assign(base.size(), V3f(0.0f));
      *leftOut += isGood ? 0 : 1;
      for (std::size_t i = 0; isGood && !isRelative && i < base.size(); ++i) shape[i] -= base[i];
      const std::size_t number = morph->ways.size();
      const float weight = number < given.size() ? static_cast<float>(given[number]) : 0;
      morph->weights.push_back(std::isfinite(weight) ? weight : 0);
      morph->ways.push_back(std::move(shape));
    }
    return !morph->ways.empty();
  }

  /// What channels call its weights: by identifiers of the controller, of their source or of the
  /// array in it.
  std::vector<std::string> Addresses() const {
    const pugi::xml_node weights =
        Target(m_sources, InputOf(m_morph.child("targets"), "MORPH_WEIGHT"));
    return {m_node.attribute("id").value(), weights.attribute("id").value(),
            weights.child("float_array").attribute("id").value()};
  }

 private:
  pugi::xml_node m_node, m_morph;
  const Elements& m_geometries;
  const Elements& m_sources;
};

/// Adds the keys of a channel of weights, which the library does not understand, and hides it.
void TakeKeys(pugi::xml_node channel, int number, pugi::xml_node sampler, const Elements& sources,
              ColladaMorph& morph) {
  const std::vector<double> times = NumbersOf(Target(sources, InputOf(sampler, "INPUT")), 1);
  const std::vector<double> values = NumbersOf(Target(sources, InputOf(sampler, "OUTPUT")), 1);
  const bool isStepped = collada::AreSteps(Target(sources, InputOf(sampler, "INTERPOLATION")));
  morph.areSteps = isStepped && (morph.areSteps || morph.keys.empty());
  for (std::size_t i = 0; i < std::min(times.size(), values.size()); ++i) {
    morph.keys.push_back({times[i], static_cast<unsigned>(number), static_cast<float>(values[i])});
  }
  sampler.set_name(kHidden);
  channel.set_name(kHidden);
}

void ReadKeys(const pugi::xml_document& document, const Elements& sources,
              const std::map<std::string, std::size_t, std::less<>>& addresses,
              std::vector<ColladaMorph>& morphs) {
  const Elements samplers = ById(document, "sampler");
  collada::ForEach(document, "channel", [&](const pugi::xml_node& channel) {
    std::string_view address;
    const int number = WeightNumber(channel.attribute("target").value(), &address);
    auto morph = addresses.find(address.substr(0, address.find('/')));
    if (morph == addresses.end()) {
      morph = addresses.find(address.substr(address.find_last_of('/') + 1));  // npos + 1 is 0
    }
    if (number < 0 || morph == addresses.end()) return;
    TakeKeys(channel, number, Target(samplers, channel.attribute("source").value()), sources,
             morphs[morph->second]);
  });
}

/// Makes what names controllers name their meshes.
void Replace(pugi::xml_document& document, const std::map<std::string, const char*>& bases) {
  const auto baseOf = [&bases](const pugi::xml_attribute& url) {
    const auto found = bases.find(url.value());
    return found == bases.end() ? nullptr : found->second;
  };
  collada::ForEach(document, "instance_controller", [&](pugi::xml_node instance) {
    const char* const base = baseOf(instance.attribute("url"));
    if (!base) return;
    instance.set_name("instance_geometry");
    instance.attribute("url") = base;
  });
  collada::ForEach(document, "skin", [&](pugi::xml_node skin) {
    if (const char* const base = baseOf(skin.attribute("source"))) skin.attribute("source") = base;
  });
}

}  // namespace

bool ColladaMorphs::TakeFrom(pugi::xml_document& document) {
  const Elements controllers = ById(document, "controller");
  const Elements geometries = ById(document, "geometry"), sources = ById(document, "source");
  std::map<std::string, const char*> bases;  // by the URL of the controller
  std::set<std::string> followed;            // each mesh follows the first one that names it
  std::map<std::string, std::size_t, std::less<>> addresses;
  std::size_t ways = 0;
  for (auto [id, node] : controllers) {
    if (!node.child("morph")) continue;
    Controller controller(node, geometries, sources);
    const char* const base = controller.Base();
    bases["#" + id] = base;
    ColladaMorph morph;
    if (!followed.insert(base).second || !controller.Read(&ways, &m_leftOut, &morph)) {
      ++m_leftOut;
    } else {
      for (const std::string& address : controller.Addresses()) {
        if (!address.empty()) addresses.emplace(address, m_morphs.size());
      }
      AddNumbers(Target(geometries, base).child("mesh"), m_morphs.size(), morph.ways[0].size());
      m_morphs.push_back(std::move(morph));
    }
    node.set_name(kHidden);
  }
  if (bases.empty()) return false;
  ReadKeys(document, sources, addresses, m_morphs);
  Replace(document, bases);
  return true;
}

void ColladaMorphs::TakeNumbers(aiScene& source) {
  std::size_t ways = 0;
  for (unsigned m = 0; m < source.mNumMeshes; ++m) {
    aiMesh& mesh = *source.mMeshes[m];
    unsigned set = AI_MAX_NUMBER_OF_TEXTURECOORDS;
    while (set > 0 && !mesh.mTextureCoords[set - 1]) --set;
    if (set == 0 || mesh.mNumVertices == 0) continue;
    aiVector3D*& marks = mesh.mTextureCoords[set - 1];
    const std::size_t morph = WholeNumberIn(marks[0].y, m_morphs.size());
    if (marks[0].z != kMark || morph == m_morphs.size()) continue;
    const ColladaMorph& from = m_morphs[morph];
    ways += from.ways.size() * mesh.mNumVertices;
    if (ways > kMostWays) {
      ++m_leftOut;
    } else {
      Taken& taken = m_taken[&mesh];
      taken.morph = morph;
      for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
        const std::size_t number = WholeNumberIn(marks[i].x, from.ways[0].size());
        taken.numbers.push_back(number < from.ways[0].size() ? static_cast<std::uint32_t>(number)
                                                             : 0);
      }
    }
    delete[] std::exchange(marks, nullptr);
    mesh.mNumUVComponents[set - 1] = 0;
  }
}

const ColladaMorph* ColladaMorphs::Of(const aiMesh& mesh,
                                      const std::vector<std::uint32_t>** numbers) const {
  const auto found = m_taken.find(&mesh);
  if (found == m_taken.end()) return nullptr;
  *numbers = &found->second.numbers;
  return &m_morphs[found->second.morph];
}

}  // namespace hostkit
