// The bodies of rows that hold numbers of many records: packed columns and blocks of records. docs/volume-format.md shows
// every byte.
#pragma once

#include <span>
#include <utility>
#include <vector>

#include "body_codec.h"
#include "record.h"

namespace objectstore {

// The values of one property of four bytes in all records of a database that have it, as of one flush.
struct PackedColumn {
  CEPROPID property = 0;
  uint64_t flush = 0;
  std::vector<std::pair<CEOID, uint32_t>> values;  // by ascending identifier
};

// Records that hold nothing but numbers of four bytes, all of them the same properties in the same order. A database has
// one such block at most, under the key whose lower half is this.
inline constexpr uint32_t kBlockRow = 0;

struct RecordBlock {
  uint64_t flush = 0;
  std::vector<CEPROPID> properties;
  std::vector<CEOID> oids;        // ascending
  std::vector<uint32_t> numbers;  // of each record, in the order of the properties

  RecordRef RecordAt(size_t index, std::vector<Value>& values, RecordArena* arena) const;
};

// The block of these records, which stand by ascending identifier; no bytes when they do not make one.
std::span<const uint8_t> EncodeBlock(std::span<const RecordRef> records, uint64_t flush, int64_t key,
                                     BodyWriter& writer);
Status DecodeBlock(std::span<const uint8_t> body, int64_t key, RecordBlock& block);

// The column of the property that the key names, of these records, which stand by ascending identifier.
std::span<const uint8_t> EncodePacked(std::span<const RecordRef> records, uint64_t flush, int64_t key,
                                      BodyWriter& writer);
Status DecodePacked(std::span<const uint8_t> body, int64_t key, PackedColumn& column);

}  // namespace objectstore
