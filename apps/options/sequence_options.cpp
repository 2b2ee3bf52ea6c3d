// Which pictures a run of `gl3 render` makes: reading these options, and what they ask of the name.
#include "apps/options/sequence_options.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "apps/base/text.h"
#include "apps/options/option_readers.h"
#include "apps/options/output_pattern.h"

namespace gl3 {
namespace {

constexpr int kMostTurntableFrames = 100000;

bool ReadRate(const std::string& text, double* rate, std::string* error) {
  double number = 0;
  if (ParseNumber(text, &number) && number >= 0.001 && number <= 100000) {
    *rate = number;
    return true;
  }
  *error = ShellQuote(text) + " is not a rate; give frames a second from 0.001 to 100000";
  return false;
}

/// The frame that a turn does not have, or -1.
int FrameBeyondTurn(const SequenceOptions& options) {
  if (options.turntable == 0) return -1;
  for (const int frame : options.frames) {
    if (frame < 1 || frame > options.turntable) return frame;
  }
  return -1;
}

}  // namespace

std::vector<int> SequenceOptions::Frames() const {
  if (!frames.empty()) return frames;
  std::vector<int> turn(static_cast<std::size_t>(std::max(turntable, 1)));
  std::iota(turn.begin(), turn.end(), 1);
  return turn;
}

void AddSequenceOptions(const OptionParser& parser, SequenceOptions* options) {
  parser.BeginGroup("Sequence");
  parser.Add("--frames", "LIST",
             "Frames to draw: 7, 1-240, every 2nd 1-240x2 (or 1:240x2), lists\n"
             "such as 1-10,20,40-30; more than one needs #### or %04d in -o",
             [=](const std::string& text, std::string* error) {
               return ParseFrameList(text, &options->frames, error);
             });
  parser.Add("--turntable", "N",
             "The camera orbits the middle of the model in N frames, around y or\n"
             "--up, counter-clockwise from above; frame 1 has the chosen view,\n"
             "from far enough to hold all of the turn when it is fitted",
             IntegerReader(1, kMostTurntableFrames, &options->turntable));
  parser.Add("--fps", "RATE", "Frames a second: frame n shows time (n-1)/RATE (default 24)",
             [=](const std::string& text, std::string* error) {
               return ReadRate(text, &options->framesPerSecond, error);
             });
  parser.AddText("--animation", "NAME",
                 "One of the model's animations; none: at rest (default: the\n"
                 "first one in sequences, none in a still)",
                 &options->animation);
  parser.AddFlag("--skip-existing",
                 "Leave out pictures that are there: goes on with a run that was\n"
                 "ended",
                 &options->skipExisting);
  parser.Add("--chunk", "I/N",
             "Draw the I-th of N parts alone, such as 2/8 on the second of\n"
             "eight machines; all parts together make the whole sequence",
             [=](const std::string& text, std::string* error) {
               return ParseChunk(text, &options->chunk, error);
             });
}

bool AreAllCameras(const std::vector<std::string>& cameras) {
  return std::find(cameras.begin(), cameras.end(), "all") != cameras.end();
}

Outcome CheckSequence(const SequenceOptions& options, const std::vector<std::string>& cameras,
                      const std::string& output, const char* option, bool severalModels) {
  const OutputPattern pattern(output);
  const std::string name = std::string(option) + ": " + ShellQuote(output);
  if (const int frame = FrameBeyondTurn(options); frame >= 0) {
    return {kWrongUsage, fmt::format("--frames: {} is not one of the turntable's frames 1 to {}; "
                                     "leave it out, or raise --turntable",
                                     frame, options.turntable)};
  }
  const std::size_t count = options.Frames().size();
  if (count > 1 && !pattern.HasFrame()) {
    return {kWrongUsage, fmt::format("{} has no place for the numbers of {} frames; put #### or "
                                     "%04d into it, such as shot_####.png",
                                     name, count)};
  }
  if (pattern.HasFrame() && !options.IsSequence()) {
    return {kWrongUsage, name +
                             " has a place for frame numbers and there are no frames; give "
                             "--frames or --turntable, or another name"};
  }
  const bool several = cameras.size() > 1 || AreAllCameras(cameras);
  if (several && !pattern.HasCamera()) {
    return {kWrongUsage, name +
                             " has no place for the names of several cameras; put {camera} or "
                             "%c into it, such as shot_{camera}.png"};
  }
  if (pattern.HasCamera() && cameras.empty()) {
    return {kWrongUsage, name +
                             " has a place for a camera's name and no camera is named; give "
                             "--camera NAME or --camera all, or write %% for a percent sign"};
  }
  if (options.chunk.count > 1 && count == 1 && !several && !severalModels) {
    return {kWrongUsage,
            "--chunk: there is one picture only; give --frames, --turntable, several cameras or "
            "models, or leave it out"};
  }
  return {};
}

}  // namespace gl3
