// What a PLY file says, before it becomes meshes.
#include "hostkit/import/ply/ply_model.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <iterator>
#include <optional>
#include <utility>

#include "hostkit/import/model_files.h"
#include "hostkit/import/ply/ply_values.h"
#include "hostkit/import/read_meshes.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

using Imath::V2f;
using Imath::V3f;

/// What a property can mean. Colours are 0 to 1 in rows.
enum Slot {
  kX,
  kY,
  kZ,
  kNormalX,
  kNormalY,
  kNormalZ,
  kU,
  kV,
  kRed,
  kGreen,
  kBlue,
  kAlpha,
  kSpecularRed,
  kSpecularGreen,
  kSpecularBlue,
  kOpacity,
  kExponent,
  kPicture,
  kMaterial,
  kFirstVertex,
  kSecondVertex,
  kCorners,  ///< From here on lists.
  kCornerUvs,
  kSlots
};
constexpr int kLists = kSlots - kCorners;

/// Names as they are in use; of two with one meaning the first in a file counts.
constexpr std::pair<std::string_view, Slot> kNames[] = {
    {"x", kX},
    {"y", kY},
    {"z", kZ},
    {"nx", kNormalX},
    {"ny", kNormalY},
    {"nz", kNormalZ},
    {"u", kU},
    {"v", kV},
    {"s", kU},
    {"t", kV},
    {"texture_u", kU},
    {"texture_v", kV},
    {"texture_s", kU},
    {"texture_t", kV},
    {"red", kRed},
    {"green", kGreen},
    {"blue", kBlue},
    {"alpha", kAlpha},
    {"r", kRed},
    {"g", kGreen},
    {"b", kBlue},
    {"a", kAlpha},
    {"diffuse_red", kRed},
    {"diffuse_green", kGreen},
    {"diffuse_blue", kBlue},
    {"diffuse_alpha", kAlpha},
    {"specular_red", kSpecularRed},
    {"specular_green", kSpecularGreen},
    {"specular_blue", kSpecularBlue},
    {"opacity", kOpacity},
    {"specular_power", kExponent},
    {"phong_power", kExponent},
    {"texnumber", kPicture},
    {"material_index", kMaterial},
    {"vertex1", kFirstVertex},
    {"vertex2", kSecondVertex},
    {"vertex_indices", kCorners},
    {"vertex_index", kCorners},
    {"texcoord", kCornerUvs},
};

bool IsColor(int slot) {
  return slot >= kRed && slot <= kOpacity;
}

/// Of a colour's type, as a factor that makes it 0 to 1.
double ColorScale(PlyType type) {
  if (type == PlyType::kFloat32 || type == PlyType::kFloat64) return 1;
  return type == PlyType::kUint16 ? 1.0 / 65535 : 1.0 / 255;
}

/// How to read a property of an element.
struct Step {
  PlyType type, countType;
  bool isList;
  int slot;  ///< -1: nobody wants it.
  double scale;
};

struct Plan {
  std::vector<Step> steps;
  std::array<bool, kSlots> has = {};

  bool Has(std::initializer_list<Slot> slots) const {
    return std::all_of(slots.begin(), slots.end(), [this](Slot slot) { return has[slot]; });
  }
};

Plan PlanFor(const PlyElement& element) {
  Plan plan;
  for (const PlyProperty& property : element.properties) {
    Step step{property.type, property.countType, property.isList, -1, 1};
    for (const auto& [name, slot] : kNames) {
      const bool isMeant = IsSameWord(name, property.name) && (slot >= kCorners) == property.isList;
      if (!isMeant || plan.has[slot]) continue;
      step.slot = slot;
      plan.has[slot] = true;
      break;
    }
    if (IsColor(step.slot)) step.scale = ColorScale(step.type);
    plan.steps.push_back(step);
  }
  return plan;
}

struct Row {
  std::array<double, kSlots> values = {};
  std::array<std::vector<double>, kLists> lists;
  std::vector<double> unwanted;

  float Float(Slot slot) const { return static_cast<float>(values[slot]); }
  const std::vector<double>& List(Slot slot) const { return lists[slot - kCorners]; }
  V3f Vector(Slot first) const {
    return {Float(first), Float(Slot(first + 1)), Float(Slot(first + 2))};
  }
  ColorBuf Color(bool hasAlpha) const {
    return {ToByte(Float(kRed)), ToByte(Float(kGreen)), ToByte(Float(kBlue)),
            hasAlpha ? ToByte(Float(kAlpha)) : std::uint8_t{255}};
  }
};

/// A vertex's number; one that no file has where it is none.
std::uint32_t ToIndex(double value) {
  return value >= 0 && value < 4294967295.0 ? static_cast<std::uint32_t>(value) : 4294967295u;
}

