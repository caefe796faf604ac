// Creating, changing and deleting records: what the exported calls and the record sets are made of.
#pragma once

#include "mdb_types.h"
#include "object_store.h"

namespace mdb {

// The next number of a creation or deletion counter at which the numbers are given out anew.
constexpr uint32_t kLastSeq = 0xFFFFFFFEu;

// Gives every record its position as its creation number, in the order that the handle was opened in, and *next the
// first number after them.
MDbStatus SeqRenumber(const CEGUID& volume, CEOID database, HANDLE handle, uint32_t* next);

// Writes properties in calls of ten, then the rest in one call. *oid is 0 to create a record, which the first call
// does; the later ones add to it. A failing call leaves what was written before it.
MDbStatus ChunkedWriteProps(HANDLE database, const CEPROPVAL* properties, uint16_t count, CEOID* oid);

// Writes a field's text and sets the touched bit of the record's state. Durable.
MDbStatus WriteField(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec, int16_t field, const MDbChar* text);

// Neither is flushed.
MDbStatus WriteMark(const MDbDataTbl& table, const MDbDataRec& rec, uint8_t marked);
MDbStatus WriteSortValue(const MDbDataTbl& table, const MDbDataRec& rec, int32_t value);

// Deletes a record by its identifier, or at the cursor when oid is null. It is logged unless no_log is set or its state
// says that the host never saw it. A record that cannot be logged stays. Durable.
MDbStatus DeleteRecord(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema, const CEOID* oid,
                       uint8_t no_log);

// The same at a position; the cursor is as before, whatever happens.
MDbStatus DeleteRecordAt(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema, uint16_t position,
                         uint8_t no_log);

// Deletes every record at once by recreating their database: nothing is logged, the log and its counter stay, the
// creation counter starts at 0 and the table is open in creation order. Durable.
MDbStatus DeleteAllRecords(MDbEnv* env, MDbRef* ref, MDbDataTbl* table);

// Copies a record that is loaded with its system properties to the deletion log.
MDbStatus LogDeletion(MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec);

}  // namespace mdb
