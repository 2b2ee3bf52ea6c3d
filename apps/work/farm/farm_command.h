// The command line that a farm shares: what it makes, and doing a part of it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/filter_options.h"
#include "apps/options/render_options.h"
#include "apps/work/common/report_json.h"

namespace gl3 {

/// One picture of the work.
struct FarmPicture {
  int frame = 0;      ///< Of a sequence; else 0.
  std::string input;  ///< The file that it, or all of its frames, are made of; empty for frames.
  std::vector<std::string> outputs;    ///< Its files: one, or one a camera.
  std::vector<std::string> distances;  ///< Files that hold distances alone.

  /// Whether all of these files are there.
  bool IsThere() const;
};

/// What drawing some pictures told.
struct PartReport {
  int status = kDone;
  std::string error;
  double seconds = 0;         ///< All of it.
  double openSeconds = 0;     ///< Of them until OpenGL had started.
  double pictureSeconds = 0;  ///< Of them for the pictures themselves.
  double lastPictureSeconds = 0;
  std::size_t drawn = 0, skipped = 0;
  std::uint64_t peakMemory = 0;      ///< Bytes; 0: unknown.
  std::string renderer;              ///< GL_RENDERER and GL_VERSION; empty when nothing was drawn.
  std::vector<std::string> cameras;  ///< Names in files, of a run of several cameras.
};

/// `render` or `filter` with its arguments. Stays where it was made: its parsers point into it.
class FarmCommand {
 public:
  /// `words` begin with the verb. Frames of a movie go to a folder in `folder`. Null with
  /// kWrongUsage and a message in `*outcome` when they cannot be parsed, or cannot be shared.
  static std::unique_ptr<FarmCommand> Read(const std::vector<std::string>& words,
                                           const std::string& folder, Outcome* outcome);

  /// `gl3`, the verb and what follows.
  const std::vector<std::string>& Words() const { return m_words; }
  bool IsFilter() const { return m_isFilter; }
  /// Whether pictures are made of files of their own, whose sizes tell what they take.
  bool IsBySize() const { return m_isFilter || m_render.IsEach(); }
  /// Whether the frames become one file in the end.
  bool IsMovie() const { return !m_movie.output.empty(); }
  /// Whether names of cameras, which only the model tells, are in the files' names.
  bool NeedsCameras() const;
  /// The command line as a picture's recipe has it; empty when there are to be none.
  std::string Recipe(const FarmPicture& picture) const;
  const RunOptions& Run() const { return m_isFilter ? m_filter.run : m_render.run; }

  /// The folder below which all pictures lie, or the movie; empty for the current one.
  std::string Folder() const;
  /// What a first look can tell: files that are not there, folders that cannot be written to.
  Outcome Check() const;
  /// All pictures, with the cameras' names as PartReport has them.
  std::vector<FarmPicture> Pictures(const std::vector<std::string>& cameras) const;

  /// Makes these pictures, those left out that are there. Prints what goes wrong. Where `folder` is
  /// not empty they go there, under names of their own, and replace what is there.
  PartReport Make(const std::vector<FarmPicture>& pictures, const std::string& folder) const;
  /// Makes the movie of these frames, all of which are there, unless it is there. Returns the exit
  /// status, after messages.
  int MakeMovie(const std::vector<FarmPicture>& pictures) const;

 private:
  FarmCommand() = default;
  Outcome Parse();
  Outcome CheckRender() const;
  Outcome UseFrames(const std::string& folder);
  PartReport RenderModels(const std::vector<FarmPicture>& pictures) const;
  PartReport Render(const std::vector<FarmPicture>& pictures, const std::string& folder) const;
  PartReport Filter(const std::vector<FarmPicture>& pictures, const std::string& folder) const;

  std::vector<std::string> m_words;
  bool m_isFilter = false;
  OptionParser m_parser;
  RenderOptions m_render;
  RenderOptions m_movie;  // as given; `m_render` then has the frames
  FilterOptions m_filter;
  std::vector<std::string> m_outputs;  // of the filter, one an input
  CommandOfEach m_ofEach;              // where pictures are made of files of their own
};

}  // namespace gl3
