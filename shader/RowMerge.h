// One row of a merge, and the division of a row among threads.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The half floats, as bits, that are nearest to c / 255 for every byte c.
using HalfTable = std::array<std::uint16_t, 256>;

/// The table, made by the first call.
const HalfTable& ByteHalves();

/// Columns `first` up to but not including `end`.
struct ColumnShare {
  int first = 0, end = 0;
};

/// What thread `thread` of `threads` gets of `columns` columns: all get the same number, the first
/// ones one more until none is left over. A thread beyond the columns gets none.
ColumnShare StaticShare(int thread, int threads, int columns);

/// A row of red, green, blue, alpha bytes and where it goes: half floats in the order blue, green,
/// red, alpha at every `pixelStep` elements.
struct RowMerge {
  const unsigned char* rgba = nullptr;
  std::uint16_t* target = nullptr;
  std::ptrdiff_t pixelStep = 4;
  bool replaces = true;  ///< All of it; else what is black stays, and so does every alpha.
};

/// Merges a share of a row.
void MergeColumns(const HalfTable& table, const RowMerge& row, ColumnShare share);
