// Ways through a COLLADA document.
#include "hostkit/import/collada_xml.h"

#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <sstream>

#include "hostkit/import/archive.h"
#include "hostkit/import/archive_check.h"
#include "hostkit/import/archive_copy.h"
#include "hostkit/import/number_text.h"
#include "hostkit/import/read_meshes.h"

namespace hostkit::collada {
namespace {

namespace fs = std::filesystem;

/// The model in an archive: the one that its manifest names, else the first. `*entry` becomes its
/// name there.
bool ReadArchived(const OpenedFile& file, std::string* bytes, std::string* entry) {
  const Archive archive(file.file.Get(), file.size);
  std::string manifest, name;
  pugi::xml_document document;
  if (archive.Read("manifest.xml", kMostUnpackedBytes, &manifest) &&
      document.load_buffer(manifest.data(), manifest.size())) {
    ForEach(document, "dae_root",
            [&name](const pugi::xml_node& root) { name = Unescaped(Trimmed(root.text().get())); });
  }
  if (name.empty()) name = archive.FirstWithEnding(".dae");
  // Archives have no "./" in the names of their entries.
  for (const std::string& each : {name, fs::path(name).lexically_normal().string()}) {
    if (each.empty() || !archive.Read(each, kMostUnpackedBytes, bytes)) continue;
    *entry = each;
    return true;
  }
  return false;
}

}  // namespace

bool Load(const ModelFiles& files, pugi::xml_document& document, std::string* entry,
          unsigned options) {
  const std::string suffix = fs::path(files.ModelPath()).extension().string();
  const bool isArchive = strcasecmp(suffix.c_str(), ".zae") == 0;
  if (!isArchive && strcasecmp(suffix.c_str(), ".dae") != 0) return false;
  const OpenedFile file = files.OpenModel();
  if (!file.IsOpen()) return false;
  if (isArchive) {
    std::string bytes;
    return ReadArchived(file, &bytes, entry) &&
           document.load_buffer(bytes.data(), bytes.size(), options);
  }
  FileBytes bytes;
  return ReadWhole(file, &bytes) && document.load_buffer(bytes.bytes.get(), bytes.size, options);
}

std::string ToBytes(const ModelFiles& files, const pugi::xml_document& document,
                    const std::string& entry) {
  std::ostringstream stream;
  document.save(stream, "", pugi::format_raw);
  std::string text = std::move(stream).str();
  if (entry.empty()) return text;
  const OpenedFile file = files.OpenModel();
  if (!file.IsOpen()) return {};
  return CopyArchive(Archive(file.file.Get(), file.size), entry, text);
}

std::string OddIndex(const pugi::xml_document& document) {
  constexpr const char *kBlanks = " \t\r\n", *kUsual = " \t\r\n+-0123456789";
  std::string odd;
  ForEach(document, "p", [&](const pugi::xml_node& indices) {
    if (std::string_view(indices.parent().parent().name()) != "mesh") return;
    const std::string_view text = indices.text().get();
    const std::size_t at = odd.empty() ? text.find_first_not_of(kUsual) : std::string_view::npos;
    if (at == std::string_view::npos) return;
    const std::size_t begin = text.find_last_of(kBlanks, at) + 1;  // npos + 1 is 0
    odd = text.substr(begin, text.find_first_of(kBlanks, at) - begin);
  });
  return odd;
}

Elements ById(pugi::xml_node root, const char* name) {
  Elements elements;
  ForEach(root, name, [&elements](const pugi::xml_node& node) {
    elements.emplace(node.attribute("id").value(), node);
  });
  return elements;
}

pugi::xml_node Target(const Elements& elements, const char* url) {
  const auto found = elements.find(*url == '#' ? url + 1 : url);
  return found == elements.end() ? pugi::xml_node() : found->second;
}

const char* InputOf(const pugi::xml_node& node, const char* semantic) {
  return node.find_child_by_attribute("input", "semantic", semantic).attribute("source").value();
}

std::vector<double> NumbersOf(const pugi::xml_node& source, std::size_t each) {
  const pugi::xml_node accessor = source.child("technique_common").child("accessor");
  const std::size_t stride = std::max(accessor.attribute("stride").as_uint(1), 1u);
  const std::size_t offset = accessor.attribute("offset").as_uint(0);
  const std::string_view text = source.child("float_array").text().get();
  std::vector<double> numbers;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::size_t i = 0;; ++i) {
    while (at < end && IsSpace(*at)) ++at;
    double number = 0;
    if (!ReadNumber(&at, end, &number)) break;
    if (i >= offset && (i - offset) % stride < each) numbers.push_back(number);
  }
  return numbers;
}

std::vector<std::string> NamesOf(const pugi::xml_node& source) {
  std::vector<std::string> names;
  for (const char* kind : {"IDREF_array", "Name_array"}) {
    std::string_view text = source.child(kind).text().get();
    while (!text.empty()) {
      const std::string_view word = TakeWord(&text);
      if (!word.empty()) names.emplace_back(word);
    }
  }
  return names;
}

bool AreSteps(const pugi::xml_node& source) {
  const std::vector<std::string> curves = NamesOf(source);
  return !curves.empty() && std::all_of(curves.begin(), curves.end(),
                                        [](const std::string& curve) { return curve == "STEP"; });
}

}  // namespace hostkit::collada
