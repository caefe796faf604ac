// Record handles' internal operations: loading a whole record, and the values that the exported reads leave out.
#pragma once

#include "data_table.h"
#include "mdb_types.h"
#include "object_store.h"

namespace mdb {

// The database that a record handle reads and writes: the live records, or the log it was opened in.
HANDLE RecordDatabase(const MDbDataTbl& table, const MDbDataRec& rec);

// True while both handles are open.
bool AreOpen(const MDbDataTbl& table, const MDbDataRec& rec);

// Loads every field of a record into its handle, after the five system properties when with_system is set. 1 when
// something is loaded already, memory is short, or the platform reads another record.
MDbStatus LoadRecord(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema, MDbDataRec* rec,
                     bool with_system);

// Frees what was loaded and puts the handle into its reset state.
void ReleaseRecord(MDbDataRec* rec);

// *marked becomes 1 when the record's mark flag is set, else 0.
MDbStatus ReadMark(const MDbDataTbl& table, const MDbDataRec& rec, uint8_t* marked);

MDbStatus ReadSortValue(const MDbDataTbl& table, const MDbDataRec& rec, int32_t* value);

}  // namespace mdb
