// Putting records into the data table, blank or with contents, and opening and closing them.
#include <algorithm>

#include "creation_seq.h"
#include "data_record.h"
#include "data_table.h"
#include "mdb.h"
#include "mdb_try.h"
#include "record_layout.h"
#include "record_writes.h"
#include "volume_databases.h"

namespace mdb {

constexpr uint16_t kPropertiesPerCall = 10;

MDbStatus ChunkedWriteProps(HANDLE database, const CEPROPVAL* properties, uint16_t count, CEOID* oid) {
  for (uint16_t written = 0; written < count;) {
    const uint16_t chunk = std::min<uint16_t>(kPropertiesPerCall, static_cast<uint16_t>(count - written));
    const CEOID written_oid = CeWriteRecordProps(database, *oid, chunk, properties + written);
    if (written_oid == 0) return MDbStatusFailed;
    *oid = written_oid;
    written = static_cast<uint16_t>(written + chunk);
  }
  return MDbStatusOk;
}

static MDbStatus RequireRoom(MDbEnv* env, MDbRef* ref, MDbDataTbl* table) {
  if (table->opened == 0) return MDbStatusFailed;
  uint32_t count = 0;
  MDB_TRY(MDbDataTblGetRecCount(env, ref, table, &count));
  return count >= MDB_MAX_RECORDS ? MDbStatusRecordLimit : MDbStatusOk;
}

// The system properties of a new record, and the end of them.
static CEPROPVAL* FillSystemProperties(CEPROPVAL* properties, uint16_t state, const MDbRecInfo* info, uint32_t seq) {
  *properties++ = PropUi2(RecPropState, state);
  *properties++ = PropBool(RecPropMark, false);
  *properties++ = PropBlob(RecPropInfo, info, sizeof(*info));
  *properties++ = PropI4(RecPropSortValue, 0);
  *properties++ = PropUi4(RecPropCreationSeq, seq);
  return properties;
}

// What follows when the record is written: its identifier and position are given out, the counter moves on, and the
// volume is flushed. The record stays when one of these fails.
static MDbStatus FinishCreation(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, uint32_t seq, CEOID created, uint32_t* oid,
                                uint16_t* position) {
  if (oid != nullptr) *oid = created;
  if (position != nullptr) MDB_TRY(GetRecordPosition(table->dataHandle, created, position));
  MDB_TRY(AdvanceCreationSeq(ref, table, seq));
  return FlushAfterWrite(env);
}

constexpr uint16_t kStateOfNewRecord = RecStateTouched | RecStateNew;

}  // namespace mdb

using namespace mdb;

MDbStatus MDbDataTblNewRec(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, MDbSchemaTbl* schema, uint32_t* oid,
                           uint16_t* position) {
  MDB_TRY(RequireRoom(env, ref, table));
  int16_t fields = 0;
  MDB_TRY(MDbSchemaTblGetCount(env, ref, schema, &fields));
  uint32_t seq = 0;
  MDB_TRY(NextCreationSeq(ref, table, &seq));

  const auto count = static_cast<uint16_t>(fields + kSystemProperties);
  LocalBlock memory(count * sizeof(CEPROPVAL));
  if (!memory) return MDbStatusFailed;
  auto* properties = static_cast<CEPROPVAL*>(memory.data());
  const MDbRecInfo no_info{};
  CEPROPVAL* next = FillSystemProperties(properties, kStateOfNewRecord, &no_info, seq);
  for (int16_t field = 0; field < fields; ++field) *next++ = PropText(RecPropField(field), MDB_TEXT(""));

  const CEOID created = CeWriteRecordProps(table->dataHandle, 0, count, properties);
  if (created == 0) return MDbStatusFailed;
  return FinishCreation(env, ref, table, seq, created, oid, position);
}

MDbStatus MDbDataTblAddRec(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, const MDbRecInfo* info,
                           const MDbChar* const* fieldTexts, int16_t count, uint8_t stateZero, uint32_t* oid,
                           uint16_t* position) {
  MDB_TRY(RequireRoom(env, ref, table));
  uint32_t seq = 0;
  MDB_TRY(NextCreationSeq(ref, table, &seq));

  const int16_t fields = std::max<int16_t>(count, 0);
  const auto property_count = static_cast<uint16_t>(fields + kSystemProperties);
  LocalBlock memory(property_count * sizeof(CEPROPVAL));
  if (!memory) return MDbStatusFailed;
  auto* properties = static_cast<CEPROPVAL*>(memory.data());
  CEPROPVAL* next = FillSystemProperties(properties, stateZero != 0 ? uint16_t{0} : kStateOfNewRecord, info, seq);
  for (int16_t field = 0; field < fields; ++field) *next++ = PropText(RecPropField(field), fieldTexts[field]);

  CEOID created = 0;
  MDB_TRY(ChunkedWriteProps(table->dataHandle, properties, property_count, &created));
  return FinishCreation(env, ref, table, seq, created, oid, position);
}

MDbStatus MDbDataTblOpenRec(MDbEnv*, MDbRef*, MDbDataTbl* table, MDbDataRec* rec, const uint32_t* oid) {
  if (table->opened == 0 || MDbDataRecIsOpened(rec)) return MDbStatusFailed;
  const DWORD seek_type = oid != nullptr ? CEDB_SEEK_CEOID : CEDB_SEEK_BEGINNING;
  // A cursor of -1 reaches the platform as the count -1, which no order has.
  const DWORD_PTR value = oid != nullptr ? *oid : static_cast<DWORD>(table->cursor);
  DWORD index = 0;
  const CEOID found = CeSeekDatabase(table->dataHandle, seek_type, value, &index);
  if (found == 0) return MDbStatusFailed;
  rec->oid = found;
  rec->flags = RecHandleOpened;
  return MDbStatusOk;
}

MDbStatus MDbDataTblCloseRec(MDbEnv*, MDbRef*, MDbDataTbl*, MDbDataRec* rec) {
  if (!MDbDataRecIsOpened(rec)) return MDbStatusFailed;
  ReleaseRecord(rec);
  return MDbStatusOk;
}
