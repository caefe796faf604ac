// See number_table.h.
#include "number_table.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

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

Range RangeOf(std::span<const uint32_t> numbers) {
  int32_t least = std::numeric_limits<int32_t>::max();
  int32_t largest = std::numeric_limits<int32_t>::min();
  for (const uint32_t number : numbers) {
    least = std::min(least, static_cast<int32_t>(number));
    largest = std::max(largest, static_cast<int32_t>(number));
  }
  const auto base = static_cast<uint32_t>(least);
  return {base, static_cast<unsigned>(std::bit_width(static_cast<uint32_t>(largest) - base))};
}

// How a column of a group is written.
struct Shape {
  bool steps;
  Range range;
  bool operator==(const Shape& other) const = default;
};

using Column = std::array<uint32_t, kRowsOfGroup>;

// Before is the number in front of them, or 0.
void StepsOf(std::span<const uint32_t> numbers, uint32_t before, Column& steps) {
  steps[0] = numbers[0] - before;
  for (size_t i = 1; i < numbers.size(); ++i) steps[i] = numbers[i] - numbers[i - 1];
}

// Steps that are all the same, as those of identifiers mostly are, take no bits; then only equal numbers are as close.
Shape ShapeOf(std::span<const uint32_t> numbers, std::span<const uint32_t> steps) {
  const Range of_steps = RangeOf(steps);
  if (of_steps.width == 0 && numbers.front() != numbers.back()) return {true, of_steps};
  const Range of_numbers = RangeOf(numbers);
  const bool steps_are_closer = of_steps.width < of_numbers.width;
  return {steps_are_closer, steps_are_closer ? of_steps : of_numbers};
}

constexpr size_t BytesOf(size_t count, unsigned width) { return (count * width + 7) / 8; }

// The lowest bits first.
uint8_t* Pack(std::span<const uint32_t> values, const Range& range, uint8_t* next) {
  if (range.width == 0) return next;
  uint64_t waiting = 0;
  unsigned bits = 0;
  for (const uint32_t value : values) {
    waiting |= uint64_t{value - range.base} << bits;
    bits += range.width;
    if (bits < kWordBits) continue;
    for (unsigned i = 0; i < sizeof(uint32_t); ++i) next[i] = static_cast<uint8_t>(waiting >> 8 * i);
    next += sizeof(uint32_t);
    waiting >>= kWordBits;
    bits -= kWordBits;
  }
  for (; bits != 0; bits -= std::min(bits, 8U), waiting >>= 8) *next++ = static_cast<uint8_t>(waiting);
  return next;
}

// False when bits are set behind the last number.
bool Unpack(std::span<const uint8_t> bytes, uint32_t before, const Shape& shape, std::span<uint32_t> numbers) {
  const uint64_t mask = (uint64_t{1} << shape.range.width) - 1;
  uint64_t waiting = 0;
  unsigned bits = 0;
  const uint8_t* next = bytes.data();
  for (uint32_t& number : numbers) {
    for (; bits < shape.range.width; bits += 8) waiting |= uint64_t{*next++} << bits;
    number = shape.range.base + static_cast<uint32_t>(waiting & mask) + (shape.steps ? before : 0);
    before = number;
    waiting >>= shape.range.width;
    bits -= shape.range.width;
  }
  return waiting == 0;
}

void PutColumn(std::span<const uint32_t> numbers, uint32_t before, BodyWriter& writer) {
  Column all_steps;
  StepsOf(numbers, before, all_steps);
  const auto steps = std::span<const uint32_t>(all_steps).first(numbers.size());
  const Shape shape = ShapeOf(numbers, steps);
  writer.Put8(static_cast<uint8_t>(shape.range.width | (shape.steps ? kStepsArePacked : 0)));
  writer.PutCount(ZigZag32(shape.range.base));
  uint8_t* const place = writer.Room(BytesOf(numbers.size(), shape.range.width));
  writer.TakeUpTo(Pack(shape.steps ? steps : numbers, shape.range, place));
}

void GetColumn(BodyReader& reader, uint32_t before, std::span<uint32_t> numbers) {
  const uint8_t head = reader.Get8();
  Shape shape;
  shape.steps = (head & kStepsArePacked) != 0;
  shape.range.width = head & static_cast<uint8_t>(~kStepsArePacked);
  shape.range.base = static_cast<uint32_t>(UnZigZag(reader.GetCount(std::numeric_limits<uint32_t>::max())));
  if (shape.range.width > kWordBits) return reader.Reject();
  const auto bytes = reader.GetBytes(BytesOf(numbers.size(), shape.range.width));
  if (!reader.ok() || !Unpack(bytes, before, shape, numbers)) return reader.Reject();
  Column steps;
  StepsOf(numbers, before, steps);
  if (ShapeOf(numbers, std::span(steps).first(numbers.size())) != shape) reader.Reject();
}

}  // namespace

void NumberTableWriter::WriteGroup() {
  writer_.Put8(static_cast<uint8_t>(rows_));
  if (rows_ == 0) return;
  for (size_t i = 0; i < before_.size(); ++i) {
    const auto column = std::span<const uint32_t>(cells_).subspan(i * kRowsOfGroup, rows_);
    PutColumn(column, before_[i], writer_);
    before_[i] = column.back();
  }
  rows_ = 0;
}

// Every group is full but the last, which may be empty.
size_t NumberTableReader::NextGroup() {
  if (at_end_ || !reader_.ok()) return 0;
  const size_t rows = reader_.Get8();
  at_end_ = rows < kRowsOfGroup;
  if (rows > kRowsOfGroup) reader_.Reject();
  if (rows == 0 || !reader_.ok()) return 0;
  for (size_t i = 0; i < before_.size() && reader_.ok(); ++i) {
    const auto column = std::span(cells_).subspan(i * kRowsOfGroup, rows);
    GetColumn(reader_, before_[i], column);
    before_[i] = column.back();
  }
  return reader_.ok() ? rows : 0;
}

}  // namespace objectstore
