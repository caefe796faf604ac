// Reading records through their handles.
//
// Reads that were not loaded before go to the platform, which reads the record that the table's handle stands on:
// opening a record put it there. A read that meets another record, because something moved the handle since, is refused
// rather than answered with that record's data.
#include "data_record.h"

#include <algorithm>

#include "mdb.h"
#include "mdb_try.h"
#include "record_layout.h"
#include "wide_copy.h"
#include "wide_text.h"

namespace mdb {

HANDLE RecordDatabase(const MDbDataTbl& table, const MDbDataRec& rec) {
  return (rec.flags & RecHandleFromDeleteTbl) != 0 ? table.deleteHandle : table.dataHandle;
}

bool AreOpen(const MDbDataTbl& table, const MDbDataRec& rec) {
  return table.opened != 0 && (rec.flags & RecHandleOpened) != 0;
}

static bool IsLoaded(const MDbDataRec& rec) { return rec.block != nullptr && rec.properties != nullptr; }

// The text of a field among the loaded properties, null when it is not there.
static const MDbChar* LoadedField(const MDbDataRec& rec, int16_t field) {
  if (!IsLoaded(rec) || field < 0) return nullptr;
  const int32_t entry = (rec.includesSystem & 1) != 0 ? field + kSystemProperties : field;
  if (entry >= rec.propertyCount) return nullptr;
  const CEPROPVAL& property = static_cast<const CEPROPVAL*>(rec.properties)[entry];
  return IsPresent(property) ? property.val.lpwstr : nullptr;
}

static void FillPropertyList(CEPROPID* ids, bool with_system, int16_t fields) {
  if (with_system) {
    for (const CEPROPID id : {RecPropState, RecPropMark, RecPropInfo, RecPropSortValue, RecPropCreationSeq})
      *ids++ = id;
  }
  for (int16_t field = 0; field < fields; ++field) *ids++ = RecPropField(field);
}

// Reads one property of the open record; the block stays false when memory ran out or the read failed.
static MDbStatus ReadOne(const MDbDataTbl& table, const MDbDataRec& rec, CEPROPID id, PropertyBlock* block) {
  if (!AreOpen(table, rec)) return MDbStatusFailed;
  CEOID oid = 0;
  MDB_TRY(ReadProps(RecordDatabase(table, rec), {&id, 1}, block, &oid));
  return StatusOf(!*block || oid == rec.oid);
}

MDbStatus LoadRecord(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema, MDbDataRec* rec,
                     bool with_system) {
  if (IsLoaded(*rec)) return MDbStatusFailed;
  int16_t fields = 0;
  MDB_TRY(MDbSchemaTblGetCount(env, ref, schema, &fields));
  const auto count = static_cast<uint16_t>(fields + (with_system ? kSystemProperties : 0));
  PropertyBlock block;
  if (count == 0) {
    MDB_TRY(block.MakeEmpty());  // there is nothing to ask the platform for
  } else {
    LocalBlock list(count * sizeof(CEPROPID));
    if (!list) return MDbStatusFailed;
    auto* ids = static_cast<CEPROPID*>(list.data());
    FillPropertyList(ids, with_system, fields);
    CEOID oid = 0;
    MDB_TRY(ReadProps(RecordDatabase(*table, *rec), {ids, count}, &block, &oid));
    if (!block || oid != rec->oid) return MDbStatusFailed;
  }
  rec->includesSystem = with_system ? 1 : 0;
  rec->propertyCount = count;
  rec->properties = block.properties();
  rec->block = block.Release();
  return MDbStatusOk;
}

void ReleaseRecord(MDbDataRec* rec) {
  MemFree(rec->block);
  MDbDataRecInitialize(rec);
}

// A field that is not among what was loaded. Apart, so that reading one that is needs no room for it.
[[gnu::noinline]] static MDbStatus ReadStoredField(const MDbDataTbl& table, const MDbDataRec& rec, int16_t field,
                                                   MDbChar* text, uint32_t size) {
  PropertyBlock block;
  MDB_TRY(ReadOne(table, rec, RecPropField(field), &block));
  if (block) CopyText(block[0], text, size);
  return MDbStatusOk;
}

MDbStatus ReadMark(const MDbDataTbl& table, const MDbDataRec& rec, uint8_t* marked) {
  PropertyBlock block;
  MDB_TRY(ReadOne(table, rec, RecPropMark, &block));
  if (block) *marked = block[0].val.boolVal != FALSE;
  return MDbStatusOk;
}

MDbStatus ReadSortValue(const MDbDataTbl& table, const MDbDataRec& rec, int32_t* value) {
  PropertyBlock block;
  MDB_TRY(ReadOne(table, rec, RecPropSortValue, &block));
  if (!block) return MDbStatusFailed;
  *value = block[0].val.lVal;
  return MDbStatusOk;
}

}  // namespace mdb

