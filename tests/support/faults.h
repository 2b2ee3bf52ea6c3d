// Makes calls of the platform layer and of the host's heaps fail, one chosen call at a time.
//
// The test executable defines these functions itself, in front of the shared libraries; each
// forwards to the real one unless it is told to fail.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// What can be made to fail, with the failure that the caller sees.
enum class FaultPoint : int {
  kAglChoosePixelFormat,  ///< null
  kAglCreateContext,      ///< null
  kAglCreatePBuffer,      ///< GL_FALSE
  kCglChoosePixelFormat,  ///< kCGLBadPixelFormat, no format
  kCglCreateContext,      ///< kCGLBadAlloc, no context
  kGetDC,                 ///< null
  kInitializeGlew,        ///< 1
  kFindFolder,            ///< fnfErr
  kFSMakeFSSpec,          ///< fnfErr
  kFSpMakeFSRef,          ///< fnfErr
  kCFURLCreateFromFSRef,  ///< null
  kCFBundleCreate,        ///< null
  kAllocGAssist,          ///< null, as the other heaps
  kAllocOGL,
  kAllocExt,
  kAllocString,
  kAllocBitmap,  ///< storage of a bitmap's buffer
  kCount
};

/// Faults and message boxes from construction to destruction; at most one lives at a time. Message
/// boxes shown meanwhile are kept here and answered with OK.
class Faults {
 public:
  Faults();
  ~Faults();
  Faults(const Faults&) = delete;
  Faults& operator=(const Faults&) = delete;

  /// The `nth` call from now on (1 is the next) and `count - 1` more after it fail.
  void Fail(FaultPoint point, int nth = 1, int count = 1);
  /// Every call from now on fails.
  void FailAlways(FaultPoint point) { Fail(point, 1, 1 << 30); }
  /// Calls of `point` since construction, failed ones included.
  int Calls(FaultPoint point) const;
  /// The failures among them.
  int Failures(FaultPoint point) const;

  /// The last block that AllocExt gave, with `bytes` that it was asked for, or null. While faults
  /// live it is longer by kGuardBytes, and all kGuard: who writes past its end writes there, and
  /// who reads what was not written reads that.
  const unsigned char* LastExt(std::size_t* bytes) const;
  static constexpr std::size_t kGuardBytes = 64;
  static constexpr unsigned char kGuard = 0xA5;

  /// InitializeGlew reports this extension as missing from now on. Knows the names that the module
  /// asks for; aborts on any other.
  void HideExtension(const std::string& name);

  /// Texts of the message boxes since construction.
  const std::vector<std::string>& Messages() const;
};

/// Where an address lies in a block that the general heap gave: "+offset of size" in bytes, or
/// "pointer" beyond. For logs of calls.
std::string PlaceInBlock(const void* address);
