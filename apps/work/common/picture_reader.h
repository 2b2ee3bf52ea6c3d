// Pictures that are named on the command line, decoded by a process of their own.
//
// Decoders of foreign formats can be led astray by whoever wrote the file. So a process that does
// nothing else decodes the pictures of a run, one after another, where it can open no file at all:
// this one hands it their bytes as shared memory, and gets back pixels that are counted before they
// are copied.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string>

#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/options/run_options.h"
#include "hostkit/pictures/picture_in.h"

namespace gl3 {

/// A process that decodes. One thread at a time.
class PictureReader {
 public:
  /// Starts it: before this process has threads, and before it is confined. In a run that is to be
  /// confined nothing is decoded where the kernel lacks what confining it takes. Null with
  /// `*outcome` when it cannot be started. `line`, which is told of each picture, must outlive it.
  static std::unique_ptr<PictureReader> Start(const RunOptions& run, ParentLine& line,
                                              Outcome* outcome);
  /// Ends it.
  ~PictureReader();
  PictureReader(const PictureReader&) = delete;
  PictureReader& operator=(const PictureReader&) = delete;

  /// Reads a picture as hostkit::LoadPicture does. kUnreadableInput also when decoding crashed.
  Outcome Read(const std::string& path, hostkit::PixelKind kind, hostkit::BitmapPtr* picture,
               hostkit::PictureFacts* facts);
  /// False from a crash on: there is nobody left who decodes.
  bool IsAlive() const { return m_process > 0; }

 private:
  PictureReader(const RunOptions& run, ParentLine& line)
      : m_isConfined(run.confined), m_line(line) {}
  Outcome Ask(const std::string& path, std::size_t size, hostkit::PixelKind kind,
              hostkit::BitmapPtr* picture, hostkit::PictureFacts* facts);
  Outcome TakePixels(const std::string& path, int width, int height, hostkit::PixelKind kind,
                     hostkit::BitmapPtr* picture) const;
  Outcome Bury(const std::string& path);

  bool m_isConfined;
  ParentLine& m_line;
  pid_t m_process = -1;
  int m_asks = -1, m_answers = -1;  // ends of pipes
  int m_file = -1, m_pixels = -1;   // shared memory
};

}  // namespace gl3