using namespace mdb;

void MDbDataRecInitialize(MDbDataRec* rec) {
  rec->flags = 0;
  rec->oid = 0;
  rec->includesSystem = 0;
  rec->propertyCount = 0;
  rec->block = nullptr;
  rec->properties = nullptr;
}

uint8_t MDbDataRecIsOpened(const MDbDataRec* rec) { return (rec->flags & RecHandleOpened) != 0; }

MDbStatus MDbDataRecGetFieldPtr(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema, MDbDataRec* rec,
                                int16_t field, const MDbChar** text) {
  if (!AreOpen(*table, *rec)) return MDbStatusFailed;
  if (!IsLoaded(*rec)) MDB_TRY(LoadRecord(env, ref, table, schema, rec, false));
  if (const MDbChar* loaded = LoadedField(*rec, field)) *text = loaded;
  return MDbStatusOk;
}

MDbStatus MDbDataRecReadField(MDbEnv*, MDbRef*, MDbDataTbl* table, MDbDataRec* rec, int16_t field, MDbChar* text,
                              uint32_t size) {
  const MDbChar* loaded = LoadedField(*rec, field);
  if (loaded == nullptr) return ReadStoredField(*table, *rec, field, text, size);
  CopyWideTruncated(size, loaded, text);
  return MDbStatusOk;
}

MDbStatus MDbDataRecGetFieldSize(MDbEnv*, MDbRef*, MDbDataTbl* table, MDbDataRec* rec, int16_t field, uint32_t* size) {
  if (const MDbChar* loaded = LoadedField(*rec, field)) {
    *size = static_cast<uint32_t>((wcslen(loaded) + 1) * sizeof(MDbChar));
    return MDbStatusOk;
  }
  if (!AreOpen(*table, *rec)) return MDbStatusFailed;
  const CEPROPID id = RecPropField(field);
  uint32_t block_size = 0;
  MDB_TRY(ProbePropSize(RecordDatabase(*table, *rec), {&id, 1}, &block_size));
  *size = block_size - kOnePropertySize;
  return MDbStatusOk;
}

MDbStatus MDbDataRecGetState(MDbEnv*, MDbRef*, MDbDataTbl* table, MDbDataRec* rec, uint8_t* state) {
  if (!AreOpen(*table, *rec)) return MDbStatusFailed;
  CEPROPVAL property{};
  CEOID oid = 0;
  MDB_TRY(ReadInlineProp(RecordDatabase(*table, *rec), RecPropState, &property, &oid));
  if (oid != rec->oid) return MDbStatusFailed;
  *state = static_cast<uint8_t>(property.val.uiVal);
  return MDbStatusOk;
}

MDbStatus MDbDataRecGetRecInfo(MDbEnv*, MDbRef*, MDbDataTbl* table, MDbDataRec* rec, MDbRecInfo* info) {
  PropertyBlock block;
  MDB_TRY(ReadOne(*table, *rec, RecPropInfo, &block));
  if (block) CopyBlob(block[0], info, sizeof(*info));
  return MDbStatusOk;
}
