// Reading what the drawing options take.
#pragma once

#include <string>

#include "apps/options/drawing_options.h"

namespace gl3 {

/// A colour of display-referred values from 0 to 1 in bytes, opaque.
ColorBuf ToBytes(const float rgb[3]);

// On failure each returns false and says why, with the remedy; what it fills is then undefined.

/// "NEAR,FAR[,COLOR]" or "exp:DENSITY[,COLOR]".
bool ReadFog(const std::string& text, DrawingOptions* options, std::string* error);
/// "TEXT[,X,Y[,COLOR]][,SIZEpx]", TEXT as short as can be.
bool ReadText(const std::string& text, TextOption* option, std::string* error);
/// "IMAGE[,X,Y[,ALPHA]]".
bool ReadOverlay(const std::string& text, OverlayOption* option, std::string* error);
/// "SPACING", or nothing for one that suits the model.
bool ReadGrid(const std::string& text, hostkit::GroundGrid* grid, std::string* error);

}  // namespace gl3
