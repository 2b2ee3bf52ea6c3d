// STL files into scenes.
//
// Facets share no vertices. Binary files have room for two bytes a facet and 80 in front of all,
// which programs use for colours in two ways: with "COLOR=" and four bytes in front, the colour of
// the whole, facets have one of their own where their highest bit is 0, red in the lowest five
// bits; without it they have one where that bit is 1, blue in the lowest five.
#include "hostkit/import/stl/stl_reader.h"

#include <endian.h>
#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/import/number_text.h"
#include "hostkit/import/polygon_cutter.h"
#include "hostkit/import/read_meshes.h"
#include "hostkit/import/stl/stl_text.h"
#include "hostkit/import/surface_colors.h"
#include "hostkit/import/vertex_checks.h"
#include "hostkit/scene/directions.h"

namespace hostkit {
namespace {

using Imath::V3f;

constexpr std::size_t kHeaderBytes = 80, kFirstFacet = 84, kFacetBytes = 50;

std::uint32_t Little32(const char* bytes) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return le32toh(value);
}

std::uint32_t Little16(const char* bytes) {
  std::uint16_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return le16toh(value);
}

V3f VectorAt(const char* bytes) {
  return {std::bit_cast<float>(Little32(bytes)), std::bit_cast<float>(Little32(bytes + 4)),
          std::bit_cast<float>(Little32(bytes + 8))};
}

/// Whether a file that begins with "solid" is one of text. Binary ones may begin so, too; what
/// tells them is their size.
bool IsText(std::string_view bytes) {
  const std::string_view start =
      bytes.substr(std::min(bytes.find_first_not_of(" \t\r\n"), bytes.size()));
  if (!IsSameWord(start.substr(0, 5), "solid")) return false;
  if (bytes.size() < kFirstFacet) return true;
  const std::uint64_t count = Little32(bytes.data() + kHeaderBytes);
  if (bytes.size() == kFirstFacet + count * kFacetBytes) return false;
  return bytes.substr(0, 1000).find('\0') == std::string_view::npos;
}

using Rgba = std::optional<ColorBuf>;

/// The four bytes behind a word of the header.
Rgba ColorBehind(std::string_view header, std::string_view word) {
  const std::size_t at = header.find(word);
  if (at == std::string_view::npos || at + word.size() + 4 > header.size()) return std::nullopt;
  const auto byte = [&](std::size_t i) {
    return static_cast<std::uint8_t>(header[at + word.size() + i]);
  };
  return ColorBuf{byte(0), byte(1), byte(2), byte(3)};
}

V3f ShareOf(const ColorBuf& color) {
  return V3f(color.red, color.green, color.blue) / 255.0f;
}

/// The colours of a binary file.
class Colors {
 public:
  explicit Colors(std::string_view bytes, std::size_t count) {
    const std::string_view header = bytes.substr(0, kHeaderBytes);
    m_whole = ColorBehind(header, "COLOR=");
    m_diffuse = ColorBehind(header, "MATERIAL=");
    if (m_diffuse) {
      // Behind the diffuse colour stands that of the highlight, then that of ambient light.
      std::string_view rest = header.substr(header.find("MATERIAL=") + 9 + 4);
      if (rest.size() >= 4) m_specular = ColorBehind(rest, "");
    }
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint32_t word = WordOf(bytes, i);
      m_hasAny = m_hasAny || word != 0;
      m_hasOwn = m_hasOwn || HasOwn(word);
    }
    // Words that are all 0, as the format wants them, would be black.
    m_hasOwn = m_hasOwn && m_hasAny;
  }

  /// Whether some facet has a colour of its own.
  bool HasOwn() const { return m_hasOwn; }

  ColorBuf Of(std::string_view bytes, std::size_t facet) const {
    const std::uint32_t word = WordOf(bytes, facet);
    const auto part = [word](int shift) {
      return static_cast<std::uint8_t>(((word >> shift & 31) * 255 + 15) / 31);
    };
    if (!HasOwn(word)) return Whole();
    if (m_whole) return {part(0), part(5), part(10), 255};
    return {part(10), part(5), part(0), 255};
  }

  SceneMaterial Material() const {
    SceneMaterial material = m_hasOwn ? ColorsOnlyMaterial() : StandInMaterial();
    if (!m_whole && !m_diffuse) return material;
    const ColorBuf color = m_diffuse ? *m_diffuse : *m_whole;
    const V3f base = m_hasOwn ? V3f(1.0f) : ShareOf(color);
    if (m_specular) {
      SetPhong(material.surface, base, ShareOf(*m_specular), 1, 30);
    } else {
      material.surface.base = {base.x, base.y, base.z};
    }
    const std::uint8_t alpha = m_whole ? m_whole->alpha : color.alpha;
    material.surface.transparency = alpha > 0 ? 1 - static_cast<float>(alpha) / 255 : 0.0f;
    return material;
  }

