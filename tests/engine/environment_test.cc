// The environment: its reset state, start-up and shut-down with the word breaker, and the two predicates.
#include <gtest/gtest.h>

#include <cstring>

#include "mdb.h"
#include "seam_lines.h"

namespace {

using seam::Lines;

// An environment in which no byte is zero, as a caller's stack may leave it.
MDbEnv Littered() {
  MDbEnv env;
  std::memset(&env, 0xEE, sizeof env);
  return env;
}

void ExpectReset(const MDbEnv& env) {
  EXPECT_EQ(env.initialized, 0);
  EXPECT_EQ(env.agentRef.opened, 0);
  EXPECT_EQ(std::u16string(env.agentRef.catalog.name), u"OBJG_0");
  EXPECT_EQ(env.agentRef.catalog.oid, 0u);
  EXPECT_EQ(env.agentRef.catalog.isOpen, 0u);
  EXPECT_EQ(env.dataTbl.opened, 0u);
  EXPECT_EQ(env.dataTbl.dataHandle, 0u);
  EXPECT_EQ(env.dataTbl.dataOid, 0u);
  EXPECT_EQ(env.dataTbl.cursor, -1);
  EXPECT_EQ(env.dataTbl.deleteHandle, 0u);
  EXPECT_EQ(env.dataTbl.deleteOid, 0u);
  EXPECT_EQ(env.dataTbl.creationSeqCache, 0xFFFFFFFFu);
  EXPECT_EQ(env.schemaTbl.opened, 0);
  EXPECT_EQ(env.fieldOpTbl.opened, 0);
  EXPECT_EQ(env.fieldOpTbl.flags, 0u);
  EXPECT_EQ(env.fieldOpTbl.cache, nullptr);
  EXPECT_EQ(env.fieldOpTbl.cacheCount, 0);
  EXPECT_EQ(env.attrTbl.opened, 0);
  EXPECT_EQ(env.valListTbl.opened, 0);
}

TEST(Environment, InitialisingResetsEveryHandleRecordAndNamesTheCatalogue) {
  MDbEnv env = Littered();
  seam::PlatformSeam seam;
  MDbEnvInitialize(&env);
  ExpectReset(env);
  EXPECT_TRUE(seam.calls().empty());
}

// Writes flush the agent reference's volume. A client that mounts nothing there must reach the system's own store,
// which has nothing to flush, and not a volume of some other environment.
TEST(Environment, InitialisingClearsTheVolumeIdentifier) {
  MDbEnv env = Littered();
  MDbEnvInitialize(&env);
  const MDbVolumeId none{};
  EXPECT_EQ(std::memcmp(&env.agentRef.volume, &none, sizeof none), 0);
}

TEST(Environment, EveryTableReadsAsNotOpenedAfterInitialising) {
  MDbEnv env = Littered();
  MDbEnvInitialize(&env);
  const MDbRef* ref = &env.agentRef;
  EXPECT_EQ(MDbRefIsOpened(ref), 0);
  EXPECT_EQ(MDbIsOpened(&env, ref), 0);
  EXPECT_EQ(MDbDataTblIsOpened(&env, ref, &env.dataTbl), 0);
  EXPECT_EQ(MDbSchemaTblIsOpened(&env, ref, &env.schemaTbl), 0);
  EXPECT_EQ(MDbFieldOpTblIsOpened(&env, ref, &env.fieldOpTbl), 0);
  EXPECT_EQ(MDbAttrTblIsOpened(&env, ref, &env.attrTbl), 0);
  EXPECT_EQ(MDbValListTblIsOpened(&env, ref, &env.valListTbl), 0);
}

TEST(Environment, ACallersOwnRecordsAreResetAsThoseOfAnEnvironment) {
  MDbEnv by_hand = Littered();
  by_hand.initialized = 0;
  MDbRefInitialize(&by_hand.agentRef);
  MDbDataTblInitialize(&by_hand.dataTbl);
  MDbSchemaTblInitialize(&by_hand.schemaTbl);
  MDbFieldOpTblInitialize(&by_hand.fieldOpTbl);
  MDbAttrTblInitialize(&by_hand.attrTbl);
  MDbValListTblInitialize(&by_hand.valListTbl);
  ExpectReset(by_hand);
}

TEST(Environment, InitialisingAPathMakesItEmpty) {
  MDbVolFSpec path;
  std::memset(&path, 0xEE, sizeof path);
  MDbVolFSpecInitialize(&path);
  EXPECT_EQ(path.path[0], 0);
  EXPECT_EQ(path.path[1], 0xEEEE);
}

TEST(Environment, ANullWordBreakerParameterInitialisesTheEnvironmentAlone) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbInit(&env, nullptr, 77), MDbStatusOk);
  EXPECT_EQ(env.initialized, 1);
  EXPECT_TRUE(seam.calls().empty());
}

