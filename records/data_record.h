// Record handles' internal operations: loading a whole record, and the values that the exported reads leave out. What a
// walk over all records does with each is here in place.
#pragma once

#include "data_table.h"
#include "mdb_try.h"
#include "mdb_types.h"
#include "object_store.h"
#include "property.h"
#include "record_layout.h"
#include "wide_text.h"

namespace mdb {

// The database that a record handle reads and writes: the live records, or the log it was opened in.
inline HANDLE RecordDatabase(const MDbDataTbl& table, const MDbDataRec& rec) {
  return (rec.flags & RecHandleFromDeleteTbl) != 0 ? table.deleteHandle : table.dataHandle;
}

// True while both handles are open.
inline bool AreOpen(const MDbDataTbl& table, const MDbDataRec& rec) {
  return table.opened != 0 && (rec.flags & RecHandleOpened) != 0;
}

inline bool IsLoaded(const MDbDataRec& rec) { return rec.block != nullptr && rec.properties != nullptr; }

// The text of a field among the loaded properties, null when it is not there.
inline const MDbChar* LoadedField(const MDbDataRec& rec, int16_t field) {
  if (!IsLoaded(rec) || field < 0) return nullptr;
  const int32_t entry = (rec.includesSystem & 1) != 0 ? field + kSystemProperties : field;
  if (entry >= rec.propertyCount) return nullptr;
  const CEPROPVAL& property = static_cast<const CEPROPVAL*>(rec.properties)[entry];
  return IsPresent(property) ? property.val.lpwstr : nullptr;
}

// Reads one property of the open record; the block stays false when memory ran out or the read failed.
[[gnu::always_inline]] inline MDbStatus ReadOne(const MDbDataTbl& table, const MDbDataRec& rec, CEPROPID id,
                                                PropertyBlock* block) {
  if (!AreOpen(table, rec)) return MDbStatusFailed;
  CEOID oid = 0;
  MDB_TRY(ReadPropsInPlace(RecordDatabase(table, rec), {&id, 1}, block, &oid));
  return StatusOf(!*block || oid == rec.oid);
}

// The size in bytes of a field's text with its terminator.
inline MDbStatus FieldSize(const MDbDataTbl& table, const MDbDataRec& rec, int16_t field, uint32_t* size) {
  if (const MDbChar* loaded = LoadedField(rec, field)) {
    *size = static_cast<uint32_t>((wcslen(loaded) + 1) * sizeof(MDbChar));
    return MDbStatusOk;
  }
  if (!AreOpen(table, rec)) return MDbStatusFailed;
  const CEPROPID id = RecPropField(field);
  uint32_t block_size = 0;
  MDB_TRY(ProbePropSize(RecordDatabase(table, rec), {&id, 1}, &block_size));
  *size = block_size - kOnePropertySize;
  return MDbStatusOk;
}

// Copies a field that is not among what was loaded.
[[gnu::always_inline]] inline MDbStatus ReadStoredField(const MDbDataTbl& table, const MDbDataRec& rec, int16_t field,
                                                        MDbChar* text, uint32_t size) {
  PropertyBlock block;
  MDB_TRY(ReadOne(table, rec, RecPropField(field), &block));
  if (block) block.CopyOnlyText(text, size);
  return MDbStatusOk;
}

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
