// Tiny pictures of every kind that the host reads.
#pragma once

#include "tests/fuzz/input.h"

Inputs PictureSeeds();
