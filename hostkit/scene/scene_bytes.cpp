// Scenes as plain bytes, to go from one process to another of the same build.
#include "hostkit/scene/scene_bytes.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "hostkit/scene/scene_check.h"

namespace hostkit {
namespace {

// Arrays begin at multiples of this, so that copying them in and out is aligned.
constexpr std::size_t kAlignment = 16;
// The first bytes: a mark and the number of this form of writing.
constexpr std::uint64_t kMark = 0x38656E6563736C67;  // "glscene8"

std::size_t RoundUp(std::size_t size) {
  return (size + kAlignment - 1) / kAlignment * kAlignment;
}

HRGBABuffer* ColorsOf(const HBitmapNode& bitmap) {
  return static_cast<HRGBABuffer*>(bitmap.FindBuffer("Color"));
}

// Three streams with the same operations: one counts, one writes, one reads. Transfer, below, tells
// each of them what a scene consists of, once for all three.

class Counter {
 public:
  void Raw(const void*, std::size_t size) { m_size += RoundUp(size); }
  std::size_t Size() const { return m_size; }

 private:
  std::size_t m_size = 0;
};

class Writer {
 public:
  explicit Writer(unsigned char* to) : m_to(to) {}
  void Raw(const void* from, std::size_t size) {
    if (size > 0) std::memcpy(m_to, from, size);
    m_to += RoundUp(size);
  }

 private:
  unsigned char* m_to;
};

/// Numbers, texts, arrays, pictures and lists on their way out, by way of a Counter or Writer.
template <class Sink>
class Output {
 public:
  explicit Output(Sink& sink) : m_sink(sink) {}

  template <class Value>
  void Number(const Value& value) {
    m_sink.Raw(&value, sizeof value);
  }
  void Flag(bool flag) { Number(static_cast<std::uint8_t>(flag)); }
  template <class Value>
  void Array(const std::vector<Value>& values) {
    Number(std::uint64_t{values.size()});
    m_sink.Raw(values.data(), values.size() * sizeof(Value));
  }
  void Text(const std::string& text) {
    Number(std::uint64_t{text.size()});
    m_sink.Raw(text.data(), text.size());
  }
  void Picture(const BitmapPtr& bitmap) {
    const int width = bitmap ? bitmap->GetWidth() : 0, height = bitmap ? bitmap->GetHeight() : 0;
    Number(width);
    Number(height);
    HRGBABuffer* colors = bitmap ? ColorsOf(*bitmap) : nullptr;
    for (int y = 0; y < height; ++y) {
      m_sink.Raw(colors->GetData(y), static_cast<std::size_t>(width) * 4);
    }
  }
  template <class Value, class TransferOne>
  void List(const std::vector<Value>& values, const TransferOne& transferOne) {
    Number(std::uint64_t{values.size()});
    for (const Value& value : values) transferOne(value);
  }

 private:
  Sink& m_sink;
};

/// The way in. After the first thing that is not there nothing is read any more, and values stay as
/// they are. Memory is taken for what the bytes hold, whatever counts they tell.
class Input {
 public:
  Input(const unsigned char* bytes, std::size_t size) : m_at(bytes), m_left(size) {}
  /// Whether all that was asked for was there, and nothing is left.
  bool IsWhole() const { return m_good && m_left == 0; }

  template <class Value>
  void Number(Value& value) {
    if (const void* from = Take(sizeof value))
      std::memcpy(static_cast<void*>(&value), from, sizeof value);
  }
  void Flag(bool& flag) {
    std::uint8_t byte = 0;
    Number(byte);
    flag = byte != 0;
  }
  template <class Value>
  void Array(std::vector<Value>& values) {
    const std::size_t count = Count(sizeof(Value));
    const void* from = Take(count * sizeof(Value));
    if (!from || count == 0) return;
    values.resize(count);
    std::memcpy(static_cast<void*>(values.data()), from, count * sizeof(Value));
  }
  void Text(std::string& text) {
    const std::size_t count = Count(1);
    if (const void* from = Take(count)) text.assign(static_cast<const char*>(from), count);
  }
  void Picture(BitmapPtr& bitmap) {
    int width = 0, height = 0;
    Number(width);
    Number(height);
    const std::size_t row = static_cast<std::size_t>(width) * 4;
    if (width <= 0 || height <= 0 || m_left / RoundUp(row) < static_cast<std::size_t>(height)) {
      m_good = false;
      return;
    }
    bitmap = NewByteBitmap(width, height);
    if (!bitmap) throw std::bad_alloc();
    for (int y = 0; y < height; ++y) {
      std::memcpy(ColorsOf(*bitmap)->GetData(y), Take(row), row);
    }
  }
  template <class Value, class TransferOne>
  void List(std::vector<Value>& values, const TransferOne& transferOne) {
    const std::size_t count = Count(kAlignment);  // the least that a member takes
    for (std::size_t i = 0; m_good && i < count; ++i) transferOne(values.emplace_back());
  }

