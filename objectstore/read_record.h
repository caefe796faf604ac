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

// Reads the record under the pointer where that takes no more than looking: nothing is allocated, and the pointer,
// whose position is known, stays. The record's identifier, or 0, with the last error set.
CEOID ReadAtOnce(OpenDatabase& handle, WORD* count, const CEPROPID* ids, BYTE** buffer, DWORD* size) noexcept;

}  // namespace objectstore
