// The arrays of a glTF file: where they lie, and their numbers as what a scene has.
#include "hostkit/import/gltf/gltf_accessors.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

namespace hostkit::gltf {
namespace {

constexpr std::uint64_t kMostElements = 0xFFFFFFFE;  // what indices reach

int ComponentsOf(const std::string& type) {
  constexpr std::pair<const char*, int> kTypes[] = {
      {"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}, {"MAT2", 4}, {"MAT3", 9}, {"MAT4", 16}};
  const auto found = std::find_if(std::begin(kTypes), std::end(kTypes),
                                  [&](const auto& known) { return type == known.first; });
  return found == std::end(kTypes) ? 0 : found->second;
}

template <class Number>
Number NumberAt(const unsigned char* at) {
  Number number;
  std::memcpy(&number, at, sizeof number);
  return number;
}

/// What a normalised whole number is divided by.
template <class Number>
constexpr float Divisor(bool isNormalized) {
  if constexpr (std::is_floating_point_v<Number>) {
    return 1;
  } else {
    return isNormalized ? static_cast<float>(std::numeric_limits<Number>::max()) : 1;
  }
}

template <class Number>
std::uint32_t ToWhole(Number number) {
  if constexpr (std::is_floating_point_v<Number>) {
    return number >= 0 && number < 65536 ? static_cast<std::uint32_t>(number) : 0xFFFFFFFF;
  }
  return static_cast<std::uint32_t>(number);
}

/// Calls `use` with a number of the accessor's type.
template <class Use>
void WithType(ComponentType type, const Use& use) {
  switch (type) {
    case ComponentType::kByte:
      return use(std::int8_t{});
    case ComponentType::kUnsignedByte:
      return use(std::uint8_t{});
    case ComponentType::kShort:
      return use(std::int16_t{});
    case ComponentType::kUnsignedShort:
      return use(std::uint16_t{});
    case ComponentType::kUnsignedInt:
      return use(std::uint32_t{});
    case ComponentType::kFloat:
      return use(float{});
  }
}

template <class Number, class Place>
void ConvertEach(const Accessor& from, std::size_t count, const Place& place, int components,
                 float missing, float* to) {
  const int shared = std::min(components, from.components);
  const float divisor = Divisor<Number>(from.isNormalized);
  const float least =
      from.isNormalized && std::is_signed_v<Number> && !std::is_floating_point_v<Number>
          ? -1
          : -std::numeric_limits<float>::infinity();
  for (std::size_t i = 0; i < count; ++i, to += components) {
    const unsigned char* at = from.data + place(i) * from.stride;
    for (int c = 0; c < shared; ++c) {
      const auto number = static_cast<float>(NumberAt<Number>(at + c * sizeof(Number)));
      // Not a number stays that.
      to[c] = number / divisor < least ? least : number / divisor;
    }
    std::fill(to + shared, to + components, missing);
  }
}

}  // namespace

std::size_t SizeOf(ComponentType type) {
  switch (type) {
    case ComponentType::kByte:
    case ComponentType::kUnsignedByte:
      return 1;
    case ComponentType::kShort:
    case ComponentType::kUnsignedShort:
      return 2;
    case ComponentType::kUnsignedInt:
    case ComponentType::kFloat:
      return 4;
  }
  return 0;
}

const Accessor* Accessors::Get(int index) {
  const auto [entry, isNew] = m_made.try_emplace(index);
  if (isNew) entry->second = Make(m_document.Item("accessors", index));
  return entry->second ? &*entry->second : nullptr;
}

std::optional<Accessor> Accessors::Make(Json json) {
  Accessor accessor;
  accessor.type = static_cast<ComponentType>(IndexOf(json, "componentType"));
  accessor.components = ComponentsOf(TextOf(json, "type"));
  accessor.count = CountOf(json, "count", 0);
  accessor.isNormalized = FlagOf(json, "normalized");
  const std::size_t elementSize =
      SizeOf(accessor.type) * static_cast<std::size_t>(accessor.components);
  if (elementSize == 0 || accessor.count == 0 || accessor.count > kMostElements)
    return std::nullopt;
  accessor.stride = elementSize;
  if (Member(json, "bufferView").IsNull()) {
    accessor.data = Keep(accessor.count * elementSize);  // all zeros
  } else {
    PlaceIn(IndexOf(json, "bufferView"), CountOf(json, "byteOffset", 0), accessor);
  }
  if (!accessor.data) return std::nullopt;
  const Json sparse = Member(json, "sparse");
  if (sparse.IsObject() && !ApplySparse(sparse, accessor, elementSize)) return std::nullopt;
  return accessor;
}

/// Puts it into a view, where its stride, that of close elements, gives way to the view's.
bool Accessors::PlaceIn(int index, std::uint64_t offset, Accessor& accessor) {
  const BufferView* view = m_buffers.View(index);
  const std::size_t elementSize = accessor.stride;
  if (!view || offset > view->bytes.size()) return false;
  const std::size_t room = view->bytes.size() - offset;
  if (view->stride > 0) accessor.stride = view->stride;
  if (room < elementSize || accessor.count - 1 > (room - elementSize) / accessor.stride)
    return false;
  accessor.data = view->bytes.data() + offset;
  return true;
}

/// Zeros for an accessor of its own; null where accessors come to far more than the file has.
unsigned char* Accessors::Keep(std::size_t size) {
  constexpr std::size_t kFree = std::size_t{1} << 28, kMostTimes = 64;
  const std::size_t most = kFree + kMostTimes * (m_document.Size() + m_buffers.Size());
  if (size > most || m_keptSize > most - size) return nullptr;
  m_keptSize += size;
  m_kept.push_back(std::make_unique<unsigned char[]>(size));
  return m_kept.back().get();
}

bool Accessors::ApplySparse(Json sparse, Accessor& accessor, std::size_t elementSize) {
  const Json indices = Member(sparse, "indices");
  const Json values = Member(sparse, "values");
  Accessor places, replaced = accessor;
  places.type = static_cast<ComponentType>(IndexOf(indices, "componentType"));
  places.count = replaced.count = CountOf(sparse, "count", 0);
  places.components = 1;
  places.stride = SizeOf(places.type);
  replaced.stride = elementSize;
  std::vector<std::uint32_t> list;
  const bool isSound =
      places.stride > 0 && places.count > 0 && places.count <= accessor.count &&
      PlaceIn(IndexOf(indices, "bufferView"), CountOf(indices, "byteOffset", 0), places) &&
      PlaceIn(IndexOf(values, "bufferView"), CountOf(values, "byteOffset", 0), replaced) &&
      ReadIndices(places, &list);
  if (!isSound) return false;
  unsigned char* const bytes = Keep(accessor.count * elementSize);
  if (!bytes) return false;
  for (std::size_t i = 0; i < accessor.count; ++i) {
    std::memcpy(&bytes[i * elementSize], accessor.data + i * accessor.stride, elementSize);
  }
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i] >= accessor.count) return false;
    std::memcpy(&bytes[list[i] * elementSize], replaced.data + i * replaced.stride, elementSize);
  }
  accessor.data = bytes;
  accessor.stride = elementSize;
  return true;
}

