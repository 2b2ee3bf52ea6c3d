// What a farm of 1 to 10,000 nodes takes, computed from what one machine was measured to take.
//
// The model: a scheduler that begins tasks one after another at a fixed rate, nodes with places for
// tasks, and a shared file system that serves one request after another. A task waits to be begun,
// reads the model, starts, and draws its chunk frame by frame, each of which it writes before the
// next one. Chunks are those that `gl3 farm` makes. Nothing is random: the same figures come out
// each time.
//
//   farm_simulation [--start S] [--frame S] [--frame-bytes N] [--model-bytes N] [--file S]
//                   [--bytes-per-second N] [--begins N] [--frames N] [--slots N] [--place S]
#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <queue>
#include <string>
#include <vector>

#include "apps/work/farm/chunk_plan.h"

namespace {

/// What one machine and its surroundings take, and what there is to draw. Those up to `place` were
/// measured: a frame of the bundled showroom, 1920x1080 as EXR, on one processor, and empty tasks
/// of Slurm 22.05. The others are taken to be: a plain file server, and a scheduler as it comes.
struct Inputs {
  double start = 0.4;                     ///< Seconds from a task's start to its first frame.
  double frame = 0.8;                     ///< Seconds a frame, without its file.
  double frameBytes = 1.5e6;              ///< Of a frame's file.
  double modelBytes = 4.4e6;              ///< Read by every task.
  double place = gl3::kSchedulerSeconds;  ///< From a task's end to the next one in its place.
  double frames = 24000;
  double file = 0.002;           ///< Seconds of the file system for a file, whatever its size.
  double bytesPerSecond = 1e9;   ///< Of the file system, all nodes together.
  double beginsPerSecond = 20;   ///< Tasks that the scheduler begins.
  double slots = 4;              ///< Tasks at a time on a node.
  std::size_t mostTasks = 1000;  ///< In an array.
};

struct Figures {
  std::size_t tasks = 0;
  double wall = 0;                         ///< Seconds to the last file.
  double fileBusy = 0, schedulerBusy = 0;  ///< Shares of 1.
};

/// Serves one request after another.
class Server {
 public:
  /// When a request that comes at `now` is served.
  double Serve(double now, double seconds) {
    m_free = std::max(now, m_free) + seconds;
    m_busy += seconds;
    return m_free;
  }
  double Busy() const { return m_busy; }

