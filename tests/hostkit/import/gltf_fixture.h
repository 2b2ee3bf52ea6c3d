// glTF files put together from arrays and pieces of JSON.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/hostkit/import/import_fixture.h"

/// A text file whose bytes lie in a URI of its own.
class GltfText {
 public:
  template <class Number>
  int View(const std::vector<Number>& numbers, const std::string& more = {}) {
    const std::size_t size = numbers.size() * sizeof(Number);
    m_offsets.push_back(m_bytes.size());
    m_views += fmt::format(R"({}{{"buffer":0,"byteOffset":{},"byteLength":{}{}}})",
                           m_viewCount > 0 ? "," : "", m_bytes.size(), size, more);
    m_bytes.append(reinterpret_cast<const char*>(numbers.data()), size);
    m_bytes.resize((m_bytes.size() + 3) / 4 * 4);
    return m_viewCount++;
  }

  std::size_t OffsetOf(int view) const { return m_offsets[static_cast<std::size_t>(view)]; }

  /// An accessor; a view of -1 is none.
  int Accessor(int view, int componentType, std::size_t count, const char* type,
               const std::string& more = {}) {
    const std::string place = view < 0 ? "" : fmt::format(R"("bufferView":{},)", view);
    m_accessors +=
        fmt::format(R"({}{{{}"componentType":{},"count":{},"type":"{}"{}}})",
                    m_accessorCount > 0 ? "," : "", place, componentType, count, type, more);
    return m_accessorCount++;
  }

  /// An accessor of floats, `each` an element.
  int Floats(const std::vector<float>& numbers, std::size_t each) {
    const char* const types[] = {"", "SCALAR", "VEC2", "VEC3", "VEC4"};
    return Accessor(View(numbers), 5126, numbers.size() / each, each == 16 ? "MAT4" : types[each]);
  }

  /// The file; `rest` are the other members, with a comma at their end. Unless they hold nodes,
  /// mesh 0 is placed once.
  std::string Text(const std::string& rest) const {
    const bool hasNodes = rest.find("\"nodes\"") != std::string::npos;
    return fmt::format(R"({{{}{}"accessors":[{}],"bufferViews":[{}],"buffers":[{{"byteLength":{},)"
                       R"("uri":"data:application/octet-stream,{}"}}],)"
                       R"("asset":{{"version":"2.0"}}}})",
                       rest, hasNodes ? "" : R"("nodes":[{"mesh":0}],)", m_accessors, m_views,
                       m_bytes.size(), Escaped());
  }

 private:
  std::string Escaped() const {
    std::string text;
    for (const char c : m_bytes) text += fmt::format("%{:02x}", static_cast<unsigned char>(c));
    return text;
  }

  std::string m_bytes, m_views, m_accessors;
  std::vector<std::size_t> m_offsets;
  int m_viewCount = 0, m_accessorCount = 0;
};

/// Imports such files.
class Gltf : public Import {
 protected:
  hostkit::Scene ReadText(const GltfText& file, const std::string& rest) {
    return Read(Write("m.gltf", file.Text(rest)));
  }

  /// One triangle with those attributes and members of its primitive besides its positions, which
  /// are (0, 0, 0), (2, 0, 0), (0, 1, 0).
  hostkit::Scene ReadTriangle(GltfText& file, const std::string& attributes,
                              const std::string& rest = {}, const std::string& members = {}) {
    const int positions = file.Floats({0, 0, 0, 2, 0, 0, 0, 1, 0}, 3);
    return ReadText(
        file, rest + fmt::format(
                         R"("meshes":[{{"primitives":[{{"attributes":{{"POSITION":{}{}}}{}}}]}}],)",
                         positions, attributes, members));
  }
};
