// Animations of a glTF file.
#include "hostkit/import/gltf/gltf_animations.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <numeric>
#include <string>
#include <utility>

#include "hostkit/scene/directions.h"

namespace hostkit::gltf {
namespace {

using Imath::Quatf;
using Imath::V3f;

/// The keys of one channel.
struct Keys {
  KeyCurve curve = KeyCurve::kLinear;
  std::vector<float> times;
  std::size_t each = 0;       ///< Numbers of a value.
  std::vector<float> values;  ///< A value a time; of kCubic three: tangent in, value, tangent out.
  std::vector<std::size_t> order;  ///< The usable keys by time, one at a time.

  /// The numbers of a key: 0 its tangent in, 1 its value, 2 its tangent out.
  const float* Of(std::size_t key, std::size_t part) const {
    const bool isCubic = curve == KeyCurve::kCubic;
    return &values[each * (isCubic ? 3 * key + part : key)];
  }
};

KeyCurve CurveOf(Json sampler) {
  const std::string name = TextOf(sampler, "interpolation");
  return name == "STEP"          ? KeyCurve::kStep
         : name == "CUBICSPLINE" ? KeyCurve::kCubic
                                 : KeyCurve::kLinear;
}

/// Whether a channel of that path moves its node.
bool IsMotion(const std::string& path) {
  return path == "translation" || path == "rotation" || path == "scale";
}

/// Unusable keys are left out, and of several at one time the last stays.
void SortKeys(Keys& keys) {
  const std::size_t each = keys.values.size() / keys.times.size();
  for (std::size_t i = 0; i < keys.times.size(); ++i) {
    const float* value = &keys.values[i * each];
    const bool isGood = std::isfinite(keys.times[i]) &&
                        std::all_of(value, value + each, [](float v) { return std::isfinite(v); });
    if (isGood) keys.order.push_back(i);
  }
  std::stable_sort(keys.order.begin(), keys.order.end(),
                   [&](std::size_t a, std::size_t b) { return keys.times[a] < keys.times[b]; });
  std::reverse(keys.order.begin(), keys.order.end());
  const auto end =
      std::unique(keys.order.begin(), keys.order.end(),
                  [&](std::size_t a, std::size_t b) { return keys.times[a] == keys.times[b]; });
  keys.order.erase(end, keys.order.end());
  std::reverse(keys.order.begin(), keys.order.end());
}

template <class Value>
Value ToValue(const float* numbers);
template <>
V3f ToValue(const float* numbers) {
  return {numbers[0], numbers[1], numbers[2]};
}
template <>
Quatf ToValue(const float* numbers) {
  return {numbers[3], numbers[0], numbers[1], numbers[2]};
}

/// What a key is divided by: rotations are brought to unit length, with their tangents.
float LengthOf(const V3f&) {
  return 1;
}
float LengthOf(const Quatf& rotation) {
  return rotation.length();
}

template <class Value>
void FillTrack(const Keys& keys, KeyTrack<Value>& track) {
  track = {};
  track.curve = keys.curve;
  track.keys.reserve(keys.order.size());
  for (const std::size_t key : keys.order) {
    const Value value = ToValue<Value>(keys.Of(key, 1));
    const float length = LengthOf(value);
    if (!(length > 0) || !std::isfinite(length)) continue;
    track.keys.push_back({keys.times[key], value / length});
    if (keys.curve != KeyCurve::kCubic) continue;
    track.tangents.push_back(
        {ToValue<Value>(keys.Of(key, 0)) / length, ToValue<Value>(keys.Of(key, 2)) / length});
  }
}

/// The animations of one file, one after the other.
class AnimationReader {
 public:
  AnimationReader(Document& document, Accessors& accessors, const NodeTree& tree,
                  const NodeHooks& hooks, Deformations& deformations)
      : m_document(document),
        m_accessors(accessors),
        m_tree(tree),
        m_hooks(hooks),
        m_deformations(deformations) {}

  SceneAnimation Read(Json json, int index) {
    SceneAnimation animation;
    animation.name = TextOf(json, "name");
    m_name = m_document.NameOf("animation", json, index);
    m_channels.clear();
    const Json channels = Member(json, "channels");
    for (std::size_t i = 0; i < Length(channels); ++i) AddChannel(json, channels[i], animation);
    return animation;
  }

