// The parts of a page of SQLite's tables.
#pragma once

#include <cstdint>

#include "volume_schema.h"

namespace objectstore {

// No table has the page on whose bytes SQLite's locks are, nor any behind the last that a volume may have.
inline constexpr uint32_t kLockPage = 0x40000000 / kPageBytes + 1;
inline constexpr uint64_t kLargestFileBytes = uint64_t{64} << 30;
inline constexpr auto kMostPages = static_cast<uint32_t>(kLargestFileBytes / kPageBytes);

inline constexpr uint8_t kInteriorPage = 0x05;
inline constexpr uint8_t kLeafPage = 0x0D;
inline constexpr uint32_t kLeafHeaderBytes = 8;
inline constexpr uint32_t kInteriorHeaderBytes = 12;
inline constexpr uint32_t kFirstFreePlace = 1;
inline constexpr uint32_t kCellCountPlace = 3;
inline constexpr uint32_t kContentPlace = 5;
inline constexpr uint32_t kFragmentsPlace = 7;
inline constexpr uint32_t kRightChildPlace = 8;

// A row of more bytes is none of a volume's.
inline constexpr uint64_t kLargestPayload = 1 << 20;

// How much of a payload stays on its page, by SQLite's rule for leaves of tables.
inline constexpr uint32_t kMostLocal = kPageBytes - 35;
inline constexpr uint32_t kLeastLocal = (kPageBytes - 12) * 32 / 255 - 23;
// Bytes of a body on each page that it goes on in, behind the number of the next one.
inline constexpr uint32_t kBytesOfFurtherPage = kPageBytes - 4;

constexpr uint32_t LocalBytes(uint32_t payload) {
  if (payload <= kMostLocal) return payload;
  const uint32_t fitting = kLeastLocal + (payload - kLeastLocal) % kBytesOfFurtherPage;
  return fitting <= kMostLocal ? fitting : kLeastLocal;
}

}  // namespace objectstore
