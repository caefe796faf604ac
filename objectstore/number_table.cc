// See number_table.h.
#include "number_table.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

#include "text_vectors.h"

namespace objectstore {

namespace {

constexpr unsigned kWordBits = 32;

// A column of a group begins with a byte: so many bits for each number, and this one.
constexpr uint8_t kStepsArePacked = 0x40;

// The least of some numbers, and the bits that the largest difference from it takes.
struct Range {
  uint32_t base;
  unsigned width;
  bool operator==(const Range& other) const = default;
};

// The least and the largest that were added.
struct Bounds {
  int32_t least = std::numeric_limits<int32_t>::max();
  int32_t largest = std::numeric_limits<int32_t>::min();

  void Add(uint32_t number) {
    least = std::min(least, static_cast<int32_t>(number));
    largest = std::max(largest, static_cast<int32_t>(number));
  }
  Range range() const {
    const auto base = static_cast<uint32_t>(least);
    return {base, static_cast<unsigned>(std::bit_width(static_cast<uint32_t>(largest) - base))};
  }
};

// Of a column's numbers, and of the steps from one to the next.
struct ColumnBounds {
  Bounds numbers;
  Bounds steps;
};

// Columns are given with the number in front of them.
using Column = std::span<const uint32_t>;

[[gnu::always_inline]] inline ColumnBounds BoundsOfRows(const uint32_t* before, size_t rows) {
  ColumnBounds bounds;
  for (size_t i = 1; i <= rows; ++i) {
    bounds.numbers.Add(before[i]);
    bounds.steps.Add(before[i] - before[i - 1]);
  }
  return bounds;
}

// As many rows as a group has most often, which compilers turn into vector instructions.
ColumnBounds BoundsOfGroup(const uint32_t* before) { return BoundsOfRows(before, kRowsOfGroup); }

#if TEXT_VECTORS >= 2
BY_AVX2 ColumnBounds BoundsOfGroupByAvx2(const uint32_t* before) { return BoundsOfRows(before, kRowsOfGroup); }
#endif

ColumnBounds BoundsOf(Column column) {
  if (column.size() < kColumnStep) return BoundsOfRows(column.data(), column.size() - 1);
#if TEXT_VECTORS >= 2
  if (ProcessorHasAvx2()) return BoundsOfGroupByAvx2(column.data());
#endif
  return BoundsOfGroup(column.data());
}

// How a column of a group is written.
struct Shape {
  bool steps;
  Range range;
  bool operator==(const Shape& other) const = default;
};

// Steps that are all the same, as those of identifiers mostly are, take no bits; then only equal numbers are as close.
Shape ShapeOf(Column column) {
  const ColumnBounds bounds = BoundsOf(column);
  const Range steps = bounds.steps.range();
  if (steps.width == 0 && column[1] != column.back()) return {true, steps};
  const Range numbers = bounds.numbers.range();
  const bool steps_are_closer = steps.width < numbers.width;
  return {steps_are_closer, steps_are_closer ? steps : numbers};
}

constexpr size_t BytesOf(size_t count, unsigned width) { return (count * width + 7) / 8; }

// Writes bits one behind the other, the lowest first.
struct BitWriter {
  uint8_t* next;
  uint64_t waiting = 0;  // fewer than eight, between one piece and another
  unsigned count = 0;

