// A record set's life and its cursor: reset, walk, and destroy.
#include "record_set.h"

#include "local_memory.h"
#include "view.h"

namespace mdb {

// The criteria stay as they are: a sort resets and rebuilds the record set and must find them again.
static void ResetRecordSet(MDbRecset* recset) {
  recset->valid = 0;
  recset->hasView = 0;
  recset->filterField = kNotFiltered;
  recset->dirty = 0;
  recset->sortField = kNeverSorted;
  recset->ascending = 1;
  MDbDataRecInitialize(&recset->record);
  ResetView(&recset->view);
  recset->keepList = nullptr;
  recset->keepCount = 0;
  recset->keepCapacity = 0;
}

static void FreeKeepList(MDbRecset* recset) {
  MemFree(recset->keepList);
  recset->keepList = nullptr;
  recset->keepCount = 0;
}

}  // namespace mdb

using namespace mdb;

void MDbRecsetInitialize(MDbRecset* recset) { ResetRecordSet(recset); }

MDbStatus MDbRecsetDestroy(MDbEnv* env, MDbRecset* recset) {
  if (recset->valid == 0) {
    FreeKeepList(recset);  // a failed sort leaves its list to an invalid record set
    return MDbStatusOk;
  }
  MDbStatus first_failure = MDbStatusOk;
  if (MDbDataRecIsOpened(&recset->record)) first_failure = MDbRecsetCloseRec(env, recset);
  if (IsInViewMode(*recset) && recset->view.open != 0) {
    const MDbStatus view_status = DestroyView(env, &recset->view);
    if (first_failure == MDbStatusOk) first_failure = view_status;
  }
  FreeKeepList(recset);
  ResetRecordSet(recset);
  return first_failure;
}

MDbStatus MDbRecsetGetRecCount(MDbEnv* env, MDbRecset* recset, uint32_t* count) {
  MDB_TRY(RequireValid(recset));
  if (IsInViewMode(*recset)) return CountView(env, recset->view, count);
  return MDbDataTblGetRecCount(env, &env->agentRef, &env->dataTbl, count);
}

MDbStatus MDbRecsetGetInx(MDbEnv* env, MDbRecset* recset, uint16_t* index) {
  MDB_TRY(RequireValid(recset));
  if (!IsInViewMode(*recset)) return MDbDataTblCursGetInx(env, &env->agentRef, &env->dataTbl, index);
  if (recset->view.open == 0) return MDbStatusFailed;
  *index = static_cast<uint16_t>(recset->view.index);
  return MDbStatusOk;
}

MDbStatus MDbRecsetSetInx(MDbEnv* env, MDbRecset* recset, int16_t index) {
  MDB_TRY(RequireValid(recset));
  if (!IsInViewMode(*recset)) return MDbDataTblCursSetInx(env, &env->agentRef, &env->dataTbl, index);
  if (recset->view.open == 0) return MDbStatusFailed;
  recset->view.index = index;
  return MDbStatusOk;
}

MDbStatus MDbRecsetOpenRec(MDbEnv* env, MDbRecset* recset) {
  MDB_TRY(RequireValid(recset));
  if (!IsInViewMode(*recset)) {
    return MDbDataTblOpenRec(env, &env->agentRef, &env->dataTbl, &recset->record, nullptr);
  }
  CEOID record = 0;
  MDB_TRY(ReadViewRecord(recset->view, &record));
  return MDbDataTblOpenRec(env, &env->agentRef, &env->dataTbl, &recset->record, &record);
}

MDbStatus MDbRecsetCloseRec(MDbEnv* env, MDbRecset* recset) {
  MDB_TRY(RequireValid(recset));
  return MDbDataTblCloseRec(env, &env->agentRef, &env->dataTbl, &recset->record);
}

MDbStatus MDbRecsetIsFiltered(MDbEnv*, MDbRecset* recset, uint8_t* filtered) {
  MDB_TRY(RequireValid(recset));
  *filtered = recset->filterField != kNotFiltered;
  return MDbStatusOk;
}

MDbStatus MDbRecsetIsFilteredDirty(MDbEnv*, MDbRecset* recset, uint8_t* dirty) {
  MDB_TRY(RequireValid(recset));
  *dirty = recset->dirty != 0 && recset->filterField != kNotFiltered;
  return MDbStatusOk;
}
