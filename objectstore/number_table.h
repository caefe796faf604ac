// Rows of 32-bit numbers, packed bit by bit: in groups of rows, in which each column has as many bits for a number as its widest
// needs. Where the steps from number to number are closer together than the numbers, the steps are packed.
//
// There is one way to write a table; whatever else could be read is rejected. docs/volume-format.md shows every bit.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "body_codec.h"

namespace objectstore {

inline constexpr size_t kRowsOfGroup = 128;

// A group's column, behind the last number of the group before, or 0. Column follows column.
inline constexpr size_t kColumnStep = 1 + kRowsOfGroup;

class NumberTableWriter {
 public:
  NumberTableWriter(BodyWriter& writer, size_t columns) : writer_(writer), cells_(columns * kColumnStep) {}

  // Where the next row's first number goes; that of each further column goes kColumnStep behind. Then Take it.
  uint32_t* NextRow() { return &cells_[1 + rows_]; }
  void Take() {
    if (++rows_ == kRowsOfGroup) WriteGroup();
  }

  // Once, behind the last row.
  void End() { WriteGroup(); }

 private:
  void WriteGroup();

  BodyWriter& writer_;
  std::vector<uint32_t> cells_;
  size_t rows_ = 0;
};

class NumberTableReader {
 public:
  NumberTableReader(BodyReader& reader, size_t columns) : reader_(reader), cells_(columns * kColumnStep) {}

  // Reads the next group; how many rows it has is returned, 0 behind the last one.
  size_t NextGroup();
  uint32_t At(size_t row, size_t column) const { return cells_[column * kColumnStep + 1 + row]; }

 private:
  BodyReader& reader_;
  std::vector<uint32_t> cells_;
  bool at_end_ = false;
};

}  // namespace objectstore
