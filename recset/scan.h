// The walk over every record of the data table, in its current order, that queries and sorts share.
#pragma once

#include "mdb.h"
#include "mdb_try.h"

namespace mdb {

// Opens each record in turn and calls step(rec); stops at the first status that is not 0. The table's cursor is left on
// the last record that was reached.
template <typename Step>
MDbStatus ScanDataTable(MDbEnv* env, Step step) {
  MDbRef* ref = &env->agentRef;
  MDbDataTbl* table = &env->dataTbl;
  uint32_t count = 0;
  MDB_TRY(MDbDataTblGetRecCount(env, ref, table, &count));
  for (uint32_t index = 0; index < count; ++index) {
    MDB_TRY(MDbDataTblCursSetInx(env, ref, table, static_cast<int16_t>(index)));
    MDbDataRec rec;
    MDbDataRecInitialize(&rec);
    MDbStatus status = MDbDataTblOpenRec(env, ref, table, &rec, nullptr);
    if (status == MDbStatusOk) status = step(&rec);
    if (MDbDataRecIsOpened(&rec)) {
      const MDbStatus close_status = MDbDataTblCloseRec(env, ref, table, &rec);
      if (status == MDbStatusOk) status = close_status;
    }
    MDB_TRY(status);
  }
  return MDbStatusOk;
}

}  // namespace mdb
