// The platform's calls on databases.
#include "entry.h"

using objectstore::Database;
using objectstore::Enter;
using objectstore::Report;
using objectstore::Status;
using objectstore::Store;
using objectstore::Volume;

namespace {

// An identifier that is nothing, and a volume that is none, are a bad handle here.
Status GetInfo(Store& store, const CEGUID* guid, CEOID oid, CEOIDINFO* info) {
  if (guid == nullptr || info == nullptr) return Status::kInvalidParameter;
  Volume* volume = store.FindVolume(guid);
  if (volume == nullptr) return Status::kInvalidHandle;
  const Database* database = volume->Find(oid);
  if (database != nullptr) {
    info->wObjType = OBJTYPE_DATABASE;
    info->wPad = 0;
    objectstore::FillInfo(database->description(), info->infDatabase);
    return Status::kOk;
  }
  Database* owner = nullptr;
  STORE_TRY(volume->FindOwner(oid, owner));
  if (owner == nullptr) return Status::kInvalidHandle;
  info->wObjType = OBJTYPE_RECORD;
  info->wPad = 0;
  info->infRecord.oidParent = owner->oid();
  return Status::kOk;
}

}  // namespace

CEOID CeCreateDatabaseEx(const CEGUID* guid, const CEDBASEINFO* info) {
  CEOID oid = 0;
  const Status status = Enter([&](Store& store) {
    Volume* volume = store.FindVolume(guid);
    if (volume == nullptr || info == nullptr) return Status::kInvalidParameter;
    return volume->CreateDatabase(*info, oid);
  });
  return Report(status) ? oid : 0;
}

HANDLE CeOpenDatabaseEx(const CEGUID* guid, CEOID* oid, const WCHAR* name, CEPROPID sort_property, DWORD flags,
                        const CENOTIFYREQUEST*) {
  HANDLE handle = INVALID_HANDLE_VALUE;
  const bool auto_increment = (flags & CEDB_AUTOINCREMENT) != 0;
  const Status status =
      Enter([&](Store& store) { return store.Open(guid, oid, name, sort_property, auto_increment, handle); });
  return Report(status) ? handle : INVALID_HANDLE_VALUE;
}

BOOL CeDeleteDatabaseEx(const CEGUID* guid, CEOID oid) {
  return Report(Enter([&](Store& store) { return store.DeleteDatabase(guid, oid); }));
}

HANDLE CeFindFirstDatabaseEx(const CEGUID* guid, DWORD type) {
  HANDLE handle = INVALID_HANDLE_VALUE;
  const Status status = Enter([&](Store& store) { return store.FindFirst(guid, type, handle); }, Status::kOutOfMemory);
  return Report(status) ? handle : INVALID_HANDLE_VALUE;
}

CEOID CeFindNextDatabaseEx(HANDLE find, CEGUID* guid) {
  CEOID oid = 0;
  return Report(Enter([&](Store& store) { return store.FindNext(find, guid, oid); })) ? oid : 0;
}

BOOL CeOidGetInfoEx(const CEGUID* guid, CEOID oid, CEOIDINFO* info) {
  return Report(Enter([&](Store& store) { return GetInfo(store, guid, oid, info); }));
}

BOOL CeSetDatabaseInfoEx(const CEGUID* guid, CEOID oid, const CEDBASEINFO* info) {
  return Report(Enter([&](Store& store) {
    Volume* volume = store.FindVolume(guid);
    if (volume == nullptr || info == nullptr) return Status::kInvalidParameter;
    return volume->SetDatabaseInfo(oid, *info);
  }));
}
