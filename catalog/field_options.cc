// Field options: one catalogue object per field with the two small records by which an application presents it, and the
// cache that a list view needs, since it reads the options of every field again and again.
//
// (I1) The cache is an array with one entry per field that had options at the first cached read; an entry is null until
//      its field is read. (I2) An entry owns the block that its properties lie in.
#include "field_options.h"

#include <algorithm>

#include "catalog_table.h"

namespace mdb {

constexpr CEPROPID kOption = Prop(2, CEVT_BLOB);
constexpr CEPROPID kOptionEx = Prop(3, CEVT_BLOB);
static_assert(kOption == 0x20041 && kOptionEx == 0x30041);
static_assert(sizeof(MDbFldOption) == 6 && sizeof(MDbFldOptionEx) == 9 && sizeof(MDbFldOptionPair) == 15);

// A row is this many units wide, shared by at most this many fields.
constexpr int kRowUnits = 225;
constexpr int kFieldsInARow = 3;

struct CacheEntry {
  void* block;            // MemAlloc's; null until the field is read
  CEPROPVAL* properties;  // the option and the extended option, inside the block
};

static bool IsCached(const MDbFieldOpTbl& table) { return (table.flags & MDbFieldOptionsCached) != 0; }

static CacheEntry* Entries(const MDbFieldOpTbl& table) { return static_cast<CacheEntry*>(table.cache); }

// The entry of a field that was read, else null.
static CacheEntry* FilledEntry(const MDbFieldOpTbl& table, int16_t index) {
  if (table.cache == nullptr || index < 0 || index >= table.cacheCount) return nullptr;
  CacheEntry* entry = &Entries(table)[index];
  return entry->block != nullptr ? entry : nullptr;
}

static void CopyOptions(const CEPROPVAL* properties, MDbFldOptionPair* pair) {
  CopyBlob(properties[0], &pair->option, sizeof(pair->option));
  CopyBlob(properties[1], &pair->optionEx, sizeof(pair->optionEx));
}

// Sized once, by the options there are at the first cached read; options added later are read from the store. Without
// memory the table stays uncached until the next read.
static void BuildCache(const MDbRef& ref, MDbFieldOpTbl* table, int16_t index) {
  uint16_t count = 0;
  if (CatalogCount(ref, ObjectKind::FieldOption, &count) != MDbStatusOk) return;
  const auto entries = static_cast<int16_t>(count);
  if (index < 0 || index >= entries) return;
  table->cache = MemAlloc(count * sizeof(CacheEntry));
  if (table->cache != nullptr) table->cacheCount = entries;
}

static void Keep(const MDbRef& ref, MDbFieldOpTbl* table, int16_t index, PropertyBlock* block) {
  if (table->cache == nullptr) BuildCache(ref, table, index);
  if (table->cache == nullptr || index < 0 || index >= table->cacheCount) return;
  CEPROPVAL* properties = block->properties();
  Entries(*table)[index] = {block->Release(), properties};
}

static MDbStatus ReadCached(const MDbRef& ref, MDbFieldOpTbl* table, int16_t index, MDbFldOptionPair* pair,
                            bool* was_read) {
  if (const CacheEntry* entry = FilledEntry(*table, index)) {
    CopyOptions(entry->properties, pair);
    *was_read = true;
    return MDbStatusOk;
  }
  PropertyBlock block;
  MDB_TRY(ReadAllProps(ref, ObjectKind::FieldOption, ObjectIndex(index), {kOption, kOptionEx}, &block));
  if (!block) return MDbStatusOk;
  CopyOptions(block.properties(), pair);
  *was_read = true;
  Keep(ref, table, index, &block);
  return MDbStatusOk;
}

// Reads one of the two records, through the cache when there is one. part is the record's place in the pair. *was_read
// stays false, and the option as it was, when memory was short or the read failed after its probe.
template <typename Option>
MDbStatus ReadOne(const MDbRef& ref, MDbFieldOpTbl* table, int16_t index, CEPROPID id, Option MDbFldOptionPair::*part,
                  Option* option, bool* was_read) {
  if (table->opened == 0) return MDbStatusFailed;
  if (IsCached(*table)) {
    MDbFldOptionPair pair;
    pair.*part = *option;  // what is not read stays as it was
    MDB_TRY(ReadCached(ref, table, index, &pair, was_read));
    *option = pair.*part;
    return MDbStatusOk;
  }
  PropertyBlock block;
  MDB_TRY(ReadAllProps(ref, ObjectKind::FieldOption, ObjectIndex(index), {id}, &block));
  if (!block) return MDbStatusOk;
  CopyBlob(block[0], option, sizeof(*option));
  *was_read = true;
  return MDbStatusOk;
}

// With caching on, a write to a field that was never read reaches the store and still answers 1: callers read before
// they write. Pinned by FieldOptionCache.AnUnreadFieldIsWritten….
template <typename Option>
MDbStatus WriteOne(const MDbRef& ref, MDbFieldOpTbl* table, int16_t index, CEPROPID id, size_t cached_property,
                   const Option* option) {
  if (table->opened == 0) return MDbStatusFailed;
  MDB_TRY(CatalogUpdate(ref, ObjectKind::FieldOption, ObjectIndex(index), PropBlob(id, option, sizeof(*option))));
  if (!IsCached(*table)) return MDbStatusOk;
  const CacheEntry* entry = FilledEntry(*table, index);
  if (entry == nullptr) return MDbStatusFailed;
  CEBLOB& cached = entry->properties[cached_property].val.blob;
  std::copy_n(reinterpret_cast<const BYTE*>(option), std::min<size_t>(cached.dwCount, sizeof(*option)), cached.lpb);
  return MDbStatusOk;
}

MDbStatus ReadOptionExForChange(MDbRef* ref, MDbFieldOpTbl* table, int16_t index, MDbFldOptionEx* option) {
  bool was_read = false;
  MDB_TRY(ReadOne(*ref, table, index, kOptionEx, &MDbFldOptionPair::optionEx, option, &was_read));
  return StatusOf(was_read);
}

}  // namespace mdb

