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

class NumberTableWriter {
 public:
  NumberTableWriter(BodyWriter& writer, size_t columns)
      : writer_(writer), cells_(columns * kRowsOfGroup), before_(columns) {}

  // Where the next row's first number goes; that of each further column goes kRowsOfGroup behind. Then Take it.
  uint32_t* NextRow() { return &cells_[rows_]; }
  void Take() {
    if (++rows_ == kRowsOfGroup) WriteGroup();
  }

  // Once, behind the last row.
  void End() { WriteGroup(); }

 private:
  void WriteGroup();

  BodyWriter& writer_;
  std::vector<uint32_t> cells_;   // column by column
  std::vector<uint32_t> before_;  // the last row of the group before, or zeros
  size_t rows_ = 0;
};

class NumberTableReader {
 public:
  NumberTableReader(BodyReader& reader, size_t columns)
      : reader_(reader), cells_(columns * kRowsOfGroup), before_(columns) {}

  // Reads the next group; how many rows it has is returned, 0 behind the last one.
  size_t NextGroup();
  uint32_t At(size_t row, size_t column) const { return cells_[column * kRowsOfGroup + row]; }

 private:
  BodyReader& reader_;
  std::vector<uint32_t> cells_;
  std::vector<uint32_t> before_;
  bool at_end_ = false;
};

}  // namespace objectstore
