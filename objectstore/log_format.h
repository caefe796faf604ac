// SQLite's write-ahead log as bytes: its header, its frames, the running checksum over both. Numbers are big-endian.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "volume_header.h"
#include "volume_schema.h"

namespace objectstore {

inline constexpr uint32_t kLogHeaderBytes = 32;
inline constexpr uint32_t kFrameHeaderBytes = 24;
inline constexpr uint32_t kFrameBytes = kFrameHeaderBytes + kPageBytes;

inline constexpr uint32_t kLogMagic = 0x377F0682;  // the lowest bit tells the byte order of checksums
inline constexpr uint32_t kLogVersion = 3007000;
inline constexpr size_t kSaltBytes = 8;

// The running checksum of a log. Its magic says in which order the bytes of its words count.
class LogChecksum {
 public:
  explicit LogChecksum(bool big_endian) : big_endian_(big_endian) {}
  void Add(std::span<const uint8_t> bytes) {
    for (size_t i = 0; i + 8 <= bytes.size(); i += 8) {
      first_ += Word(bytes.data() + i) + second_;
      second_ += Word(bytes.data() + i + 4) + first_;
    }
  }
  bool Is(const uint8_t* stored) const { return BigEndian32(stored) == first_ && BigEndian32(stored + 4) == second_; }
  void Store(uint8_t* place) const {
    PutBigEndian32(place, first_);
    PutBigEndian32(place + 4, second_);
  }

 private:
  uint32_t Word(const uint8_t* bytes) const {
    return big_endian_ ? BigEndian32(bytes)
                       : uint32_t{bytes[3]} << 24 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[1]} << 8 | bytes[0];
  }
  bool big_endian_;
  uint32_t first_ = 0;
  uint32_t second_ = 0;
};

}  // namespace objectstore
