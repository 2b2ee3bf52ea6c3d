// Model files into scenes, by readers of their formats or else by assimp.
#include "hostkit/import/model_import.h"

#include <assimp/importerdesc.h>
#include <assimp/material.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <fmt/format.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <optional>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

#include "hostkit/import/amf/amf_reader.h"
#include "hostkit/import/archive_check.h"
#include "hostkit/import/collada_xml.h"
#include "hostkit/import/gltf/gltf_reader.h"
#include "hostkit/import/import_animations.h"
#include "hostkit/import/import_checks.h"
#include "hostkit/import/import_context.h"
#include "hostkit/import/import_materials.h"
#include "hostkit/import/import_meshes.h"
#include "hostkit/import/import_nodes.h"
#include "hostkit/import/model_files.h"
#include "hostkit/import/model_io.h"
#include "hostkit/import/model_reader.h"
#include "hostkit/import/obj/obj_reader.h"
#include "hostkit/import/ply/ply_reader.h"
#include "hostkit/import/read_meshes.h"
#include "hostkit/import/stl/stl_reader.h"
#include "hostkit/import/threemf/threemf_reader.h"
#include "hostkit/import/wide_text.h"
#include "hostkit/scene/node_animation.h"
#include "hostkit/scene/recentre.h"

namespace hostkit {
namespace {

namespace fs = std::filesystem;

// Vertices are not joined: it doubles the time to import and gains nothing in drawing. Normals are
// made by MakeNormals, since the library's own go wrong where triangles share vertices. Lines and
// points are told from triangles by ImportMeshes; the library's step for that refuses whole files
// for one empty mesh.
constexpr unsigned kSteps = aiProcess_Triangulate;

/// True when there is something to read; else says what is wrong with the path.
bool CheckFile(const std::string& path, std::string* error) {
  std::error_code code;
  const fs::file_status status = fs::status(path, code);
  if (!fs::exists(status)) {
    *error = fmt::format("{}: no such file; check its name and folder", path);
  } else if (fs::is_directory(status)) {
    *error = fmt::format("{}: is a folder; name a model file in it", path);
  } else if (!fs::is_regular_file(status)) {
    *error = fmt::format("{}: is not a regular file; save the model to one", path);
  } else if (fs::file_size(path, code) == 0) {
    *error = fmt::format("{}: is empty; export the model again", path);
  }
  return error->empty();
}

/// False, and says so, for a link that leads where the model's files may not be.
bool CheckReach(const ModelFiles& files, std::string* error) {
  if (files.OpenModel().fault != FileFault::kOutside) return true;
  *error = fmt::format(
      "{}: is a link that leads out of its folder, to which reading is confined; put the file "
      "itself there",
      files.ModelPath());
  return false;
}

/// Import libraries' messages span lines and end in full stops.
std::string OneLine(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  }
  while (!text.empty() && (text.back() == ' ' || text.back() == '.')) text.pop_back();
  return text.empty() ? "the import library gives no reason" : text;
}

SourceFormat FormatOf(const aiImporterDesc* info) {
  if (!info) return SourceFormat::kOther;
  constexpr std::pair<const char*, SourceFormat> kKnown[] = {
      {"Blender 3D Importer", SourceFormat::kBlender},
      {"Collada Importer", SourceFormat::kCollada},
      {"Irrlicht Scene Reader", SourceFormat::kIrrlicht}};
  for (const auto& [name, format] : kKnown) {
    if (std::string_view(info->mName).starts_with(name)) return format;
  }
  return SourceFormat::kOther;
}

/// Whether the library may see the file's bytes: some formats are archives.
bool CheckArchive(const ModelFiles& files, std::string* error) {
  const OpenedFile model = files.OpenModel();
  const std::string fault =
      model.IsOpen() ? ArchiveFault(model.file.Get(), model.size) : std::string();
  if (!fault.empty()) *error = fmt::format("{}: {}", files.ModelPath(), fault);
  return fault.empty();
}

/// Pictures that are laid on as on a sphere, a cylinder or a plane get texture coordinates. The
/// library does that for meshes alone whose corners share no vertices, and refuses others.
unsigned StepsFor(const aiScene& source) {
  if ((source.mFlags & AI_SCENE_FLAGS_NON_VERBOSE_FORMAT) != 0) return kSteps;
  for (unsigned m = 0; m < source.mNumMaterials; ++m) {
    const aiMaterial& material = *source.mMaterials[m];
    for (unsigned p = 0; p < material.mNumProperties; ++p) {
      const aiMaterialProperty& property = *material.mProperties[p];
      int mapping = aiTextureMapping_UV;
      if (std::strcmp(property.mKey.C_Str(), _AI_MATKEY_MAPPING_BASE) == 0 &&
          material.Get(_AI_MATKEY_MAPPING_BASE, property.mSemantic, property.mIndex, mapping) ==
              aiReturn_SUCCESS &&
          mapping != aiTextureMapping_UV) {
        return kSteps | aiProcess_GenUVCoords;
      }
    }
  }
  return kSteps;
}

/// What is taken of a file before the import library reads it.
struct Preparation {
  std::optional<ColladaFacts> facts;
  ColladaMorphs morphs;
  std::string replaced;  ///< What the library reads instead; empty: the file.
  std::string oddIndex;  ///< Of COLLADA that the library must not read; else empty.

