// What an OBJ file says, before it becomes meshes.
#include "hostkit/import/obj/obj_model.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <utility>

#include "hostkit/import/number_text.h"

namespace hostkit {
namespace {

// Objects and groups beyond this many are one: each becomes a mesh.
constexpr std::size_t kMostObjects = 10'000;

/// Numbers names in the order in which they first appear.
class Names {
 public:
  explicit Names(std::vector<std::string>& names) : m_names(names) { NumberOf(""); }

  std::uint32_t NumberOf(std::string_view name) {
    const auto found = m_numbers.find(name);
    if (found != m_numbers.end()) return found->second;
    const auto number = static_cast<std::uint32_t>(m_names.size());
    m_names.emplace_back(name);
    m_numbers.emplace(name, number);
    return number;
  }

 private:
  std::vector<std::string>& m_names;
  std::map<std::string, std::uint32_t, std::less<>> m_numbers;
};

/// Also what continues a line on the next one.
bool IsGap(char c) {
  return IsSpace(c) || c == '\\';
}

class ObjParser {
 public:
  ObjParser(std::string_view text, ObjModel& model)
      : m_at(text.data()),
        m_end(m_at + text.size()),
        m_model(model),
        m_objects(model.objects),
        m_materials(model.materials) {}

  void Read() {
    // About what there is in files of short lines; memory that is not used costs nothing.
    const auto size = static_cast<std::size_t>(m_end - m_at);
    m_model.positions.reserve(size / 64);
    m_model.corners.reserve(size / 12);
    m_model.elements.reserve(size / 36);
    while (m_at < m_end) {
      const char* const end = LineEnd();
      ReadLine(m_at, end);
      m_at = end < m_end ? end + 1 : m_end;
    }
  }

 private:
  using Statement = void (ObjParser::*)(const char* at, const char* end);

  /// Of the line at m_at, with the ones that continue it.
  const char* LineEnd() const {
    for (const char* from = m_at;;) {
      const auto* end =
          static_cast<const char*>(std::memchr(from, '\n', static_cast<std::size_t>(m_end - from)));
      if (!end) return m_end;
      const char* last = end;
      if (last > m_at && last[-1] == '\r') --last;
      if (last == m_at || last[-1] != '\\') return end;
      from = end + 1;
    }
  }

  void ReadLine(const char* at, const char* end) {
    while (at < end && IsGap(*at)) ++at;
    const char* const word = at;
    while (at < end && !IsGap(*at)) ++at;
    const std::string_view key(word, static_cast<std::size_t>(at - word));
    // Nearly all lines are one of these four.
    if (key == "v") return ReadPosition(at, end);
    if (key == "f") return ReadFace(at, end);
    if (key == "vn") return ReadNormal(at, end);
    if (key == "vt") return ReadUv(at, end);
    constexpr std::pair<std::string_view, Statement> kStatements[] = {
        {"l", &ObjParser::ReadPolyline},     {"p", &ObjParser::ReadPoints},
        {"fo", &ObjParser::ReadFace},        {"g", &ObjParser::ReadObject},
        {"o", &ObjParser::ReadObject},       {"usemtl", &ObjParser::ReadMaterial},
        {"s", &ObjParser::ReadSmoothing},    {"mtllib", &ObjParser::ReadLibrary},
        {"surf", &ObjParser::CountFreeForm}, {"curv", &ObjParser::CountFreeForm},
        {"bsp", &ObjParser::CountFreeForm},  {"bzp", &ObjParser::CountFreeForm},
        {"cdp", &ObjParser::CountFreeForm},  {"cdc", &ObjParser::CountFreeForm},
        {"call", &ObjParser::CountCall},
    };
    for (const auto& [known, read] : kStatements) {
      if (key == known) return (this->*read)(at, end);
    }
  }

  /// As many numbers as there are, `most` at most.
  static int ReadNumbers(const char* at, const char* end, int most, double* numbers) {
    int count = 0;
    for (; count < most; ++count) {
      while (at < end && IsGap(*at)) ++at;
      if (!ReadNumber(&at, end, &numbers[count])) break;
    }
    return count;
  }