std::int32_t ToSmall(double value) {
  return value >= 0 && value < 2147483647.0 ? static_cast<std::int32_t>(value) : -1;
}

void AddVertex(const Plan& plan, const Row& row, PlyModel& model) {
  PlyVertices& vertices = model.vertices;
  vertices.positions.emplace_back(row.values[kX], row.values[kY], row.values[kZ]);
  if (plan.Has({kNormalX, kNormalY, kNormalZ})) vertices.normals.push_back(row.Vector(kNormalX));
  if (plan.Has({kU, kV})) vertices.uvs.push_back(TopDown(row.values[kU], row.values[kV]));
  if (plan.Has({kRed, kGreen, kBlue})) vertices.colors.push_back(row.Color(plan.has[kAlpha]));
}

/// The attributes that a polygon has beside its corners, which are there already.
void AddAttributes(const Plan& plan, const Row& row, PlyPolygons& polygons) {
  const std::size_t count = polygons.sizes.size();
  if (plan.Has({kRed, kGreen, kBlue})) {
    polygons.colors.resize(count);
    polygons.colors.back() = row.Color(plan.has[kAlpha]);
  }
  if (plan.has[kPicture]) {
    polygons.pictures.resize(count);
    polygons.pictures.back() = ToSmall(row.values[kPicture]);
  }
  if (plan.has[kMaterial]) {
    polygons.materials.resize(count);
    polygons.materials.back() = ToSmall(row.values[kMaterial]);
  }
}

void AddFace(const Plan& plan, const Row& row, PlyModel& model) {
  PlyPolygons& polygons = model.polygons;
  const std::vector<double>& corners = row.List(kCorners);
  for (double corner : corners) polygons.corners.push_back(ToIndex(corner));
  polygons.sizes.push_back(static_cast<std::uint32_t>(corners.size()));
  const std::vector<double>& uvs = row.List(kCornerUvs);
  if (!uvs.empty()) {
    const std::size_t first = polygons.corners.size() - corners.size();
    polygons.uvs.resize(polygons.corners.size());
    for (std::size_t i = 0; i < corners.size() && 2 * i + 1 < uvs.size(); ++i) {
      polygons.uvs[first + i] = TopDown(uvs[2 * i], uvs[2 * i + 1]);
    }
  }
  AddAttributes(plan, row, polygons);
}

/// Triangles of a strip; negative numbers begin new ones.
void AddStrip(const Plan&, const Row& row, PlyModel& model) {
  PlyPolygons& polygons = model.polygons;
  const std::vector<double>& strip = row.List(kCorners);
  std::size_t first = 0;
  for (std::size_t i = 0; i < strip.size(); ++i) {
    if (!(strip[i] >= 0)) first = i + 1;
    if (i < first + 2) continue;
    const std::uint32_t a = ToIndex(strip[i - 2]), b = ToIndex(strip[i - 1]), c = ToIndex(strip[i]);
    if (a == b || b == c || a == c) continue;  // it leads the strip elsewhere
    const bool isTurned = (i - first) % 2 == 1;
    polygons.corners.insert(polygons.corners.end(), {isTurned ? b : a, isTurned ? a : b, c});
    polygons.sizes.push_back(3);
  }
}

void AddEdge(const Plan& plan, const Row& row, PlyModel& model) {
  model.polygons.corners.insert(model.polygons.corners.end(), {ToIndex(row.values[kFirstVertex]),
                                                               ToIndex(row.values[kSecondVertex])});
  model.polygons.sizes.push_back(2);
  AddAttributes(plan, row, model.polygons);
}

void AddMaterial(const Plan& plan, const Row& row, PlyModel& model) {
  PlyMaterial material;
  if (plan.Has({kRed, kGreen, kBlue})) material.diffuse = row.Vector(kRed);
  if (plan.Has({kSpecularRed, kSpecularGreen, kSpecularBlue})) {
    material.specular = row.Vector(kSpecularRed);
  }
  if (plan.has[kOpacity]) material.opacity = row.Float(kOpacity);
  if (plan.has[kExponent]) material.exponent = row.Float(kExponent);
  model.materials.push_back(material);
}

/// What becomes of an element's rows. Those that lack what is needed are passed over.
struct Use {
  std::string_view element;
  std::initializer_list<Slot> needs;
  void (*add)(const Plan& plan, const Row& row, PlyModel& model);
  bool isFace;
};

const Use kUses[] = {
    {"vertex", {kX, kY}, AddVertex, false},
    {"face", {kCorners}, AddFace, true},
    {"tristrips", {kCorners}, AddStrip, true},
    {"edge", {kFirstVertex, kSecondVertex}, AddEdge, true},
    {"material", {}, AddMaterial, false},
};

