// The agent calls that open and close the environment's database with all its tables. Those that read and change its
// settings and lists live with the attributes and the value lists.
#include "mdb.h"
#include "mdb_try.h"

MDbStatus MDbAgentInit(void) { return MDbStatusOk; }

MDbStatus MDbAgentShutdown(void) { return MDbStatusOk; }

static MDbStatus RequireFields(MDbEnv* env) {
  int16_t count = 0;
  const MDbStatus status = MDbSchemaTblGetCount(env, &env->agentRef, &env->schemaTbl, &count);
  return count == 0 ? MDbStatusNoFields : status;
}

static MDbStatus OpenAll(MDbEnv* env, const MDbChar* path) {
  MDbRef* ref = &env->agentRef;
  MDB_TRY(MDbOpen(env, path, ref));
  MDB_TRY(MDbVerifyChecksome(env, ref));
  MDB_TRY(MDbSchemaTblOpen(env, ref, &env->schemaTbl));
  MDB_TRY(RequireFields(env));
  MDB_TRY(MDbFieldOpTblOpen(env, ref, &env->fieldOpTbl, MDbFieldOptionsCached));
  MDB_TRY(MDbAttrTblOpen(env, ref, &env->attrTbl));
  MDB_TRY(MDbValListTblOpen(env, ref, &env->valListTbl));
  return MDbDataTblOpen(env, ref, &env->dataTbl, nullptr);
}

MDbStatus MDbAgentOpenDb(MDbEnv* env, const MDbChar* path) {
  const MDbStatus status = OpenAll(env, path);
  if (status != MDbStatusOk) (void)MDbAgentCloseDb(env);  // the failure that is reported is the opening's
  return status;
}

// The value lists are asked for twice and closed once: by the second time they are not open any more.
MDbStatus MDbAgentCloseDb(MDbEnv* env) {
  MDbRef* ref = &env->agentRef;
  MDbStatus first_failure = MDbStatusOk;
  const auto note = [&first_failure](MDbStatus status) {
    if (first_failure == MDbStatusOk) first_failure = status;
  };
  if (MDbDataTblIsOpened(env, ref, &env->dataTbl)) note(MDbDataTblClose(env, ref, &env->dataTbl));
  if (MDbValListTblIsOpened(env, ref, &env->valListTbl)) note(MDbValListTblClose(env, ref, &env->valListTbl));
  if (MDbAttrTblIsOpened(env, ref, &env->attrTbl)) note(MDbAttrTblClose(env, ref, &env->attrTbl));
  if (MDbFieldOpTblIsOpened(env, ref, &env->fieldOpTbl)) note(MDbFieldOpTblClose(env, ref, &env->fieldOpTbl));
  if (MDbSchemaTblIsOpened(env, ref, &env->schemaTbl)) note(MDbSchemaTblClose(env, ref, &env->schemaTbl));
  if (MDbValListTblIsOpened(env, ref, &env->valListTbl)) note(MDbValListTblClose(env, ref, &env->valListTbl));
  if (MDbIsOpened(env, ref)) note(MDbClose(env, ref));
  // A data table that did not close went with its volume, and must not bar the next open. Pinned by
  // Agent.ADataTableThatDidNotCloseIsGoneWithItsVolume.
  if (!MDbIsOpened(env, ref) && env->dataTbl.opened != 0) MDbDataTblInitialize(&env->dataTbl);
  return first_failure;
}
