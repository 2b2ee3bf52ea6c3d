// Values between the keys of animations.
#include "hostkit/scene/key_curves.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>

namespace hostkit {
namespace {

using Imath::Quatf;
using Imath::V3f;

/// The keys around a time.
struct KeySpan {
  std::size_t before = 0, after = 0;  // the same before the first key, and from the last one on
  float share = 0;                    // of the way from the one to the other
  float length = 0;                   // of that way, in seconds
};

/// `keys` is not empty; `timeOf` tells the time of one of them.
template <class Keys, class TimeOf>
KeySpan SpanAt(const Keys& keys, double seconds, TimeOf timeOf) {
  const auto found = std::ranges::upper_bound(keys, seconds, {}, timeOf);
  const auto after = static_cast<std::size_t>(found - keys.begin());
  if (after == 0) return {};
  if (after == keys.size()) return {after - 1, after - 1, 0, 0};
  const double begin = std::invoke(timeOf, keys[after - 1]);
  const double length = std::invoke(timeOf, keys[after]) - begin;
  return {after - 1, after, static_cast<float>((seconds - begin) / length),
          static_cast<float>(length)};
}

V3f Between(const V3f& a, const V3f& b, float share) {
  return a + (b - a) * share;
}

Quatf Between(const Quatf& a, const Quatf& b, float share) {
  return Imath::slerpShortestArc(a, b, share);
}

/// What a Hermite spline between two keys takes of each of them and of their tangents.
struct HermiteShares {
  float before, leaving, arriving, after;

  explicit HermiteShares(const KeySpan& span) {
    const float t = span.share, t2 = t * t, t3 = t2 * t;
    before = 2 * t3 - 3 * t2 + 1;
    leaving = span.length * (t3 - 2 * t2 + t);
    arriving = span.length * (t3 - t2);
    after = 3 * t2 - 2 * t3;
  }
};

template <class Value>
Value CurveAt(const KeyTrack<Value>& track, double seconds, const Value& rest) {
  if (track.keys.empty()) return rest;
  const KeySpan span = SpanAt(track.keys, seconds, &AnimationKey<Value>::time);
  const Value &before = track.keys[span.before].value, &after = track.keys[span.after].value;
  if (span.before == span.after || track.curve == KeyCurve::kStep) return before;
  if (track.curve == KeyCurve::kLinear) return Between(before, after, span.share);
  const HermiteShares shares(span);
  return before * shares.before + track.tangents[span.before].out * shares.leaving +
         track.tangents[span.after].in * shares.arriving + after * shares.after;
}

}  // namespace

V3f ValueAt(const KeyTrack<V3f>& track, double seconds, const V3f& rest) {
  return CurveAt(track, seconds, rest);
}

Quatf ValueAt(const KeyTrack<Quatf>& track, double seconds, const Quatf& rest) {
  const Quatf value = CurveAt(track, seconds, rest);
  if (track.curve != KeyCurve::kCubic) return value;
  const float length = value.length();
  return length > 0 && std::isfinite(length) ? value / length : rest;
}

void WeightsAt(const WeightChannel& channel, double seconds, std::vector<float>& weights) {
  if (channel.times.empty() || weights.empty()) return;
  const KeySpan span = SpanAt(channel.times, seconds, std::identity());
  const std::size_t count = weights.size();
  const bool isCubic = channel.curve == KeyCurve::kCubic;
  const std::size_t each = isCubic ? 3 * count : count, values = isCubic ? count : 0;
  const float* const before = channel.values.data() + span.before * each;
  const float* const after = channel.values.data() + span.after * each;
  const bool stands = span.before == span.after || channel.curve == KeyCurve::kStep;
  const HermiteShares shares(span);
  for (std::size_t i = 0; i < count; ++i) {
    const float from = before[values + i], to = after[values + i];
    if (stands) {
      weights[i] = from;
    } else if (isCubic) {
      weights[i] = from * shares.before + before[2 * count + i] * shares.leaving +
                   after[i] * shares.arriving + to * shares.after;
    } else {
      weights[i] = from + (to - from) * span.share;
    }
  }
}

}  // namespace hostkit
