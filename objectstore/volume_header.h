// SQLite's own header at the beginning of a volume's file: the parts of it that are the same in every volume.
#pragma once

#include <cstdint>

namespace objectstore {

inline constexpr uint32_t kHeaderBytes = 100;

// What stands in the way of every volume's name when it has a rollback journal, which none ever has.
inline constexpr char kJournalSuffix[] = "-journal";
inline constexpr char kLogSuffix[] = "-wal";

constexpr uint32_t BigEndian32(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}
constexpr uint32_t BigEndian16(const uint8_t* bytes) { return uint32_t{bytes[0]} << 8 | bytes[1]; }

constexpr void PutBigEndian32(uint8_t* bytes, uint32_t number) {
  for (int i = 3; i >= 0; --i, number >>= 8) bytes[i] = static_cast<uint8_t>(number);
}

// What the header says of reading and of writing.
inline constexpr uint8_t kWriteAheadLog = 2;

bool IsVolumeHeader(const uint8_t* header);
constexpr uint32_t FormatVersionOf(const uint8_t* header) { return BigEndian32(header + 60); }

}  // namespace objectstore