 private:
  /// The next `size` bytes, or null.
  const void* Take(std::size_t size) {
    m_good = m_good && size <= m_left && RoundUp(size) <= m_left;
    if (!m_good) return nullptr;
    const unsigned char* taken = m_at;
    m_at += RoundUp(size);
    m_left -= RoundUp(size);
    return taken;
  }
  /// A number of members that take so many bytes each, 0 when there cannot be so many.
  std::size_t Count(std::size_t each) {
    std::uint64_t count = 0;
    Number(count);
    m_good = m_good && count <= m_left / each;
    return m_good ? static_cast<std::size_t>(count) : 0;
  }

  const unsigned char* m_at;
  std::size_t m_left;
  bool m_good = true;
};

// `Part` is const on the way out.

template <class Stream>
void TransferValue(Stream& stream, const AnimatableValue& value) {
  stream.Number(value.Current());
}
void TransferValue(Input& stream, AnimatableValue& value) {
  float current = 0;
  stream.Number(current);
  value = current;
}

template <class Stream, class Part>
void TransferSurface(Stream& stream, Part& surface) {
  for (auto* color : {&surface.base, &surface.ambient, &surface.specular}) {
    TransferValue(stream, color->red);
    TransferValue(stream, color->green);
    TransferValue(stream, color->blue);
  }
  stream.Number(surface.ambientSource);
  stream.Number(surface.specularSource);
  for (auto* value : {&surface.ambientFactor, &surface.roughness, &surface.specularFactor,
                      &surface.transparency}) {
    TransferValue(stream, *value);
  }
}

template <class Stream, class Part>
void TransferMesh(Stream& stream, Part& mesh) {
  stream.Text(mesh.name);
  stream.Array(mesh.positions);
  stream.Array(mesh.normals);
  stream.Array(mesh.uvs);
  stream.Array(mesh.colors);
  stream.Flag(mesh.colorsHaveAlpha);
  stream.Flag(mesh.isMirrored);
  stream.Array(mesh.triangles);
  stream.Array(mesh.lines);
  stream.Array(mesh.points);
  stream.Number(mesh.material);
}

template <class Stream, class Part>
void TransferTrack(Stream& stream, Part& track) {
  stream.Number(track.curve);
  // One by one: some keys end in bytes that are nobody's, which would go along.
  stream.List(track.keys, [&](auto& key) {
    stream.Number(key.time);
    stream.Number(key.value);
  });
  stream.Array(track.tangents);
}

template <class Stream, class Part>
void TransferAnimation(Stream& stream, Part& animation) {
  stream.Text(animation.name);
  stream.Number(animation.model);
  stream.Number(animation.duration);
  stream.List(animation.channels, [&](auto& channel) {
    stream.Number(channel.node);
    stream.Number(channel.rest);
    TransferTrack(stream, channel.translations);
    TransferTrack(stream, channel.rotations);
    TransferTrack(stream, channel.scales);
  });
  stream.List(animation.weights, [&](auto& channel) {
    stream.Number(channel.deformation);
    stream.Number(channel.curve);
    stream.Array(channel.times);
    stream.Array(channel.values);
  });
}

template <class Stream, class Part>
void TransferDeformation(Stream& stream, Part& deformation) {
  stream.Number(deformation.mesh);
  stream.Array(deformation.positions);
  stream.Array(deformation.normals);
  stream.List(deformation.targets, [&](auto& target) {
    stream.Array(target.positions);
    stream.Array(target.normals);
  });
  stream.Array(deformation.weights);
  stream.Array(deformation.joints);
  stream.Number(deformation.influences);
  stream.Array(deformation.vertexJoints);
  stream.Array(deformation.vertexWeights);
}

template <class Stream, class Part>
void TransferMotion(Stream& stream, Part& motion) {
  stream.Number(motion.models);
  stream.Array(motion.nodes);
  stream.List(motion.animations, [&](auto& one) { TransferAnimation(stream, one); });
  stream.Array(motion.instances);
  stream.Array(motion.cameras);
  stream.Array(motion.lights);
  stream.List(motion.deformations, [&](auto& one) { TransferDeformation(stream, one); });
  stream.List(motion.warnings, [&](auto& line) { stream.Text(line); });
}

template <class Stream, class Part>
void TransferCamera(Stream& stream, Part& camera) {
  stream.Text(camera.name);
  stream.Number(camera.eye);
  stream.Number(camera.forward);
  stream.Number(camera.up);
  stream.Number(camera.verticalFov);
  stream.Number(camera.parallelHeight);
  stream.Number(camera.aspect);
  stream.Number(camera.nearCut);
  stream.Number(camera.farCut);
}

template <class Stream, class Part>
void TransferLight(Stream& stream, Part& light) {
  stream.Text(light.name);
  stream.Number(light.type);
  stream.Number(light.position);
  stream.Number(light.direction);
  for (auto* value : {&light.red, &light.green, &light.blue, &light.intensity, &light.coneAngle,
                      &light.coneSoftness, &light.range}) {
    stream.Number(*value);
  }
}

template <class Stream, class Part>
void TransferFacts(Stream& stream, Part& facts) {
  stream.Text(facts.format);
  stream.Number(facts.metersPerUnit);
  for (auto* names : {&facts.scenes, &facts.extensionsUsed, &facts.extensionsRequired}) {
    stream.List(*names, [&](auto& name) { stream.Text(name); });
  }
}

template <class Stream, class Part>
void Transfer(Stream& stream, Part& scene) {
  TransferFacts(stream, scene.facts);
  stream.List(scene.images, [&](auto& image) {
    stream.Text(image.name);
    stream.Picture(image.bitmap);
    stream.Number(image.wrapU);
    stream.Number(image.wrapV);
    stream.Flag(image.isNearest);
  });
  stream.List(scene.materials, [&](auto& material) {
    stream.Text(material.name);
    TransferSurface(stream, material.surface);
    stream.Number(material.image);
    stream.Number(material.alphaCutoff);
    stream.Flag(material.isUnlit);
    stream.Flag(material.showsBacks);
    for (auto& component : material.emission) stream.Number(component);
    stream.Number(material.emissionImage);
  });
  stream.List(scene.meshes, [&](auto& mesh) { TransferMesh(stream, mesh); });
  stream.Array(scene.instances);
  stream.List(scene.nodeNames, [&](auto& node) {
    stream.Text(node.name);
    stream.Number(node.above);
  });
  stream.List(scene.cameras, [&](auto& camera) { TransferCamera(stream, camera); });
  stream.List(scene.lights, [&](auto& light) { TransferLight(stream, light); });
  TransferMotion(stream, scene.motion);
  stream.List(scene.warnings, [&](auto& line) { stream.Text(line); });
  stream.Number(scene.origin);
  stream.Number(scene.upAxis);
}

template <class Sink>
void Put(Sink& sink, const Scene& scene) {
  Output<Sink> output(sink);
  output.Number(kMark);
  Transfer(output, scene);
}

}  // namespace

std::size_t CountSceneBytes(const Scene& scene) {
  Counter counter;
  Put(counter, scene);
  return counter.Size();
}

void WriteScene(const Scene& scene, unsigned char* to) {
  Writer writer(to);
  Put(writer, scene);
}

std::unique_ptr<Scene> ReadScene(const unsigned char* bytes, std::size_t size, std::string* why) {
  auto scene = std::make_unique<Scene>();
  Input input(bytes, size);
  std::uint64_t mark = 0;
  input.Number(mark);
  if (mark == kMark) Transfer(input, *scene);
  if (mark != kMark || !input.IsWhole()) {
    *why = "its bytes are no whole scene";
    return nullptr;
  }
  return CheckScene(*scene, why) ? std::move(scene) : nullptr;
}

}  // namespace hostkit
