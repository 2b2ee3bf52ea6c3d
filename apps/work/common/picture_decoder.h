// What the process that decodes pictures and the one that wants them agree on; see PictureReader.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace gl3 {

/// A file is in the shared memory.
struct DecodeRequest {
  std::uint64_t size;    ///< Bytes of the file.
  std::uint32_t halves;  ///< 1: hostkit::PixelKind::kHalves, 0: kBytes.
};

/// What came of it.
struct DecodeAnswer {
  enum Kind : std::uint32_t {
    kPixels,       ///< Rows without gaps are in the other shared memory, of four channels.
    kRefused,      ///< `text` says why, and the remedy.
    kNotConfined,  ///< Likewise; nothing is decoded.
  };
  std::uint32_t kind;
  std::int32_t width, height;
  std::uint32_t clipped, wasLinear;  ///< As hostkit::PictureFacts.
  char text[512];                    ///< One line, ends with '\0'.
};

/// The descriptors of the process that decodes.
struct DecodeLines {
  int asks, answers;  ///< Pipes.
  int file, pixels;   ///< Shared memory.
};

/// Decodes until nobody asks any more. For a process that was just forked from `parent`, with which
/// it ends. None of the shared memory, and no other, grows beyond `mostBytes` (0: any).
[[noreturn]] void DecodePictures(const DecodeLines& lines, pid_t parent, std::uint64_t mostBytes,
                                 bool mustBeConfined) noexcept;

/// Whole messages; false when the other side has gone.
bool SendAll(int descriptor, const void* bytes, std::size_t size);
bool ReceiveAll(int descriptor, void* bytes, std::size_t size);

}  // namespace gl3
