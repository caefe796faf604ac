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

static void FillPropertyList(CEPROPID* ids, bool with_system, int16_t fields) {
  if (with_system) {
    for (const CEPROPID id : {RecPropState, RecPropMark, RecPropInfo, RecPropSortValue, RecPropCreationSeq})
      *ids++ = id;
  }
  for (int16_t field = 0; field < fields; ++field) *ids++ = RecPropField(field);
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
    MDB_TRY(ReadPropsInPlace(RecordDatabase(*table, *rec), {ids, count}, &block, &oid));
    if (!block || oid != rec->oid) return MDbStatusFailed;
  }
  rec->includesSystem = with_system ? 1 : 0;
  rec->propertyCount = count;
  rec->properties = block.properties();
  rec->block = block.Release();
  return MDbStatusOk;
}

void ReleaseRecord(MDbDataRec* rec) {
  if (rec->block != nullptr) MemFree(rec->block);
  MDbDataRecInitialize(rec);
}

// The first of a record's fields. Apart, so that the others need no room on the stack.
[[gnu::noinline]] static MDbStatus LoadForFieldPtr(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema,
                                                   MDbDataRec* rec, int16_t field, const MDbChar** text) {
  MDB_TRY(LoadRecord(env, ref, table, schema, rec, false));
  if (const MDbChar* loaded = LoadedField(*rec, field)) *text = loaded;
  return MDbStatusOk;
}

// Apart, so that reading one that is loaded needs no room for it.
[[gnu::noinline]] static MDbStatus ReadStoredFieldApart(const MDbDataTbl& table, const MDbDataRec& rec, int16_t field,
                                                        MDbChar* text, uint32_t size) {
  return ReadStoredField(table, rec, field, text, size);
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
  if (!IsLoaded(*rec)) return LoadForFieldPtr(env, ref, table, schema, rec, field, text);
  if (const MDbChar* loaded = LoadedField(*rec, field)) *text = loaded;
  return MDbStatusOk;
}

MDbStatus MDbDataRecReadField(MDbEnv*, MDbRef*, MDbDataTbl* table, MDbDataRec* rec, int16_t field, MDbChar* text,
                              uint32_t size) {
  const MDbChar* loaded = LoadedField(*rec, field);
  if (loaded == nullptr) return ReadStoredFieldApart(*table, *rec, field, text, size);
  CopyWideTruncated(size, loaded, text);
  return MDbStatusOk;
}

MDbStatus MDbDataRecGetFieldSize(MDbEnv*, MDbRef*, MDbDataTbl* table, MDbDataRec* rec, int16_t field, uint32_t* size) {
  return FieldSize(*table, *rec, field, size);
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
