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

using ShapeKeys = std::vector<ShapeKey>;

/// The usable keys of each target, by time. `*times` gets all of their times.
std::vector<ShapeKeys> SortKeys(const ShapeKeys& all, std::size_t targets,
                                std::vector<double>* times) {
  std::vector<ShapeKeys> keys(targets);
  for (const ShapeKey& key : all) {
    if (key.target >= targets || !std::isfinite(key.time) || !std::isfinite(key.weight)) continue;
    keys[key.target].push_back(key);
    times->push_back(key.time);
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

std::vector<ShapeKey> CollectShapeKeys(const aiMeshMorphAnim& source, double ticksPerSecond) {
  ShapeKeys keys;
  for (unsigned k = 0; source.mKeys && k < source.mNumKeys; ++k) {
    const aiMeshMorphKey& key = source.mKeys[k];
    if (!key.mValues || !key.mWeights) continue;
    for (unsigned i = 0; i < key.mNumValuesAndWeights; ++i) {
      keys.push_back(
          {key.mTime / ticksPerSecond, key.mValues[i], static_cast<float>(key.mWeights[i])});
    }
  }
  return keys;
}

WeightChannel ImportShapeKeys(const std::vector<ShapeKey>& all, const std::vector<float>& rest) {
  WeightChannel channel;
  std::vector<double> times;
  const std::vector<ShapeKeys> keys = SortKeys(all, rest.size(), &times);
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
