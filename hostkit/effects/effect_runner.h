// Runs effects on pictures of any size through a renderer module.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "hostkit/effects/effect_table.h"
#include "hostkit/effects/effect_windows.h"
#include "hostkit/services/bitmap_ptr.h"

class GADriver;
class GABuffer;

namespace hostkit {

/// The reason and the remedy when there is no memory for a picture.
constexpr const char* kNoEffectMemory = "memory ran out; try a smaller picture";

/// Milliseconds that effects took in the module, over all rounds and windows.
struct EffectTimes {
  double process = 0;  ///< All of it.
  /// Its parts, when they were measured. `passes` is what a run with the passes takes longer than
  /// one without, `readBack` the rest of the latter, with one plain copy on the GL in it.
  double upload = 0, passes = 0, readBack = 0, merge = 0;
};

/// What an EffectRunner keeps to.
struct EffectRunnerOptions {
  /// Sides of the largest window in pixels, a multiple of four from 8; also kept to what the GL
  /// allows. A window needs about 28 bytes a pixel.
  int maxWindow = 4096;
  /// So many times the module is set up for a picture's own size; from then on pictures of other
  /// sizes are cut into windows that fit them all. The module keeps about 6 MB for each.
  int ownSizes = 24;
  /// Also fills the parts of EffectTimes, which takes a second run of each window, without passes.
  bool measuresParts = false;
};

/// Shader programs on an operational driver, made when needed and kept for the pictures that
/// follow: one for each effect, set of parameters and size of window. One thread; the driver must
/// outlive it.
class EffectRunner {
 public:
  /// Null with one line in `*error` when the device cannot run effects.
  static std::unique_ptr<EffectRunner> Create(GADriver* driver, const EffectRunnerOptions& options,
                                              std::string* error);
  /// Releases the shader programs; the driver must be there still.
  ~EffectRunner();
  EffectRunner(const EffectRunner&) = delete;
  EffectRunner& operator=(const EffectRunner&) = delete;

  /// Runs an effect on a picture with a "Color" buffer (straight alpha) and returns one of the same
  /// size with a "ColorAlpha" buffer (half floats, straight alpha, each a multiple of 1/255).
  /// `*times` (may be null) is added to. On failure returns null with one line in `*error`: a
  /// radius too large for the windows, memory, a program that cannot be set up. Edges are clamped
  /// whatever the size.
  BitmapPtr Run(const EffectCall& call, HBitmapNode& source, EffectTimes* times,
                std::string* error);

  /// GL_RENDERER and GL_VERSION of the driver's contexts.
  const std::string& RendererName() const { return m_rendererName; }

 private:
  struct Program;
  struct Round;
  struct CallTimes;

  EffectRunner(GADriver* driver, const EffectRunnerOptions& options);
  bool ReadLimits(std::string* error);
  Program* FindProgram(const EffectCall& call, int passes, int width, int height);
  Program* MakeProgram(const EffectCall& call, int passes, int width, int height,
                       std::string* error);
  bool Plan(const EffectCall& call, const HBitmapNode& source, WindowPlan* plan,
            std::string* error);
  BitmapPtr RunRound(const Round& round, HBitmapNode& source, EffectTimes* times,
                     std::string* error);
  BitmapPtr Process(const Round& round, HBitmapNode& window, EffectTimes* times,
                    std::string* error);
  BitmapPtr ProcessOnce(const Round& round, int passes, HBitmapNode& window, CallTimes* times,
                        std::string* error);

  GADriver* m_driver;
  EffectRunnerOptions m_options;
  std::string m_rendererName;
  std::vector<std::unique_ptr<Program>> m_programs;  // in the order in which they were made
};

}  // namespace hostkit
