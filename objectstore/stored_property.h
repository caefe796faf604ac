// One typed property: what its type says about its width, which values may be stored, and how a value is packed into a
// block.
//
// Inside the store a text's length in code units stands in wLenData ("measured"); what a client passes in that field is
// not read, and what a client gets there is 0.
#pragma once

#include <cstddef>

#include "object_store.h"
#include "status.h"

namespace objectstore {

// What a record and a property cost beside their payload, in every size that a client sees.
inline constexpr uint32_t kRecordOverheadBytes = 20;
inline constexpr uint32_t kPropertyOverheadBytes = 4;

constexpr WORD TypeOf(CEPROPID id) { return static_cast<WORD>(id); }
bool IsKnownType(CEPROPID id);

// Bytes of a number, a boolean or a time; 0 for text and for a blob.
size_t FixedWidth(CEPROPID id);

// The same property with the value's unused bytes zero, wFlags 0 and the text measured. A value that may not be stored
// (unknown type, null pointer, over-long) is an invalid parameter. The pointers stay the client's.
Status Measure(const CEPROPVAL& given, CEPROPVAL& measured);

// Of measured values.
size_t PayloadBytes(const CEPROPVAL& value);
bool SameValue(const CEPROPVAL& a, const CEPROPVAL& b);

// The size of a block that holds count properties and their payloads: the array first, then each text on a 2-byte
// boundary with its terminator and each blob on a 4-byte boundary, in array order. The block ends with the last payload:
// a client takes the array off the size to learn how long a single text is.
class BlockSize {
 public:
  explicit BlockSize(size_t count) : bytes_(count * sizeof(CEPROPVAL)) {}
  void Add(const CEPROPVAL& measured);
  size_t bytes() const { return bytes_; }

 private:
  size_t bytes_;
};

// Whom a block is for: the store keeps the measures of texts, a client does not get them.
enum class BlockUse { kStored, kDelivered };

// Fills such a block, which need not be aligned. The pointers it writes point into the block.
class BlockWriter {
 public:
  BlockWriter(BYTE* block, size_t count, BlockUse use) : block_(block), use_(use), tail_(count * sizeof(CEPROPVAL)) {}
  void Add(const CEPROPVAL& measured);

  // The place of a property that the record does not have.
  void AddAbsent(CEPROPID id);

 private:
  void Put(CEPROPVAL value);

  BYTE* block_;
  BlockUse use_;
  size_t next_ = 0;
  size_t tail_;
};

}  // namespace objectstore
