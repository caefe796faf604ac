// The numbers that give the live records their natural order. They are an order, not a key: a creation that fails after
// its record was written leaves the number to the next one.
#include "creation_seq.h"

#include "catalog_store.h"
#include "mdb_try.h"
#include "record_layout.h"
#include "record_writes.h"
#include "volume_databases.h"

namespace mdb {

static bool IsCaching(const MDbDataTbl& table) { return table.creationSeqCache < kNoCreationSeqCache; }

MDbStatus SeqRenumber(const CEGUID& volume, CEOID database, HANDLE handle, uint32_t* next) {
  uint16_t count = 0;
  MDB_TRY(GetDatabaseRecordCount(volume, database, &count));
  for (uint32_t position = 0; position < count; ++position) {
    CEOID oid = 0;
    MDB_TRY(SeekRecordByPosition(handle, position, &oid));
    const CEPROPVAL number = PropUi4(RecPropCreationSeq, position);
    MDB_TRY(StatusOf(CeWriteRecordProps(handle, oid, 1, &number) != 0));
  }
  *next = count;
  return MDbStatusOk;
}

MDbStatus NextCreationSeq(MDbRef* ref, MDbDataTbl* table, uint32_t* seq) {
  const bool caching = IsCaching(*table);
  if (caching) {
    *seq = table->creationSeqCache;
  } else {
    MDB_TRY(CatalogReadSeq(*ref, kCreationSeqData, seq));
  }
  if (*seq < kLastSeq) return MDbStatusOk;
  MDB_TRY(SeqRenumber(ref->volume, table->dataOid, table->dataHandle, seq));
  MDB_TRY(CatalogWriteSeq(*ref, kCreationSeqData, *seq));
  if (caching) table->creationSeqCache = *seq;
  return MDbStatusOk;
}

MDbStatus AdvanceCreationSeq(MDbRef* ref, MDbDataTbl* table, uint32_t seq) {
  if (!IsCaching(*table)) return CatalogWriteSeq(*ref, kCreationSeqData, seq + 1);
  table->creationSeqCache = seq + 1;
  return MDbStatusOk;
}

}  // namespace mdb