TEST(Environment, TheWordBreakerIsStartedWithZeroTheParameterAndTheFlags) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbInit(&env, "de", 0x12345678), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{"XKRWbrInit(0, pointer, 0x12345678)"}));
  EXPECT_STREQ(reinterpret_cast<const char*>(seam.calls()[0].arguments[1]), "de");
  EXPECT_EQ(MDbShutdown(&env, 0, 0), MDbStatusOk);
}

TEST(Environment, OnlyTheLowHalfOfTheWordBreakersAnswerCounts) {
  const struct {
    const char* why;
    uint64_t answer;
    MDbStatus status;
  } kRows[] = {
      {"success", 0, MDbStatusOk},
      {"only the high half is set", 0xFFFF0000, MDbStatusOk},
      {"one", 1, MDbStatusWordBreakerFailed},
      {"the low half's highest bit", 0x8000, MDbStatusWordBreakerFailed},
      {"both halves", 0x00010001, MDbStatusWordBreakerFailed},
      {"all bits", 0xFFFFFFFF, MDbStatusWordBreakerFailed},
  };
  for (const auto& row : kRows) {
    MDbEnv env;
    MDbEnvInitialize(&env);
    seam::PlatformSeam seam;
    seam.Replace("XKRWbrInit", 0, {row.answer, 0});
    EXPECT_EQ(MDbInit(&env, "", 0), row.status) << row.why;
    EXPECT_EQ(env.initialized, 1) << row.why << ": the environment is initialised all the same";
  }
}

TEST(Environment, ASecondInitialisationIsRefusedAndLeavesTheWordBreakerAlone) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  EXPECT_EQ(MDbInit(&env, "", 0), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbInit(&env, "", 0), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
  EXPECT_EQ(env.initialized, 1);
  EXPECT_EQ(MDbShutdown(&env, 0, 0), MDbStatusOk);
}

TEST(Environment, ANullEnvironmentIsNotInitialised) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbInit(nullptr, "", 0), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

TEST(Environment, ShutdownHandsTheInitialisedByteAndBothArgumentsToTheWordBreaker) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  EXPECT_EQ(MDbInit(&env, nullptr, 0), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbShutdown(&env, 7, 0xFFFFFFFF), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{"XKRWbrShutdown(1, 7, 0xFFFFFFFF)"}));
  ExpectReset(env);
}

TEST(Environment, ShutdownOfANeverInitialisedEnvironmentFailsAndStillStopsAndResets) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  env.dataTbl.cursor = 5;
  env.schemaTbl.opened = 1;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbShutdown(&env, 1, 2), MDbStatusFailed);
  EXPECT_EQ(seam.Texts(), (Lines{"XKRWbrShutdown(0, 1, 2)"}));
  ExpectReset(env);
}

TEST(Environment, ShutdownOfANullEnvironmentFailsAndStillStopsTheWordBreaker) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbShutdown(nullptr, 3, 4), MDbStatusFailed);
  EXPECT_EQ(seam.Texts(), (Lines{"XKRWbrShutdown(0, 3, 4)"}));
}

TEST(Environment, ShutdownDoesNotCareWhatTheWordBreakerAnswers) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  EXPECT_EQ(MDbInit(&env, nullptr, 0), MDbStatusOk);
  seam::PlatformSeam seam;
  seam.Replace("XKRWbrShutdown", 0, {1, 0});
  EXPECT_EQ(MDbShutdown(&env, 0, 0), MDbStatusOk);
}

TEST(Environment, ItCanBeInitialisedAgainAfterShutdown) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  EXPECT_EQ(MDbInit(&env, nullptr, 0), MDbStatusOk);
  EXPECT_EQ(MDbShutdown(&env, 0, 0), MDbStatusOk);
  EXPECT_EQ(MDbInit(&env, nullptr, 0), MDbStatusOk);
  EXPECT_EQ(MDbShutdown(&env, 0, 0), MDbStatusOk);
}

TEST(Environment, IsOpenedNeedsTheInitialisedEnvironmentAndTheOpenedReference) {
  const struct {
    const char* why;
    uint8_t initialized;
    uint8_t opened;
    uint8_t expected;
  } kRows[] = {
      {"neither", 0, 0, 0},
      {"mounted, but the environment was only reset", 0, 1, 0},
      {"initialised, nothing mounted", 1, 0, 0},
      {"both", 1, 1, 1},
      {"any non-zero byte is true", 0x80, 0x40, 1},
  };
  for (const auto& row : kRows) {
    MDbEnv env;
    MDbEnvInitialize(&env);
    MDbRef ref;
    MDbRefInitialize(&ref);
    env.initialized = row.initialized;
    ref.opened = row.opened;
    EXPECT_EQ(MDbIsOpened(&env, &ref) != 0, row.expected != 0) << row.why;
    EXPECT_EQ(MDbRefIsOpened(&ref) != 0, row.opened != 0) << row.why;
  }
}

}  // namespace