  // At most 56 bits. Up to eight bytes are written, of which those that are not full will be written again.
  void Put(uint64_t piece, unsigned bits) {
    waiting |= piece << count;
    for (unsigned i = 0; i < sizeof waiting; ++i) next[i] = static_cast<uint8_t>(waiting >> 8 * i);
    count += bits;
    next += count / 8;
    waiting >>= count / 8 * 8;
    count %= 8;
  }
};

constexpr unsigned kMostBitsAtOnce = 56;
constexpr size_t kRoomBehindBits = sizeof(uint64_t);

// So many values at once wait for each other less.
template <unsigned kAtOnce>
uint8_t* Pack(std::span<const uint32_t> values, unsigned width, uint8_t* next) {
  BitWriter bits{next};
  size_t i = 0;
  for (; i + kAtOnce <= values.size(); i += kAtOnce) {
    uint64_t piece = 0;
    for (unsigned j = 0; j < kAtOnce; ++j) piece |= uint64_t{values[i + j]} << j * width;
    bits.Put(piece, kAtOnce * width);
  }
  for (; i < values.size(); ++i) bits.Put(values[i], width);
  return bits.next + (bits.count != 0 ? 1 : 0);
}

// There must be room for kRoomBehindBits more bytes than it takes.
uint8_t* PackColumn(Column column, const Shape& shape, uint8_t* next) {
  std::array<uint32_t, kRowsOfGroup> above_base;
  for (size_t i = 1; i < column.size(); ++i) {
    above_base[i - 1] = column[i] - (shape.steps ? column[i - 1] : 0) - shape.range.base;
  }
  const auto values = std::span<const uint32_t>(above_base).first(column.size() - 1);
  const unsigned width = shape.range.width;
  if (width * 4 <= kMostBitsAtOnce) return Pack<4>(values, width, next);
  if (width * 2 <= kMostBitsAtOnce) return Pack<2>(values, width, next);
  return Pack<1>(values, width, next);
}

// False when bits are set behind the last number.
bool Unpack(std::span<const uint8_t> bytes, const Shape& shape, std::span<uint32_t> column) {
  const uint64_t mask = (uint64_t{1} << shape.range.width) - 1;
  uint64_t waiting = 0;
  unsigned bits = 0;
  const uint8_t* next = bytes.data();
  for (size_t i = 1; i < column.size(); ++i) {
    for (; bits < shape.range.width; bits += 8) waiting |= uint64_t{*next++} << bits;
    column[i] = shape.range.base + static_cast<uint32_t>(waiting & mask) + (shape.steps ? column[i - 1] : 0);
    waiting >>= shape.range.width;
    bits -= shape.range.width;
  }
  return waiting == 0;
}

void PutColumn(Column column, BodyWriter& writer) {
  const Shape shape = ShapeOf(column);
  const unsigned width = shape.range.width;
  writer.Put8(static_cast<uint8_t>(width | (shape.steps ? kStepsArePacked : 0)));
  writer.PutCount(ZigZag32(shape.range.base));
  if (width == 0) return;
  uint8_t* const place = writer.Room(BytesOf(column.size() - 1, width) + kRoomBehindBits);
  writer.TakeUpTo(PackColumn(column, shape, place));
}

void GetColumn(BodyReader& reader, std::span<uint32_t> column) {
  const uint8_t head = reader.Get8();
  Shape shape;
  shape.steps = (head & kStepsArePacked) != 0;
  shape.range.width = head & static_cast<uint8_t>(~kStepsArePacked);
  shape.range.base = static_cast<uint32_t>(UnZigZag(reader.GetCount(std::numeric_limits<uint32_t>::max())));
  if (shape.range.width > kWordBits) return reader.Reject();
  const auto bytes = reader.GetBytes(BytesOf(column.size() - 1, shape.range.width));
  if (!reader.ok() || !Unpack(bytes, shape, column) || ShapeOf(column) != shape) reader.Reject();
}

// Each of the columns of so many rows, and what stands in front of it in the next group.
template <typename Use>
void ForEachColumn(std::vector<uint32_t>& cells, size_t rows, Use use) {
  for (size_t begin = 0; begin < cells.size(); begin += kColumnStep) {
    const auto column = std::span(cells).subspan(begin, 1 + rows);
    use(column);
    column.front() = column.back();
  }
}

}  // namespace

void NumberTableWriter::WriteGroup() {
  writer_.Put8(static_cast<uint8_t>(rows_));
  if (rows_ == 0) return;
  ForEachColumn(cells_, rows_, [this](std::span<const uint32_t> column) { PutColumn(column, writer_); });
  rows_ = 0;
}

// Every group is full but the last, which may be empty.
size_t NumberTableReader::NextGroup() {
  if (at_end_ || !reader_.ok()) return 0;
  const size_t rows = reader_.Get8();
  at_end_ = rows < kRowsOfGroup;
  if (rows > kRowsOfGroup) reader_.Reject();
  if (rows == 0 || !reader_.ok()) return 0;
  ForEachColumn(cells_, rows, [this](std::span<uint32_t> column) { GetColumn(reader_, column); });
  return reader_.ok() ? rows : 0;
}

}  // namespace objectstore