using namespace mdb;

MDbStatus MDbFieldOpTblCreateEx(MDbEnv* env, MDbRef* ref, const MDbFldOptionPair* options, int16_t count) {
  MDB_TRY(RequireNotCreated(env, ref, ObjectKind::FieldOption));
  for (int16_t i = 0; i < count; ++i) {
    MDB_TRY(CatalogWrite(*ref, ObjectKind::FieldOption, ObjectIndex(i),
                         {PropBlob(kOption, &options[i].option, sizeof(MDbFldOption)),
                          PropBlob(kOptionEx, &options[i].optionEx, sizeof(MDbFldOptionEx))}));
  }
  return MDbStatusOk;
}

MDbStatus MDbFieldOpTblDelete(MDbEnv*, MDbRef* ref) { return CatalogDeleteAll(*ref, ObjectKind::FieldOption); }

MDbStatus MDbFieldOpTblOpen(MDbEnv* env, MDbRef* ref, MDbFieldOpTbl* table, uint32_t flags) {
  MDB_TRY(OpenCatalogTable(env, ref, table));
  table->flags = flags;
  return MDbStatusOk;
}

MDbStatus MDbFieldOpTblClose(MDbEnv*, MDbRef*, MDbFieldOpTbl* table) {
  table->opened = 0;
  table->flags = 0;
  if (table->cache != nullptr) {
    for (int16_t i = 0; i < table->cacheCount; ++i) MemFree(Entries(*table)[i].block);
    MemFree(table->cache);
  }
  table->cache = nullptr;
  table->cacheCount = 0;
  return MDbStatusOk;
}

uint8_t MDbFieldOpTblIsOpened(const MDbEnv* env, const MDbRef* ref, const MDbFieldOpTbl* table) {
  return IsCatalogTableOpened(env, ref, table);
}

MDbStatus MDbFieldOpTblGetCount(MDbEnv*, MDbRef* ref, MDbFieldOpTbl*, int16_t* count) {
  return CountObjects(*ref, ObjectKind::FieldOption, count);
}

MDbStatus MDbFieldOpTblReadOption(MDbEnv*, MDbRef* ref, MDbFieldOpTbl* table, int16_t index, MDbFldOption* option) {
  bool was_read = false;
  return ReadOne(*ref, table, index, kOption, &MDbFldOptionPair::option, option, &was_read);
}

MDbStatus MDbFieldOpTblReadOptionEx(MDbEnv*, MDbRef* ref, MDbFieldOpTbl* table, int16_t index, MDbFldOptionEx* option) {
  bool was_read = false;
  return ReadOne(*ref, table, index, kOptionEx, &MDbFldOptionPair::optionEx, option, &was_read);
}

MDbStatus MDbFieldOpTblWriteOption(MDbEnv*, MDbRef* ref, MDbFieldOpTbl* table, int16_t index,
                                   const MDbFldOption* option) {
  return WriteOne(*ref, table, index, kOption, 0, option);
}

MDbStatus MDbFieldOpTblWriteOptionEx(MDbEnv*, MDbRef* ref, MDbFieldOpTbl* table, int16_t index,
                                     const MDbFldOptionEx* option) {
  return WriteOne(*ref, table, index, kOptionEx, 1, option);
}

MDbStatus MDbFieldOpTblGetDefOptionEx(MDbFldOptionEx* option, uint8_t order, int16_t fieldCount) {
  const int sharing = fieldCount == 0 ? 1 : std::min<int>(fieldCount, kFieldsInARow);
  option->widthShare = static_cast<uint8_t>(kRowUnits / sharing);
  option->setting1 = 1;
  option->setting2 = 0;
  std::fill(std::begin(option->settings3To5), std::end(option->settings3To5), uint8_t{0});
  option->displayOrder = order;
  option->setting7 = 0;
  return MDbStatusOk;
}

MDbStatus MDbFieldOpTblGetDisplayOrders(MDbEnv* env, MDbRef* ref, MDbFieldOpTbl* table, int16_t* orders,
                                        int16_t count) {
  if (table->opened == 0) return MDbStatusFailed;
  int16_t with_options = table->cacheCount;
  if (!IsCached(*table) || table->cache == nullptr) {
    MDB_TRY(MDbFieldOpTblGetCount(env, ref, table, &with_options));
  }
  MDbStatus status = MDbStatusOk;
  int16_t next = 0;
  while (next < with_options && status == MDbStatusOk) {
    MDbFldOptionEx option{};
    status = MDbFieldOpTblReadOptionEx(env, ref, table, next, &option);
    orders[next++] = option.displayOrder;
  }
  // Fields without options keep their natural place.
  for (; next < count; ++next) orders[next] = next;
  return status;
}