 private:
  void AddChannel(Json json, Json channel, SceneAnimation& animation) {
    const Json target = Member(channel, "target");
    const std::string path = TextOf(target, "path");
    const int node = IndexOf(target, "node");
    const bool isThere = node >= 0 && static_cast<std::size_t>(node) < m_tree.isInScene.size() &&
                         m_tree.isInScene[static_cast<std::size_t>(node)];
    if (!isThere) return;  // nothing of the scene hangs on it
    if (!IsMotion(path) && path != "weights") {
      m_document.Note("animations' channels left out, since they change what is not known here",
                      m_name);
      return;
    }
    const Json sampler = Entry(Member(json, "samplers"), IndexOf(channel, "sampler"));
    const int components = path == "rotation" ? 4 : path == "weights" ? 1 : 3;
    Keys keys;
    if (!ReadKeys(sampler, components, keys)) {
      m_document.Note("animations' channels left out, since their keys are broken", m_name);
      return;
    }
    const float last = keys.order.empty() ? 0 : keys.times[keys.order.back()];
    animation.duration = std::max(animation.duration, double{last});
    if (path == "weights") return AddWeights(node, keys, animation);
    NodeChannel& moved = ChannelOf(node, animation);
    if (path == "translation") FillTrack(keys, moved.translations);
    if (path == "rotation") FillTrack(keys, moved.rotations);
    if (path == "scale") FillTrack(keys, moved.scales);
  }

  bool ReadKeys(Json sampler, int components, Keys& keys) {
    const Accessor* times = m_accessors.Get(IndexOf(sampler, "input"));
    const Accessor* values = m_accessors.Get(IndexOf(sampler, "output"));
    keys.curve = CurveOf(sampler);
    const std::size_t parts = keys.curve == KeyCurve::kCubic ? 3 : 1;
    if (!times || !values || values->components != components) return false;
    // Weights are single numbers, several of which make a value.
    const std::size_t perTime = values->count / times->count;
    if (perTime < parts || (components > 1 && perTime != parts)) return false;
    keys.each = components > 1 ? static_cast<std::size_t>(components) : perTime / parts;
    keys.times.resize(times->count);
    keys.values.resize(times->count * parts * keys.each);
    const std::size_t elements = keys.values.size() / static_cast<std::size_t>(components);
    ReadFloats(*times, {0, times->count, {}}, 1, 0, keys.times.data());
    ReadFloats(*values, {0, elements, {}}, components, 0, keys.values.data());
    SortKeys(keys);
    return true;
  }

  NodeChannel& ChannelOf(int node, SceneAnimation& animation) {
    const auto [entry, isNew] = m_channels.try_emplace(node, animation.channels.size());
    if (isNew) {
      NodeChannel& channel = animation.channels.emplace_back();
      channel.node = m_hooks.KeptIndex(node);
      channel.rest =
          RestOf(m_document.Item("nodes", node), m_tree.places[static_cast<std::size_t>(node)]);
    }
    return animation.channels[entry->second];
  }

  void AddWeights(int node, const Keys& keys, SceneAnimation& animation) {
    for (const int index : m_deformations.Of(node)) {
      const SceneMotion& motion = m_document.Source().scene.motion;
      const SceneDeformation& deformation = motion.deformations[static_cast<std::size_t>(index)];
      const std::size_t targets = deformation.targets.size();
      if (targets == 0) continue;
      WeightChannel channel;
      channel.deformation = index;
      channel.curve = keys.curve;
      for (const std::size_t key : keys.order) {
        channel.times.push_back(keys.times[key]);
        for (std::size_t part = 0; part < (keys.curve == KeyCurve::kCubic ? 3u : 1u); ++part) {
          const float* from = keys.Of(key, part);
          const std::size_t shared = std::min(targets, keys.each);
          channel.values.insert(channel.values.end(), from, from + shared);
          channel.values.insert(channel.values.end(), targets - shared, 0);
        }
      }
      animation.weights.push_back(std::move(channel));
    }
  }

  Document& m_document;
  Accessors& m_accessors;
  const NodeTree& m_tree;
  const NodeHooks& m_hooks;
  Deformations& m_deformations;
  std::map<int, std::size_t> m_channels;  ///< By node, of the animation at hand.
  std::string m_name;
};

}  // namespace

MovedNodes FindMoved(const Document& document) {
  const std::size_t count = Length(Member(document.Root(), "nodes"));
  MovedNodes moved{std::vector<bool>(count), std::vector<bool>(count)};
  const Json animations = Member(document.Root(), "animations");
  for (std::size_t a = 0; a < Length(animations); ++a) {
    const Json channels = Member(animations[a], "channels");
    for (std::size_t c = 0; c < Length(channels); ++c) {
      const Json target = Member(channels[c], "target");
      const int node = IndexOf(target, "node");
      if (node < 0 || static_cast<std::size_t>(node) >= count) continue;
      const std::string path = TextOf(target, "path");
      if (path == "weights") moved.weights[static_cast<std::size_t>(node)] = true;
      if (IsMotion(path)) moved.places[static_cast<std::size_t>(node)] = true;
    }
  }
  return moved;
}

void AddAnimations(Document& document, Accessors& accessors, const NodeTree& tree,
                   const NodeHooks& hooks, Deformations& deformations) {
  AnimationReader reader(document, accessors, tree, hooks, deformations);
  const Json animations = Member(document.Root(), "animations");
  for (std::size_t i = 0; i < Length(animations); ++i) {
    document.Source().scene.motion.animations.push_back(
        reader.Read(animations[i], static_cast<int>(i)));
  }
}

}  // namespace hostkit::gltf