  void Prepare(const ModelFiles& files) {
    pugi::xml_document document;
    std::string entry;
    if (collada::Load(files, document, &entry)) {
      facts.emplace(document);
      oddIndex = collada::OddIndex(document);
      if (morphs.TakeFrom(document)) {
        replaced = collada::ToBytes(files, document, entry);
        return;
      }
    }
    // The library takes texts of 16-bit characters for no texts, or for empty ones.
    const OpenedFile file = files.OpenModel();
    char mark[2] = {};
    FileBytes bytes;
    if (file.IsOpen() && pread(file.file.Get(), mark, sizeof mark, 0) == sizeof mark &&
        IsWideText({mark, sizeof mark}) && ReadWhole(file, &bytes)) {
      replaced = NarrowText(bytes.Text());
    }
  }

  /// For COLLADA that the library could not read: without the blanks around texts, before which it
  /// finds no numbers. False when it is another format.
  bool Tidy(const ModelFiles& files) {
    constexpr unsigned kTrimmed = pugi::parse_default | pugi::parse_trim_pcdata;
    pugi::xml_document document;
    std::string entry;
    if (!collada::Load(files, document, &entry, kTrimmed)) return false;
    morphs = {};
    morphs.TakeFrom(document);
    replaced = collada::ToBytes(files, document, entry);
    return !replaced.empty();
  }
};

/// Reads the file, checks what was read, and then takes the steps. `*warnings` gets a line for each
/// thing that is not as the file says.
const aiScene* ReadSource(Assimp::Importer& importer, const ModelFiles& files,
                          Preparation& prepared, std::vector<std::string>* warnings,
                          std::string* error) {
  const std::string& path = files.ModelPath();
  const std::string suffix = fs::path(path).extension().string();
  if (suffix.empty()) {
    *error = path +
             ": its name has no suffix, which tells the kind of a model; name it as what it "
             "is, such as chair.glb or chair.obj";
    return nullptr;
  }
  if (!importer.IsExtensionSupported(suffix)) {
    *error = fmt::format(
        "{}: models of the kind \"{}\" are not known; convert it to glTF, OBJ, "
        "PLY, STL, FBX or COLLADA",
        path, suffix);
    return nullptr;
  }
  if (!CheckArchive(files, error)) return nullptr;
  prepared.Prepare(files);
  if (!prepared.oddIndex.empty()) {
    *error =
        fmt::format("{}: its indices hold {}, which is no whole number; export the model again",
                    path, NameForMessage(prepared.oddIndex));
    return nullptr;
  }
  // The importer's from here on.
  importer.SetIOHandler(new ModelIo(files, prepared.replaced, *warnings));
  const aiScene* source = importer.ReadFile(path, 0);
  if (!source && prepared.Tidy(files)) source = importer.ReadFile(path, 0);
  if (source) {
    // The importer owns it, and hands it out for reading only; nothing else refers to it yet.
    auto& mutableSource = const_cast<aiScene&>(*source);
    const std::size_t dropped = CheckSource(mutableSource);
    prepared.morphs.TakeNumbers(mutableSource);
    if (dropped > 0) warnings->push_back(MissingVerticesText(path, dropped));
    source = importer.ApplyPostProcessing(StepsFor(*source));
  }
  if (source) return source;
  // A file that it names and does not get is likely to be why, and tells the remedy.
  std::string reason = OneLine(importer.GetErrorString());
  if (reason.starts_with("No suitable reader")) reason = "it is not what its name's ending says";
  *error = warnings->empty()
               ? fmt::format("{}: cannot be read ({}); export the model again", path, reason)
               : fmt::format("{} ({})", warnings->back(), reason);
  return nullptr;
}

/// A reader of a single format.
struct FormatReader {
  const char* suffix;
  const char* format;
  ReadModel read;
};
/// Other files are the import library's.
constexpr FormatReader kReaders[] = {
    {".3mf", "3MF", ReadThreeMf},
    {".amf", "AMF", ReadAmf},
    {".glb", "glTF 2.0, binary", ReadGltf},
    {".gltf", "glTF 2.0", ReadGltf},
    {".obj", "OBJ", ReadObj},
    {".ply", "PLY", ReadPly},
    {".stl", "STL", ReadStl},
    {".vrm", "VRM (glTF 2.0, binary)", ReadGltf},
};

const FormatReader* ReaderOf(const std::string& path) {
  const std::string suffix = fs::path(path).extension().string();
  for (const FormatReader& reader : kReaders) {
    if (strcasecmp(reader.suffix, suffix.c_str()) == 0) return &reader;
  }
  return nullptr;
}

/// What the library calls a format, without what it says of its own part in it.
std::string FormatName(const aiImporterDesc& info) {
  std::string name = info.mName ? info.mName : "";
  for (const char* word : {" Importer", " Reader", " importer", " reader"}) {
    if (const std::size_t at = name.find(word); at != std::string::npos) return name.substr(0, at);
  }
  return name;
}

/// The library's account of the file that it has read; null without one.
const aiImporterDesc* InfoOf(const Assimp::Importer& importer) {
  const int index = importer.GetPropertyInteger("importerIndex", -1);
  return index < 0 ? nullptr : importer.GetImporterInfo(static_cast<std::size_t>(index));
}

/// Metres a unit of the scene's coordinates, 0 where the file does not say. The library has turned
/// COLLADA's into metres.
double MetersPerUnit(const ImportContext& context) {
  if (context.format == SourceFormat::kCollada) return 1;
  double centimeters = 0;
  float single = 0;
  const aiMetadata* data = context.source->mMetaData;
  if (!data) return 0;
  if (!data->Get("UnitScaleFactor", centimeters) && data->Get("UnitScaleFactor", single)) {
    centimeters = static_cast<double>(single);
  }
  return std::isfinite(centimeters) && centimeters > 0 ? centimeters / 100 : 0;
}

/// False, and says why, where a scene is chosen and the format has none.
bool CheckChoice(const ModelSource& source, std::string* error) {
  if (source.options.scene.empty()) return true;
  *error = fmt::format("{}: has no scenes to choose {} from; leave the choice out",
                       source.files.ModelPath(), NameForMessage(source.options.scene));
  return false;
}

/// As ReadModel, by the import library.
bool ReadByLibrary(const ModelSource& source, std::string* error) {
  if (!CheckChoice(source, error)) return false;
  auto owner = std::make_unique<Assimp::Importer>();
  Assimp::Importer& importer = source.options.leavesMemory ? *owner.release() : *owner;
  ImportContext context;
  Preparation prepared;
  context.source = ReadSource(importer, source.files, prepared, &source.scene.warnings, error);
  if (!context.source) return false;
  context.path = source.files.ModelPath();
  const aiImporterDesc* info = InfoOf(importer);
  context.format = FormatOf(info);
  source.scene.facts.format = info ? FormatName(*info) : "";
  source.scene.facts.metersPerUnit = MetersPerUnit(context);
  context.scene = &source.scene;
  context.places = &source.places;
  if (prepared.facts) context.collada = &*prepared.facts;
  if (prepared.facts) context.morphs = &prepared.morphs;
  if (context.collada && (context.source->mFlags & AI_SCENE_FLAGS_INCOMPLETE) != 0) {
    // The library puts pyramids between the nodes of such files.
    context.Warn(
        fmt::format("{}: it has no shapes; its nodes are drawn as a skeleton; export it "
                    "with its geometry",
                    context.path));
  }
  if (prepared.morphs.LeftOut() > 0) {
    context.Warn(
        fmt::format("{}: morph controllers or shapes of them left out, since they are broken, too "
                    "large, or second ones of a mesh: {}; export it as glTF",
                    context.path, prepared.morphs.LeftOut()));
  }
  const std::vector<MaterialTraits> traits = ImportMaterials(context, source.pictures);
  const std::vector<int> meshes = ImportMeshes(context, traits);
  const std::vector<const aiNode*> nodes = ImportInstances(context, meshes);
  if (source.scene.instances.empty()) return true;
  ImportCameras(context);
  ImportMotion(context, meshes, nodes, ImportLights(context));
  return true;
}

/// Whether there is something to draw; else says why not.
bool HasContent(const Scene& scene, const std::string& path, std::string* error) {
  if (!scene.instances.empty()) return true;
  // A warning that says why is worth more than the plain fact.
  *error = scene.warnings.empty()
               ? fmt::format("{}: holds nothing to draw; export it again with its geometry", path)
               : scene.warnings.back() + "; nothing is left to draw";
  return false;
}

std::unique_ptr<Scene> Import(const std::string& path, const ImportOptions& options,
                              std::string* error) {
  const ModelFiles files(path, options.reach);
  if (!CheckReach(files, error)) return nullptr;
  auto scene = std::make_unique<Scene>();
  PictureStore pictures(*scene, files);
  ExactPlaces places;
  const ModelSource source{files, options, *scene, pictures, places};
  const FormatReader* reader = ReaderOf(path);
  if ((!reader || reader->read != ReadGltf) && !CheckChoice(source, error)) return nullptr;
  bool isRead = reader && reader->read(source, error);
  if (isRead) scene->facts.format = reader->format;
  const bool isLibrarys = !isRead && error->empty();
  if (isLibrarys) isRead = ReadByLibrary(source, error);
  if (!isRead || !HasContent(*scene, path, error)) return nullptr;
  SettleAtRest(*scene);  // it is centred as it is posed
  std::string why;
  if (Recentre(*scene, places, &why)) return scene;
  *error = fmt::format("{}: {}", path, why);
  return nullptr;
}

}  // namespace

