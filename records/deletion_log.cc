// The deletion log: a copy of every deleted record that its host knew. The library adds entries and never removes one;
// emptying the log is the host's decision.
#include <algorithm>

#include "catalog_store.h"
#include "data_record.h"
#include "mdb.h"
#include "mdb_try.h"
#include "record_layout.h"
#include "record_writes.h"
#include "volume_databases.h"

namespace mdb {

static MDbStatus NextDeletionSeq(MDbRef* ref, MDbDataTbl* table, uint32_t* seq) {
  MDB_TRY(CatalogReadSeq(*ref, kCreationSeqDelete, seq));
  if (*seq < kLastSeq) return MDbStatusOk;
  MDB_TRY(SeqRenumber(ref->volume, table->deleteOid, table->deleteHandle, seq));
  return CatalogWriteSeq(*ref, kCreationSeqDelete, *seq);
}

// Writes the properties that the record has. A record may have fewer fields than the schema: its entry has as few.
static MDbStatus WriteEntry(HANDLE log, std::span<const CEPROPVAL> properties) {
  CEOID entry = 0;
  if (std::all_of(properties.begin(), properties.end(), IsPresent)) {
    return ChunkedWriteProps(log, properties.data(), static_cast<uint16_t>(properties.size()), &entry);
  }
  LocalBlock memory(properties.size_bytes());
  if (!memory) return MDbStatusFailed;
  auto* present = static_cast<CEPROPVAL*>(memory.data());
  const CEPROPVAL* end = std::copy_if(properties.begin(), properties.end(), present, IsPresent);
  return ChunkedWriteProps(log, present, static_cast<uint16_t>(end - present), &entry);
}

MDbStatus LogDeletion(MDbRef* ref, MDbDataTbl* table, MDbDataRec* rec) {
  if (rec->block == nullptr || rec->properties == nullptr || (rec->includesSystem & 1) == 0) return MDbStatusFailed;
  uint32_t seq = 0;
  MDB_TRY(NextDeletionSeq(ref, table, &seq));

  auto* properties = static_cast<CEPROPVAL*>(rec->properties);
  CEPROPVAL& state = properties[kStateEntry];
  CEPROPVAL& number = properties[kCreationSeqEntry];
  const CEPROPVAL state_before = state;
  const CEPROPVAL number_before = number;
  state.val.uiVal |= RecStateTouched | RecStateDeleted;
  number.val.ulVal = seq;
  MDbStatus status = WriteEntry(table->deleteHandle, {properties, rec->propertyCount});
  if (status == MDbStatusOk) status = CatalogWriteSeq(*ref, kCreationSeqDelete, seq + 1);
  state = state_before;
  number = number_before;
  return status;
}

}  // namespace mdb

using namespace mdb;

MDbStatus MDbDeleteTblOpenRec(MDbEnv*, MDbRef*, MDbDataTbl* table, MDbDataRec* rec, int16_t position,
                              const uint32_t* oid) {
  if (table->opened == 0 || MDbDataRecIsOpened(rec)) return MDbStatusFailed;
  CEOID found = 0;
  if (oid != nullptr) {
    DWORD index = 0;
    found = CeSeekDatabase(table->deleteHandle, CEDB_SEEK_CEOID, *oid, &index);
    if (found == 0) return MDbStatusFailed;
  } else {
    MDB_TRY(SeekRecordByPosition(table->deleteHandle, static_cast<uint32_t>(int32_t{position}), &found));
  }
  rec->oid = found;
  rec->flags = RecHandleOpened | RecHandleFromDeleteTbl;
  return MDbStatusOk;
}

MDbStatus MDbDeleteTblGetRecCount(MDbEnv*, MDbRef* ref, MDbDataTbl* table, uint32_t* count) {
  if (table->opened == 0) return MDbStatusFailed;
  uint16_t entries = 0;
  MDB_TRY(GetDatabaseRecordCount(ref->volume, table->deleteOid, &entries));
  *count = entries;
  return MDbStatusOk;
}
