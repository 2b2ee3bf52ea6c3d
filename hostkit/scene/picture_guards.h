// Faults of picture files that stb_image does not survive. To be looked for before it decodes.
#pragma once

#include <string_view>

namespace hostkit {

/// Whether all run-length coded rows of an HDR file are there, given the size that its header
/// tells. The decoder waits for the rest of a cut row for ever. True for files of other kinds, and
/// for rows that are not coded.
bool AreHdrRowsWhole(std::string_view file, int width, int height);

/// Whether no code table of a JPEG file has more than the 256 entries that the decoder has room
/// for. True for files of other kinds.
bool AreJpegTablesSound(std::string_view file);

}  // namespace hostkit
