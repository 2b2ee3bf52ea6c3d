// Values that may change over the host's time line.
#pragma once

/// Where an animated value takes its numbers from. Owned by the host, which also owns the clock.
/// Asked on the thread that brings the value up to date: the drawing thread, where the module does
/// (of fog distances alone).
class AnimationChannel {
 public:
  virtual ~AnimationChannel() = default;
  /// The value at `time` in seconds from the start of the animation.
  virtual float Evaluate(double time) const = 0;
  /// The host's present time in seconds.
  virtual double CurrentTime() const = 0;
};

/// A number that follows a channel, or stays as it is when it has none. Reading gives the value
/// that it was brought up to date with last.
class AnimatableValue {
 public:
  /// A number that stays as it is.
  AnimatableValue(float value = 0) : m_current(value) {}
  /// Follows `channel`, which is not owned and must outlive the value; null for one that stays.
  /// Brought up to date at once.
  explicit AnimatableValue(const AnimationChannel* channel) : m_channel(channel) {
    BringUpToDate();
  }

  /// The value that was taken last.
  float Current() const { return m_current; }
  /// Takes the channel's value at `time` in seconds.
  void UpdateFor(double time) {
    if (m_channel) m_current = m_channel->Evaluate(time);
  }
  /// Takes the channel's value at the host's present time.
  void BringUpToDate() {
    if (m_channel) UpdateFor(m_channel->CurrentTime());
  }
  /// Whether it follows a channel.
  bool IsAnimated() const { return m_channel != nullptr; }

 private:
  float m_current = 0;
  const AnimationChannel* m_channel = nullptr;
};

/// A colour of three values that are animated each on its own.
struct AnimatableColor {
  /// Channels, 0 to 1 nominally.
  AnimatableValue red, green, blue;
};
