// Small models of many formats, for fuzzers to start from.
#pragma once

#include <span>

#include "tests/fuzz/input.h"

/// Models of these suffixes, our own and, when fuzzing, those of Debian's assimp-testmodels where
/// it is installed. Each begins with a byte, the place of its suffix.
Inputs ModelSeeds(std::span<const char* const> suffixes);
