// See stored_property.h.
#include "stored_property.h"

#include <bit>
#include <cstring>

namespace objectstore {

namespace {

Status MeasureText(const CEPROPVAL& given, Value& measured) {
  if (given.val.lpwstr == nullptr) return Status::kInvalidParameter;
  WCHAR all_bits = 0;
  const size_t length = BoundedTextLength(given.val.lpwstr, kLongestTextUnits, all_bits);
  if (length > kLongestTextUnits) return Status::kInvalidParameter;
  measured.length = static_cast<uint32_t>(length);
  measured.narrow = IsNarrow(all_bits);
  measured.client = given.val.lpwstr;
  return Status::kOk;
}

}  // namespace

Value NumberValue(CEPROPID id, uint64_t number) {
  Value value;
  value.id = id;
  value.number = number;
  return value;
}

Status Measure(const CEPROPVAL& given, Value& measured) {
  measured = Value();
  measured.id = given.propid;
  if (IsText(given.propid)) return MeasureText(given, measured);
  if (IsBlob(given.propid)) {
    if (given.val.blob.lpb == nullptr && given.val.blob.dwCount != 0) return Status::kInvalidParameter;
    if (given.val.blob.dwCount > CEDB_MAXPROPDATASIZE) return Status::kInvalidParameter;
    measured.length = given.val.blob.dwCount;
    measured.bytes = given.val.blob.lpb;
    return Status::kOk;
  }
  if (FixedWidth(given.propid) == 0) return Status::kInvalidParameter;
  measured.number = NumberOf(given);
  return Status::kOk;
}

BYTE* BlockWriter::AddBlob(const Value& value) {
  AlignTail(kBlobAlignment);
  BYTE* const bytes = block_ + tail_;
  if (value.length != 0) std::memcpy(bytes, value.bytes, value.length);
  tail_ += value.length;
  return bytes;
}

void BlockWriter::AddAbsent(CEPROPID id) {
  CEPROPVAL value;
  std::memset(&value, 0, sizeof value);
  value.propid = id;
  value.wFlags = CEDB_PROPNOTFOUND;
  Put(value);
}

// The bytes between payloads reach the client: they are zero.
void BlockWriter::AlignTail(size_t alignment) {
  for (const size_t aligned = AlignUp(tail_, alignment); tail_ < aligned; ++tail_) block_[tail_] = 0;
}

}  // namespace objectstore