 private:
  static std::uint32_t WordOf(std::string_view bytes, std::size_t facet) {
    return Little16(bytes.data() + kFirstFacet + facet * kFacetBytes + 48);
  }

  bool HasOwn(std::uint32_t word) const { return ((word & 0x8000) != 0) != m_whole.has_value(); }

  /// Of facets without one of their own.
  ColorBuf Whole() const {
    if (!m_whole) return {204, 204, 204, 255};
    return {m_whole->red, m_whole->green, m_whole->blue, 255};
  }

  Rgba m_whole, m_diffuse, m_specular;
  bool m_hasAny = false, m_hasOwn = false;
};

/// Adds a triangle with vertices of its own to the mesh.
void AddFacet(const V3f (&corners)[3], V3f normal, SceneMesh& mesh) {
  if (normal == V3f(0.0f)) {
    normal = UnitOr((corners[1] - corners[0]).cross(corners[2] - corners[0]), normal);
  }
  for (const V3f& corner : corners) {
    mesh.triangles.push_back(static_cast<std::uint32_t>(mesh.positions.size()));
    mesh.positions.push_back(corner);
    mesh.normals.push_back(normal);
  }
}

/// A triangle of corners of a text.
void AddTriangle(const PlacedPositions& placed, const std::uint32_t* corners, const V3f& normal,
                 SceneMesh& mesh, LeftOut& leftOut) {
  if (!std::all_of(corners, corners + 3, [&](std::uint32_t i) { return placed.IsGood(i); })) {
    ++leftOut.unusable;
    return;
  }
  const std::vector<V3f>& positions = placed.positions;
  AddFacet({positions[corners[0]], positions[corners[1]], positions[corners[2]]}, normal, mesh);
}

bool ReadBinary(const ModelSource& source, std::string_view bytes, std::string* fault) {
  if (bytes.size() < kFirstFacet) {
    *fault = fmt::format(
        "it ends after {} of the 84 bytes in front of its facets; export the model "
        "again",
        bytes.size());
    return false;
  }
  const std::uint64_t count = Little32(bytes.data() + kHeaderBytes);
  if (bytes.size() < kFirstFacet + count * kFacetBytes) {
    *fault =
        fmt::format("it ends after {} of the {} bytes of its {} facets; export the model again",
                    bytes.size(), kFirstFacet + count * kFacetBytes, count);
    return false;
  }
  const Colors colors(bytes, count);
  SceneMesh mesh;
  LeftOut leftOut;
  mesh.positions.reserve(3 * count);
  mesh.normals.reserve(3 * count);
  mesh.triangles.reserve(3 * count);
  for (std::size_t i = 0; i < count; ++i) {
    const char* const facet = bytes.data() + kFirstFacet + i * kFacetBytes;
    const V3f corners[] = {VectorAt(facet + 12), VectorAt(facet + 24), VectorAt(facet + 36)};
    if (!std::all_of(corners, corners + 3, CanBeDrawn<float>)) {
      ++leftOut.unusable;
      continue;
    }
    AddFacet(corners, VectorAt(facet), mesh);
    if (colors.HasOwn()) mesh.colors.resize(mesh.positions.size(), colors.Of(bytes, i));
  }
  source.scene.materials.push_back(colors.Material());
  AddMesh(source.scene, std::move(mesh));
  leftOut.Tell(source);
  return true;
}

bool ReadText(const ModelSource& source, std::string_view bytes, std::string* fault) {
  StlText read;
  if (!ReadStlText(bytes, &read, fault)) return false;
  const PlacedPositions placed = PlacePositions(read.corners, &source.scene.origin);
  PolygonCutter cutter;
  std::vector<std::uint32_t> cut;
  LeftOut leftOut;
  source.scene.materials.push_back(StandInMaterial());
  for (const StlSolid& solid : read.solids) {
    SceneMesh mesh;
    mesh.name = solid.name;
    for (const StlLoop& loop : solid.loops) {
      if (loop.size < 3) ++leftOut.missing;
      cut.clear();
      cutter.Cut({placed.positions.data() + loop.first, loop.size}, cut);
      for (std::uint32_t& corner : cut) corner += static_cast<std::uint32_t>(loop.first);
      for (std::size_t i = 0; i < cut.size(); i += 3) {
        AddTriangle(placed, &cut[i], loop.normal, mesh, leftOut);
      }
    }
    AddMesh(source.scene, std::move(mesh));
  }
  leftOut.Tell(source, &cutter);
  return true;
}

}  // namespace

bool ReadStl(const ModelSource& source, std::string* error) {
  FileBytes bytes;
  if (!ReadModelFile(source, &bytes, error)) return false;
  std::string fault;
  const std::string_view text = bytes.Text();
  const bool isRead =
      IsText(text) ? ReadText(source, text, &fault) : ReadBinary(source, text, &fault);
  if (!isRead) *error = fmt::format("{}: {}", source.files.ModelPath(), fault);
  return isRead;
}

}  // namespace hostkit
