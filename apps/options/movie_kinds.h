// The kinds of movies that can be made, all of them by the program ffmpeg.
#pragma once

#include <string>

namespace gl3 {

struct MovieKind {
  const char* suffix;     ///< In small letters, with its dot.
  const char* name;       ///< For people.
  const char* container;  ///< As ffmpeg calls it.
  const char* arguments;  ///< Of ffmpeg for the pictures, with blanks between.
};

/// All of them.
inline constexpr MovieKind kMovieKinds[] = {
    // Half as many colour samples a side, which takes even sides: the last row and column are
    // repeated where they are odd. The head before the pictures, so that it plays while it loads.
    {".mp4", "MP4 (H.264)", "mp4",
     "-vf pad=ceil(iw/2)*2:ceil(ih/2)*2,scale=out_color_matrix=bt709:out_range=tv -c:v libx264 "
     "-crf 18 -pix_fmt yuv420p -colorspace bt709 -color_primaries bt709 -color_trc bt709 "
     "-color_range tv -movflags +faststart"},
    {".webm", "WebM (VP9)", "webm",
     "-vf scale=out_color_matrix=bt709:out_range=tv -c:v libvpx-vp9 -crf 24 -b:v 0 -row-mt 1 "
     "-pix_fmt yuv420p -colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv"},
    // A palette for each picture, so that none waits for the last one.
    {".gif", "GIF", "gif",
     "-filter_complex "
     "[0:v]split[a][b];[a]palettegen=stats_mode=single[p];[b][p]paletteuse=new=1 -loop 0"},
};

/// The kind that the suffix of this name stands for, in any case; null for none.
const MovieKind* FindMovieKind(const std::string& path);

}  // namespace gl3
