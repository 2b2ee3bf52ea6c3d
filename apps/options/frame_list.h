// Lists of frames, as "1-240x2" or "1-10,20,40-30", and parts of them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace gl3 {

/// The I-th of N parts of a piece of work.
struct Chunk {
  int number = 1;  ///< From 1.
  int count = 1;
};

/// Reads a list with commas between its parts: a frame (7), a range (1-240 or 1:240), or every nth
/// frame of one (1-240x2, 1:240x2). Ranges may run downwards. A frame that is named again is left
/// out, since it would be written twice. Frames are 0 to 9999999, and 1000000 at the most. On
/// failure returns false with the reason and remedy in `*error`; `*frames` is then unchanged.
bool ParseFrameList(const std::string& text, std::vector<int>* frames, std::string* error);

/// Reads "I/N" with 1 <= I <= N <= 1000000; on failure as above.
bool ParseChunk(const std::string& text, Chunk* chunk, std::string* error);

/// Whether the item at `index` (from 0) belongs to the chunk. Chunks take turns, so that a sequence
/// that gets heavier towards its end is shared fairly; together they hold every item once.
bool IsInChunk(const Chunk& chunk, std::size_t index);

}  // namespace gl3
