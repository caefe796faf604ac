// The view: the scratch database that holds a record set's order.
#include "view.h"

#include "mdb.h"
#include "mdb_try.h"
#include "property.h"
#include "volume_databases.h"

namespace mdb {

constexpr MDbChar kViewName[] = MDB_TEXT("VTBL_0");
constexpr DWORD kViewType = 0x5654424C;  // "LBTV"

constexpr CEPROPID ViewSeq = Prop(0, CEVT_UI4);
constexpr CEPROPID ViewRecOid = Prop(1, CEVT_UI4);
static_assert(ViewSeq == 19 && ViewRecOid == 0x10013);

void ResetView(ViewState* view) {
  view->open = 0;
  view->flagFilter = 0;
  view->viewOid = 0;
  view->handle = kNoView;
  view->index = kNoIndex;
  view->nextSeq = 0;
}

// A leftover that cannot be deleted is still there at the second look: another record set has it open.
static MDbStatus RemoveLeftover(const MDbEnv* env) {
  uint8_t found = 0;
  MDB_TRY(FindDatabaseByName(env, &env->agentRef, kViewName, kViewType, &found));
  if (found != 0) (void)DeleteDatabaseByName(env, &env->agentRef, kViewName);
  MDB_TRY(FindDatabaseByName(env, &env->agentRef, kViewName, kViewType, &found));
  return StatusOf(found == 0);
}

MDbStatus CreateView(MDbEnv* env, ViewState* view) {
  MDB_TRY(RemoveLeftover(env));
  const CEGUID& volume = env->agentRef.volume;
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
  CopyDatabaseName(kViewName, info.szDbaseName);
  info.dwDbaseType = kViewType;
  info.wNumSortOrder = 1;
  info.rgSortSpecs[0] = {ViewSeq, 0};
  MDB_TRY(StatusOf(CeCreateDatabaseEx(&volume, &info) != 0));

  if (view->open != 0) return MDbStatusFailed;
  CEOID oid = 0;
  const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, kViewName, ViewSeq, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return MDbStatusFailed;
  view->viewOid = oid;
  view->handle = handle;
  view->open = 1;
  return MDbStatusOk;
}

MDbStatus DestroyView(MDbEnv* env, ViewState* view) {
  if (!MDbIsOpened(env, &env->agentRef)) return MDbStatusFailed;
  if (!CloseHandle(view->handle)) return MDbStatusFailed;
  ResetView(view);
  return DeleteDatabaseByName(env, &env->agentRef, kViewName);
}

MDbStatus AppendToView(ViewState* view, CEOID record, uint16_t* index) {
  const CEPROPVAL properties[] = {PropUi4(ViewSeq, view->nextSeq), PropUi4(ViewRecOid, record)};
  const CEOID view_record = CeWriteRecordProps(view->handle, 0, 2, properties);
  if (view_record == 0) return MDbStatusFailed;
  ++view->nextSeq;
  return GetRecordPosition(view->handle, view_record, index);
}

// Moves the view to its index.
static MDbStatus SeekViewRecord(const ViewState& view, CEOID* view_record) {
  return SeekRecordByPosition(view.handle, static_cast<uint32_t>(int32_t{view.index}), view_record);
}

static MDbStatus ReadCurrentViewRecord(const ViewState& view, CEOID* record) {
  const CEPROPID ids[] = {ViewSeq, ViewRecOid};
  PropertyBlock block;
  MDB_TRY(ReadProps(view.handle, ids, &block, nullptr));
  if (!block || block[1].propid != ViewRecOid || !IsPresent(block[1])) return MDbStatusFailed;
  *record = block[1].val.ulVal;
  return MDbStatusOk;
}

MDbStatus ReadViewRecord(const ViewState& view, CEOID* record) {
  CEOID view_record = 0;
  MDB_TRY(SeekViewRecord(view, &view_record));
  return ReadCurrentViewRecord(view, record);
}

static MDbStatus RemoveAtIndex(const ViewState& view, CEOID* record) {
  CEOID view_record = 0;
  MDB_TRY(SeekViewRecord(view, &view_record));
  MDB_TRY(ReadCurrentViewRecord(view, record));
  return StatusOf(CeDeleteRecord(view.handle, view_record) != FALSE);
}

MDbStatus RemoveFromView(ViewState* view, int16_t index, CEOID* record) {
  const int16_t index_before = view->index;
  view->index = index;
  const MDbStatus status = RemoveAtIndex(*view, record);
  view->index = index_before;
  return status;
}

MDbStatus CountView(const MDbEnv* env, const ViewState& view, uint32_t* count) {
  if (!MDbIsOpened(env, &env->agentRef) || view.open == 0) return MDbStatusFailed;
  uint16_t records = 0;
  MDB_TRY(GetDatabaseRecordCount(env->agentRef.volume, view.viewOid, &records));
  *count = records;
  return MDbStatusOk;
}

}  // namespace mdb
