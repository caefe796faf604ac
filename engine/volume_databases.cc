// What the tables share about the platform databases inside a mounted volume.
#include "volume_databases.h"

#include "mdb.h"
#include "mdb_try.h"
#include "wide_copy.h"
#include "wide_text.h"

namespace mdb {

void CopyDatabaseName(const MDbChar* name, WCHAR (&destination)[CEDB_MAXDBASENAMELEN]) {
  for (WCHAR& character : destination) character = 0;
  CopyWideTruncated(sizeof(destination), name, destination);
}

MDbStatus DeleteDatabaseByName(const MDbEnv* env, const MDbRef* ref, const MDbChar* name) {
  if (!MDbIsOpened(env, ref)) return MDbStatusFailed;
  CEOID oid = 0;
  const HANDLE handle = CeOpenDatabaseEx(&ref->volume, &oid, name, 0, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return MDbStatusFailed;
  (void)CloseHandle(handle);  // if it stays open, the deletion fails and says so
  return StatusOf(CeDeleteDatabaseEx(&ref->volume, oid) != FALSE);
}

MDbStatus FindDatabaseByName(const MDbEnv* env, const MDbRef* ref, const MDbChar* name, DWORD type, uint8_t* found) {
  if (!MDbIsOpened(env, ref)) return MDbStatusFailed;
  const HANDLE find = CeFindFirstDatabaseEx(&ref->volume, type);
  if (find == INVALID_HANDLE_VALUE) return MDbStatusFailed;
  *found = 0;
  CEGUID volume = ref->volume;
  for (CEOID oid = CeFindNextDatabaseEx(find, &volume); oid != 0; oid = CeFindNextDatabaseEx(find, &volume)) {
    CEDBASEINFO info;
    if (ReadDatabaseInfo(ref->volume, oid, &info) == MDbStatusOk && _wcsicmp(info.szDbaseName, name) == 0) {
      *found = 1;
      break;
    }
  }
  (void)CloseHandle(find);  // the answer stands whether or not the enumeration closes
  return MDbStatusOk;
}

MDbStatus SeekRecordByPosition(HANDLE database, uint32_t position, CEOID* oid) {
  if (position == 0xFFFFFFFFu) return MDbStatusFailed;
  DWORD index = 0;
  *oid = CeSeekDatabase(database, CEDB_SEEK_BEGINNING, position, &index);
  return StatusOf(*oid != 0);
}

MDbStatus ReadDatabaseInfo(const CEGUID& volume, CEOID database, CEDBASEINFO* info) {
  CEOIDINFO object;
  if (!CeOidGetInfoEx(&volume, database, &object) || object.wObjType != OBJTYPE_DATABASE) return MDbStatusFailed;
  *info = object.infDatabase;
  return MDbStatusOk;
}

MDbStatus GetDatabaseRecordCount(const CEGUID& volume, CEOID database, uint16_t* count) {
  CEDBASEINFO info;
  MDB_TRY(ReadDatabaseInfo(volume, database, &info));
  *count = info.wNumRecords;
  return MDbStatusOk;
}

MDbStatus GetRecordPosition(HANDLE database, CEOID record, uint16_t* position) {
  if (record == 0) return MDbStatusFailed;
  DWORD index = 0;
  if (CeSeekDatabase(database, CEDB_SEEK_CEOID, record, &index) != record) return MDbStatusFailed;
  *position = static_cast<uint16_t>(index);
  return MDbStatusOk;
}

}  // namespace mdb