/// Reads the values of one property; a list's into `list`, where it is wanted.
template <class Values>
bool ReadStep(Values& values, const Step& step, Row& row) {
  double value = 0;
  if (!step.isList) {
    if (!values.Next(step.type, &value)) return false;
    if (step.slot >= 0) row.values[step.slot] = value * step.scale;
    return true;
  }
  // Some writers promise lists that are not there.
  if (!values.Next(step.countType, &value) && !values.IsRowOver()) return false;
  if (value > static_cast<double>(values.Left())) {
    values.GoToEnd();
    return false;
  }
  const auto count = static_cast<std::size_t>(value > 0 ? value : 0);
  std::vector<double>& list = step.slot >= 0 ? row.lists[step.slot - kCorners] : row.unwanted;
  return values.NextList(step.type, count, list);
}

/// Makes room for what an element will add.
void Reserve(const Use& use, const Plan& plan, std::size_t count, PlyModel& model) {
  PlyVertices& vertices = model.vertices;
  if (use.add == AddVertex) {
    vertices.positions.reserve(count);
    if (plan.has[kNormalX]) vertices.normals.reserve(count);
    if (plan.has[kU]) vertices.uvs.reserve(count);
    if (plan.has[kRed]) vertices.colors.reserve(count);
  }
  if (use.add != AddFace) return;
  model.polygons.sizes.reserve(count);
  model.polygons.corners.reserve(3 * count);
}

template <class Values>
class Reader {
 public:
  Reader(std::string_view bytes, const PlyHeader& header)
      : m_size(bytes.size()), m_header(header), m_values(bytes.substr(header.size)) {}

  bool Read(PlyModel& model, std::string* fault) {
    for (const PlyElement& element : m_header.elements) {
      const bool isLast = &element == &m_header.elements.back();
      if (!isLast && !CanBeThere(element, fault)) return false;
      if (ReadElement(element, model, fault)) continue;
      // What is whole is shown where nothing needs the rest.
      if (!isLast || !m_isSomeRead || !m_values.IsAtEnd()) return false;
      model.cutOff = std::move(*fault);
    }
    return true;
  }

 private:
  bool ReadElement(const PlyElement& element, PlyModel& model, std::string* fault) {
    const Plan plan = PlanFor(element);
    const Use* use = nullptr;
    for (const Use& known : kUses) {
      if (known.element == element.name && plan.Has(known.needs)) use = &known;
    }
    const std::uint64_t most = MostRows(element);
    if (use) Reserve(*use, plan, std::min(element.count, most), model);
    model.hasFaces = model.hasFaces || (use && use->isFace && element.count > 0);
    Row row;
    for (std::uint64_t i = 0; i < element.count && !plan.steps.empty(); ++i) {
      m_values.BeginRow();
      m_isSomeRead = i > 0;
      for (const Step& step : plan.steps) {
        if (ReadStep(m_values, step, row)) continue;
        *fault = FaultText(element, i);
        return false;
      }
      m_values.EndRow();
      if (use) use->add(plan, row, model);
    }
    return true;
  }

  std::string FaultText(const PlyElement& element, std::uint64_t row) const {
    return fmt::format("{} {} of the {} that its header promises {}; export the model again",
                       NameForMessage(element.name), row + 1, element.count,
                       m_values.IsAtEnd()
                           ? fmt::format("is cut off where it ends after {} bytes", m_size)
                           : fmt::format("is broken at byte {}", m_size - m_values.Left()));
  }

  /// How many rows what is left of the file can hold.
  std::uint64_t MostRows(const PlyElement& element) const {
    std::uint64_t least = 0;
    for (const PlyProperty& property : element.properties) {
      least += m_values.LeastBytes(property.isList ? property.countType : property.type);
    }
    return least > 0 ? (m_values.Left() + 1) / least : element.count;
  }

  bool CanBeThere(const PlyElement& element, std::string* fault) const {
    if (element.count <= MostRows(element)) return true;
    *fault = fmt::format(
        "its header promises {} rows of {}, more than the {} bytes behind it can hold; export the "
        "model again",
        element.count, NameForMessage(element.name), m_values.Left());
    return false;
  }

  std::size_t m_size;
  const PlyHeader& m_header;
  Values m_values;
  bool m_isSomeRead = false;  ///< Of the element at hand.
};

}  // namespace

bool ReadPlyModel(std::string_view bytes, const PlyHeader& header, PlyModel* model,
                  std::string* fault) {
  if (header.format == PlyFormat::kAscii) {
    return Reader<PlyTextValues>(bytes, header).Read(*model, fault);
  }
  const bool isLittle = header.format == PlyFormat::kLittleEndian;
  if (isLittle == (std::endian::native == std::endian::little)) {
    return Reader<PlyBinaryValues<false>>(bytes, header).Read(*model, fault);
  }
  return Reader<PlyBinaryValues<true>>(bytes, header).Read(*model, fault);
}

}  // namespace hostkit
