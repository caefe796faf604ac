// Delivering a record's properties into a client's buffer.
#pragma once

#include "open_database.h"

namespace objectstore {

// The arguments of a client's read, as they came.
struct ReadRequest {
  bool may_allocate;
  WORD* count;
  const CEPROPID* ids;  // null: all properties
  BYTE** buffer;
  DWORD* size;
};

// Reads the record under the pointer. No data (232) still delivers a block and still steps.
Status ReadRecord(OpenDatabase& handle, const ReadRequest& request, CEOID& oid);

// The usual read, of one property: its size, or what stands in a buffer with room for it. False when the request is any
// other one; nothing has happened then. oid is that of a read that delivers.
inline bool ReadOneAtOnce(OpenDatabase& handle, const ReadRequest& request, CEOID& oid) {
  if (request.may_allocate || request.count == nullptr || *request.count != 1 || request.ids == nullptr) return false;
  if (request.size == nullptr) return false;
  const Record* const record = handle.CurrentAtOnce();
  const size_t index = handle.property_hint;
  if (record == nullptr || !record->HasAt(index, request.ids[0])) return false;
  const size_t bytes = record->BlockBytesBehind(sizeof(CEPROPVAL), index);
  BYTE* const block = request.buffer != nullptr ? *request.buffer : nullptr;
  const bool has_room = block != nullptr && *request.size >= bytes;
  *request.size = static_cast<DWORD>(bytes);
  if (!has_room) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return true;
  }
  BlockWriter writer(block, 1);
  record->AddTo(writer, index);
  oid = record->oid();
  return true;
}

// Any other read that only has to look: nothing is allocated, and the pointer stays. False when it takes more.
bool ReadListAtOnce(OpenDatabase& handle, const ReadRequest& request, CEOID& oid) noexcept;

}  // namespace objectstore
