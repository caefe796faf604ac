// One typed property: what its type says about its width, which values may be stored, how a value stands inside the
// store, and how values are packed into a client's block.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

#include "object_store.h"
#include "status.h"
#include "text_width.h"

namespace objectstore {

// What a record and a property cost beside their payload, in every size that a client sees.
inline constexpr uint32_t kRecordOverheadBytes = 20;
inline constexpr uint32_t kPropertyOverheadBytes = 4;

constexpr size_t kLongestTextUnits = CEDB_MAXPROPDATASIZE / sizeof(WCHAR) - 1;

constexpr WORD TypeOf(CEPROPID id) { return static_cast<WORD>(id); }
constexpr bool IsText(CEPROPID id) { return TypeOf(id) == CEVT_LPWSTR; }
constexpr bool IsBlob(CEPROPID id) { return TypeOf(id) == CEVT_BLOB; }

// Bytes of a number, a boolean or a time; 0 for text and for a blob.
constexpr size_t FixedWidth(CEPROPID id) {
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

constexpr bool IsKnownType(CEPROPID id) { return IsText(id) || IsBlob(id) || FixedWidth(id) != 0; }

// A value inside the store. Its bytes may lie anywhere: with the client, in a row of the file, in a record.
struct Value {
  CEPROPID id = 0;
  uint32_t length = 0;             // units of a text, bytes of a blob
  bool narrow = false;             // a text of one byte a unit; of a client's text: it could be
  const WCHAR* client = nullptr;   // a client's text
  const uint8_t* bytes = nullptr;  // any other text, and a blob; null: zeros
  uint64_t number = 0;             // any other value: its bytes as an unsigned number, a time with its high word above
};

Value NumberValue(CEPROPID id, uint64_t number);

// Of a client's number: its bytes as an unsigned number, from the member that the type says.
inline uint64_t NumberOf(const CEPROPVAL& given) {
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

inline void SetNumber(uint64_t number, CEPROPVAL& value) {
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

// A client's value as the store sees it. One that may not be stored (unknown type, null pointer, over-long) is an
// invalid parameter. The pointers stay the client's.
Status Measure(const CEPROPVAL& given, Value& measured);

// What the value counts for.
constexpr size_t PayloadBytes(CEPROPID id, size_t length) {
  if (IsText(id)) return (length + 1) * sizeof(WCHAR);
  return IsBlob(id) ? length : FixedWidth(id);
}

// A client's block holds so many properties and their payloads: the array first, then each text on a 2-byte boundary
// with its terminator and each blob on a 4-byte boundary, in array order. The block ends with the last payload: a
// client takes the array off the size to learn how long a single text is.
inline constexpr size_t kBlobAlignment = 4;
constexpr size_t AlignUp(size_t offset, size_t alignment) { return (offset + alignment - 1) & ~(alignment - 1); }

// Fills such a block, which need not be aligned. The pointers it writes point into the block.
class BlockWriter {
 public:
  BlockWriter(BYTE* block, size_t count) : block_(block), tail_(count * sizeof(CEPROPVAL)) {}

  // A text inside the store, of so many units.
  void AddText(CEPROPID id, const uint8_t* text, size_t units, bool narrow) {
    if (tail_ % alignof(WCHAR) != 0) AlignTail(alignof(WCHAR));
    BYTE* const place = block_ + tail_;
    PutText(block_ + next_, id, place);
    next_ += sizeof(CEPROPVAL);
    CopyUnits(text, units, narrow, place);
    std::memset(place + units * sizeof(WCHAR), 0, sizeof(WCHAR));
    tail_ += (units + 1) * sizeof(WCHAR);
  }

  // Anything but a text.
  void AddOther(const Value& value) {
    CEPROPVAL property{};
    property.propid = value.id;
    if (IsBlob(value.id)) {
      property.val.blob = {value.length, AddBlob(value)};
    } else {
      SetNumber(value.number, property);
    }
    Put(property);
  }

  // The place of a property that the record does not have.
  void AddAbsent(CEPROPID id);

  // A property whose text stands elsewhere in the block. Each member straight into its place: a copy of the whole would
  // have to wait until they are all written.
  static void PutText(BYTE* property, CEPROPID id, const BYTE* text) {
    std::memset(property, 0, sizeof(CEPROPVAL));
    std::memcpy(property + offsetof(CEPROPVAL, propid), &id, sizeof id);
    std::memcpy(property + offsetof(CEPROPVAL, val), &text, sizeof text);
  }

 private:
  BYTE* AddBlob(const Value& value);
  void AlignTail(size_t alignment);

  void Put(const CEPROPVAL& value) {
    std::memcpy(block_ + next_, &value, sizeof value);
    next_ += sizeof value;
  }

  BYTE* block_;
  size_t next_ = 0;
  size_t tail_;
};

}  // namespace objectstore
