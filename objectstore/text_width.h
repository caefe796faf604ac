// Texts inside the store: one byte for each UTF-16 unit when every unit of the text fits into one ("narrow"), else two
// in little-endian order ("wide"). Most texts are narrow, and cost half the memory, half the file and half the reading.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform_types.h"

namespace objectstore {

constexpr size_t BytesOfText(size_t units, bool narrow) { return narrow ? units : units * sizeof(WCHAR); }

// The units of a zero-terminated text, counted up to one more than most; all_bits has every bit that occurs in them.
size_t BoundedTextLength(const WCHAR* text, size_t most, WCHAR& all_bits);

constexpr bool IsNarrow(WCHAR all_bits) { return all_bits <= 0xFF; }

// Whether every unit of a wide text would fit into a byte.
bool CouldBeNarrow(const uint8_t* wide, size_t units);

// Whether a zero is among the units, which no text of a client has.
bool HoldsZero(const uint8_t* text, size_t units, bool narrow);

// The units as the machine has them. to need not be aligned.
void CopyUnits(const uint8_t* text, size_t units, bool narrow, void* to);

// Eight narrow units at once, whose bytes are given as they stand in memory.
using ByteVector = uint8_t __attribute__((vector_size(16)));
inline constexpr bool kLowByteFirst = std::endian::native == std::endian::little;
inline void WidenEight(uint64_t narrow, uint8_t* to) {
  using NumberVector = uint64_t __attribute__((vector_size(16)));
  const auto bytes = reinterpret_cast<ByteVector>(NumberVector{narrow, 0});
  const ByteVector first = kLowByteFirst ? bytes : ByteVector{};
  const ByteVector second = kLowByteFirst ? ByteVector{} : bytes;
  const ByteVector units =
      __builtin_shufflevector(first, second, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
  std::memcpy(to, &units, sizeof units);
}

// A short narrow text with a zero behind it: always two pieces of eight units, so that a processor need not foresee how
// long it is. The first may begin before the text, on either side: what stands in so many bytes before `to` is lost,
// and as many before the text must be there to be read. It is written last: who reads the text begins there, and need
// not wait for two pieces to become one.
inline constexpr size_t kBytesBeforeShortText = 16;
constexpr bool IsShortText(size_t units, bool narrow) { return narrow && units < 16; }
inline void WidenShortText(const uint8_t* narrow, size_t units, uint8_t* to) {
  constexpr size_t kPiece = 8;
  const size_t first_end = std::min(units, kPiece);
  uint64_t first = 0;
  uint64_t last = 0;
  std::memcpy(&first, narrow + first_end - kPiece, sizeof first);
  std::memcpy(&last, narrow + units - kPiece, sizeof last);
  last = kLowByteFirst ? last >> 8 : last << 8;  // seven units and the zero
  WidenEight(last, to + (units + 1) * sizeof(WCHAR) - kPiece * sizeof(WCHAR));
  WidenEight(first, to + first_end * sizeof(WCHAR) - kPiece * sizeof(WCHAR));
}

// A client's units as narrow or wide bytes.
void StoreUnits(const WCHAR* text, size_t units, bool narrow, uint8_t* to);

// Wide bytes that are all below 256 as narrow ones.
void NarrowBytes(const uint8_t* wide, size_t units, uint8_t* to);

}  // namespace objectstore
