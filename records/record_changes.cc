// Changing and deleting records.
#include "catalog_store.h"
#include "data_record.h"
#include "data_table.h"
#include "mdb.h"
#include "mdb_try.h"
#include "record_layout.h"
#include "record_writes.h"

namespace mdb {

static MDbStatus WriteProps(const MDbDataTbl& table, const MDbDataRec& rec, std::span<const CEPROPVAL> properties) {
  if (!AreOpen(table, rec)) return MDbStatusFailed;
  const auto count = static_cast<WORD>(properties.size());
  return StatusOf(CeWriteRecordProps(RecordDatabase(table, rec), rec.oid, count, properties.data()) != 0);
}

MDbStatus WriteField(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec, int16_t field, const MDbChar* text) {
  uint8_t state = 0;
  MDB_TRY(MDbDataRecGetState(env, ref, table, rec, &state));
  const CEPROPVAL properties[] = {PropText(RecPropField(field), text),
                                  PropUi2(RecPropState, static_cast<uint16_t>(state | RecStateTouched))};
  MDB_TRY(WriteProps(*table, *rec, properties));
  return FlushAfterWrite(env);
}

MDbStatus WriteMark(const MDbDataTbl& table, const MDbDataRec& rec, uint8_t marked) {
  const CEPROPVAL property = PropBool(RecPropMark, marked != 0);
  return WriteProps(table, rec, {&property, 1});
}

MDbStatus WriteSortValue(const MDbDataTbl& table, const MDbDataRec& rec, int32_t value) {
  const CEPROPVAL property = PropI4(RecPropSortValue, value);
  return WriteProps(table, rec, {&property, 1});
}

// Logs the record unless its state says that the host never saw it.
static MDbStatus LogUnlessNew(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema, MDbDataRec* rec) {
  uint8_t state = 0;
  MDB_TRY(MDbDataRecGetState(env, ref, table, rec, &state));
  if ((state & RecStateNew) != 0) return MDbStatusOk;
  MDB_TRY(LoadRecord(env, ref, table, schema, rec, true));
  return LogDeletion(ref, table, rec);
}

MDbStatus DeleteRecord(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema, const CEOID* oid,
                       uint8_t no_log) {
  MDbDataRec rec;
  MDbDataRecInitialize(&rec);
  MDB_TRY(MDbDataTblOpenRec(env, ref, table, &rec, oid));
  const CEOID doomed = rec.oid;
  const MDbStatus log_status = no_log != 0 ? MDbStatusOk : LogUnlessNew(env, ref, table, schema, &rec);
  const MDbStatus close_status = MDbDataTblCloseRec(env, ref, table, &rec);
  MDB_TRY(log_status);
  MDB_TRY(close_status);
  MDB_TRY(StatusOf(CeDeleteRecord(table->dataHandle, doomed) != FALSE));
  return FlushAfterWrite(env);
}

MDbStatus DeleteRecordAt(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema, uint16_t position,
                         uint8_t no_log) {
  if (table->opened == 0) return MDbStatusFailed;
  const int32_t cursor = table->cursor;
  table->cursor = static_cast<int16_t>(position);
  const MDbStatus status = DeleteRecord(env, ref, table, schema, nullptr, no_log);
  table->cursor = cursor;
  return status;
}

MDbStatus DeleteAllRecords(MDbEnv* env, MDbRef* ref, MDbDataTbl* table) {
  if (table->opened == 0) return MDbStatusFailed;
  MDB_TRY(MDbDataTblClose(env, ref, table));
  MDB_TRY(MDbDataTblDelete(env, ref, &kLiveRecordsOnly));
  MDB_TRY(MDbDataTblCreate(env, ref, &kLiveRecordsOnly));
  MDB_TRY(MDbDataTblOpen(env, ref, table, nullptr));
  return FlushAfterWrite(env);
}

}  // namespace mdb
