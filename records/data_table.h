// The data table's internal operations: its sort order, and the flush after a write.
#pragma once

#include "mdb_types.h"

namespace mdb {

// Sorts on the sort value instead of on a field's text.
constexpr uint16_t kSortOnValue = 0xFFFF;

// Bit 0 of the options of creation and deletion: the live records only.
constexpr uint16_t kLiveRecordsOnly = 1;

// Gives the live records a second order, by a field's text or by the sort value, and reopens the table in it. When the
// platform refuses, the table stays closed and the status is 0: ask MDbDataTblIsOpened.
MDbStatus SortDataTableByField(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, uint16_t field, uint8_t ascending);

// Takes the second order away and reopens the table in creation order.
MDbStatus SortDataTableByCreation(MDbEnv* env, MDbRef* ref, MDbDataTbl* table);

// Makes a write durable. It flushes the volume of the environment's own reference, whatever reference the write was
// given: a client that adds records through another one decides itself when they are durable, at its close.
MDbStatus FlushAfterWrite(const MDbEnv* env);

}  // namespace mdb
