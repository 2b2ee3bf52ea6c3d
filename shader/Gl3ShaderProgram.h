// The module's image post-processor: dispatch to the effects, and what the effects share.
//
// Bodies by theme: Gl3ShaderProgram.cpp (log, compiling, linking), Gl3ShaderProgramTargets.cpp
// (pictures into textures, results into bitmaps), Gl3ShaderProgramEffects.cpp (effects by number,
// the one file that knows them).
#pragma once

#include "host/GAShaderProgram.h"
#include "host/String.h"

class BlurShader;
class GABuffer;
class GL3GABuffer;
class HBitmapNode;
class MiscShader;
class SSAOShader;
struct RenderInfo;

/// Depths from here on are background.
constexpr float kBackgroundDepth = 1e8f;

/// OpenGL implementation of the host's shader program, and base of its effects.
///
/// The host makes one and asks it for effects by number; each effect is itself a shader program
/// with GL objects of its own. Operations that call the GL expect a context of the driver's share
/// group to be current: the effects make their target buffer's so. Everything runs on the host's
/// drawing thread but the rows of MergeBuffers and CreateDepthTextureForShader, which are divided
/// among as many threads as the driver is set to.
class GL3GAShaderProgram : public GAShaderProgram {
 public:
  /// Makes the three effects, of which one is missing when memory ran out, and puts the time into
  /// the log. `info` is not owned and must outlive the object.
  explicit GL3GAShaderProgram(RenderInfo* info);
  GL3GAShaderProgram(const GL3GAShaderProgram&) = delete;
  GL3GAShaderProgram& operator=(const GL3GAShaderProgram&) = delete;
  ~GL3GAShaderProgram() override;

  int IsOperational() override { return 1; }
  /// Sets an effect up, again if need be. `parameters` are the effect's own, as many as it reads;
  /// the count is not looked at. Returns 0 when that fails, and the effect is then gone for good.
  int Init(int effect, float* parameters, int count) override;
  /// Runs an effect. Returns 0 for one that is not operational or does not exist. `value` goes to
  /// the occlusion effect.
  int Process(int effect, HBitmapNode* source, HBitmapNode* destination, float value) override;

  /// Releases an effect's GL objects.
  virtual void Delete() {}
  /// Appends a line to "GPUShader.log" beside the running program: "---" and the text, or the time
  /// when the text is empty. A text with a line end in it gets none behind it. What cannot be
  /// written is dropped.
  virtual void WriteLog(String text);
  /// Returns 0 for every file, and logs an error for one that can be opened: see the definition.
  /// Nothing in the module calls it.
  virtual unsigned int LoadShaderFromFile(const char* path, unsigned int type);
  /// Compiles a shader of a GL type. Returns its GL name, owned by the caller; 0 after the log got
  /// the reason.
  virtual unsigned int LoadShaderFromSource(const char* source, unsigned int type);
  /// Links a program; either shader may be 0. Returns its GL name, owned by the caller, as the
  /// shaders remain; 0 after the log got the reason.
  virtual unsigned int CreateProgramFromShaders(unsigned int vertexShader,
                                                unsigned int fragmentShader);
  /// The bitmap's picture as a GL texture, owned by the caller, scaled to a size that the GL takes:
  /// see ShaderTextureSize. `pixels` becomes its width times its height. Row 0 is the bitmap's
  /// top row. Returns 0 without picture or memory.
  virtual unsigned int CreateTextureForShader(HBitmapNode* bitmap, int& pixels);
  /// A depth texture of that size, owned by the caller, from the bitmap's first buffer, which must
  /// be one of floats, else 0 is returned. The range of the depths below kBackgroundDepth goes to
  /// the other two; without such depths the smallest is the largest float and the other way round.
  /// Throws std::bad_array_new_length when the size overflows.
  virtual unsigned int CreateDepthTextureForShader(HBitmapNode* bitmap, float& smallest,
                                                   float& largest);
  /// Brings `rgba`, rows of `width` pixels of four bytes, into half-float colours. Mode 0 puts them
  /// into a new buffer "ColorAlpha" of `destination`. Every other mode puts them over the first
  /// buffer of `source`, except black pixels and alpha, which stay as they are. What would lie
  /// outside the buffer is left out, as is everything when there is no memory or the buffer is not
  /// one of half-float colours. The integer and the float have no meaning. Returns 1.
  virtual int MergeBuffers(HBitmapNode* source, HBitmapNode* destination, unsigned char* rgba,
                           int mode, int, float, int width, int height);
  /// Appends what the GL has to say about a shader to the log, when it has something.
  /// Nothing in the module calls it.
  virtual void WriteInfoLog(unsigned int shader);

 protected:
  /// For the effects, which have none of their own.
  GL3GAShaderProgram() = default;

  // An effect's surface, made by the driver. The classes here never release it. It must outlive the
  // effect, which releases its programs in the surface's context.
  GABuffer* m_offscreenBuffer = nullptr;
  RenderInfo* m_renderInfo = nullptr;
  BlurShader* m_blur = nullptr;
  MiscShader* m_filter = nullptr;
  SSAOShader* m_occlusion = nullptr;
  GL3GABuffer* m_targetBuffer = nullptr;  // m_offscreenBuffer once it has its context
};

/// `value` to the next multiple of four at or above it.
int SGet2(int value);

/// Where `t` lies between `t0` and `t1`, as a value from `a` to `b`; beyond the ends it is that
/// end. A range without extent never divides.
float SuperLerp(float a, float b, float t0, float t1, float t);
