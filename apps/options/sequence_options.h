// Which pictures a run of `gl3 render` makes: frames, turntable, animation, parts of the work.
#pragma once

#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/frame_list.h"
#include "apps/options/option_parser.h"

namespace gl3 {

struct SequenceOptions {
  std::vector<int> frames;  ///< Of --frames; empty: those of the turntable, else one still.
  int turntable = 0;        ///< Frames of a full turn; 0: the camera stands.
  double framesPerSecond = 24;
  std::string animation;  ///< One of the model's, or kNoAnimation; empty: the first, in sequences.
  bool skipExisting = false;
  Chunk chunk;

  static constexpr const char* kNoAnimation = "none";

  /// Whether frames are numbered: a run with --frames or --turntable, of one picture also.
  bool IsSequence() const { return turntable > 0 || !frames.empty(); }
  /// Whether the model moves, when it can.
  bool IsAnimated() const { return animation.empty() ? IsSequence() : animation != kNoAnimation; }
  /// The frames to draw, in this order: --frames, else 1 to the turntable's last, else 1.
  std::vector<int> Frames() const;
  /// Seconds into the animation that a frame shows. Frame 1 shows its beginning; what comes before
  /// stands at it.
  double TimeOf(int frame) const { return (frame - 1) / framesPerSecond; }
};

/// Adds the options to `parser`; parsing fills `*options`, which must live until then.
void AddSequenceOptions(const OptionParser& parser, SequenceOptions* options);

/// Whether an output's name, given with `option`, has places for all that it must tell apart, and
/// none for what is not there; `cameras` are those of --camera, `severalModels`: each has pictures
/// of its own. kWrongUsage with a message, or kDone.
Outcome CheckSequence(const SequenceOptions& options, const std::vector<std::string>& cameras,
                      const std::string& output, const char* option, bool severalModels);

/// Whether `cameras` asks for every camera of the model.
bool AreAllCameras(const std::vector<std::string>& cameras);

}  // namespace gl3
