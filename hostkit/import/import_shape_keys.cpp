// Keys of shapes' weights into a scene's motion.
#include "hostkit/import/import_shape_keys.h"

#include <assimp/anim.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace hostkit {
namespace {

// Weights that a channel may have, whatever its keys; and for each key, beyond that.
constexpr std::size_t kMostWeights = 1 << 20, kMostForEachKey = 64;

struct ShapeKey {
  double time = 0;
  float weight = 0;
};
using ShapeKeys = std::vector<ShapeKey>;

/// The usable keys of each target, by time. `*times` gets all of their times.
std::vector<ShapeKeys> CollectKeys(const aiMeshMorphAnim& source, double ticksPerSecond,
                                   std::size_t targets, std::vector<double>* times) {
  std::vector<ShapeKeys> keys(targets);
  for (unsigned k = 0; source.mKeys && k < source.mNumKeys; ++k) {
    const aiMeshMorphKey& key = source.mKeys[k];
    const double time = key.mTime / ticksPerSecond;
    if (!std::isfinite(time) || !key.mValues || !key.mWeights) continue;
    for (unsigned i = 0; i < key.mNumValuesAndWeights; ++i) {
      const auto weight = static_cast<float>(key.mWeights[i]);
      if (key.mValues[i] >= targets || !std::isfinite(weight)) continue;
      keys[key.mValues[i]].push_back({time, weight});
      times->push_back(time);
    }
  }
  for (ShapeKeys& each : keys) {
    std::stable_sort(each.begin(), each.end(),
                     [](const ShapeKey& a, const ShapeKey& b) { return a.time < b.time; });
  }
  std::sort(times->begin(), times->end());
  times->erase(std::unique(times->begin(), times->end()), times->end());
  return keys;
}

/// Between keys straight, beyond them standing still; of several at one time the last counts.
float WeightAt(const ShapeKeys& keys, double time) {
  const auto after =
      std::upper_bound(keys.begin(), keys.end(), time,
                       [](double wanted, const ShapeKey& key) { return wanted < key.time; });
  if (after == keys.begin()) return keys.front().weight;
  const auto before = after - 1;
  if (after == keys.end()) return before->weight;
  const double share = (time - before->time) / (after->time - before->time);
  const auto weight = static_cast<float>(before->weight + (after->weight - before->weight) * share);
  return std::isfinite(weight) ? weight : before->weight;
}

}  // namespace

WeightChannel ImportShapeKeys(const aiMeshMorphAnim& source, double ticksPerSecond,
                              const std::vector<float>& rest) {
  WeightChannel channel;
  std::vector<double> times;
  const std::vector<ShapeKeys> keys = CollectKeys(source, ticksPerSecond, rest.size(), &times);
  std::size_t count = 0;
  for (const ShapeKeys& each : keys) count += each.size();
  if (times.size() * rest.size() > kMostWeights + count * kMostForEachKey) return channel;
  channel.values.reserve(times.size() * rest.size());
  for (const double time : times) {
    for (std::size_t t = 0; t < rest.size(); ++t) {
      channel.values.push_back(keys[t].empty() ? rest[t] : WeightAt(keys[t], time));
    }
  }
  channel.times = std::move(times);
  return channel;
}

}  // namespace hostkit
