// GLSL 1.20 fragment shaders of the effects; vertices go the fixed way.
#pragma once

/// Averages 2 * steps + 1 samples along a row, each times `bloom`. The quotient i / (steps + 1) is
/// one of integers and 0 for every i, so that every weight v is 1; that is kept. With 0 steps the
/// sample distance is a division by zero, which nothing uses. Alpha comes out as 1.
extern const char kBlurHorizontalSource[];

/// The same along a column.
extern const char kBlurVerticalSource[];

/// Nine filters, chosen by "filterNumber"; "tcOffset" holds the places of the 3 x 3 neighbours,
/// column by column. A number without a filter writes no colour.
extern const char kFilterSource[];
