// What a picture takes, by drawing the first ones.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/work/farm/farm_command.h"

namespace gl3 {

struct Measurement {
  double startSeconds = 0;           ///< From the start of a task to its first picture.
  double pictureSeconds = 0;         ///< Of one picture, of all cameras together.
  std::uint64_t peakMemory = 0;      ///< Bytes.
  std::vector<std::string> cameras;  ///< As PartReport has them.
};

/// Draws the first two frames, or the picture of the file of the middle size, into a folder that
/// goes again. A failure is printed, and has no message of its own. The first frame pays for
/// shaders and arrays, which counts as start-up.
Outcome MeasureFirst(const FarmCommand& command, Measurement* measured);

/// Seconds that each picture is expected to take, when one takes `pictureSeconds`: all the same, or
/// by the sizes of their files.
std::vector<double> ExpectedSeconds(const FarmCommand& command,
                                    const std::vector<FarmPicture>& pictures,
                                    double pictureSeconds);

}  // namespace gl3
