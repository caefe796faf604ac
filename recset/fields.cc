// Fields through a record set: the schema, the open record's values, and the options by which fields are presented.
#include "field_options.h"
#include "keep_list.h"
#include "record_set.h"
#include "record_writes.h"
#include "schema.h"

using namespace mdb;

MDbStatus MDbRecsetGetFldCount(MDbEnv* env, MDbRecset* recset, uint16_t* count) {
  MDB_TRY(RequireValid(recset));
  int16_t fields = 0;
  MDB_TRY(MDbSchemaTblGetCount(env, &env->agentRef, &env->schemaTbl, &fields));
  *count = static_cast<uint16_t>(fields);
  return MDbStatusOk;
}

MDbStatus MDbRecsetGetFldType(MDbEnv* env, MDbRecset* recset, int16_t field, uint8_t* type) {
  MDB_TRY(RequireValid(recset));
  return MDbSchemaTblReadFldType(env, &env->agentRef, &env->schemaTbl, field, type);
}

MDbStatus MDbRecsetGetFldNameSize(MDbEnv* env, MDbRecset* recset, int16_t field, uint32_t* size) {
  MDB_TRY(RequireValid(recset));
  return MDbSchemaTblGetNameSize(env, &env->agentRef, &env->schemaTbl, field, size);
}

MDbStatus MDbRecsetGetFldName(MDbEnv* env, MDbRecset* recset, int16_t field, MDbChar* name, uint32_t size) {
  MDB_TRY(RequireValid(recset));
  return MDbSchemaTblReadFldName(env, &env->agentRef, &env->schemaTbl, field, name, size);
}

MDbStatus MDbRecsetGetFieldMaxSize(MDbEnv* env, MDbRecset* recset, int16_t field, uint32_t* size) {
  MDB_TRY(RequireValid(recset));
  return MDbSchemaTblGetFieldMaxSize(env, &env->agentRef, &env->schemaTbl, field, size);
}

MDbStatus MDbRecsetGetFieldPtr(MDbEnv* env, MDbRecset* recset, int16_t field, const MDbChar** text) {
  MDB_TRY(RequireValid(recset));
  return MDbDataRecGetFieldPtr(env, &env->agentRef, &env->dataTbl, &env->schemaTbl, &recset->record, field, text);
}

MDbStatus MDbRecsetGetField(MDbEnv* env, MDbRecset* recset, int16_t field, MDbChar* text, uint32_t size) {
  MDB_TRY(RequireValid(recset));
  return MDbDataRecReadField(env, &env->agentRef, &env->dataTbl, &recset->record, field, text, size);
}

MDbStatus MDbRecsetGetFieldSize(MDbEnv* env, MDbRecset* recset, int16_t field, uint32_t* size) {
  MDB_TRY(RequireValid(recset));
  return MDbDataRecGetFieldSize(env, &env->agentRef, &env->dataTbl, &recset->record, field, size);
}

// A record whose filtered field is edited stays in view: it must not vanish under the user at the next sort.
MDbStatus MDbRecsetSetField(MDbEnv* env, MDbRecset* recset, int16_t field, const MDbChar* text) {
  MDB_TRY(RequireValid(recset));
  MDB_TRY(WriteField(env, &env->agentRef, &env->dataTbl, &recset->record, field, text));
  if (!IsInViewMode(*recset) || field != recset->filterField) return MDbStatusOk;
  return AddToKeepList(recset, recset->record.oid);
}

MDbStatus MDbRecsetGetFldOption(MDbEnv* env, MDbRecset* recset, int16_t field, MDbFldOption* option) {
  MDB_TRY(RequireValid(recset));
  return MDbFieldOpTblReadOption(env, &env->agentRef, &env->fieldOpTbl, field, option);
}

MDbStatus MDbRecsetGetFldOptionEx(MDbEnv* env, MDbRecset* recset, int16_t field, MDbFldOptionEx* option) {
  MDB_TRY(RequireValid(recset));
  return MDbFieldOpTblReadOptionEx(env, &env->agentRef, &env->fieldOpTbl, field, option);
}

MDbStatus MDbRecsetSetFldOption(MDbEnv* env, MDbRecset* recset, int16_t field, const MDbFldOption* option) {
  MDB_TRY(RequireValid(recset));
  return MDbFieldOpTblWriteOption(env, &env->agentRef, &env->fieldOpTbl, field, option);
}

MDbStatus MDbRecsetSetFldOptionEx(MDbEnv* env, MDbRecset* recset, int16_t field, const MDbFldOptionEx* option) {
  MDB_TRY(RequireValid(recset));
  return MDbFieldOpTblWriteOptionEx(env, &env->agentRef, &env->fieldOpTbl, field, option);
}

MDbStatus MDbRecsetGetDefOptionEx(MDbEnv* env, MDbRecset* recset, MDbFldOptionEx* option, uint8_t order) {
  uint16_t count = 0;
  MDB_TRY(MDbRecsetGetFldCount(env, recset, &count));
  return MDbFieldOpTblGetDefOptionEx(option, order, static_cast<int16_t>(count));
}

// The option table's orders are the same 16 bits, signed.
MDbStatus MDbRecsetGetDisplayOrders(MDbEnv* env, MDbRecset* recset, uint16_t* orders, int16_t count) {
  MDB_TRY(RequireValid(recset));
  return MDbFieldOpTblGetDisplayOrders(env, &env->agentRef, &env->fieldOpTbl, reinterpret_cast<int16_t*>(orders),
                                       count);
}

MDbStatus MDbRecsetSetDisplayOrders(MDbEnv* env, MDbRecset* recset, const uint16_t* orders) {
  uint16_t count = 0;
  MDB_TRY(MDbRecsetGetFldCount(env, recset, &count));
  for (int16_t field = 0; field < static_cast<int16_t>(count); ++field) {
    MDbFldOptionEx option{};
    MDB_TRY(ReadOptionExForChange(&env->agentRef, &env->fieldOpTbl, field, &option));
    option.displayOrder = static_cast<uint8_t>(orders[field]);
    MDB_TRY(MDbRecsetSetFldOptionEx(env, recset, field, &option));
  }
  return MDbStatusOk;
}
