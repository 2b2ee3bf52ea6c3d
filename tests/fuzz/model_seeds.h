// Small models of many formats, for fuzzers to start from.
#pragma once

#include <string>
#include <vector>

#include "tests/fuzz/input.h"

/// The kinds of models to fuzz, as suffixes: all of these or, when GL3_FUZZ_KIND is in the
/// environment, the one that it names. Ends the process when that is none of them.
std::vector<std::string> KindsToFuzz(std::vector<std::string> suffixes);

/// Models of these suffixes, our own and, when fuzzing, those of Debian's assimp-testmodels where
/// it is installed. Each begins with a byte, the place of its suffix.
Inputs ModelSeeds(const std::vector<std::string>& suffixes);
