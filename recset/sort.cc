// Sorting: the platform sorts the data table on one property, the view is rebuilt in that order with the stored
// criteria, and the data table goes back to creation order.
#include <limits>

#include "data_record.h"
#include "data_table.h"
#include "field_value.h"
#include "local_memory.h"
#include "record_set.h"
#include "record_writes.h"
#include "scan.h"

namespace mdb {

// The key of a text without a value: before every other in ascending order.
constexpr int32_t kKeyOfNoValue = std::numeric_limits<int32_t>::min();

static bool MeansNoValue(MDbStatus status) {
  return status == MDbStatusBadDateText || status == MDbStatusBadTimeText || status == MDbStatusNumberOutOfRange ||
         status == MDbStatusEmptyNumber;
}

// The text buffer that the records of one sort share.
class ScratchText {
 public:
  ScratchText() = default;
  ~ScratchText() {
    MemUnlock(block_);
    MemFree(block_);
  }
  ScratchText(const ScratchText&) = delete;
  ScratchText& operator=(const ScratchText&) = delete;

  // At least size_bytes of room, or null.
  MDbChar* Room(uint32_t size_bytes) {
    if (block_ == nullptr) {
      block_ = MemAlloc(size_bytes);
    } else if (MemSize(block_) < size_bytes) {
      void* grown = MemRealloc(block_, size_bytes);
      if (grown == nullptr) return nullptr;
      block_ = grown;
    }
    return static_cast<MDbChar*>(MemLock(block_));
  }

 private:
  void* block_ = nullptr;
};

// Writes the sort value of one record. Without memory for its text the record keeps the value it had.
static MDbStatus WriteKey(MDbEnv* env, int16_t field, const ValueFormat& format, ScratchText* scratch,
                          MDbDataRec* rec) {
  uint32_t size_bytes = 0;
  MDB_TRY(FieldSize(env->dataTbl, *rec, field, &size_bytes));
  MDbChar* text = scratch->Room(size_bytes);
  if (text == nullptr) return MDbStatusOk;
  text[0] = 0;  // what the record before left there is not this one's, should it lack the field or not be read
  MDB_TRY(ReadStoredField(env->dataTbl, *rec, field, text, size_bytes));
  int32_t key = 0;
  const MDbStatus status = TextToValue(text, format, &key);
  if (MeansNoValue(status)) {
    key = kKeyOfNoValue;
  } else if (status != MDbStatusOk) {
    return status;
  }
  return WriteSortValue(env->dataTbl, *rec, key);
}

static MDbStatus WriteKeys(MDbEnv* env, int16_t field, uint8_t type) {
  ValueFormat format;
  format.type = type;
  if (type == MDbFieldDate || type == MDbFieldTime) MDB_TRY(ReadValueFormat(env, &format));
  ScratchText scratch;
  return ScanDataTable(env, [&](MDbDataRec* rec) { return WriteKey(env, field, format, &scratch, rec); });
}

// Puts the data table into the field's order. A field without a type has none: the table stays in creation order.
static MDbStatus OrderDataTable(MDbEnv* env, int16_t field, uint8_t ascending) {
  MDbRef* ref = &env->agentRef;
  uint8_t type = MDbFieldNone;
  MDB_TRY(MDbSchemaTblReadFldType(env, ref, &env->schemaTbl, field, &type));
  switch (type) {
    case MDbFieldNone:
      return MDbStatusOk;
    case MDbFieldText:
      return SortDataTableByField(env, ref, &env->dataTbl, static_cast<uint16_t>(field), ascending);
    default:
      MDB_TRY(WriteKeys(env, field, type));
      return SortDataTableByField(env, ref, &env->dataTbl, kSortOnValue, ascending);
  }
}

static uint8_t Direction(const MDbRecset& recset, int16_t field, uint32_t mode) {
  if (mode == MDbSortDescending) return 0;
  if (mode == MDbSortToggle && field == recset.sortField) return recset.ascending == 0 ? 1 : 0;
  return 1;
}

// A field index equal to the count passes: the bound is the count itself. Pinned by SortSet.AFieldEqualToTheCount….
static MDbStatus RequireField(MDbEnv* env, MDbRecset* recset, int16_t field) {
  uint16_t count = 0;
  MDB_TRY(MDbRecsetGetFldCount(env, recset, &count));
  return field < 0 || field > static_cast<int16_t>(count) ? MDbStatusFieldOutOfRange : MDbStatusOk;
}

// Destroys the record set when status allows it, and keeps what the rebuilt one is to have in common with it.
static MDbStatus DestroyForRebuild(MDbEnv* env, MDbRecset* recset, MDbStatus status) {
  uint32_t* const keep_list = recset->keepList;
  const int16_t keep_count = recset->keepCount;
  const int16_t filter_field = recset->filterField;
  const uint8_t dirty = recset->dirty;
  recset->keepList = nullptr;  // so that destroying does not free it
  if (status == MDbStatusOk) status = MDbRecsetDestroy(env, recset);
  recset->keepList = keep_list;
  recset->keepCount = keep_count;
  recset->filterField = filter_field;
  recset->dirty = dirty;
  return status;
}

}  // namespace mdb

using namespace mdb;

MDbStatus MDbRecsetSort(MDbEnv* env, MDbRecset* recset, int16_t field, uint32_t mode) {
  MDB_TRY(RequireValid(recset));
  const MDbStatus range_status = RequireField(env, recset, field);
  const uint8_t ascending = Direction(*recset, field, mode);
  const uint32_t flag_filter = IsInViewMode(*recset) ? recset->view.flagFilter : 0;
  MDB_TRY(DestroyForRebuild(env, recset, range_status));
  MDB_TRY(OrderDataTable(env, field, ascending));
  MDB_TRY(BuildView(env, recset, flag_filter, recset->hasQuery != 0 ? &recset->query : nullptr));
  // The view is whole by now, but the table that it shows is not: the record set goes as after any other failure.
  // Pinned by SortSet.ATableThatDoesNotGoBackLeavesTheRecordSetDestroyed.
  const MDbStatus back_status = SortDataTableByCreation(env, &env->agentRef, &env->dataTbl);
  if (back_status != MDbStatusOk) {
    (void)DestroyForRebuild(env, recset, MDbStatusOk);
    return back_status;
  }
  recset->sortField = field;
  recset->ascending = ascending;
  return MDbStatusOk;
}

MDbStatus MDbRecsetGetSortDef(MDbEnv*, MDbRecset* recset, MDbSortDef* sort) {
  if (recset == nullptr) return MDbStatusFailed;
  sort->field = static_cast<uint16_t>(recset->sortField);
  sort->ascending = recset->ascending;
  return MDbStatusOk;
}
