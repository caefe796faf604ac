// The body of a record's row. docs/volume-format.md shows every byte.
#pragma once

#include <span>
#include <vector>

#include "body_codec.h"
#include "record.h"

namespace objectstore {

std::span<const uint8_t> EncodeRecord(const Record& record, int64_t key, uint64_t flush, BodyWriter& writer);

// Decodes record bodies one after the other, using the same memory for all.
class RecordDecoder {
 public:
  Status Decode(std::span<const uint8_t> body, int64_t key, RecordRef& record, uint64_t& flush,
                RecordArena* arena = nullptr);

 private:
  void DecodeFirst(BodyReader& reader, Value& value);

  std::vector<Value> values_;
  std::vector<uint8_t> narrowed_;  // texts that a body of the first layout spends two bytes a unit on
};

}  // namespace objectstore