void ReadFloats(const Accessor& from, const Selection& selection, int components, float missing,
                float* to) {
  if (selection.count == 0) return;
  const std::size_t size = static_cast<std::size_t>(components) * sizeof(float);
  if (from.type == ComponentType::kFloat && from.components == components && from.stride == size &&
      selection.list.empty()) {
    std::memcpy(to, from.data + selection.first * size, selection.count * size);
    return;
  }
  WithType(from.type, [&](auto number) {
    using Number = decltype(number);
    if (selection.list.empty()) {
      const auto inRow = [first = selection.first](std::size_t i) { return first + i; };
      ConvertEach<Number>(from, selection.count, inRow, components, missing, to);
    } else {
      const auto inList = [list = selection.list.data()](std::size_t i) { return list[i]; };
      ConvertEach<Number>(from, selection.count, inList, components, missing, to);
    }
  });
}

bool ReadIndices(const Accessor& from, std::vector<std::uint32_t>* to) {
  return from.type != ComponentType::kFloat && ReadWholes(from, {0, from.count, {}}, 1, to);
}

bool ReadWholes(const Accessor& from, const Selection& selection, int components,
                std::vector<std::uint32_t>* to) {
  const bool isWhole =
      from.type == ComponentType::kUnsignedByte || from.type == ComponentType::kUnsignedShort ||
      from.type == ComponentType::kUnsignedInt || from.type == ComponentType::kFloat;
  if (!isWhole || from.components < components) return false;
  to->resize(selection.count * static_cast<std::size_t>(components));
  const std::size_t size = static_cast<std::size_t>(components) * sizeof(std::uint32_t);
  if (from.type == ComponentType::kUnsignedInt && from.stride == size && selection.list.empty()) {
    if (!to->empty()) {
      std::memcpy(to->data(), from.data + selection.first * size, selection.count * size);
    }
    return true;
  }
  WithType(from.type, [&](auto number) {
    using Number = decltype(number);
    std::uint32_t* out = to->data();
    for (std::size_t i = 0; i < selection.count; ++i) {
      const std::size_t at = selection.list.empty() ? selection.first + i : selection.list[i];
      const unsigned char* element = from.data + at * from.stride;
      for (int c = 0; c < components; ++c) {
        *out++ = ToWhole(NumberAt<Number>(element + c * sizeof(Number)));
      }
    }
  });
  return true;
}

}  // namespace hostkit::gltf
