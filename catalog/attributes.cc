// The attributes: one catalogue object that holds the database's settings and its display name.
#include "attributes.h"

#include <array>

#include "catalog_table.h"
#include "wide_copy.h"

namespace mdb {

constexpr CEPROPID kAttributes = Prop(2, CEVT_BLOB);
constexpr CEPROPID kDatabaseName = Prop(3, CEVT_LPWSTR);
static_assert(kAttributes == 0x20041 && kDatabaseName == 0x3001F);

static_assert(sizeof(MDbAttrs) == 78 && offsetof(MDbAttrs, attribute) == 8);
static_assert(sizeof(DateFormat) == 6 && offsetof(MDbAttrs, dateFormat) == 24);
static_assert(sizeof(TimeFormat) == 48 && offsetof(MDbAttrs, timeFormat) == 30);

// A name that is written over the first one is this long at most, terminator included.
constexpr size_t kOverwrittenNameLength = 20;

static bool IsSetting(int16_t id) { return id >= 0 && id < static_cast<int16_t>(std::size(MDbAttrs{}.attribute)); }

MDbStatus MDbAttrTblRead(MDbEnv*, MDbRef* ref, MDbAttrTbl* table, int16_t index, MDbAttrs* attrs, MDbChar* name,
                         uint32_t size) {
  if (table->opened == 0) return MDbStatusFailed;
  PropertyBlock block;
  MDB_TRY(ReadAllProps(*ref, ObjectKind::Attributes, ObjectIndex(index), {kAttributes, kDatabaseName}, &block));
  if (!block) return MDbStatusOk;
  CopyBlob(block[0], attrs, sizeof(*attrs));
  CopyText(block[1], name, size);
  return MDbStatusOk;
}

MDbStatus MDbAttrTblWriteAttrs(MDbEnv*, MDbRef* ref, MDbAttrTbl* table, int16_t index, const MDbAttrs* attrs) {
  if (table->opened == 0) return MDbStatusFailed;
  return CatalogUpdate(*ref, ObjectKind::Attributes, ObjectIndex(index), PropBlob(kAttributes, attrs, sizeof(*attrs)));
}

MDbStatus MDbAttrTblWriteDbName(MDbEnv*, MDbRef* ref, MDbAttrTbl* table, int16_t index, const MDbChar* name) {
  if (table->opened == 0) return MDbStatusFailed;
  MDbChar kept[kOverwrittenNameLength];
  CopyWideTruncated(sizeof(kept), name, kept);
  return CatalogUpdate(*ref, ObjectKind::Attributes, ObjectIndex(index), PropText(kDatabaseName, kept));
}

// Reads the settings; *was_read stays false when memory was short or the read failed after its probe.
static MDbStatus ReadSettings(const MDbRef& ref, const MDbAttrTbl& table, int16_t index, MDbAttrs* attrs,
                              bool* was_read) {
  if (table.opened == 0) return MDbStatusFailed;
  PropertyBlock block;
  MDB_TRY(ReadAllProps(ref, ObjectKind::Attributes, ObjectIndex(index), {kAttributes}, &block));
  if (!block) return MDbStatusOk;
  CopyBlob(block[0], attrs, sizeof(*attrs));
  *was_read = true;
  return MDbStatusOk;
}

MDbStatus MDbAgentGetAttr(MDbEnv*, MDbRef* ref, MDbAttrTbl* table, int16_t index, int16_t id, uint32_t* value) {
  MDbAttrs attrs{};
  bool was_read = false;
  MDB_TRY(ReadSettings(*ref, *table, index, &attrs, &was_read));
  if (was_read) *value = IsSetting(id) ? attrs.attribute[id] : 0;
  return MDbStatusOk;
}

// Unlike a plain read this one is not lenient: settings that were not read are not there to be written back. Pinned by
// AgentSettings.ARecordThatWasNotReadIsNeverWrittenBack.
MDbStatus MDbAgentSetAttr(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table, int16_t index, int16_t id, uint32_t value) {
  MDbAttrs attrs{};
  bool was_read = false;
  MDB_TRY(ReadSettings(*ref, *table, index, &attrs, &was_read));
  if (!was_read || !IsSetting(id)) return MDbStatusFailed;
  attrs.attribute[id] = value;
  return MDbAttrTblWriteAttrs(env, ref, table, index, &attrs);
}

}  // namespace mdb

using namespace mdb;

MDbStatus MDbAttrTblCreateEx(MDbEnv* env, MDbRef* ref, const MDbAttrs* attrs, const MDbChar* name) {
  MDB_TRY(RequireNotCreated(env, ref, ObjectKind::Attributes));
  return CatalogWrite(*ref, ObjectKind::Attributes, 0,
                      {PropBlob(kAttributes, attrs, sizeof(*attrs)), PropText(kDatabaseName, name)});
}

MDbStatus MDbAttrTblDelete(MDbEnv*, MDbRef* ref) { return CatalogDeleteAll(*ref, ObjectKind::Attributes); }

MDbStatus MDbAttrTblOpen(MDbEnv* env, MDbRef* ref, MDbAttrTbl* table) { return OpenCatalogTable(env, ref, table); }

MDbStatus MDbAttrTblClose(MDbEnv*, MDbRef*, MDbAttrTbl* table) {
  table->opened = 0;
  return MDbStatusOk;
}

uint8_t MDbAttrTblIsOpened(const MDbEnv* env, const MDbRef* ref, const MDbAttrTbl* table) {
  return IsCatalogTableOpened(env, ref, table);
}

MDbStatus MDbAttrTblReadAttrs(MDbEnv*, MDbRef* ref, MDbAttrTbl* table, int16_t index, MDbAttrs* attrs) {
  bool was_read = false;
  return ReadSettings(*ref, *table, index, attrs, &was_read);
}

MDbStatus MDbAttrTblReadDbName(MDbEnv*, MDbRef* ref, MDbAttrTbl* table, int16_t index, MDbChar* name, uint32_t size) {
  if (table->opened == 0) return MDbStatusFailed;
  PropertyBlock block;
  MDB_TRY(ReadAllProps(*ref, ObjectKind::Attributes, ObjectIndex(index), {kDatabaseName}, &block));
  if (block) CopyText(block[0], name, size);
  return MDbStatusOk;
}

MDbStatus MDbAgentGetAttr(MDbEnv* env, int16_t selector, uint32_t* value) {
  if (!MDbIsOpened(env, &env->agentRef)) return MDbStatusFailed;
  return mdb::MDbAgentGetAttr(env, &env->agentRef, &env->attrTbl, 0, selector, value);
}

MDbStatus MDbAgentSetAttr(MDbEnv* env, int16_t selector, uint32_t value) {
  if (!MDbIsOpened(env, &env->agentRef)) return MDbStatusFailed;
  return mdb::MDbAgentSetAttr(env, &env->agentRef, &env->attrTbl, 0, selector, value);
}

MDbStatus MDbAgentGetDbName(MDbEnv* env, MDbChar* name, uint32_t size) {
  if (!MDbIsOpened(env, &env->agentRef)) return MDbStatusFailed;
  return MDbAttrTblReadDbName(env, &env->agentRef, &env->attrTbl, 0, name, size);
}
