// The kinds of movies that can be made, and by which program.
#pragma once

#include <string>

namespace gl3 {

/// As it is looked for on PATH.
inline constexpr const char* kMovieProgram = "ffmpeg";

struct MovieKind {
  const char* suffix;     ///< In small letters, with its dot.
  const char* name;       ///< For people.
  const char* container;  ///< As ffmpeg calls it.
  const char* arguments;  ///< Of ffmpeg for the pictures, with blanks between.
  bool hasEvenSides;      ///< Odd ones grow by a pixel.
};

/// All of them.
inline constexpr MovieKind kMovieKinds[] = {
    // Half as many colour samples a side, which takes even sides: odd ones grow by a black edge.
    // The head comes before the pictures, so that it plays while it loads.
    {".mp4", "MP4 (H.264)", "mp4",
     "-vf pad=ceil(iw/2)*2:ceil(ih/2)*2,scale=out_color_matrix=bt709:out_range=tv -c:v libx264 "
     "-crf 18 -pix_fmt yuv420p -colorspace bt709 -color_primaries bt709 -color_trc bt709 "
     "-color_range tv -movflags +faststart",
     true},
    {".webm", "WebM (VP9)", "webm",
     "-vf scale=out_color_matrix=bt709:out_range=tv -c:v libvpx-vp9 -crf 24 -b:v 0 -row-mt 1 "
     "-pix_fmt yuv420p -colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv",
     false},
    // A palette for each picture, so that none waits for the last one.
    {".gif", "GIF", "gif",
     "-filter_complex "
     "[0:v]split[a][b];[a]palettegen=stats_mode=single[p];[b][p]paletteuse=new=1 -loop 0",
     false},
};

/// The kind that the suffix of this name stands for, in any case; null for none.
const MovieKind* FindMovieKind(const std::string& path);

/// ".mp4, .webm, .gif": all suffixes.
std::string MovieSuffixes();

}  // namespace gl3
