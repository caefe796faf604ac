// Value lists: one catalogue object per list, each one text whose inner structure is the application's.
#include "catalog_table.h"

namespace mdb {

constexpr CEPROPID kValueListText = Prop(2, CEVT_LPWSTR);
static_assert(kValueListText == 0x2001F);

}  // namespace mdb

using namespace mdb;

MDbStatus MDbValListTblCreateEx(MDbEnv* env, MDbRef* ref, const MDbChar* const* lists, int16_t count) {
  MDB_TRY(RequireNotCreated(env, ref, ObjectKind::ValueList));
  for (int16_t i = 0; i < count; ++i) {
    MDB_TRY(CatalogWrite(*ref, ObjectKind::ValueList, ObjectIndex(i), {PropText(kValueListText, lists[i])}));
  }
  return MDbStatusOk;
}

MDbStatus MDbValListTblDelete(MDbEnv*, MDbRef* ref) { return CatalogDeleteAll(*ref, ObjectKind::ValueList); }

MDbStatus MDbValListTblOpen(MDbEnv* env, MDbRef* ref, MDbValListTbl* table) {
  return OpenCatalogTable(env, ref, table);
}

MDbStatus MDbValListTblClose(MDbEnv*, MDbRef*, MDbValListTbl* table) {
  table->opened = 0;
  return MDbStatusOk;
}

uint8_t MDbValListTblIsOpened(const MDbEnv* env, const MDbRef* ref, const MDbValListTbl* table) {
  return IsCatalogTableOpened(env, ref, table);
}

MDbStatus MDbValListTblGetCount(MDbEnv*, MDbRef* ref, MDbValListTbl*, int16_t* count) {
  return CountObjects(*ref, ObjectKind::ValueList, count);
}

MDbStatus MDbValListTblRead(MDbEnv*, MDbRef* ref, MDbValListTbl* table, int16_t index, MDbChar* text, uint32_t size) {
  if (table->opened == 0) return MDbStatusFailed;
  PropertyBlock block;
  MDB_TRY(ReadAllProps(*ref, ObjectKind::ValueList, ObjectIndex(index), {kValueListText}, &block));
  if (block) CopyText(block[0], text, size);
  return MDbStatusOk;
}

MDbStatus MDbValListTblGetSize(MDbEnv*, MDbRef* ref, MDbValListTbl* table, int16_t index, uint32_t* size) {
  if (table->opened == 0) return MDbStatusFailed;
  return CatalogTextSize(*ref, ObjectKind::ValueList, ObjectIndex(index), kValueListText, size);
}

MDbStatus MDbAgentGetValList(MDbEnv* env, int16_t index, MDbChar* text, uint32_t size) {
  if (!MDbIsOpened(env, &env->agentRef)) return MDbStatusFailed;
  return MDbValListTblRead(env, &env->agentRef, &env->valListTbl, index, text, size);
}

MDbStatus MDbAgentGetValListSize(MDbEnv* env, int16_t index, uint32_t* size) {
  if (!MDbIsOpened(env, &env->agentRef)) return MDbStatusFailed;
  return MDbValListTblGetSize(env, &env->agentRef, &env->valListTbl, index, size);
}