std::vector<ModelKind> ModelKinds() {
  std::vector<ModelKind> kinds;
  const auto add = [&kinds](const std::string& suffix, const std::string& format) {
    const auto isKnown = [&](const ModelKind& kind) { return kind.suffix == suffix; };
    if (std::any_of(kinds.begin(), kinds.end(), isKnown)) return;
    kinds.push_back({suffix, format});
  };
  for (const FormatReader& reader : kReaders) add(reader.suffix, reader.format);
  const Assimp::Importer importer;
  for (std::size_t i = 0; i < importer.GetImporterCount(); ++i) {
    const aiImporterDesc* info = importer.GetImporterInfo(i);
    if (!info || !info->mFileExtensions) continue;
    std::istringstream suffixes(info->mFileExtensions);
    for (std::string suffix; suffixes >> suffix;) {
      for (char& c : suffix) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      add("." + suffix.substr(suffix.find_first_not_of("*.")), FormatName(*info));
    }
  }
  std::sort(kinds.begin(), kinds.end(),
            [](const ModelKind& a, const ModelKind& b) { return a.suffix < b.suffix; });
  return kinds;
}

std::unique_ptr<Scene> ImportModel(const std::string& path, std::string* error,
                                   const ImportOptions& options) {
  error->clear();
  try {
    return CheckFile(path, error) ? Import(path, options, error) : nullptr;
  } catch (const std::bad_alloc&) {
    *error = fmt::format("{}: not enough memory for it; use a smaller model", path);
  } catch (const std::exception& problem) {
    *error = fmt::format("{}: cannot be read ({}); export the model again", path,
                         OneLine(problem.what()));
  }
  return nullptr;
}

}  // namespace hostkit
