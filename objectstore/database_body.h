// The bodies of the volume's own row and of a database's row. docs/volume-format.md shows every byte.
#pragma once

#include <span>
#include <vector>

#include "body_codec.h"
#include "description.h"

namespace objectstore {

// The volume's own row: there is one, under this key.
inline constexpr int64_t kVolumeRowKey = 1;

struct VolumeHead {
  CEOID next_identifier = 1;
  uint64_t flush = 0;  // the number of the last flush
  uint32_t database_count = 0;
};

// A packed column that belongs to a database: its row must be there, as of that flush.
struct PackedReference {
  CEPROPID property = 0;
  uint64_t flush = 0;
};

// A database's row.
struct DatabaseHead {
  Description description;
  std::vector<PackedReference> packed;
};

std::span<const uint8_t> EncodeVolumeHead(const VolumeHead& head, BodyWriter& writer);
Status DecodeVolumeHead(std::span<const uint8_t> body, VolumeHead& head);

std::span<const uint8_t> EncodeDatabaseHead(const DatabaseHead& head, CEOID oid, BodyWriter& writer);
Status DecodeDatabaseHead(std::span<const uint8_t> body, CEOID oid, DatabaseHead& head);

}  // namespace objectstore
