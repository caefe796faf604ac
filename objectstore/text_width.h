// Texts inside the store: one byte for each UTF-16 unit when every unit of the text fits into one ("narrow"), else two
// in little-endian order ("wide"). Most texts are narrow, and cost half the memory, half the file and half the reading.
#pragma once

#include <cstddef>
#include <cstdint>

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

// A client's units as narrow or wide bytes.
void StoreUnits(const WCHAR* text, size_t units, bool narrow, uint8_t* to);

// Wide bytes that are all below 256 as narrow ones.
void NarrowBytes(const uint8_t* wide, size_t units, uint8_t* to);

}  // namespace objectstore
