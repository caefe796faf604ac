// Properties of platform records: their identifiers, values to write, and the one pattern to read them.
//
// Reading always asks for the size first, with no buffer, then takes a block of that size and reads again: the values
// and the text and bytes they point to lie in that one block.
#pragma once

#include <cstdint>
#include <span>

#include "local_memory.h"
#include "mdb_try.h"
#include "mdb_types.h"
#include "object_store.h"

namespace mdb {

constexpr CEPROPID Prop(uint32_t id, uint32_t type) { return id << 16 | type; }

// Room for one property whose value needs no further bytes.
constexpr uint32_t kOnePropertySize = sizeof(CEPROPVAL);

constexpr CEPROPVAL PropUi2(CEPROPID id, uint16_t value) {
  CEPROPVAL property{};
  property.propid = id;
  property.val.uiVal = value;
  return property;
}

constexpr CEPROPVAL PropUi4(CEPROPID id, uint32_t value) {
  CEPROPVAL property{};
  property.propid = id;
  property.val.ulVal = value;
  return property;
}

constexpr CEPROPVAL PropI4(CEPROPID id, int32_t value) {
  CEPROPVAL property{};
  property.propid = id;
  property.val.lVal = value;
  return property;
}

constexpr CEPROPVAL PropBool(CEPROPID id, bool value) {
  CEPROPVAL property{};
  property.propid = id;
  property.val.boolVal = value ? TRUE : FALSE;
  return property;
}

// The platform's structure has no const, but a write never changes what it points to.
inline CEPROPVAL PropText(CEPROPID id, const MDbChar* text) {
  CEPROPVAL property{};
  property.propid = id;
  property.val.lpwstr = const_cast<MDbChar*>(text);
  return property;
}

inline CEPROPVAL PropBlob(CEPROPID id, const void* bytes, uint32_t size_bytes) {
  CEPROPVAL property{};
  property.propid = id;
  property.val.blob.dwCount = size_bytes;
  property.val.blob.lpb = static_cast<BYTE*>(const_cast<void*>(bytes));
  return property;
}

inline bool IsPresent(const CEPROPVAL& property) { return (property.wFlags & CEDB_PROPNOTFOUND) == 0; }

// Copies a blob's bytes out, never more than it holds; a missing property copies nothing.
void CopyBlob(const CEPROPVAL& property, void* destination, uint32_t size_bytes);

// Copies a text out as CopyWideTruncated does; a missing property copies nothing.
void CopyText(const CEPROPVAL& property, MDbChar* destination, uint32_t size_bytes);

// The properties of one record, in the order they were asked for. False while nothing was read.
class PropertyBlock {
 public:
  explicit operator bool() const { return static_cast<bool>(block_); }
  const CEPROPVAL& operator[](size_t index) const { return properties()[index]; }
  CEPROPVAL* properties() const { return static_cast<CEPROPVAL*>(block_.data()); }
  void* Release() { return block_.Release(); }

  // Copies the text of the only property out, as CopyText does. It ends where the block does: nobody has to look where.
  void CopyOnlyText(MDbChar* destination, uint32_t size_bytes) const;

  // A block without properties, for a record that has none to read. 1 when memory is short.
  MDbStatus MakeEmpty() {
    block_ = LocalBlock(0);
    return block_ ? MDbStatusOk : MDbStatusFailed;
  }

 private:
  friend MDbStatus ReadPropsInPlace(HANDLE database, std::span<const CEPROPID> ids, PropertyBlock* block, CEOID* oid);
  LocalBlock block_;
  uint32_t block_bytes_ = 0;
};

// Asks for the size of a read of these properties from the current record. The platform must refuse the read for want
// of a buffer; anything else is 1. In place, since it is part of every read.
inline MDbStatus ProbePropSize(HANDLE database, std::span<const CEPROPID> ids, uint32_t* size_bytes) {
  WORD count = static_cast<WORD>(ids.size());
  BYTE* no_buffer = nullptr;
  DWORD size = 0;
  const CEOID oid = CeReadRecordPropsEx(database, 0, &count, ids.data(), &no_buffer, &size, 0);
  if (oid != 0 || GetLastError() != ERROR_INSUFFICIENT_BUFFER) return MDbStatusFailed;
  *size_bytes = size;
  return MDbStatusOk;
}

// Reads properties of the current record. 1 when the probe fails. When the allocation or the read after it fails the
// answer is 0 and the block stays false: callers leave their outputs as they were. oid may be null; it receives the
// record's identifier, 0 when nothing was read.
MDbStatus ReadProps(HANDLE database, std::span<const CEPROPID> ids, PropertyBlock* block, CEOID* oid);

// The same in place, for what is done with every record.
[[gnu::always_inline]] inline MDbStatus ReadPropsInPlace(HANDLE database, std::span<const CEPROPID> ids,
                                                         PropertyBlock* block, CEOID* oid) {
  if (oid != nullptr) *oid = 0;
  uint32_t size_bytes = 0;
  MDB_TRY(ProbePropSize(database, ids, &size_bytes));
  LocalBlock memory(size_bytes);
  if (!memory) return MDbStatusOk;
  WORD count = static_cast<WORD>(ids.size());
  BYTE* buffer = static_cast<BYTE*>(memory.data());
  const CEOID read_oid = CeReadRecordPropsEx(database, 0, &count, ids.data(), &buffer, &size_bytes, 0);
  if (read_oid == 0) return MDbStatusOk;
  if (oid != nullptr) *oid = read_oid;
  block->block_ = std::move(memory);
  block->block_bytes_ = size_bytes;
  return MDbStatusOk;
}

// Reads one property whose value needs no further bytes from the current record, without a probe: 1 when the read
// fails or the record has no such property. oid may be null; it receives the record's identifier.
MDbStatus ReadInlineProp(HANDLE database, CEPROPID id, CEPROPVAL* property, CEOID* oid);

}  // namespace mdb
