// See stored_property.h.
#include "stored_property.h"

#include <bit>
#include <cstring>

namespace objectstore {

namespace {

constexpr size_t AlignUp(size_t offset, size_t alignment) { return (offset + alignment - 1) & ~(alignment - 1); }

// Of the member that the type says, so that what the client left in the rest of the union is not kept.
uint64_t NumberOf(const CEPROPVAL& given) {
  switch (TypeOf(given.propid)) {
    case CEVT_I2:
    case CEVT_UI2:
      return given.val.uiVal;
    case CEVT_R8:
      return std::bit_cast<uint64_t>(given.val.dblVal);
    case CEVT_FILETIME:
      return uint64_t{given.val.filetime.dwHighDateTime} << 32 | given.val.filetime.dwLowDateTime;
    default:
      return given.val.ulVal;
  }
}

void SetNumber(uint64_t number, CEPROPVAL& value) {
  switch (TypeOf(value.propid)) {
    case CEVT_I2:
    case CEVT_UI2:
      value.val.uiVal = static_cast<WORD>(number);
      return;
    case CEVT_R8:
      value.val.dblVal = std::bit_cast<double>(number);
      return;
    case CEVT_FILETIME:
      value.val.filetime = {static_cast<DWORD>(number), static_cast<DWORD>(number >> 32)};
      return;
    default:
      value.val.ulVal = static_cast<DWORD>(number);
  }
}

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

void BlockSize::Add(const Value& value) {
  if (IsText(value.id)) {
    bytes_ = AlignUp(bytes_, alignof(WCHAR)) + PayloadBytes(value.id, value.length);
  } else if (IsBlob(value.id)) {
    bytes_ = AlignUp(bytes_, 4) + value.length;
  }
}

void BlockWriter::Add(const Value& value) {
  CEPROPVAL property;
  std::memset(&property, 0, sizeof property);
  property.propid = value.id;
  if (IsText(value.id)) {
    AlignTail(alignof(WCHAR));
    CopyUnits(value.bytes, value.length, value.narrow, block_ + tail_);
    std::memset(block_ + tail_ + value.length * sizeof(WCHAR), 0, sizeof(WCHAR));
    property.val.lpwstr = reinterpret_cast<WCHAR*>(block_ + tail_);
    tail_ += PayloadBytes(value.id, value.length);
  } else if (IsBlob(value.id)) {
    AlignTail(4);
    if (value.length != 0) std::memcpy(block_ + tail_, value.bytes, value.length);
    property.val.blob.dwCount = value.length;
    property.val.blob.lpb = block_ + tail_;
    tail_ += value.length;
  } else {
    SetNumber(value.number, property);
  }
  Put(property);
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

void BlockWriter::Put(const CEPROPVAL& value) {
  std::memcpy(block_ + next_, &value, sizeof value);
  next_ += sizeof value;
}

}  // namespace objectstore