 private:
  double m_free = 0, m_busy = 0;
};

/// A frame takes between four and six fifths of the mean, by its number.
double SecondsOfFrame(const Inputs& inputs, std::size_t frame) {
  const std::uint64_t mixed = (frame + 1) * std::uint64_t{0x9E3779B97F4A7C15};
  return inputs.frame * (0.8 + 0.4 * static_cast<double>(mixed >> 40) / double(1 << 24));
}

/// One task on its way; what it does next begins at `time`.
struct Event {
  double time;
  std::size_t task;
  std::size_t done;  ///< 0: to read the model, 1: to draw, from 2 on: to write that frame less 2.
  bool operator>(const Event& other) const {
    return time != other.time ? time > other.time : task > other.task;
  }
};

Figures Simulate(const Inputs& inputs, double nodes) {
  const auto frames = static_cast<std::size_t>(inputs.frames);
  gl3::ShareWish wish;
  wish.startSeconds = inputs.start + inputs.place;
  wish.tasks = static_cast<int>(nodes * inputs.slots);
  wish.mostChunks = inputs.mostTasks;
  wish.leastTaskSeconds = 30;  // as gl3 farm
  const auto chunks = gl3::SharePictures(std::vector<double>(frames, inputs.frame), wish);

  Server files, scheduler;
  std::priority_queue<Event, std::vector<Event>, std::greater<>> events;
  std::size_t next = 0;
  const auto begin = [&](double now) {
    if (next == chunks.size()) return;
    events.push({scheduler.Serve(now, 1 / inputs.beginsPerSecond), next++, 0});
  };
  for (double place = 0; place < nodes * inputs.slots; ++place) begin(0);
  const double fileSeconds = inputs.file + inputs.frameBytes / inputs.bytesPerSecond;
  const double modelSeconds = inputs.file + inputs.modelBytes / inputs.bytesPerSecond;
  Figures figures;
  while (!events.empty()) {
    Event event = events.top();
    events.pop();
    const gl3::PictureChunk& chunk = chunks[event.task];
    if (event.done == 0) {
      event.time = files.Serve(event.time, modelSeconds) + inputs.start;
    } else if (event.done % 2 == 1) {
      event.time += SecondsOfFrame(inputs, chunk[event.done / 2]);
    } else {
      event.time = files.Serve(event.time, fileSeconds);
    }
    figures.wall = std::max(figures.wall, event.time);
    if (++event.done <= 2 * chunk.size()) {
      events.push(event);
    } else {
      begin(event.time + inputs.place);
    }
  }
  figures.tasks = chunks.size();
  figures.fileBusy = files.Busy() / figures.wall;
  figures.schedulerBusy = scheduler.Busy() / figures.wall;
  return figures;
}

/// What keeps a farm of these figures from being as fast as its places.
const char* WhatEndsGrowth(const Inputs& inputs, const Figures& figures, double nodes) {
  constexpr double kBusy = 0.6;
  if (figures.fileBusy > kBusy) return "files";
  if (figures.schedulerBusy > kBusy) return "scheduler";
  if (static_cast<double>(figures.tasks) < nodes * inputs.slots) {
    return figures.tasks >= inputs.mostTasks ? "array size" : "start-up";
  }
  return "";
}

constexpr double kNodes[] = {1, 10, 30, 100, 300, 1000, 3000, 10000};

/// A row for each number of nodes: how many times as fast as one place, and what ends growth.
void PrintTable(const std::vector<Inputs>& columns) {
  for (const double nodes : kNodes) {
    fmt::print("| {} ", nodes);
    for (const Inputs& inputs : columns) {
      const Figures figures = Simulate(inputs, nodes);
      const double one = inputs.frames * inputs.frame + inputs.start;
      fmt::print("| {:.0f} {} ", one / figures.wall, WhatEndsGrowth(inputs, figures, nodes));
    }
    fmt::print("|\n");
  }
}

void PrintTables(const Inputs& measured) {
  std::vector<Inputs> columns = {measured};
  Inputs inputs = measured;
  inputs.mostTasks = 40000;
  columns.push_back(inputs);
  inputs.file /= 10;
  inputs.bytesPerSecond *= 10;
  columns.push_back(inputs);
  inputs.beginsPerSecond *= 10;
  columns.push_back(inputs);
  fmt::print("{} frames of {} s; {} tasks a node\n\n", measured.frames, measured.frame,
             measured.slots);
  fmt::print(
      "| nodes | as it comes | arrays of 40,000 tasks | and ten times the file system | and "
      "ten times the scheduler |\n|---|---|---|---|---|\n");
  PrintTable(columns);
  fmt::print("\n");
}

struct Setting {
  const char* name;
  double Inputs::*value;
};
constexpr Setting kSettings[] = {
    {"--start", &Inputs::start},
    {"--frame", &Inputs::frame},
    {"--frame-bytes", &Inputs::frameBytes},
    {"--model-bytes", &Inputs::modelBytes},
    {"--file", &Inputs::file},
    {"--bytes-per-second", &Inputs::bytesPerSecond},
    {"--begins", &Inputs::beginsPerSecond},
    {"--frames", &Inputs::frames},
    {"--place", &Inputs::place},
    {"--slots", &Inputs::slots},
};

bool ReadArguments(int count, char** arguments, Inputs* inputs) {
  for (int i = 1; i < count; i += 2) {
    const Setting* found = nullptr;
    for (const Setting& setting : kSettings) {
      if (setting.name == std::string(arguments[i])) found = &setting;
    }
    const double value = i + 1 < count ? std::strtod(arguments[i + 1], nullptr) : 0;
    if (!found || !(value > 0) || value > 1e12) return false;
    inputs->*found->value = value;
  }
  return inputs->frames <= 1e6 && inputs->slots <= 1000;
}

}  // namespace

int main(int count, char** arguments) {
  Inputs inputs;
  if (!ReadArguments(count, arguments, &inputs)) {
    std::fputs("usage: farm_simulation [--start S] ... see its source\n", stderr);
    return 2;
  }
  PrintTables(inputs);
  inputs.frame *= 40;  // large pictures of heavy models
  PrintTables(inputs);
  return 0;
}
