// Names of GL enumerants, for logs of calls.
#pragma once

#include <string>

#include "platform/gl.h"

/// The enumerant's name; a number when it is not a common one, small ones in decimal.
std::string EnumName(GLenum value);
/// GL_POINTS to GL_POLYGON.
std::string PrimitiveName(GLenum value);
/// As EnumName, with GL_ZERO and GL_ONE.
std::string BlendFactorName(GLenum value);
/// The bits by name, joined by '|'.
std::string AttribMaskName(GLbitfield mask);
