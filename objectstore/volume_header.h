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

bool IsVolumeHeader(const uint8_t* header);
constexpr uint32_t FormatVersionOf(const uint8_t* header) { return BigEndian32(header + 60); }

}  // namespace objectstore
