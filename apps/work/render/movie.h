// Movies of `gl3 render`: its frames, made into a file by ffmpeg.
#pragma once

#include <string>
#include <vector>

#include "apps/options/render_options.h"

namespace gl3 {

/// What there is to tell of a movie whose sides are not those of its frames; empty for all others.
/// `path` is its name.
std::string OddSides(const std::string& path, int width, int height);

/// Whether there is what makes movies; kNoOpenGl with a message that begins with `path`, the
/// movie's.
Outcome CheckMovieProgram(const std::string& path);

/// Draws the frames of one model or a merged scene, in a supervised child as Render does, and pipes
/// them to ffmpeg, the first of that name on PATH. The movie appears whole or not at all. Prints
/// failures, and then the report that --json asks for. Returns the exit status: kNoOpenGl without
/// ffmpeg. Call with one thread alone.
int RenderMovie(const RenderOptions& options, const std::string& command);

/// The same of pictures that are there, in their order, each as large as the options say.
int MovieOfPictures(const RenderOptions& options, const std::string& command,
                    const std::vector<std::string>& pictures);

}  // namespace gl3
