// See stored_property.h.
#include "stored_property.h"

#include <cstring>

namespace objectstore {

namespace {

constexpr size_t AlignUp(size_t offset, size_t alignment) { return (offset + alignment - 1) & ~(alignment - 1); }

// The length of a text in code units, or one more than the longest that may be stored.
size_t BoundedTextLength(const WCHAR* text) {
  constexpr size_t kLongest = CEDB_MAXPROPDATASIZE / sizeof(WCHAR) - 1;
  size_t length = 0;
  while (length <= kLongest && text[length] != 0) ++length;
  return length;
}

// Copies only the member that the type says, so that what the client left in the rest of the union is not kept.
void CopyFixed(const CEPROPVAL& given, CEPROPVAL& measured) {
  std::memcpy(&measured.val, &given.val, FixedWidth(given.propid));
}

}  // namespace

bool IsKnownType(CEPROPID id) {
  switch (TypeOf(id)) {
    case CEVT_LPWSTR:
    case CEVT_BLOB:
      return true;
    default:
      return FixedWidth(id) != 0;
  }
}

size_t FixedWidth(CEPROPID id) {
  switch (TypeOf(id)) {
    case CEVT_I2:
    case CEVT_UI2:
      return 2;
    case CEVT_I4:
    case CEVT_UI4:
    case CEVT_BOOL:
      return 4;
    case CEVT_R8:
    case CEVT_FILETIME:
      return 8;
    default:
      return 0;
  }
}

Status Measure(const CEPROPVAL& given, CEPROPVAL& measured) {
  std::memset(&measured, 0, sizeof measured);
  measured.propid = given.propid;
  switch (TypeOf(given.propid)) {
    case CEVT_LPWSTR: {
      if (given.val.lpwstr == nullptr) return Status::kInvalidParameter;
      const size_t length = BoundedTextLength(given.val.lpwstr);
      if ((length + 1) * sizeof(WCHAR) > CEDB_MAXPROPDATASIZE) return Status::kInvalidParameter;
      measured.wLenData = static_cast<WORD>(length);
      measured.val.lpwstr = given.val.lpwstr;
      return Status::kOk;
    }
    case CEVT_BLOB:
      if (given.val.blob.lpb == nullptr && given.val.blob.dwCount != 0) return Status::kInvalidParameter;
      if (given.val.blob.dwCount > CEDB_MAXPROPDATASIZE) return Status::kInvalidParameter;
      measured.val.blob.dwCount = given.val.blob.dwCount;
      measured.val.blob.lpb = given.val.blob.lpb;
      return Status::kOk;
    default:
      if (!IsKnownType(given.propid)) return Status::kInvalidParameter;
      CopyFixed(given, measured);
      return Status::kOk;
  }
}

size_t PayloadBytes(const CEPROPVAL& value) {
  switch (TypeOf(value.propid)) {
    case CEVT_LPWSTR:
      return (size_t{value.wLenData} + 1) * sizeof(WCHAR);
    case CEVT_BLOB:
      return value.val.blob.dwCount;
    default:
      return FixedWidth(value.propid);
  }
}

bool SameValue(const CEPROPVAL& a, const CEPROPVAL& b) {
  if (a.propid != b.propid) return false;
  switch (TypeOf(a.propid)) {
    case CEVT_LPWSTR:
      return a.wLenData == b.wLenData && std::memcmp(a.val.lpwstr, b.val.lpwstr, a.wLenData * sizeof(WCHAR)) == 0;
    case CEVT_BLOB:
      return a.val.blob.dwCount == b.val.blob.dwCount &&
             (a.val.blob.dwCount == 0 || std::memcmp(a.val.blob.lpb, b.val.blob.lpb, a.val.blob.dwCount) == 0);
    default:
      return std::memcmp(&a.val, &b.val, FixedWidth(a.propid)) == 0;
  }
}

void BlockSize::Add(const CEPROPVAL& measured) {
  switch (TypeOf(measured.propid)) {
    case CEVT_LPWSTR:
      bytes_ = AlignUp(bytes_, alignof(WCHAR)) + PayloadBytes(measured);
      break;
    case CEVT_BLOB:
      bytes_ = AlignUp(bytes_, 4) + PayloadBytes(measured);
      break;
    default:
      break;
  }
}

void BlockWriter::Add(const CEPROPVAL& measured) {
  CEPROPVAL value = measured;
  switch (TypeOf(value.propid)) {
    case CEVT_LPWSTR:
      tail_ = AlignUp(tail_, alignof(WCHAR));
      std::memcpy(block_ + tail_, measured.val.lpwstr, value.wLenData * sizeof(WCHAR));
      std::memset(block_ + tail_ + value.wLenData * sizeof(WCHAR), 0, sizeof(WCHAR));
      value.val.lpwstr = reinterpret_cast<WCHAR*>(block_ + tail_);
      tail_ += PayloadBytes(value);
      break;
    case CEVT_BLOB:
      tail_ = AlignUp(tail_, 4);
      if (value.val.blob.dwCount != 0) std::memcpy(block_ + tail_, measured.val.blob.lpb, value.val.blob.dwCount);
      value.val.blob.lpb = block_ + tail_;
      tail_ += PayloadBytes(value);
      break;
    default:
      break;
  }
  Put(value);
}

void BlockWriter::AddAbsent(CEPROPID id) {
  CEPROPVAL value;
  std::memset(&value, 0, sizeof value);
  value.propid = id;
  value.wFlags = CEDB_PROPNOTFOUND;
  Put(value);
}

void BlockWriter::Put(CEPROPVAL value) {
  if (use_ == BlockUse::kDelivered) value.wLenData = 0;
  std::memcpy(block_ + next_, &value, sizeof value);
  next_ += sizeof value;
}

}  // namespace objectstore