  void ReadPosition(const char* at, const char* end) {
    double n[7] = {};
    const int count = ReadNumbers(at, end, 7, n);
    m_model.positions.emplace_back(n[0], n[1], n[2]);
    if (count < 6) return;
    m_model.colors.resize(m_model.positions.size(), kNoObjColor);
    m_model.colors.back() = Imath::V3f(Imath::V3d(n[3], n[4], n[5]));
  }

  void ReadNormal(const char* at, const char* end) {
    double n[3] = {};
    ReadNumbers(at, end, 3, n);
    m_model.normals.emplace_back(Imath::V3d(n[0], n[1], n[2]));
  }

  void ReadUv(const char* at, const char* end) {
    double n[2] = {};
    ReadNumbers(at, end, 2, n);
    m_model.uvs.emplace_back(Imath::V2d(n[0], n[1]));
  }

  /// Numbers count from 1, and negative ones back from the last that was given.
  static std::uint32_t Resolved(std::int64_t number, std::size_t count) {
    const std::int64_t index = number > 0 ? number - 1 : static_cast<std::int64_t>(count) + number;
    const bool isGood = number != 0 && index >= 0 && index < ObjCorner::kLost;
    return isGood ? static_cast<std::uint32_t>(index) : ObjCorner::kLost;
  }

  /// Reads "v", "v/vt", "v//vn" or "v/vt/vn".
  bool ReadCorner(const char** at, const char* end, ObjCorner* corner) const {
    std::int64_t number = 0;
    if (!ReadInteger(at, end, &number)) return false;
    corner->position = Resolved(number, m_model.positions.size());
    if (*at == end || **at != '/') return true;
    ++*at;
    if (ReadInteger(at, end, &number)) corner->uv = Resolved(number, m_model.uvs.size());
    if (*at == end || **at != '/') return true;
    ++*at;
    if (ReadInteger(at, end, &number)) corner->normal = Resolved(number, m_model.normals.size());
    return true;
  }

  void ReadElement(const char* at, const char* end, ObjKind kind) {
    const std::size_t first = m_model.corners.size();
    for (;;) {
      while (at < end && IsGap(*at)) ++at;
      if (at == end || *at == '#') break;
      ObjCorner corner;
      if (!ReadCorner(&at, end, &corner)) {
        // Some word: the element is kept, to be counted among those that are left out.
        while (at < end && !IsGap(*at)) ++at;
      }
      m_model.corners.push_back(corner);
    }
    const std::size_t size = m_model.corners.size() - first;
    if (size == 0) return;
    if (m_isStateNew) m_model.states.push_back(m_state);
    m_isStateNew = false;
    m_model.elements.push_back({static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(size),
                                static_cast<std::uint32_t>(m_model.states.size() - 1), kind});
  }

  void ReadFace(const char* at, const char* end) { ReadElement(at, end, ObjKind::kFace); }
  void ReadPolyline(const char* at, const char* end) { ReadElement(at, end, ObjKind::kLines); }
  void ReadPoints(const char* at, const char* end) { ReadElement(at, end, ObjKind::kPoints); }

  static std::string_view Name(const char* at, const char* end) {
    return Trimmed({at, static_cast<std::size_t>(end - at)});
  }

  void ReadObject(const char* at, const char* end) {
    if (m_model.objects.size() < kMostObjects) m_state.object = m_objects.NumberOf(Name(at, end));
    m_isStateNew = true;
  }

  void ReadMaterial(const char* at, const char* end) {
    m_state.material = m_materials.NumberOf(Name(at, end));
    m_isStateNew = true;
  }

  void ReadSmoothing(const char* at, const char* end) {
    std::int64_t group = 0;  // "off" is that, too
    while (at < end && IsGap(*at)) ++at;
    if (!ReadInteger(&at, end, &group) || group < 0) group = 0;
    m_state.smoothing = group;
    m_isStateNew = true;
  }

  void ReadLibrary(const char* at, const char* end) {
    m_model.libraries.emplace_back(Name(at, end));
  }

  void CountFreeForm(const char*, const char*) { ++m_model.freeForms; }
  void CountCall(const char*, const char*) { ++m_model.calls; }

  const char* m_at;
  const char* m_end;
  ObjModel& m_model;
  Names m_objects, m_materials;
  ObjState m_state;
  bool m_isStateNew = true;  ///< No element has it yet.
};

}  // namespace

void ReadObjModel(std::string_view text, ObjModel* model) {
  ObjParser(text, *model).Read();
}

}  // namespace hostkit
