// The bodies of the volume's own row and of a database's row. docs/volume-format.md shows every byte.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "body_codec.h"
#include "description.h"
#include "identifier_runs.h"

namespace objectstore {

// The volume's own row: there is one, under this key.
inline constexpr int64_t kVolumeRowKey = 1;

struct VolumeHead {
  CEOID next_identifier = 1;
  uint64_t flush = 0;  // the number of the last flush
  uint32_t database_count = 0;
  bool operator==(const VolumeHead& other) const = default;
};

// A packed column that belongs to a database: its row must be there, as of that flush.
struct PackedReference {
  CEPROPID property = 0;
  uint64_t flush = 0;
};

// What belongs to a database beside the rows of its records.
struct PackedParts {
  std::vector<PackedReference> columns;
  uint64_t block_flush = 0;  // of its block of records; 0: it has none
  IdentifierRuns in_block;   // the records that are in the block alone: they have no rows, and all others have
};

// A database's row.
struct DatabaseHead {
  Description description;
  PackedParts packed;

  // The records that there are. The first layout does not name them: then this is empty, and names_records false.
  bool names_records = false;
  IdentifierRuns identifiers;

  // For each sort order, whether it puts the records into the order of their identifiers.
  std::array<bool, CEDB_MAXSORTORDER> by_identifier{};
};

std::span<const uint8_t> EncodeVolumeHead(const VolumeHead& head, BodyWriter& writer);
Status DecodeVolumeHead(std::span<const uint8_t> body, VolumeHead& head);

// With the packed parts that a flush leaves, which are the head's own once it has got through.
std::span<const uint8_t> EncodeDatabaseHead(const DatabaseHead& head, const PackedParts& packed, CEOID oid,
                                            BodyWriter& writer);
Status DecodeDatabaseHead(std::span<const uint8_t> body, CEOID oid, DatabaseHead& head);

}  // namespace objectstore
