// The platform's calls on records.
#include "entry.h"
#include "read_record.h"
#include "write_record.h"

using objectstore::Enter;
using objectstore::OpenDatabase;
using objectstore::Report;
using objectstore::Status;
using objectstore::Store;

namespace {

// Runs a body on the database that a handle is open on.
template <typename Body>
Status WithDatabase(HANDLE handle, Body body) {
  return Enter([&](Store& store) {
    OpenDatabase* database = store.handles().FindDatabase(handle);
    return database != nullptr ? body(*database) : Status::kInvalidHandle;
  });
}

// What is out of the ordinary stays out of the way of what is called for every record.
[[gnu::noinline]] CEOID Seek(HANDLE database, DWORD type, DWORD_PTR value, DWORD* index) {
  CEOID found = 0;
  OpenDatabase* const at_hand = objectstore::DatabaseAtHand(database);
  const auto oid = static_cast<CEOID>(value);
  if (type == CEDB_SEEK_CEOID && at_hand != nullptr && at_hand->SeekIdentifierByLooking(oid, found, index))
    return found;
  const Status status =
      WithDatabase(database, [&](OpenDatabase& open) { return open.Seek(type, value, found, index); });
  return Report(status) ? found : 0;
}

[[gnu::noinline]] CEOID SeekFirstEqual(HANDLE database, OpenDatabase& open, DWORD_PTR value, DWORD* index) {
  CEOID found = 0;
  return open.SeekFirstEqualAgain(value, found, index) ? found
                                                       : Seek(database, CEDB_SEEK_VALUEFIRSTEQUAL, value, index);
}

// There is one heap, so that results cannot come from another.
[[gnu::noinline]] CEOID Read(HANDLE database, DWORD flags, WORD* count, const CEPROPID* ids, BYTE** buffer, DWORD* size,
                             HANDLE heap) {
  CEOID oid = 0;
  const Status status = WithDatabase(database, [&](OpenDatabase& open) {
    if (heap != 0) return Status::kInvalidParameter;
    return objectstore::ReadRecord(open, {(flags & CEDB_ALLOWREALLOC) != 0, count, ids, buffer, size}, oid);
  });
  return Report(status) ? oid : 0;
}

}  // namespace

CEOID CeSeekDatabase(HANDLE database, DWORD type, DWORD_PTR value, DWORD* index) {
  OpenDatabase* const open = objectstore::DatabaseAtHand(database);
  CEOID found = 0;
  if (open == nullptr) return Seek(database, type, value, index);
  if (type == CEDB_SEEK_VALUEFIRSTEQUAL) return SeekFirstEqual(database, *open, value, index);
  return open->SeekAtOnce(type, value, found, index) ? found : Seek(database, type, value, index);
}

CEOID CeReadRecordPropsEx(HANDLE database, DWORD flags, WORD* count, const CEPROPID* ids, BYTE** buffer, DWORD* size,
                          HANDLE heap) {
  OpenDatabase* const open = objectstore::DatabaseAtHand(database);
  const bool only_looks = open != nullptr && open->KnowsPosition() && (flags & CEDB_ALLOWREALLOC) == 0 && heap == 0;
  if (!only_looks || count == nullptr || size == nullptr) return Read(database, flags, count, ids, buffer, size, heap);
  return objectstore::ReadAtOnce(*open, count, ids, buffer, size);
}

CEOID CeWriteRecordProps(HANDLE database, CEOID oid, WORD count, const CEPROPVAL* values) {
  const Status status = WithDatabase(database, [&](OpenDatabase& open) {
    return objectstore::WriteRecord(open, oid, {values, count});
  });
  return Report(status) ? oid : 0;
}

// A number that never was a handle, or is one no more, is a wrong parameter to this call; one that went with its volume
// is a bad handle, as everywhere.
BOOL CeDeleteRecord(HANDLE database, CEOID oid) {
  return Report(Enter([&](Store& store) {
    OpenDatabase* open = store.handles().FindDatabase(database);
    if (open != nullptr) return objectstore::DeleteRecord(*open, oid);
    return store.handles().WasTakenAway(database) ? Status::kInvalidHandle : Status::kInvalidParameter;
  }));
}
