// Adding, duplicating and deleting records through a record set: the data table's operations, and what the view needs
// so that it shows what was done.
#include "keep_list.h"
#include "local_memory.h"
#include "record_set.h"
#include "record_writes.h"
#include "view.h"

namespace mdb {

// Shows a new record at the end of the view and keeps it there. The index is written unless the view could not take it.
static MDbStatus ShowNewRecord(MDbRecset* recset, CEOID record, uint16_t* index) {
  MDB_TRY(AppendToView(&recset->view, record, index));
  return AddToKeepList(recset, record);
}

// Adds a copy of the open record.
static MDbStatus AddCopyOfOpenRecord(MDbEnv* env, MDbRecset* recset, CEOID* oid, uint16_t* position) {
  uint16_t count = 0;
  MDB_TRY(MDbRecsetGetFldCount(env, recset, &count));
  LocalBlock memory(count * sizeof(const MDbChar*));
  if (!memory) return MDbStatusFailed;
  auto* texts = static_cast<const MDbChar**>(memory.data());
  for (int16_t field = 0; field < static_cast<int16_t>(count); ++field) {
    texts[field] = MDB_TEXT("");  // for a field that the record does not have
    MDB_TRY(MDbRecsetGetFieldPtr(env, recset, field, &texts[field]));
  }
  const MDbRecInfo no_info{};
  MDB_TRY(MDbDataTblAddRec(env, &env->agentRef, &env->dataTbl, &no_info, texts, static_cast<int16_t>(count), 0, oid,
                           position));
  recset->dirty = 1;
  return MDbStatusOk;
}

static MDbStatus AddCopyOf(MDbEnv* env, MDbRecset* recset, int16_t source, CEOID* oid, uint16_t* position) {
  MDB_TRY(MDbRecsetSetInx(env, recset, source));
  MDB_TRY(MDbRecsetOpenRec(env, recset));
  const MDbStatus status = AddCopyOfOpenRecord(env, recset, oid, position);
  const MDbStatus close_status = MDbRecsetCloseRec(env, recset);
  return status != MDbStatusOk ? status : close_status;
}

static MDbStatus RequireNoOpenRecord(const MDbRecset* recset) {
  MDB_TRY(RequireValid(recset));
  return StatusOf(!MDbDataRecIsOpened(&recset->record));
}

static MDbStatus DeleteThroughView(MDbEnv* env, MDbRecset* recset, int16_t index, uint8_t no_log, CEOID* record) {
  MDB_TRY(RemoveFromView(&recset->view, index, record));
  return DeleteRecord(env, &env->agentRef, &env->dataTbl, &env->schemaTbl, record, no_log);
}

static MDbStatus DeleteDirectly(MDbEnv* env, int16_t index, uint8_t no_log) {
  return DeleteRecordAt(env, &env->agentRef, &env->dataTbl, &env->schemaTbl, static_cast<uint16_t>(index), no_log);
}

static MDbStatus DeleteOneByOne(MDbEnv* env, MDbRecset* recset, uint8_t no_log) {
  uint32_t count = 0;
  MDB_TRY(MDbRecsetGetRecCount(env, recset, &count));
  for (uint32_t i = 0; i < count; ++i) {
    CEOID record = 0;
    MDB_TRY(IsInViewMode(*recset) ? DeleteThroughView(env, recset, 0, no_log, &record)
                                  : DeleteDirectly(env, 0, no_log));
  }
  return MDbStatusOk;
}

}  // namespace mdb

using namespace mdb;

MDbStatus MDbRecsetNewRec(MDbEnv* env, MDbRecset* recset, uint16_t* index) {
  MDB_TRY(RequireValid(recset));
  CEOID record = 0;
  uint16_t position = 0;
  MDB_TRY(MDbDataTblNewRec(env, &env->agentRef, &env->dataTbl, &env->schemaTbl, &record, &position));
  recset->dirty = 1;
  if (IsInViewMode(*recset)) return ShowNewRecord(recset, record, index);
  *index = position;
  return MDbStatusOk;
}

MDbStatus MDBRecsetDupRec(MDbEnv* env, MDbRecset* recset, int16_t source, uint16_t* index) {
  uint16_t cursor = 0;
  MDB_TRY(MDbRecsetGetInx(env, recset, &cursor));
  CEOID record = 0;
  uint16_t position = 0;
  const MDbStatus status = AddCopyOf(env, recset, source, &record, &position);
  const MDbStatus cursor_status = MDbRecsetSetInx(env, recset, static_cast<int16_t>(cursor));
  MDB_TRY(status);
  MDB_TRY(cursor_status);
  if (IsInViewMode(*recset)) return ShowNewRecord(recset, record, index);
  *index = position;
  return MDbStatusOk;
}

MDbStatus MDbRecsetDelRec(MDbEnv* env, MDbRecset* recset, int16_t index, uint32_t noLog) {
  MDB_TRY(RequireNoOpenRecord(recset));
  const uint8_t no_log = noLog != 0;
  if (IsInViewMode(*recset)) {
    CEOID record = 0;
    MDB_TRY(DeleteThroughView(env, recset, index, no_log, &record));
    RemoveFromKeepList(recset, record);
  } else {
    MDB_TRY(DeleteDirectly(env, index, no_log));
  }
  return MDbRecsetSetInx(env, recset, kNoIndex);
}

// The list of records kept in view stays as it is: what it names is gone, and identifiers are not given out again.
MDbStatus MDbRecsetDelAllRec(MDbEnv* env, MDbRecset* recset, uint8_t noLog) {
  MDB_TRY(RequireNoOpenRecord(recset));
  if (!IsInViewMode(*recset) && noLog != 0) {
    MDB_TRY(DeleteAllRecords(env, &env->agentRef, &env->dataTbl));
  } else {
    MDB_TRY(DeleteOneByOne(env, recset, noLog));
  }
  return MDbRecsetSetInx(env, recset, kNoIndex);
}
