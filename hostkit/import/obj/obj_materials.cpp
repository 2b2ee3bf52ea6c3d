// The materials of an OBJ model in its scene.
#include "hostkit/import/obj/obj_materials.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include "hostkit/import/number_text.h"
#include "hostkit/import/obj/obj_pictures.h"
#include "hostkit/import/read_meshes.h"
#include "hostkit/import/surface_colors.h"

namespace hostkit {
namespace {

using Imath::V2f;
using Imath::V3f;

// Names of libraries that are tried for one model, and the words that one has at most.
constexpr std::size_t kMostLookUps = 2000, kMostWords = 32;

/// Where the words of a line begin and end.
std::vector<std::pair<std::size_t, std::size_t>> WordsOf(std::string_view line) {
  std::vector<std::pair<std::size_t, std::size_t>> words;
  std::string_view rest = line;
  while (!rest.empty()) {
    const std::string_view word = TakeWord(&rest);
    const auto first = static_cast<std::size_t>(word.data() - line.data());
    if (!word.empty()) words.emplace_back(first, first + word.size());
  }
  return words;
}

bool EndsLikeLibrary(std::string_view name) {
  constexpr std::string_view kSuffix = ".mtl";
  return name.size() > kSuffix.size() &&
         IsSameWord(name.substr(name.size() - kSuffix.size()), kSuffix);
}

/// 0 opaque to 1 invisible. What could not be seen at all is taken for opaque: "d" and "Tr" are
/// opposites that writers confuse.
float TransparencyOf(const ObjMaterial& from) {
  const float clear = from.opacity ? 1 - *from.opacity : from.transparency.value_or(0);
  return clear > 0 && clear < 1 ? clear : 0.0f;
}

float Largest(const V3f& color) {
  return std::max({color.x, color.y, color.z});
}

}  // namespace

ObjMaterials::ObjMaterials(const ModelSource& source, const ObjModel& model)
    : m_source(source), m_model(model) {
  std::set<std::string_view> done;
  for (const std::string& line : model.libraries) {
    if (done.insert(line).second) FindLibraries(line);
  }
  FindMaterials();
}

/// A line names one library or several, and names may have blanks in them: the longest name that is
/// there counts.
void ObjMaterials::FindLibraries(std::string_view line) {
  const auto words = WordsOf(line);
  for (std::size_t i = 0; i < words.size();) {
    FileFault fault = FileFault::kMissing;
    const std::size_t last = std::min(words.size(), i + kMostWords);
    std::size_t behind = last;
    const auto nameTo = [&](std::size_t end) {
      return std::string(line.substr(words[i].first, words[end - 1].second - words[i].first));
    };
    while (behind > i && m_tries < kMostLookUps && !ReadLibrary(nameTo(behind), &fault)) --behind;
    if (m_tries == kMostLookUps) return;
    if (behind == i) {
      behind = i + 1;
      while (behind < last && !EndsLikeLibrary(nameTo(behind))) ++behind;
      TellMissing(nameTo(behind), fault);
    }
    i = behind;
  }
}

bool ObjMaterials::ReadLibrary(const std::string& name, FileFault* fault) {
  ++m_tries;
  const OpenedFile file = m_source.files.Open(name);
  *fault = file.fault;
  if (!file.IsOpen()) return false;
  FileBytes bytes;
  if (m_read.insert(file.id).second && ReadWhole(file, &bytes)) {
    ReadObjLibrary(bytes.Text(), &m_known);
  }
  return true;
}

/// In place of a library that is not there the model's own name is tried, with ".mtl".
void ObjMaterials::TellMissing(const std::string& name, FileFault fault) {
  std::string text = m_source.files.FaultText(name, fault);
  const std::string own =
      std::filesystem::path(m_source.files.ModelPath()).stem().string() + ".mtl";
  if (fault == FileFault::kMissing && ReadLibrary(own, &fault)) {
    text += fmt::format("; {} is taken in its place", NameForMessage(own));
  } else {
    m_lacksLibrary = true;
  }
  AddWarning(m_source.scene, std::move(text));
}

void ObjMaterials::FindMaterials() {
  std::map<std::string_view, const ObjMaterial*> known;
  for (const ObjMaterial& material : m_known) known.emplace(material.name, &material);
  std::size_t missing = 0;
  std::string example;
  for (const std::string& name : m_model.materials) {
    const auto found = known.find(name);
    m_byNumber.push_back(found == known.end() ? nullptr : found->second);
    if (m_byNumber.back() || name.empty() || name == "(null)") continue;
    if (missing++ == 0) example = name;
  }
  // A library that is not there has been told, and is why. Without any, grey is all that the model
  // says.
  if (missing == 0 || m_lacksLibrary || m_model.libraries.empty()) return;
  AddWarning(m_source.scene,
             fmt::format("{}: {} {} in none of its libraries, {}; faces are grey instead; name the "
                         "library in a line \"mtllib\"",
                         m_source.files.ModelPath(), missing,
                         missing == 1 ? "material is" : "materials are", NameForMessage(example)));
}

int ObjMaterials::IndexOf(std::uint32_t material, bool hasColors) {
  const ObjMaterial* const from = m_byNumber[material];
  const auto [entry, isNew] = m_made.try_emplace({from, hasColors}, 0);
  if (!isNew) return entry->second;
  SceneMaterial made = from        ? Make(*from, hasColors)
                       : hasColors ? ColorsOnlyMaterial()
                                   : StandInMaterial();
  entry->second = static_cast<int>(m_source.scene.materials.size());
  m_source.scene.materials.push_back(std::move(made));
  return entry->second;
}

V2f ObjMaterials::PlacedUv(std::uint32_t material, const V2f& uv) const {
  const ObjMaterial* const from = m_byNumber[material];
  if (!from) return TopDown(uv.x, uv.y);
  const bool isAlone = from->diffusePicture.name.empty();
  const ObjPicture& picture = isAlone ? from->opacityPicture : from->diffusePicture;
  const V2f placed = uv * picture.scale + picture.offset;
  return TopDown(placed.x, placed.y);
}

SceneMaterial ObjMaterials::Make(const ObjMaterial& from, bool hasColors) {
  SceneMaterial material;
  material.name = from.name;
  material.image = PictureOf(from);
  const bool hasPicture = material.image >= 0;
  V3f base = from.diffuse.value_or(V3f(hasPicture || hasColors ? 1.0f : 0.8f));
  if (hasPicture && Largest(base) <= 0) base = V3f(1.0f);  // a picture on black counts for itself
  material.isUnlit = from.illumination == 0;
  // Models 0 and 1 have no highlight.
  const bool shines = from.illumination < 0 || from.illumination > 1;
  SetPhong(material.surface, base, from.specular, 1, shines ? from.exponent : 0);
  material.surface.transparency = TransparencyOf(from);
  const bool hasGlow = !from.emissionPicture.name.empty();
  if (hasGlow) material.emissionImage = m_source.pictures.IndexOf(from.emissionPicture.name, {});
  const V3f glow =
      material.emissionImage >= 0 && Largest(from.emission) <= 0 ? V3f(1.0f) : from.emission;
  for (int i = 0; i < 3; ++i) material.emission[i] = std::clamp(glow[i], 0.0f, 1.0f);
  return material;
}

/// The picture of the base colour, with the alpha of the one of opacity where there is one.
int ObjMaterials::PictureOf(const ObjMaterial& from) {
  const std::string& color = from.diffusePicture.name;
  const std::string& opacity = from.opacityPicture.name;
  PictureUse use;
  const bool isClamped = (color.empty() ? from.opacityPicture : from.diffusePicture).isClamped;
  use.wrapU = use.wrapV = isClamped ? PictureWrap::kClamp : PictureWrap::kRepeat;
  if (opacity.empty() || opacity == color)
    return color.empty() ? -1 : m_source.pictures.IndexOf(color, use);
  if (const OpenedFile file = m_source.files.Open(opacity); !file.IsOpen()) {
    AddWarning(m_source.scene, m_source.files.FaultText(opacity, file.fault));
    return color.empty() ? -1 : m_source.pictures.IndexOf(color, use);
  }
  const auto* const key = &*m_combined.emplace(color, opacity).first;
  const PictureLoader load = [&](const std::string&, std::uint64_t mostBytes, std::string* error) {
    BitmapPtr base = color.empty() ? nullptr : m_source.pictures.Load(color, mostBytes, error);
    if (!base && !color.empty()) return base;
    std::string fault;
    const BitmapPtr alpha = m_source.pictures.Load(opacity, mostBytes, &fault);
    if (alpha) return WithOpacity(std::move(base), *alpha);
    if (base) AddWarning(m_source.scene, fault);
    if (!base) *error = fault;
    return base;
  };
  return m_source.pictures.IndexOfEmbedded(key, color.empty() ? opacity : color, use, load);
}

}  // namespace hostkit
