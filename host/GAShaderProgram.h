// The host's abstract image post-processor.
#pragma once

#include "host/Heaps.h"

class HBitmapNode;

/// Effects on finished frames, chosen by number (Effect). Operations return 1 for success and 0 for
/// failure, whose reason goes to the log "GPUShader.log" beside the program that runs, where it can
/// be written and is no folder of the system (/usr, /opt, …). Init appends lines to it also when it
/// succeeds. Operations change the current context. The surface that a set-up of an effect makes
/// stays for good, also when the program is gone (some 6 MB): set an effect up once a size.
///
/// Made by GADriver::CreateShaderProgram and deleted by the host before the driver, whose
/// Initialize comes before Init. Used on the host's drawing thread alone. hostkit::EffectRunner
/// runs effects on pictures of any size.
class GAShaderProgram : public GAssistObject {
 public:
  /// The effects. docs/EFFECTS.md says what each computes.
  enum Effect : int {
    kBlur = 0,      ///< Average over a square; opaque.
    kFilter = 1,    ///< One of the filters below.
    kOcclusion = 2  ///< Ambient occlusion, which is switched off: Init always fails.
  };
  /// Filters of kFilter. What another number gives is undefined.
  enum Filter : int {
    kGrayscale = 0,  ///< Brightness alone.
    kTint = 1,       ///< Brightness in a warm brown.
    kNegative = 2,   ///< Each colour's complement.
    kSharpen = 3,    ///< Differences to neighbours, added.
    kDilate = 4,     ///< The brightest of 3 x 3 pixels.
    kErode = 5,      ///< The darkest of 3 x 3 pixels.
    kLaplacian = 6,  ///< Edges, brighter than their surroundings; opaque.
    kPrewitt = 7,    ///< Edges, by their steepness; opaque.
    kSobel = 8       ///< Edges, by their steepness, smoother; opaque.
  };
  /// Places in the parameters of kBlur. All but the radius are cut to whole numbers.
  enum BlurParameter : int {
    kBlurMerge = 0,   ///< A MergeMode.
    kBlurPasses = 1,  ///< How often it is applied; 0 leaves the picture as it is.
    /// Pixels to either side; none below 1.43. Samples lie more than a pixel apart
    /// (docs/EFFECTS.md), 2 at radius 4: a line that is thinner comes out as several, side by side.
    kBlurRadius = 2,
    kBlurWidth = 3,      ///< Pixels of the pictures.
    kBlurHeight = 4,     ///< Pixels of the pictures.
    kBlurParameters = 5  ///< How many there are.
  };
  /// Places in the parameters of kFilter. All are cut to whole numbers.
  enum FilterParameter : int {
    kFilterMerge = 0,      ///< A MergeMode.
    kFilterPasses = 1,     ///< How often it is applied; 0 leaves the picture as it is.
    kFilterNumber = 2,     ///< A Filter.
    kFilterWidth = 3,      ///< Pixels of the pictures.
    kFilterHeight = 4,     ///< Pixels of the pictures.
    kFilterParameters = 5  ///< How many there are.
  };
  /// Where a result goes.
  enum MergeMode : int {
    kMergeNewBuffer = 0,  ///< Into a new "ColorAlpha" buffer of `destination`.
    /// Over the first buffer of `source`, where that holds half-float colours with alpha; black
    /// pixels of the result and every alpha stay as they were there. So is any other number.
    kMergeOverSource = 1
  };

  virtual ~GAShaderProgram() = default;
  /// 1; whether one effect can run, its Init tells.
  virtual int IsOperational() = 0;
  /// Sets an effect up with its parameters, whose places are those of BlurParameter and
  /// FilterParameter; occlusion has none and always fails. An effect that fails is
  /// gone for the life of the program; setting one up again replaces the earlier set-up. 0 also for
  /// another number, and without a driver that Initialize made operational. `count` is not looked
  /// at: `parameters` must hold what the effect reads. They are read during the call.
  virtual int Init(int effect, float* parameters, int count) = 0;
  /// Runs an effect that was set up on the picture of `source` ("Color", else "ColorAlpha"; not
  /// premultiplied by alpha), which should have the size of Init and sides that are multiples of
  /// four: others are scaled, and come out slanted. The result, 8 bits a channel, goes where the
  /// merge mode says, as half floats of multiples of 1/255; `destination` may be null where that is
  /// `source`, and may be the same bitmap. With kMergeNewBuffer and a null `destination` the result
  /// is lost, and the answer 1. `value` is for occlusion alone: 0. 0 for an effect that is not set
  /// up, and without picture or memory.
  virtual int Process(int effect, HBitmapNode* source, HBitmapNode* destination, float value) = 0;
};
