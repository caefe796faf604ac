// The environment: its reset state, start-up with the word breaker, and shut-down.
#include "mdb.h"
#include "word_breaker.h"

void MDbEnvInitialize(MDbEnv* env) {
  env->initialized = 0;
  MDbRefInitialize(&env->agentRef);
  MDbDataTblInitialize(&env->dataTbl);
  MDbSchemaTblInitialize(&env->schemaTbl);
  MDbFieldOpTblInitialize(&env->fieldOpTbl);
  MDbAttrTblInitialize(&env->attrTbl);
  MDbValListTblInitialize(&env->valListTbl);
}

void MDbVolFSpecInitialize(MDbVolFSpec* path) { path->path[0] = 0; }

uint8_t MDbRefIsOpened(const MDbRef* ref) { return ref->opened != 0; }

uint8_t MDbIsOpened(const MDbEnv* env, const MDbRef* ref) { return env->initialized != 0 && ref->opened != 0; }

// Only the low half of the word breaker's answer is its status.
static bool WordBreakerRefused(uint32_t answer) { return (answer & 0xFFFF) != 0; }

MDbStatus MDbInit(MDbEnv* env, const void* wordBreaker, uint32_t flags) {
  if (env == nullptr || env->initialized != 0) return MDbStatusFailed;
  env->initialized = 1;
  if (wordBreaker != nullptr && WordBreakerRefused(XKRWbrInit(0, wordBreaker, flags))) {
    return MDbStatusWordBreakerFailed;
  }
  return MDbStatusOk;
}

// The word breaker is stopped also for an environment that was never initialised: a client that lost track of its
// environment can still let go of the module. Pinned by Environment.ShutdownOfANeverInitialisedEnvironment….
MDbStatus MDbShutdown(MDbEnv* env, uint32_t first, uint32_t second) {
  const uint32_t initialized = env == nullptr ? 0 : env->initialized;
  (void)XKRWbrShutdown(initialized, first, second);  // nothing is left to do for a module that refuses
  if (env != nullptr) MDbEnvInitialize(env);
  return initialized != 0 ? MDbStatusOk : MDbStatusFailed;
}
