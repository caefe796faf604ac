// The data table: the pair of platform databases that hold the live records and the log of deletions.
#include "data_table.h"

#include "catalog_store.h"
#include "mdb.h"
#include "mdb_try.h"
#include "record_layout.h"
#include "volume_databases.h"

namespace mdb {

constexpr MDbChar kDataName[] = MDB_TEXT("DATA_0");
constexpr MDbChar kDeleteName[] = MDB_TEXT("DELT_0");
constexpr DWORD kDataType = 0x44415441;    // 'DATA'
constexpr DWORD kDeleteType = 0x44454C54;  // 'DELT'

static bool IsOpenHandle(HANDLE handle) { return handle != 0 && handle != INVALID_HANDLE_VALUE; }

static bool WithLog(const uint16_t* options) { return options == nullptr || (*options & kLiveRecordsOnly) == 0; }

static MDbStatus CreateLiveDatabase(const MDbRef& ref) {
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
  CopyDatabaseName(kDataName, info.szDbaseName);
  info.dwDbaseType = kDataType;
  info.wNumSortOrder = 1;
  info.rgSortSpecs[0] = {RecPropCreationSeq, 0};
  return StatusOf(CeCreateDatabaseEx(&ref.volume, &info) != 0);
}

static MDbStatus CreateLogDatabase(const MDbRef& ref) {
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE;
  CopyDatabaseName(kDeleteName, info.szDbaseName);
  info.dwDbaseType = kDeleteType;
  return StatusOf(CeCreateDatabaseEx(&ref.volume, &info) != 0);
}

MDbStatus FlushAfterWrite(const MDbEnv* env) { return StatusOf(CeFlushDBVol(&env->agentRef.volume) != FALSE); }

// Closes the table, gives its database the sort orders in info, and reopens it in the last of them. A refusal by the
// platform leaves the table closed and answers the close's status, 0. Pinned by DataTableSort.AFailingSetInformation….
static MDbStatus ReopenSorted(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, CEDBASEINFO* info, const uint32_t* order) {
  const CEOID data_oid = table->dataOid;
  info->dwFlags = CEDB_VALIDSORTSPEC;
  MDB_TRY(MDbDataTblClose(env, ref, table));
  if (CeSetDatabaseInfoEx(&ref->volume, data_oid, info) != TRUE) return MDbStatusOk;
  return MDbDataTblOpen(env, ref, table, order);
}

MDbStatus SortDataTableByField(MDbEnv* env, MDbRef* ref, MDbDataTbl* table, uint16_t field, uint8_t ascending) {
  if (table->opened == 0) return MDbStatusFailed;
  CEDBASEINFO info{};
  (void)ReadDatabaseInfo(ref->volume, table->dataOid, &info);  // without it the platform refuses the change below
  const CEPROPID property = field == kSortOnValue ? RecPropSortValue : RecPropField(static_cast<int16_t>(field));
  info.wNumSortOrder = 2;
  info.rgSortSpecs[1] = {property, ascending == 0 ? DWORD{CEDB_SORT_DESCENDING} : DWORD{0}};
  return ReopenSorted(env, ref, table, &info, &property);
}

MDbStatus SortDataTableByCreation(MDbEnv* env, MDbRef* ref, MDbDataTbl* table) {
  if (table->opened == 0) return MDbStatusFailed;
  CEDBASEINFO info{};
  (void)ReadDatabaseInfo(ref->volume, table->dataOid, &info);  // as above
  info.wNumSortOrder = 1;
  return ReopenSorted(env, ref, table, &info, nullptr);
}

}  // namespace mdb

using namespace mdb;

MDbStatus MDbDataTblCreate(MDbEnv*, MDbRef* ref, const uint16_t* options) {
  MDB_TRY(CreateLiveDatabase(*ref));
  if (WithLog(options)) MDB_TRY(CreateLogDatabase(*ref));
  MDB_TRY(CatalogWriteSeq(*ref, kCreationSeqData, 0));
  if (WithLog(options)) MDB_TRY(CatalogWriteSeq(*ref, kCreationSeqDelete, 0));
  return MDbStatusOk;
}

MDbStatus MDbDataTblDelete(MDbEnv* env, MDbRef* ref, const uint16_t* options) {
  const MDbStatus live_status = DeleteDatabaseByName(env, ref, kDataName);
  const MDbStatus log_status = WithLog(options) ? DeleteDatabaseByName(env, ref, kDeleteName) : MDbStatusOk;
  return live_status != MDbStatusOk ? live_status : log_status;
}

MDbStatus MDbDataTblOpen(MDbEnv*, MDbRef* ref, MDbDataTbl* table, const uint32_t* sortProperty) {
  if (table->opened != 0) return MDbStatusFailed;
  const CEPROPID order = sortProperty != nullptr ? *sortProperty : RecPropCreationSeq;
  CEOID oid = 0;
  table->dataHandle = CeOpenDatabaseEx(&ref->volume, &oid, kDataName, order, 0, nullptr);
  if (!IsOpenHandle(table->dataHandle)) return MDbStatusFailed;
  table->dataOid = oid;
  oid = 0;
  table->deleteHandle = CeOpenDatabaseEx(&ref->volume, &oid, kDeleteName, 0, 0, nullptr);
  if (!IsOpenHandle(table->deleteHandle)) return MDbStatusFailed;
  table->deleteOid = oid;
  table->opened = 1;
  return MDbStatusOk;
}

MDbStatus MDbDataTblClose(MDbEnv*, MDbRef*, MDbDataTbl* table) {
  if (table->opened == 0) return MDbStatusFailed;
  if (!CloseHandle(table->dataHandle)) return MDbStatusFailed;
  if (!CloseHandle(table->deleteHandle)) return MDbStatusFailed;
  MDbDataTblInitialize(table);
  return MDbStatusOk;
}

uint8_t MDbDataTblIsOpened(const MDbEnv*, const MDbRef*, const MDbDataTbl* table) { return table->opened != 0; }

MDbStatus MDbDataTblGetRecCount(MDbEnv*, MDbRef* ref, MDbDataTbl* table, uint32_t* count) {
  if (table->opened == 0) return MDbStatusFailed;
  uint16_t records = 0;
  MDB_TRY(GetDatabaseRecordCount(ref->volume, table->dataOid, &records));
  *count = records;
  return MDbStatusOk;
}

MDbStatus MDbDataTblCursGetInx(MDbEnv*, MDbRef*, MDbDataTbl* table, uint16_t* index) {
  *index = static_cast<uint16_t>(table->cursor);
  return MDbStatusOk;
}

MDbStatus MDbDataTblCursSetInx(MDbEnv*, MDbRef*, MDbDataTbl* table, int16_t index) {
  table->cursor = index;
  return MDbStatusOk;
}

MDbStatus StartCreationSeqCache(MDbEnv*, MDbRef* ref, MDbDataTbl* table) {
  return CatalogReadSeq(*ref, kCreationSeqData, &table->creationSeqCache);
}

MDbStatus EndCreationSeqCache(MDbEnv*, MDbRef* ref, MDbDataTbl* table) {
  return CatalogWriteSeq(*ref, kCreationSeqData, table->creationSeqCache);
}
